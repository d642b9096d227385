#include "postwright/Headers/PWEmailAddress.hpp"

#include <unordered_set>

#include "Lexical/detail/AddressGrammarCore.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Base/Regex.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Lexical/AddressGrammar.hpp"
#include "postwright/Lexical/CharacterSetRFC2822.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {
using Json = nlohmann::ordered_json;

// Trimmed, and no line break left, so that a part can never start a new header line.
OptString sanitise(const OptString& part) {
    if (!part) return std::nullopt;
    return escapingLineBreaks(fgTrim(*part));
}

bool isNonEmpty(const OptString& text) {
    return text && !text->empty();
}

const Regex& domainPattern() {
    static const Regex pattern(u"^(?:[A-Za-z0-9-]+\\.)+[A-Za-z]{2,}$", Regex::CaseInsensitive);
    return pattern;
}

bool containsLineBreak(std::u16string_view text) {
    for (char16_t c : text) {
        if (isNewline(c)) return true;
    }
    return false;
}

bool isAtomText(std::u16string_view text) {
    const CharacterSet& atext = rfc2822atomTextSet();
    for (char16_t c : text) {
        if (!atext.contains(c) || c == u' ') return false;
    }
    return true;
}

OptString jsonText(const Json& dictionary, const char* key) {
    if (!dictionary.is_object()) return std::nullopt;
    auto found = dictionary.find(key);
    if (found == dictionary.end() || !found->is_string()) return std::nullopt;
    return fromUTF8(found->get<std::string>());
}

void putText(Json& dictionary, const char* key, const OptString& text) {
    if (text) dictionary[key] = toUTF8(*text);
}

// An error record as a log line shows it.
std::u16string errorText(const ErrorRef& error) {
    if (!error) return u"(null)";
    return formatString(u"%@ error %ld: %@", {fromUTF8(error->domain), error->code, error->localizedDescription});
}

std::shared_ptr<AddressBook> readableAddressBook() {
    std::shared_ptr<AddressBook> book = Application::shared().addressBook();
    if (!book || book->authorizationStatus() != ContactsAuthorizationStatus::Authorized) return nullptr;
    return book;
}

std::size_t combineHash(std::size_t seed, std::size_t value) {
    return seed ^ (value + 0x9e3779b97f4a7c15ull + (seed << 6) + (seed >> 2));
}
}  // namespace

// ---- Construction -----------------------------------------------------------------------------------------

void PWEmailAddress::initialise(const OptString& comment, const OptString& userName, const OptString& domain,
                                unsigned options) {
    OptString cleanComment = sanitise(comment);
    OptString cleanUser = sanitise(userName);
    OptString cleanDomain = sanitise(domain);
    bool valid = true;
    if (options & kAddressOptionValidate) {
        valid = isNonEmpty(cleanDomain) && isNonEmpty(cleanUser) && domainPattern().numberOfMatches(*cleanDomain) == 1;
    }
    if (!valid) {
        std::u16string raw;
        if (isNonEmpty(cleanComment)) raw = *cleanComment + u" <";
        if (cleanUser) raw += *cleanUser;
        if (isNonEmpty(cleanDomain)) raw += u"@" + *cleanDomain;
        if (isNonEmpty(cleanComment)) raw += u">";
        invalidRawAddress_ = std::move(raw);
        return;
    }
    addressComment_ = std::move(cleanComment);
    userName_ = std::move(cleanUser);
    domain_ = std::move(cleanDomain);
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::initWithAddressComment(const OptString& comment,
                                                                       const OptString& userName,
                                                                       const OptString& domain, unsigned options) {
    auto address = std::make_shared<PWEmailAddress>(Passkey());
    address->initialise(comment, userName, domain, options);
    return address;
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::initWithAddressComment(const OptString& comment,
                                                                       std::u16string_view emailAddress) {
    size_t at = emailAddress.find(u'@');
    if (at == std::u16string_view::npos) return initWithAddressComment(comment, std::u16string(emailAddress), u"", 1);
    return initWithAddressComment(comment, std::u16string(emailAddress.substr(0, at)),
                                  std::u16string(emailAddress.substr(at + 1)), 1);
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::initWithRawAddress(std::u16string_view rawAddress, unsigned options) {
    OptString displayName, localName, domain, invalid;
    if (rawAddress.empty()) {
        displayName = localName = domain = std::u16string();
    } else {
        Scanner scanner = Scanner::emailAddressScannerWithString(rawAddress);
        detail::scanMailbox(scanner, &displayName, &localName, &domain, &invalid, options, nullptr);
    }
    auto address = initWithAddressComment(displayName, localName, domain, 1);
    if (!address->valid()) address->invalidRawAddress_ = std::u16string(rawAddress);
    return address;
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::initWithCommentedAddress(std::u16string_view text, unsigned options) {
    OptString displayName, localName, domain;
    Scanner scanner = Scanner::emailAddressScannerWithString(text);
    detail::scanMailbox(scanner, &displayName, &localName, &domain, nullptr, options, nullptr);
    return initWithAddressComment(displayName, localName, domain, options & ~kAddressOptionValidate);
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::initWithInvalidRawAddress(std::u16string_view rawAddress, unsigned) {
    auto address = std::make_shared<PWEmailAddress>(Passkey());
    address->invalidRawAddress_ = std::u16string(rawAddress);
    return address;
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::initWithDictionaryRepresentation(const Json& dictionary) {
    OptString contactIdentifier = jsonText(dictionary, "contactIdentifier");
    if (isNonEmpty(contactIdentifier)) {
        if (std::shared_ptr<AddressBook> book = readableAddressBook()) {
            if (auto contact = book->contactWithIdentifier(*contactIdentifier, nullptr)) {
                if (auto address = initWithContact(contact, jsonText(dictionary, "emailIdentifier"))) {
                    OptString comment = jsonText(dictionary, "addressComment");
                    address->addressComment_ = comment ? OptString(fgTrim(*comment)) : std::nullopt;
                    return address;
                }
            }
        }
    }
    return initWithAddressComment(jsonText(dictionary, "addressComment"), jsonText(dictionary, "userName"),
                                  jsonText(dictionary, "domain"), 1);
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::initWithPasteboardPropertyList(const Json& propertyList,
                                                                               std::string_view type) {
    if (type == kPasteboardTypePlainString) {
        return initWithRawAddress(propertyList.is_string() ? fromUTF8(propertyList.get<std::string>()) : u"");
    }
    return initWithDictionaryRepresentation(propertyList);
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::initWithContact(const std::shared_ptr<const Contact>& contact,
                                                                const OptString& identifier) {
    if (!contact) return nullptr;
    logMessage(formatString(u"[INIT 👤] PWEMailAddress with Contact %@ for Identifier: %@ (%ld addresses)",
                            {contact->identifier, identifier, static_cast<long>(contact->emailAddresses.size())}));
    if (contact->emailAddresses.empty()) {
        logMessage(formatString(u"[INIT 👤] Contact has No Email addresses: %@", {contact->identifier}));
        return nullptr;
    }
    std::shared_ptr<const Contact> source = contact;
    if (!contact->hasDescriptorKeys) {
        if (std::shared_ptr<AddressBook> book = Application::shared().addressBook()) {
            if (auto refetched = book->contactWithIdentifier(contact->identifier, nullptr)) source = refetched;
        }
    }
    const LabeledEmailAddress* chosen = nullptr;
    for (const LabeledEmailAddress& value : source->emailAddresses) {
        bool fits = isNonEmpty(identifier) ? value.identifier == *identifier : !value.value.empty();
        if (fits) {
            chosen = &value;
            break;
        }
    }
    logMessage(formatString(u"👤 Contact email %@: %@", {chosen ? OptString(chosen->identifier) : identifier,
                                                        chosen ? OptString(chosen->value) : std::nullopt}));
    if (!chosen) {
        logMessage(formatString(u"[INIT 👤] Found no valid addresses for contact: %@", {contact->identifier}));
        return nullptr;
    }
    auto address = initWithAddressComment(source->fullName, chosen->value);
    address->contact_ = source;
    address->emailIdentifier_ = chosen->identifier;
    return address;
}

std::optional<PWEmailAddressList> PWEmailAddress::emailAddressesFromHeaderValue(const OptString& value,
                                                                                unsigned options) {
    if (!value) return std::nullopt;
    Scanner scanner = Scanner::emailAddressScannerWithString(*value);
    PWEmailAddressList addresses;
    detail::GrammarError error;
    while (!scanner.isAtEnd()) {
        OptString displayName, localName, domain, invalid;
        if (!detail::scanMailbox(scanner, &displayName, &localName, &domain, &invalid, options, &error)) {
            ErrorRef record;
            error.handTo(&record, scanner.string());
            logMessage(formatString(u"\n\t\t%@\n\t\t\t\tERROR: %@", {*value, errorText(record)}));
            return std::nullopt;
        }
        bool nameSploited = false, localSploited = false;
        OptString decodedName, decodedLocal;
        if (displayName) decodedName = decodedMimeEncodedString(*displayName, &nameSploited);
        if (localName) decodedLocal = decodedMimeEncodedString(*localName, &localSploited);
        auto address = initWithAddressComment(decodedName, decodedLocal, domain, options);
        if (options & kAddressOptionDetectMailSploits) {
            address->isMailSploited_ =
                nameSploited || localSploited || (decodedName && containsLineBreak(*decodedName));
        }
        if (invalid) address->invalidRawAddress_ = std::move(invalid);
        addresses.push_back(std::move(address));
        if (!scanner.scanString(u",")) break;
        scanner.scanFoldingWhiteSpace();
    }
    return addresses;
}

OptString PWEmailAddress::rfc2822RepresentationForAddresses(const PWEmailAddressList& addresses) {
    std::vector<std::u16string> forms;
    for (const auto& address : addresses) {
        if (!address) continue;
        if (OptString form = address->rfc2822Representation()) forms.push_back(std::move(*form));
    }
    if (forms.empty()) return std::nullopt;
    return componentsJoinedBy(forms, u", ");
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::canonicalEmailAddressForEmailAddress(
    const std::shared_ptr<PWEmailAddress>& address) {
    if (!address) return nullptr;
    struct InterningSet {
        std::mutex mutex;
        std::unordered_set<std::shared_ptr<PWEmailAddress>, PWEmailAddressHash, PWEmailAddressEqual> members;
    };
    static InterningSet* set = new InterningSet();
    std::lock_guard lock(set->mutex);
    return *set->members.insert(address).first;
}

void PWEmailAddress::copyFrom(const PWEmailAddress& other) {
    addressComment_ = other.addressComment_;
    userName_ = other.userName_;
    domain_ = other.domain_;
    invalidRawAddress_ = other.invalidRawAddress_;
    std::lock_guard lock(other.mutex_);
    contact_ = other.contact_;
    emailIdentifier_ = other.emailIdentifier_;
    auxiliaryInfo_ = other.auxiliaryInfo_;
    isMailSploited_ = other.isMailSploited_;
    flags_ = other.flags_;
    persistenceId_ = other.persistenceId_;
}

std::shared_ptr<PWEmailAddress> PWEmailAddress::copy() const {
    auto address = std::make_shared<PWEmailAddress>(Passkey());
    address->copyFrom(*this);
    return address;
}

// ---- Derived forms ----------------------------------------------------------------------------------------

OptString PWEmailAddress::userAtDomain() const {
    if (!isNonEmpty(userName_) || !isNonEmpty(domain_)) return std::nullopt;
    return *userName_ + u"@" + *domain_;
}

OptString PWEmailAddress::baseAddress() const {
    OptString address = userAtDomain();
    if (!address) return std::nullopt;
    return lowercase(fgTrim(*address));
}

OptString PWEmailAddress::displayName() const {
    if (isNonEmpty(addressComment_)) return addressComment_;
    return userAtDomain();
}

OptString PWEmailAddress::displayAddress() const {
    OptString address = userAtDomain();
    if (!address) return std::nullopt;
    if (isNonEmpty(addressComment_)) return formatString(u"%@ <%@>", {addressComment_, address});
    return address;
}

OptString PWEmailAddress::invertedDisplayAddress() const {
    OptString address = userAtDomain();
    if (!address) return std::nullopt;
    if (isNonEmpty(addressComment_)) return formatString(u"%@ (%@)", {address, addressComment_});
    return address;
}

OptString PWEmailAddress::rfc2822Representation() const {
    if (!addressComment_) return baseAddress();
    OptString comment = addressComment_;
    if (!canBeConvertedToEncoding(*comment, kASCIIStringEncoding)) {
        comment = mimeWordWithString(*comment, kISOLatin1StringEncoding, nullptr);
    }
    std::u16string out;
    if (isNonEmpty(comment)) {
        // RFC 5322 section 3.2.4: inside a quoted string a backslash and a double quote are quoted pairs.
        out = isAtomText(*comment) ? *comment
                                   : u"\"" + replaceAll(replaceAll(*comment, u"\\", u"\\\\"), u"\"", u"\\\"") + u"\"";
    }
    if (OptString base = baseAddress(); isNonEmpty(base)) out += out.empty() ? *base : u" <" + *base + u">";
    return out;
}

OptString PWEmailAddress::digest() const {
    OptString text = rfc2822Representation();
    if (!text) text = displayAddress();
    if (!text) text = invalidRawAddress_;
    if (!text) return std::nullopt;
    return shortSHAHashString(*text);
}

bool PWEmailAddress::valid() const {
    return !isNonEmpty(invalidRawAddress_) && isNonEmpty(userAtDomain());
}

std::u16string PWEmailAddress::description() const {
    if (!valid()) {
        return formatString(u"<%@: %p> (INVALID) %@",
                            {className(), static_cast<const void*>(this), invalidRawAddress_});
    }
    std::shared_ptr<const Contact> linked = contact();
    std::u16string contactPart = linked ? formatString(u" ContactID:%@", {linked->identifier}) : std::u16string();
    return formatString(u"<%@: %p%@> %@", {className(), static_cast<const void*>(this), contactPart, displayAddress()});
}

Json PWEmailAddress::dictionaryRepresentation() const {
    Json dictionary = Json::object();
    dictionary["type"] = "address";
    std::shared_ptr<const Contact> linked = contact();
    putText(dictionary, "contactName", contactName());
    if (linked) dictionary["contactIdentifier"] = toUTF8(linked->identifier);
    putText(dictionary, "addressComment", addressComment_);
    putText(dictionary, "userName", userName_);
    putText(dictionary, "domain", domain_);
    putText(dictionary, "emailIdentifier", emailIdentifier());
    return dictionary;
}

// ---- Identity ---------------------------------------------------------------------------------------------

bool PWEmailAddress::isEqual(const PWEmailAddress* other) const {
    if (other == this) return true;
    if (!other) return false;
    if (!userAtDomain() && !other->userAtDomain() && !addressComment_ && !other->addressComment_) {
        return invalidRawAddress_ == other->invalidRawAddress_;
    }
    return baseAddress() == other->baseAddress() && addressComment_ == other->addressComment_;
}

size_t PWEmailAddress::hash() const {
    std::hash<std::u16string> text;
    OptString base = baseAddress();
    if (!base && !addressComment_) return invalidRawAddress_ ? text(*invalidRawAddress_) : 0;
    return combineHash(base ? text(*base) : 1, addressComment_ ? text(*addressComment_) : 2);
}

bool PWEmailAddress::isEquivalentToAddress(const PWEmailAddress* other) const {
    if (!other) return false;
    OptString mine = displayAddress(), theirs = other->displayAddress();
    if (mine && theirs && equalsIgnoringCaseAndDiacritics(*mine, *theirs)) return true;
    OptString myBase = baseAddress(), theirBase = other->baseAddress();
    if (myBase && theirBase && equalsIgnoringCase(*myBase, *theirBase)) return true;
    if (!myBase && !theirBase && invalidRawAddress_ && other->invalidRawAddress_ &&
        equalsIgnoringCaseAndDiacritics(*invalidRawAddress_, *other->invalidRawAddress_)) {
        return true;
    }
    return addressComment_ && other->addressComment_ &&
           equalsIgnoringCaseAndDiacritics(*addressComment_, *other->addressComment_);
}

// ---- Contacts ---------------------------------------------------------------------------------------------

std::shared_ptr<const Contact> PWEmailAddress::contact() const {
    std::lock_guard lock(mutex_);
    return contact_;
}

std::shared_ptr<const Contact> PWEmailAddress::contactLoadIfNoneFound(bool loadIfNoneFound) {
    if (loadIfNoneFound) loadContact();
    return contact();
}

void PWEmailAddress::setContact(std::shared_ptr<const Contact> contact) {
    std::lock_guard lock(mutex_);
    if (!contact_) contact_ = std::move(contact);
}

void PWEmailAddress::updateFromContact(std::shared_ptr<const Contact> contact, const OptString& identifier) {
    std::lock_guard lock(mutex_);
    contact_ = std::move(contact);
    emailIdentifier_ = identifier;
}

void PWEmailAddress::loadContact() {
    if (this->contact()) return;
    std::shared_ptr<AddressBook> book = readableAddressBook();
    OptString address = userAtDomain();
    if (!book || !address) return;
    ErrorRef error;
    std::vector<std::shared_ptr<const Contact>> contacts = book->contactsMatchingEmailAddress(*address, &error);
    if (error) {
        logMessage(formatString(u"There was an error retrieving a contact [%@] : %@", {address, errorText(error)}));
    }
    std::shared_ptr<const Contact> first = contacts.empty() ? nullptr : contacts.front();
    OptString identifier;
    if (first) {
        for (const LabeledEmailAddress& value : first->emailAddresses) {
            if (value.value == *address) identifier = value.identifier;
        }
    }
    std::lock_guard lock(mutex_);
    if (contact_) return;
    contact_ = std::move(first);
    if (identifier) emailIdentifier_ = std::move(identifier);
}

OptString PWEmailAddress::emailIdentifier() const {
    std::lock_guard lock(mutex_);
    return emailIdentifier_;
}

OptString PWEmailAddress::contactName() const {
    std::shared_ptr<const Contact> linked = contact();
    return linked ? linked->fullName : std::nullopt;
}

OptString PWEmailAddress::contactNameOrAddressComment() const {
    OptString name = contactName();
    return name ? name : addressComment_;
}

// ---- Caller data ------------------------------------------------------------------------------------------

Json PWEmailAddress::auxiliaryInfo() const {
    std::lock_guard lock(mutex_);
    return auxiliaryInfo_;
}

void PWEmailAddress::setAuxiliaryInfo(const Json& value, const std::string& key) {
    std::lock_guard lock(mutex_);
    Json updated = auxiliaryInfo_.is_object() ? auxiliaryInfo_ : Json::object();
    if (value.is_null()) {
        updated.erase(key);
    } else {
        updated[key] = value;
    }
    auxiliaryInfo_ = std::move(updated);
}

unsigned long PWEmailAddress::flags() const {
    std::lock_guard lock(mutex_);
    return flags_;
}

void PWEmailAddress::setFlags(unsigned long flags) {
    std::lock_guard lock(mutex_);
    flags_ = flags;
}

long long PWEmailAddress::persistenceId() const {
    std::lock_guard lock(mutex_);
    return persistenceId_;
}

void PWEmailAddress::setPersistenceId(long long persistenceId) {
    std::lock_guard lock(mutex_);
    persistenceId_ = persistenceId;
}

bool PWEmailAddress::isMailSploited() const {
    std::lock_guard lock(mutex_);
    return isMailSploited_;
}

void PWEmailAddress::setIsMailSploited(bool isMailSploited) {
    std::lock_guard lock(mutex_);
    isMailSploited_ = isMailSploited;
}

// ---- Pasteboard -------------------------------------------------------------------------------------------

std::vector<std::string> PWEmailAddress::readableTypesForPasteboard() {
    return {ORWPasteboardTypeEmailAddress, kPasteboardTypePlainString};
}

std::vector<std::string> PWEmailAddress::writableTypesForPasteboard() {
    return readableTypesForPasteboard();
}

PasteboardReadingOptions PWEmailAddress::readingOptionsForType(std::string_view type) {
    return type == ORWPasteboardTypeEmailAddress ? PasteboardReadingOptions::AsPropertyList
                                                 : PasteboardReadingOptions::AsString;
}

Json PWEmailAddress::pasteboardPropertyListForType(std::string_view type) const {
    if (type == ORWPasteboardTypeEmailAddress) return dictionaryRepresentation();
    OptString form = rfc2822Representation();
    return form ? Json(toUTF8(*form)) : Json(nullptr);
}

}  // namespace postwright
