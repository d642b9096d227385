// postwright amend: stored amendment lists run over real messages, read back, and listed.
#include <cstdio>

#include "Commands.hpp"
#include "MessageComposing.hpp"
#include "MessageInput.hpp"
#include "MessageJson.hpp"
#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Amendments/PWSignatureAmendment.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Html/HTMLDocument.hpp"

namespace postwright::tool {

std::string amendHelp() {
    return std::string(
               "Usage: postwright amend FILE [--index N] --amendments JSON|@FILE [--context N] [--options N]\n"
               "           [--user-info JSON] [--now DATE] [--tz ZONE] [--signature-file FILE] [--log]\n"
               "           [--output FILE] [--tree]\n"
               "       postwright amend --read JSON|@FILE\n"
               "       postwright amend --list\n"
               "\n"
               "Runs a stored list of amendments over a message and writes the amended message's bytes (or,\n"
               "with --tree, its MIME tree as `postwright tree` prints it). The message itself is never\n"
               "changed: the amendments work on a copy.\n"
               "\n"
               "The list is a JSON array of amendments in their dictionary form, as hosts store them, given\n"
               "inline or as @FILE. The amendments run in the order of their hints, lower first (equal hints\n"
               "keep the list's order):\n"
               "  Header        {\"amendmentType\": \"Header\", \"headerKey\": \"X-Rule\", \"headerValue\": \"7\"}\n"
               "  Subject       {\"amendmentType\": \"Subject\", \"template\": \"Fwd: {{subject}}\"}\n"
               "  AddRecipient  {\"amendmentType\": \"AddRecipient\", \"addresses\": [\"Ann <ann@example.com>\"],\n"
               "                 \"recipientType\": 3}          3 To, 4 Cc, 5 Bcc\n"
               "  Signature     {\"amendmentType\": \"Signature\", \"signatureIdentifier\": \"work\"}\n"
               "  DeliverPlainText (20), ApplyFormat (24), PrepareDelivery (25, with \"xmailer\"),\n"
               "  FragmentMimeParts (26), CryptoSign (98), Encrypt (99), Body, Decrypt,\n"
               "  PlaceholderExpansion, UploadAttachment (10)\n"
               "`postwright amend --list` shows them all; an unknown \"amendmentType\" is a plain amendment\n"
               "that changes nothing.\n"
               "\n"
               "Options:\n"
               "  --context N          why the list runs (default 1): 0 decryption, 1 a plain run, 2 also\n"
               "                       strips Bcc, 3 inserts the signature, 4 delivery of a composed message\n"
               "                       (signature, plain-text delivery, prepare delivery, MIME fragmentation,\n"
               "                       signing and encryption act only here)\n"
               "  --options N          passed to every amendment as it is\n"
               "  --user-info JSON     the context's userInfo, a JSON object (for example\n"
               "                       {\"deliveryAccountIsExchange\": true})\n"
               "  --now DATE           the current moment (sent dates), milliseconds or ISO 8601;\n"
               "                       --tz ZONE the zone the Date header is written in\n"
               "  --signature-file F   the signature the Signature amendment inserts: the plain text gets a\n"
               "                       \"-- \" line and the file's text, the HTML a div with it\n"
               "  --log                write every line the run logs to standard error, as CATEGORY<TAB>TEXT\n"
               "                       (\"context\" for the run's own lines)\n"
               "  --output FILE        write there instead of standard output, only when the run succeeded\n"
               "  --tree               print the amended message's MIME tree instead of its bytes\n"
               "  --read JSON|@FILE    print the list as read back, in run order: class, identifier, hint\n"
               "                       and dictionary form of each amendment\n"
               "  --list               print every registered amendment type with its class and hint\n"
               "\n"
               "When an amendment fails, nothing is written to standard output: the error goes to standard\n"
               "error as JSON ({\"domain\", \"code\", \"description\", \"userInfo\"}) and the exit status is 1.\n"
               "A list that is not a JSON array of objects is a usage error (exit status 2).\n"
               "\n") +
           kMessageFileHelp +
           "\n"
           "Examples:\n"
           "  postwright amend draft.eml --context 4 --now 2026-01-01T12:00:00Z \\\n"
           "      --amendments '[{\"amendmentType\":\"PrepareDelivery\",\"xmailer\":\"Postwright\"},\n"
           "                    {\"amendmentType\":\"FragmentMimeParts\"}]' --tree\n"
           "  postwright amend --read @rules.json\n";
}

namespace {

// Writes the library's lines (and the run's own) to standard error for --log.
class StandardErrorLines : public Logger, public PWAmendmentLogger {
public:
    void logForCategory(std::string_view category, std::u16string_view message) override {
        std::fprintf(stderr, "%s\t%s\n", category.empty() ? "general" : std::string(category).c_str(),
                     toUTF8(message).c_str());
    }
    void log(std::u16string_view line) override { logForCategory("context", line); }
};

// The signature of --signature-file: a "-- " line and the text after the plain text, a div after the HTML.
class FileSignature : public PWSignatureModifier {
public:
    explicit FileSignature(std::u16string text) : text_(std::move(text)) {}
    void updateMessage(FGBaseMutableMessage& message, const OptString&) override {
        OptString plain = message.plainText();
        message.setPlainText((plain && !plain->empty() ? *plain + u"\r\n" : u"") + u"-- \r\n" + text_);
        if (OptString html = message.html()) {
            auto document = HTMLDocument::documentWithString(*html);
            if (HTMLElementRef body = document->body()) {
                HTMLElementRef signature = document->createElement(u"div");
                signature->setAttribute(u"class", u"signature");
                signature->setAttribute(u"style", u"white-space: pre-wrap");
                signature->setTextContent(u"-- \n" + text_);
                body->appendChild(signature);
                message.setHtml(document->outerHTML());
            }
        }
    }

private:
    std::u16string text_;
};

// The list of --amendments or --read: JSON inline or @FILE. Returns the exit status (0 when read).
int readAmendmentList(const std::string& given, PWMessageAmendmentList* list) {
    std::string text = given;
    if (!given.empty() && given[0] == '@') {
        std::optional<Data> bytes = readInput(given.substr(1));
        if (!bytes) return 1;
        text.assign(reinterpret_cast<const char*>(bytes->bytes()), bytes->length());
    }
    PWAmendmentDictionary json = PWAmendmentDictionary::parse(text, nullptr, false);
    if (json.is_discarded()) return usageError("amend", "the amendment list is not valid JSON");
    if (!json.is_array()) return usageError("amend", "the amendment list must be a JSON array of objects");
    for (size_t i = 0; i < json.size(); ++i) {
        if (!json[i].is_object()) {
            return usageError("amend", "amendments[" + std::to_string(i) + "] is not an object: " + json[i].dump());
        }
        list->push_back(PWMessageAmendment::newWithDictionaryRepresentation(json[i]));
    }
    return 0;
}

Json jsonAmendment(const PWMessageAmendment& amendment) {
    Json entry = Json::object();
    entry["class"] = toUTF8(amendment.objectClass().name);
    entry["identifier"] = toUTF8(amendment.objectClass().identifier.value_or(u""));
    entry["hint"] = amendment.applicationOrderHint();
    entry["dictionary"] = Json::parse(amendment.jsonRepresentation());
    return entry;
}

int listRegisteredAmendments() {
    std::vector<std::u16string> identifiers = PWMessageAmendment::registeredIdentifiers();
    std::sort(identifiers.begin(), identifiers.end());
    Json list = Json::array();
    for (const std::u16string& identifier : identifiers) {
        PWAmendmentDictionary dictionary = {{"amendmentType", toUTF8(identifier)}};
        PWMessageAmendmentRef amendment = PWMessageAmendment::newWithDictionaryRepresentation(dictionary);
        list.push_back({{"identifier", toUTF8(identifier)},
                        {"class", toUTF8(amendment->objectClass().name)},
                        {"hint", amendment->applicationOrderHint()}});
    }
    printJSON(list);
    return 0;
}

// The failure as JSON on standard error, userInfo values as text.
int amendmentFailure(const ErrorRef& error) {
    Json failure = Json::object();
    failure["domain"] = error ? error->domain : std::string();
    failure["code"] = error ? error->code : 0;
    failure["description"] = error ? toUTF8(error->localizedDescription) : std::string("the amendments failed");
    Json userInfo = Json::object();
    if (error) {
        for (const auto& [key, value] : error->userInfo) userInfo[key] = toUTF8(value);
    }
    failure["userInfo"] = userInfo;
    std::fprintf(stderr, "%s\n", dumpJSON(failure).c_str());
    return 1;
}

}  // namespace

int runAmend(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList,
                        {"index", "amendments", "context", "options", "user-info", "now", "tz", "locale",
                         "signature-file", "output", "read"},
                        {"log", "tree", "list"});
    if (!arguments.ok()) return usageError("amend", arguments.error());
    // The tool is the host: it registers every amendment type that has an identifier of its own.
    PWMessageAmendment::registerStandardAmendmentClasses();
    if (arguments.flag("list")) return listRegisteredAmendments();
    if (std::optional<std::string> given = arguments.value("read")) {
        PWMessageAmendmentList list;
        if (int status = readAmendmentList(*given, &list)) return status;
        Json read = Json::array();
        for (const PWMessageAmendmentRef& amendment : PWMessageAmendment::sortedByApplicationOrder(list)) {
            read.push_back(jsonAmendment(*amendment));
        }
        printJSON(read);
        return 0;
    }

    if (arguments.positionals().size() != 1) return usageError("amend", "expects exactly one FILE");
    std::optional<std::string> given = arguments.value("amendments");
    if (!given) return usageError("amend", "needs --amendments JSON|@FILE (or --read, or --list)");
    PWMessageAmendmentList list;
    if (int status = readAmendmentList(*given, &list)) return status;
    std::optional<unsigned long long> contextType = arguments.number("context");
    std::optional<unsigned long long> options = arguments.number("options");
    if (!arguments.ok()) return usageError("amend", arguments.error());
    nlohmann::json userInfo;
    if (std::optional<std::string> info = arguments.value("user-info")) {
        userInfo = nlohmann::json::parse(*info, nullptr, false);
        if (userInfo.is_discarded() || !userInfo.is_object()) {
            return usageError("amend", "--user-info must be a JSON object");
        }
    }
    std::optional<DateEnvironment::Override> pinned;
    if (int status = pinDateEnvironment("amend", arguments, pinned)) return status;
    if (std::optional<std::string> path = arguments.value("signature-file")) {
        std::string problem;
        OptString signature = readTextArgument(*path, &problem);
        if (!signature) return inputError(problem);
        PWSignatureAmendment::setSignatureModifier(std::make_shared<FileSignature>(fgTrim(*signature)));
    }

    auto lines = std::make_shared<StandardErrorLines>();
    if (arguments.flag("log")) {
        Application::shared().setLogger(lines);
    } else {
        quietLibraryLog();
    }
    Application::shared().setBundleIdentifier("org.fgpostwright.postwright");

    PWMessageContentsRef contents = readMessageContents(arguments, "amend");
    if (!contents) return 1;
    auto message = FGPostwrightMessage::initWithMessageContents(contents, true);
    auto context = PWMessageAmendmentContext::newWithContextType(contextType.value_or(1), userInfo);
    context->setIdentifier(fromUTF8(arguments.positionals()[0]));
    if (arguments.flag("log")) context->setLogger(lines);

    ErrorRef error;
    std::shared_ptr<FGPostwrightMessage> amended =
        message->messageByApplyingAmendments(list, context, options.value_or(0), &error);
    PWMessageContentsRef amendedContents = amended ? amended->messageContents() : nullptr;
    if (!amendedContents) return amendmentFailure(error);
    return writeMessageResult(amendedContents, arguments);
}

}  // namespace postwright::tool
