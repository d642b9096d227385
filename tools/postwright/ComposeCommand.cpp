// postwright compose: a new message from a JSON description, flags, or both.
#include <nlohmann/json.hpp>

#include <cctype>
#include <filesystem>
#include <set>

#include "Commands.hpp"
#include "MessageComposing.hpp"
#include "postwright/Base/Base64.hpp"
#include "postwright/Message/FGBaseMutableMessage.hpp"
#include "postwright/Message/FGFileAttachment.hpp"

namespace postwright::tool {

namespace fs = std::filesystem;

std::string composeHelp() {
    return "Usage: postwright compose [SPEC|-] [--output FILE] [--tree]\n"
           "       postwright compose --from ADDRESS --to ADDRESS[,ADDRESS...] [--cc ...] [--bcc ...]\n"
           "                          --subject TEXT [--text FILE|-] [--html FILE] [--attach FILE]...\n"
           "\n"
           "Builds a new message and writes its bytes (CR LF line ends) to standard output or FILE.\n"
           "The message is a draft as a composer saves it: it carries an X-Orwin-Composer-Id and no\n"
           "Date or Message-Id, which `postwright amend` with a PrepareDelivery amendment gives it.\n"
           "\n"
           "SPEC is a JSON description (\"-\" reads it from standard input):\n"
           "  {\"headers\": [[\"From\", \"Ann <ann@example.com>\"], [\"To\", \"bob@example.org\"],\n"
           "               [\"Subject\", \"Figures\"]],\n"
           "   \"text\": \"plain text, or null\",\n"
           "   \"html\": \"<p>HTML, or null</p><img src=\\\"cid:chart@example.com\\\">\",\n"
           "   \"attachments\": [{\"path\": \"report.pdf\"}],\n"
           "   \"htmlRelatedAttachments\": [{\"path\": \"chart.png\", \"contentId\": \"chart@example.com\"}],\n"
           "   \"options\": 0}\n"
           "Every field may be left out. An attachment is {\"path\": FILE} or {\"data\": BASE64}, with\n"
           "optional \"filename\" (default: the file's name), \"mimeType\" (default: from the file name's\n"
           "extension), \"contentId\" (default: a new one) and \"resourceURL\" (default: the content-id URL\n"
           "of its content id). Relative paths are read from the folder of the SPEC file. options are\n"
           "the creation options: 1 writes no X-Orwin-Composer-Id, 2 makes no plain-text alternative\n"
           "for an HTML body.\n"
           "\n"
           "What comes out:\n"
           "  text only                    text/plain (UTF-8, quoted-printable)\n"
           "  HTML                         multipart/alternative of the HTML's plain text and the HTML\n"
           "  HTML showing inline images   multipart/related around that, with the images\n"
           "  attachments                  multipart/mixed: the body, then the attachments\n"
           "In the HTML, an attribute value \"cid:ID\" names the attachment whose content id is ID\n"
           "(RFC 2392); HTML-related attachments that the HTML shows become its inline resources, the\n"
           "others are attached after the body.\n"
           "\n"
           "Address fields (From, Sender, To, Cc, Bcc, Reply-To) are read as address lists: display\n"
           "names may be any text, and an address that does not read is an error. Other fields are\n"
           "written as given, encoded when they are not plain ASCII; a value holding a line break can\n"
           "never start a header line of its own. A field named twice takes its last value.\n"
           "\n"
           "Options (they may be combined with SPEC, and win over it):\n"
           "  --from, --to, --cc, --bcc ADDRESSES   the address fields (comma-separated lists)\n"
           "  --subject TEXT                        the subject\n"
           "  --text FILE|-                         the plain text, from a file (UTF-8) or standard input\n"
           "  --html FILE                           the HTML body\n"
           "  --attach FILE                         attach a file (repeatable), after SPEC's attachments\n"
           "  --output FILE                         write there instead of standard output; nothing is\n"
           "                                        written unless the whole message was built\n"
           "  --tree                                print the message's MIME tree (as `postwright tree`)\n"
           "                                        instead of its bytes\n"
           "\n"
           "Exit status: 0 when written, 1 for a file that cannot be read, a SPEC that is not JSON or has a\n"
           "field of the wrong type, or nothing to send; 2 for a usage error.\n"
           "\n"
           "Examples:\n"
           "  postwright compose --from ann@example.com --to bob@example.org --subject Hello \\\n"
           "      --text note.txt --attach report.pdf --output hello.eml\n"
           "  postwright compose draft.json --tree\n";
}

namespace {

struct Description {
    std::vector<std::pair<std::string, std::u16string>> headers;
    OptString text;
    OptString html;
    FGAttachmentList attachments;
    FGAttachmentList htmlRelatedAttachments;
    uint64_t options = 0;
};

// The problem with a description, named after the field it is in.
struct DescriptionError {
    std::string message;
};

bool isBase64Text(const std::string& text) {
    for (unsigned char c : text) {
        if (std::isalnum(c) || c == '+' || c == '/' || c == '=' || std::isspace(c)) continue;
        return false;
    }
    return true;
}

OptString optionalString(const nlohmann::json& object, const char* key, const std::string& where) {
    auto found = object.find(key);
    if (found == object.end() || found->is_null()) return std::nullopt;
    if (!found->is_string()) throw DescriptionError{where + "." + key + " must be a string"};
    return fromUTF8(found->get<std::string>());
}

FGMessageAttachmentRef readAttachment(const nlohmann::json& entry, const fs::path& folder, const std::string& where) {
    if (!entry.is_object()) throw DescriptionError{where + " must be an object with \"path\" or \"data\""};
    for (const auto& [key, value] : entry.items()) {
        static const std::set<std::string> kKeys = {"path", "data", "filename", "mimeType", "contentId", "resourceURL"};
        if (!kKeys.count(key)) throw DescriptionError{where + " has an unknown field \"" + key + "\""};
    }
    OptString filename = optionalString(entry, "filename", where);
    OptString mimeType = optionalString(entry, "mimeType", where);
    OptString contentId = optionalString(entry, "contentId", where);
    OptString resourceURL = optionalString(entry, "resourceURL", where);
    OptString path = optionalString(entry, "path", where);
    OptString data = optionalString(entry, "data", where);
    if (path && data) throw DescriptionError{where + " has both \"path\" and \"data\": give one"};
    if (path) {
        fs::path file = fs::path(toUTF8(*path));
        if (file.is_relative()) file = folder / file;
        std::error_code code;
        if (!fs::is_regular_file(file, code)) {
            throw DescriptionError{where + ".path: " + file.string() +
                                   (fs::exists(file, code) ? " is not a regular file" : " does not exist")};
        }
        ErrorRef error;
        auto attachment = FGFileAttachment::attachmentWithContentsOfFile(file.string(), &error, filename, mimeType,
                                                                         contentId, resourceURL);
        if (!attachment) {
            throw DescriptionError{where + ".path: cannot read " + file.string() + ": " +
                                   toUTF8(error ? error->localizedDescription : u"unknown error")};
        }
        return attachment;
    }
    if (!data) throw DescriptionError{where + " needs \"path\" or \"data\""};
    std::string text = toUTF8(*data);
    if (!isBase64Text(text)) throw DescriptionError{where + ".data is not base64"};
    return FGFileAttachment::attachmentWithData(base64DecodedData(Data::withString(text)),
                                                filename.value_or(u"attachment"), mimeType, contentId, resourceURL);
}

FGAttachmentList readAttachmentList(const nlohmann::json& spec, const char* key, const fs::path& folder) {
    FGAttachmentList list;
    auto found = spec.find(key);
    if (found == spec.end() || found->is_null()) return list;
    if (!found->is_array()) throw DescriptionError{std::string("\"") + key + "\" must be an array of attachments"};
    for (size_t i = 0; i < found->size(); ++i) {
        list.push_back(readAttachment((*found)[i], folder, std::string(key) + "[" + std::to_string(i) + "]"));
    }
    return list;
}

Description readDescription(const nlohmann::json& spec, const fs::path& folder) {
    if (!spec.is_object()) throw DescriptionError{"the description must be a JSON object"};
    for (const auto& [key, value] : spec.items()) {
        static const std::set<std::string> kKeys = {"headers", "text", "html", "attachments", "htmlRelatedAttachments",
                                                    "options"};
        if (!kKeys.count(key)) throw DescriptionError{"unknown field \"" + key + "\""};
    }
    Description description;
    if (auto headers = spec.find("headers"); headers != spec.end() && !headers->is_null()) {
        if (!headers->is_array()) throw DescriptionError{"\"headers\" must be an array of [name, value] pairs"};
        for (size_t i = 0; i < headers->size(); ++i) {
            const nlohmann::json& pair = (*headers)[i];
            if (!pair.is_array() || pair.size() != 2 || !pair[0].is_string() || !pair[1].is_string()) {
                throw DescriptionError{"headers[" + std::to_string(i) + "] must be a [name, value] pair of strings"};
            }
            description.headers.emplace_back(pair[0].get<std::string>(), fromUTF8(pair[1].get<std::string>()));
        }
    }
    for (const char* key : {"text", "html"}) {
        auto found = spec.find(key);
        if (found == spec.end() || found->is_null()) continue;
        if (!found->is_string()) throw DescriptionError{std::string("\"") + key + "\" must be a string or null"};
        (std::string(key) == "text" ? description.text : description.html) = fromUTF8(found->get<std::string>());
    }
    description.attachments = readAttachmentList(spec, "attachments", folder);
    description.htmlRelatedAttachments = readAttachmentList(spec, "htmlRelatedAttachments", folder);
    if (auto options = spec.find("options"); options != spec.end() && !options->is_null()) {
        if (!options->is_number_unsigned() && !(options->is_number_integer() && options->get<long long>() >= 0)) {
            throw DescriptionError{"\"options\" must be a non-negative integer"};
        }
        description.options = options->get<uint64_t>();
    }
    return description;
}

}  // namespace

int runCompose(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"output", "from", "to", "cc", "bcc", "subject", "text", "html", "attach"},
                        {"tree"});
    if (!arguments.ok()) return usageError("compose", arguments.error());
    if (arguments.positionals().size() > 1) return usageError("compose", "expects at most one SPEC");
    bool hasFlags = false;
    for (const char* name : {"from", "to", "cc", "bcc", "subject", "text", "html", "attach"}) {
        hasFlags = hasFlags || !arguments.values(name).empty();
    }
    if (arguments.positionals().empty() && !hasFlags) {
        return usageError("compose", "give a SPEC, or the message's --from, --to, --subject and body");
    }
    if (!arguments.positionals().empty() && arguments.positionals()[0] == "-" && arguments.value("text") == "-") {
        return usageError("compose", "SPEC and --text cannot both be read from standard input");
    }

    Description description;
    if (!arguments.positionals().empty()) {
        const std::string& path = arguments.positionals()[0];
        std::optional<Data> bytes = readInput(path);
        if (!bytes) return 1;
        nlohmann::json spec = nlohmann::json::parse(bytes->bytes(), bytes->bytes() + bytes->length(), nullptr, false);
        if (spec.is_discarded()) return inputError(path + " is not valid JSON");
        fs::path folder = path == "-" ? fs::current_path() : fs::absolute(fs::path(path)).parent_path();
        try {
            description = readDescription(spec, folder);
        } catch (const DescriptionError& error) {
            return inputError(path + ": " + error.message);
        }
    }

    auto headers = PWMutableMessageHeaders::init();
    std::vector<std::pair<std::string, std::u16string>> fields = description.headers;
    for (auto [flag, field] :
         {std::pair{"from", "From"}, {"to", "To"}, {"cc", "Cc"}, {"bcc", "Bcc"}, {"subject", "Subject"}}) {
        if (std::optional<std::string> value = arguments.value(flag)) fields.emplace_back(field, fromUTF8(*value));
    }
    for (const auto& [name, value] : fields) {
        if (std::string problem = setHeaderField(*headers, name, value); !problem.empty()) return inputError(problem);
    }

    std::string problem;
    if (std::optional<std::string> path = arguments.value("text")) {
        description.text = readTextArgument(*path, &problem);
        if (!description.text) return inputError(problem);
    }
    if (std::optional<std::string> path = arguments.value("html")) {
        description.html = readTextArgument(*path, &problem);
        if (!description.html) return inputError(problem);
    }
    if (!readAttachmentArguments(arguments.values("attach"), &description.attachments)) return 1;
    if (description.html) description.html = composerHTMLFromMessageHTML(*description.html);

    auto message = FGBaseMutableMessage::newWithHeaders(headers, description.text, description.html,
                                                        description.attachments, description.options);
    message->setHtmlRelatedAttachments(description.htmlRelatedAttachments);
    PWMessageContentsRef contents = message->messageContents();
    if (!contents) return inputError("nothing to send: the message has no text, HTML or attachment");
    return writeMessageResult(contents, arguments);
}

}  // namespace postwright::tool
