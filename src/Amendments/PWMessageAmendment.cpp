#include "postwright/Amendments/PWMessageAmendment.hpp"

#include <algorithm>
#include <map>
#include <mutex>

#include "postwright/Amendments/AmendmentError.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"

namespace postwright {

namespace {

constexpr std::u16string_view kNoAmendmentIdentifier = u"NoAmendment";
constexpr const char* kAmendedContentsNotWellFormed = "amended contents is not well formed";

// The registry: identifier to class name, and every class ever registered, by name. Built once with the
// base class in it; never destroyed.
struct Registry {
    std::mutex mutex;
    std::map<std::u16string, std::u16string, std::less<>> classNames;
    std::map<std::u16string, const PWAmendmentClass*, std::less<>> classes;
};

Registry& registry() {
    static Registry* shared = [] {
        auto* made = new Registry();
        const PWAmendmentClass& base = PWMessageAmendment::amendmentClass();
        made->classNames.emplace(std::u16string(*base.identifier), std::u16string(base.name));
        made->classes.emplace(std::u16string(base.name), &base);
        return made;
    }();
    return *shared;
}

std::u16string plainTextLength(const PWMessageContentsRef& contents) {
    PWMimePartRef root = contents ? contents->rootMimePart() : nullptr;
    OptString text = root ? root->plainContent() : std::nullopt;
    return fromUTF8(std::to_string(text ? text->size() : 0));
}

// The host log's category for a step: whether the visible text kept its length.
std::string stepCategory(const std::u16string& before, const std::u16string& after) {
    return before == after ? "4904-\u2139\ufe0f" : "4904-\U0001F6D1";
}

std::u16string describeContents(const PWMessageContentsRef& contents) {
    if (!contents) return u"(null)";
    return formatString(u"<PWMessageContents %@ %ld bytes>",
                        {contents->contentIdentifier(), static_cast<long>(contents->size())});
}

std::u16string describeError(const Error& error) {
    return formatString(u"Error Domain=%@ Code=%ld \"%@\"",
                        {fromUTF8(error.domain), error.code, error.localizedDescription});
}

std::u16string describeInfo(const nlohmann::json& info) {
    return fromUTF8(info.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

}  // namespace

const PWAmendmentClass& PWMessageAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWMessageAmendment", kNoAmendmentIdentifier,
                                      &PWMessageAmendment::initWithDictionaryRepresentation};
    return cls;
}

// ---- Registry -------------------------------------------------------------------------------------------------

void PWMessageAmendment::registerMessageAmendmentClass(const PWAmendmentClass& cls) {
    Registry& shared = registry();
    {
        std::lock_guard lock(shared.mutex);
        if (cls.identifier) {
            shared.classNames[std::u16string(*cls.identifier)] = std::u16string(cls.name);
            shared.classes[std::u16string(cls.name)] = &cls;
            return;
        }
    }
    logMessage(formatString(u"Error Rule Action Class \"%@\" is not properly identified", {cls.name}));
}

std::vector<std::u16string> PWMessageAmendment::registeredIdentifiers() {
    Registry& shared = registry();
    std::lock_guard lock(shared.mutex);
    std::vector<std::u16string> identifiers;
    for (const auto& [identifier, name] : shared.classNames) identifiers.push_back(identifier);
    return identifiers;
}

const PWAmendmentClass* PWMessageAmendment::classForAmendmentTypeIdentifier(std::u16string_view identifier) {
    Registry& shared = registry();
    std::lock_guard lock(shared.mutex);
    auto name = shared.classNames.find(identifier);
    if (name == shared.classNames.end()) return nullptr;
    auto cls = shared.classes.find(name->second);
    return cls == shared.classes.end() ? nullptr : cls->second;
}

// ---- Making amendments ----------------------------------------------------------------------------------------

std::shared_ptr<PWMessageAmendment> PWMessageAmendment::init() {
    return std::shared_ptr<PWMessageAmendment>(new PWMessageAmendment());
}

std::shared_ptr<PWMessageAmendment> PWMessageAmendment::initWithDictionaryRepresentation(const PWAmendmentDictionary&) {
    return init();
}

std::shared_ptr<PWMessageAmendment> PWMessageAmendment::newWithDictionaryRepresentation(
    const PWAmendmentDictionary& dictionary) {
    const PWAmendmentClass* cls = nullptr;
    if (dictionary.is_object()) {
        auto type = dictionary.find("amendmentType");
        if (type != dictionary.end() && type->is_string()) {
            cls = classForAmendmentTypeIdentifier(fromUTF8(type->get<std::string>()));
        }
    }
    return (cls ? *cls : amendmentClass()).initWithDictionaryRepresentation(dictionary);
}

std::shared_ptr<PWMessageAmendment> PWMessageAmendment::initWithJsonRepresentation(std::string_view json,
                                                                                   const PWAmendmentClass& cls) {
    PWAmendmentDictionary dictionary = PWAmendmentDictionary::parse(json, nullptr, false);
    if (dictionary.is_discarded()) dictionary = nullptr;
    return cls.initWithDictionaryRepresentation(dictionary);
}

// ---- What an amendment is -----------------------------------------------------------------------------------

PWAmendmentDictionary PWMessageAmendment::baseDictionaryRepresentation() const {
    PWAmendmentDictionary dictionary = PWAmendmentDictionary::object();
    dictionary["amendmentType"] = toUTF8(objectClass().identifier.value_or(kNoAmendmentIdentifier));
    return dictionary;
}

PWAmendmentDictionary PWMessageAmendment::dictionaryRepresentation() const {
    return baseDictionaryRepresentation();
}

std::string PWMessageAmendment::jsonRepresentation() const {
    return dictionaryRepresentation().dump(-1, ' ', false, PWAmendmentDictionary::error_handler_t::replace);
}

std::u16string PWMessageAmendment::description() const {
    return u"<" + std::u16string(objectClass().name) + u" " + fromUTF8(jsonRepresentation()) + u">";
}

std::u16string descriptionOfAmendments(const PWMessageAmendmentList& amendments) {
    std::vector<std::u16string> descriptions;
    for (const PWMessageAmendmentRef& amendment : amendments) {
        descriptions.push_back(amendment ? amendment->description() : u"(null)");
    }
    return u"(" + componentsJoinedBy(descriptions, u", ") + u")";
}

bool PWMessageAmendment::messageIsWellFormed(FGBaseMutableMessage& message) {
    PWMessageContentsRef contents = message.messageContents();
    return contents && contents->isWellFormed();
}

PWAmendmentResultRef PWMessageAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                          const PWMessageAmendmentContext&, uint64_t,
                                                                          ErrorRef* error) {
    setSlot(error, nullptr);
    if (!messageIsWellFormed(message)) throw ProgrammingError(kAmendedContentsNotWellFormed);
    return PWAmendmentResult::init();
}

// ---- The driver -----------------------------------------------------------------------------------------------

PWMessageAmendmentList PWMessageAmendment::sortedByApplicationOrder(const PWMessageAmendmentList& amendments) {
    PWMessageAmendmentList sorted;
    for (const PWMessageAmendmentRef& amendment : amendments) {
        if (amendment) sorted.push_back(amendment);
    }
    std::stable_sort(sorted.begin(), sorted.end(), [](const PWMessageAmendmentRef& a, const PWMessageAmendmentRef& b) {
        return a->applicationOrderHint() < b->applicationOrderHint();
    });
    return sorted;
}

PWMessageContentsRef PWMessageAmendment::contentsByApplyingAmendments(const PWMessageAmendmentList& amendments,
                                                                      const FGPostwrightMessage& message,
                                                                      ErrorRef* error) {
    return contentsByApplyingAmendments(amendments, PWMessageAmendmentContext::newWithContextType(1), 0, message,
                                        error);
}

PWMessageContentsRef PWMessageAmendment::contentsByApplyingAmendments(const PWMessageAmendmentList& amendments,
                                                                      const PWMessageAmendmentContextRef& givenContext,
                                                                      uint64_t options,
                                                                      const FGPostwrightMessage& message,
                                                                      ErrorRef* error) {
    setSlot(error, nullptr);
    PWMessageAmendmentContextRef context =
        givenContext ? givenContext : PWMessageAmendmentContext::newWithContextType(kPWAmendmentContextDefault);
    const OptString identifier = message.contentIdentifier();
    std::shared_ptr<FGBaseMutableMessage> working = message.amendableCopy();
    const PWMessageAmendmentList sorted = sortedByApplicationOrder(amendments);

    PWMessageContentsRef source = message.messageContents();
    const std::u16string startingLength = plainTextLength(source);
    nlohmann::json info = source ? source->userInfo() : nlohmann::json();
    if (!info.is_object()) info = nlohmann::json::object();

    for (const PWMessageAmendmentRef& amendment : sorted) {
        context->log(formatString(u"[Amendment  %@] Applying %@", {identifier, amendment->description()}));
        ErrorRef amendmentError;
        PWAmendmentResultRef result =
            amendment->resultByApplyingToMutableMessage(*working, *context, options, &amendmentError);
        context->log(formatString(u"[Amendment  %@] Application result:", {identifier}));
        std::u16string length = plainTextLength(working->messageContents());
        std::u16string note = formatString(
            u"Amendment changes (context=%ld) to message with amendment (%@) \u2014 original message length (%@) "
            u"\u2014 after amendment (%@)",
            {static_cast<long>(context->contextType()), amendment->description(), startingLength, length});
        logForCategory(stepCategory(startingLength, length), note);
        context->log(formatString(u"[Amendment %@] %@", {identifier, note}));
        if (amendmentError) {
            std::u16string described = describeError(*amendmentError);
            logMessage(formatString(u"amendmentError: %@", {described}));
            context->log(formatString(u"[Amendment  %@] Error %@", {identifier, described}));
            setSlot(error, amendmentError);
            return nullptr;
        }
        if (result && result->userInfo.is_object()) {
            for (const auto& [key, value] : result->userInfo.items()) info[key] = value;
        }
    }

    // The contents of a copy nothing changed are the message's own: they get a contents object of their
    // own over the same bytes, so that the userInfo below does not reach the message's contents.
    PWMessageContentsRef amended = working->messageContents();
    if (amended && amended == source) {
        amended = PWMessageContents::initWithContentIdentifier(source->contentIdentifier(), source->contentData());
    }
    std::u16string length = plainTextLength(amended);
    if (amended) amended->setUserInfo(info);
    logForCategory(stepCategory(startingLength, length),
                   formatString(u"Post userInfo changes \u2014 original message length (%@) \u2014 after setUserInfo "
                                u"(%@): info:%@",
                                {startingLength, length, describeInfo(info)}));

    if (amended && amended->isWellFormed()) {
        logForCategory(stepCategory(startingLength, length),
                       formatString(u"Returning amendedContents \u2014 original message length (%@) \u2014 after "
                                    u"setUserInfo (%@)",
                                    {startingLength, length}));
        context->log(formatString(u"[Amendment  %@] amendedContent  %@", {identifier, describeContents(amended)}));
        return amended;
    }
    if (!error) throw ProgrammingError(kAmendedContentsNotWellFormed);
    setSlot(error, amendedMessageMalformedError(descriptionOfAmendments(sorted)));
    context->log(
        formatString(u"[Amendment  %@] amendedContent not wellFormed: %@", {identifier, describeContents(amended)}));
    return nullptr;
}

// ---- The message entry points ---------------------------------------------------------------------------------

std::shared_ptr<FGPostwrightMessage> FGPostwrightMessage::messageByApplyingAmendments(
    const PWMessageAmendmentList& amendments, const PWMessageAmendmentContextRef& context, uint64_t options,
    ErrorRef* error) const {
    PWMessageContentsRef contents =
        PWMessageAmendment::contentsByApplyingAmendments(amendments, context, options, *this, error);
    return contents ? initWithMessageContents(contents, true) : nullptr;
}

std::shared_ptr<FGBaseMutableMessage> FGBaseMutableMessage::messageByApplyingAmendments(
    const PWMessageAmendmentList& amendments, const PWMessageAmendmentContextRef& context, uint64_t options,
    ErrorRef* error) {
    setSlot(error, nullptr);
    PWMessageContentsRef current = messageContents();
    nlohmann::json info = current ? current->userInfo() : nlohmann::json();
    if (!info.is_object()) info = nlohmann::json::object();
    PWMessageAmendmentContextRef run = context ? context : PWMessageAmendmentContext::newWithContextType(1);
    for (const PWMessageAmendmentRef& amendment : amendments) {
        if (!amendment) continue;
        ErrorRef amendmentError;
        PWAmendmentResultRef result =
            amendment->resultByApplyingToMutableMessage(*this, *run, options, &amendmentError);
        if (amendmentError) {
            setSlot(error, amendmentError);
            return nullptr;
        }
        if (result && result->userInfo.is_object()) {
            for (const auto& [key, value] : result->userInfo.items()) info[key] = value;
        }
    }
    PWMessageContentsRef contents = messageContents();
    if (!contents) return nullptr;
    contents->setUserInfo(info);
    std::shared_ptr<FGBaseMutableMessage> message = newMessageOfSameClass();
    message->openContents(contents, false, false);
    return message;
}

}  // namespace postwright
