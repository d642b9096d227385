// postwright extract FILE [--dir D]: every attachment written to a file.
#include <filesystem>
#include <set>

#include "Commands.hpp"
#include "MessageInput.hpp"
#include "MimeTree.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"

namespace postwright::tool {

namespace {
// Every message's attachments go straight into the one directory the user named.
class FixedAttachmentDirectory : public AttachmentDirectoryDelegate {
public:
    explicit FixedAttachmentDirectory(std::string directory) : directory_(std::move(directory)) {}
    std::string pathToAttachmentDirectoryForIdentifier(std::u16string_view) override { return directory_; }

private:
    std::string directory_;
};

// Two attachments of the same name must not overwrite each other: "a.pdf", then "a-2.pdf", "a-3.pdf".
std::string unusedPath(const std::string& path, std::set<std::string>& used) {
    if (used.insert(path).second) return path;
    std::filesystem::path original(path);
    for (int counter = 2;; ++counter) {
        std::filesystem::path candidate = original.parent_path() / (original.stem().string() + "-" +
                                                                    std::to_string(counter) +
                                                                    original.extension().string());
        if (used.insert(candidate.string()).second) return candidate.string();
    }
}
}  // namespace

std::string extractHelp() {
    return std::string(
               "Usage: postwright extract FILE [--index N] [--dir D]\n"
               "\n"
               "Writes every attachment of the message to a file and prints, as a JSON array, one object\n"
               "per attachment: identifier, class, type, name, path, bytes written (or error, or\n"
               "skipped when the body does not decode to bytes).\n"
               "\n"
               "Attachments are the parts the type registry makes attachments: a disposition of\n"
               "\"attachment\", an application/* type, or a type of the attachment registry (images,\n"
               "audio, video, PDF, calendars, embedded messages, signatures, text other than plain and\n"
               "HTML), except the plain and HTML bodies of an alternative. Bodies are decoded from\n"
               "base64 or quoted-printable; 7bit, 8bit and binary bodies are written as they stand; a\n"
               "body without a transfer encoding is written only when its charset vouches for it.\n"
               "\n"
               "Each file is named after the attachment (made safe for a path; UNTITLED_ATTACHMENT.<subtype>\n"
               "when it has no name; -2, -3 ... added when a name repeats) and written with permissions\n"
               "0600. A file already there is replaced; should the write fail, the old file is put back.\n"
               "Every completed write is logged on stderr (\"[MIME:export] exported N bytes ...\").\n"
               "\n"
               "Options:\n"
               "  --dir D   the directory to write to (created when missing); without it, the library's\n"
               "            attachment directory under the system's temporary directory\n"
               "\n") +
           kMessageFileHelp +
           "\n"
           "Example:\n"
           "  postwright extract examples/multipart.eml --dir /tmp/attachments\n";
}

int runExtract(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"dir", "index"}, {});
    if (!arguments.ok()) return usageError("extract", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("extract", "expects exactly one FILE");
    if (std::optional<std::string> directory = arguments.value("dir")) {
        Application::shared().setAttachmentDirectoryDelegate(std::make_shared<FixedAttachmentDirectory>(*directory));
    }
    PWMessageContentsRef contents = readMessageContents(arguments, "extract");
    PWMimePartRef root = contents ? positionalRootMimePart(contents) : nullptr;
    if (!root) return 1;

    Json written = Json::array();
    std::set<std::string> usedPaths;
    bool failed = false;
    for (const PWMimePartRef& part : root->attachments()) {
        auto attachment = std::dynamic_pointer_cast<PWMimeAttachment>(part);
        if (!attachment) continue;
        Json entry = Json::object();
        entry["identifier"] = jsonText(attachment->identifier());
        entry["class"] = toUTF8(attachment->objectClass().name);
        entry["type"] = jsonText(attachment->MIMEtype());
        entry["name"] = jsonText(attachment->attachmentFilename());
        std::optional<Data> data = attachment->decodedAttachmentData();
        if (!data) {
            entry["skipped"] = "the body does not decode to bytes";
            written.push_back(std::move(entry));
            continue;
        }
        std::string path = unusedPath(attachment->attachmentExportPath(), usedPaths);
        entry["path"] = path;
        ErrorRef error;
        if (PWMimeAttachment::_exportData(data, path, &error)) {
            entry["bytes"] = data->length();
        } else {
            entry["error"] = jsonError(error);
            failed = true;
        }
        written.push_back(std::move(entry));
    }
    printJSON(written);
    return failed ? 1 : 0;
}

}  // namespace postwright::tool
