// postwright inspect FILE: everything about one message, as a readable summary or as one JSON object.
#include <cstdio>

#include "Commands.hpp"
#include "MessageInput.hpp"
#include "MessageJson.hpp"
#include "MimeTree.hpp"
#include "postwright/Lexical/DateFormat.hpp"
#include "postwright/Message/FGMessageAbstract.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"

namespace postwright::tool {

std::string inspectHelp() {
    return std::string(
               "Usage: postwright inspect FILE [--index N] [--json] [--now DATE] [--tz ZONE] [--locale ID]\n"
               "\n"
               "Shows one message: who it is from and to, its subject and dates, its identifiers, its MIME\n"
               "tree as an indented outline, its attachments with their sizes, and whether it is signed\n"
               "or encrypted.\n"
               "\n"
               "--json prints everything as one JSON object instead:\n"
               "  headers         what `postwright headers` prints\n"
               "  abstract        the message's summary, every field under its own name (contentIdentifier,\n"
               "                  subject, from, sender, recipients, ..., messageSize, numberOfAttachments,\n"
               "                  encryptionFlags); attachments and encryption are counted from the tree\n"
               "  tree            what `postwright tree` prints\n"
               "  plainText       the text a reader sees in a plain-text view (null when there is none)\n"
               "  html            the complete HTML document a rich view shows\n"
               "  attachments     [{\"identifier\", \"filename\", \"type\", \"size\", \"decodedSize\"}]: sizes in\n"
               "                  bytes, decodedSize after base64 or quoted-printable is undone\n"
               "  size            bytes of the message\n"
               "  contentSize     the decoded size of the tree, not in bytes: for a text part the UTF-16\n"
               "                  code units of its text, for another leaf the bytes of its decoded body,\n"
               "                  for a multipart its header block's bytes plus its children's sizes\n"
               "  encryptionFlags 2 for PGP encryption, 16384 (0x4000) for a signature, or-ed\n"
               "  isWellFormed    false when the message or any part of it begins with CR LF, a blank line\n"
               "                  in place of its header block (parts of 3 bytes or more); a multipart body\n"
               "                  that cannot be split does not make it false\n"
               "\n"
               "--now DATE, --tz ZONE and --locale ID pin the clock, time zone and locale that tolerant\n"
               "date reading uses.\n"
               "\n") +
           kMessageFileHelp +
           "\n"
           "Examples:\n"
           "  postwright inspect examples/multipart.eml\n"
           "  postwright inspect examples/mailbox.mbox --index 1 --json\n";
}

namespace {
struct Inspection {
    PWMessageContentsRef contents;
    PWMimePartRef root;
    std::shared_ptr<FGMessageAbstract> abstract;
    std::vector<PWMimePartRef> attachments;
};

OptString attachmentName(const PWMimePartRef& part) {
    if (auto attachment = std::dynamic_pointer_cast<PWMimeAttachment>(part)) {
        if (OptString name = attachment->attachmentFilename()) return name;
    }
    return part->filename();
}

Json jsonAttachments(const std::vector<PWMimePartRef>& attachments) {
    Json list = Json::array();
    for (const PWMimePartRef& part : attachments) {
        list.push_back({{"identifier", jsonText(part->identifier())},
                        {"filename", jsonText(attachmentName(part))},
                        {"type", jsonText(part->MIMEtype())},
                        {"size", part->mimeData().length()},
                        {"decodedSize", part->decodedSize()}});
    }
    return list;
}

Json inspectionJson(const Inspection& inspection) {
    const PWMessageContents& contents = *inspection.contents;
    Json result = Json::object();
    PWMessageHeadersRef headers = contents.headers();
    result["headers"] = headers ? jsonHeaders(*headers) : Json(nullptr);
    result["abstract"] = jsonAbstract(*inspection.abstract);
    result["tree"] = jsonMimePart(*inspection.root);
    result["plainText"] = jsonText(contents.plainText());
    result["html"] = jsonText(contents.htmlDocumentWithContext(kMessageDisplayRich));
    result["attachments"] = jsonAttachments(inspection.attachments);
    result["size"] = contents.size();
    result["contentSize"] = contents.contentSize();
    result["encryptionFlags"] = contents.encryptionFlags();
    result["isWellFormed"] = contents.isWellFormed();
    return result;
}

// "1,234,567"
std::string groupedNumber(uint64_t number) {
    std::string digits = std::to_string(number);
    std::string grouped;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) grouped.push_back(',');
        grouped.push_back(digits[i]);
    }
    return grouped;
}

// "Comment <user@domain>", or the raw text of an address that does not read.
std::vector<std::u16string> addressTexts(const PWEmailAddressList& addresses) {
    std::vector<std::u16string> texts;
    for (const auto& address : addresses) {
        if (!address) continue;
        OptString text = address->displayAddress();
        if (!text) text = address->invalidRawAddress();
        if (text) texts.push_back(*text);
    }
    return texts;
}

std::string addressLine(const PWEmailAddressList& addresses) {
    return toUTF8(componentsJoinedBy(addressTexts(addresses), u", "));
}

std::string groupsLine(const PWEmailAddressGroupList& groups) {
    std::vector<std::u16string> texts;
    for (const auto& group : groups) {
        if (!group) continue;
        std::u16string joined = componentsJoinedBy(addressTexts(group->addresses()), u", ");
        if (OptString name = group->groupName()) joined = *name + u": " + joined + u";";
        if (!joined.empty()) texts.push_back(joined);
    }
    return toUTF8(componentsJoinedBy(texts, u", "));
}

void printField(const char* label, const std::string& value) {
    if (!value.empty()) std::printf("%-11s %s\n", label, value.c_str());
}

std::string dateLine(const std::optional<double>& date) {
    return date ? toUTF8(rfc2822Date(*date)) + "  (" + isoDateString(*date) + ")" : std::string();
}

// One line per part, indented by depth: identifier, type, charset and encoding, name, sizes.
void printOutline(const PWMimePartRef& part, int depth) {
    std::string line(static_cast<size_t>(depth) * 2 + 2, ' ');
    line += toUTF8(part->identifier().value_or(u"?")) + "  " + toUTF8(part->MIMEtype());
    if (!part->hasSubParts()) {
        if (OptString charset = part->charset(); charset && part->type() == u"text") line += "; " + toUTF8(*charset);
        if (OptString encoding = part->contentTransferEncoding()) line += ", " + toUTF8(*encoding);
        if (OptString name = part->filename()) line += ", \"" + toUTF8(*name) + "\"";
        line += ", " + groupedNumber(part->mimeData().length()) + " bytes";
        if (part->decodedSize() != part->mimeData().length()) {
            line += " (" + groupedNumber(part->decodedSize()) + " decoded)";
        }
    }
    std::printf("%s\n", line.c_str());
    for (const PWMimePartRef& child : part->subParts()) printOutline(child, depth + 1);
}

void printSummary(const std::string& path, const Inspection& inspection) {
    const FGMessageAbstract& abstract = *inspection.abstract;
    const PWMessageContents& contents = *inspection.contents;
    std::printf("%s\n\n", path.c_str());
    printField("From:", abstract.from() ? addressLine(*abstract.from()) : "");
    if (abstract.sender() && abstract.from() && addressLine(*abstract.sender()) != addressLine(*abstract.from())) {
        printField("Sender:", addressLine(*abstract.sender()));
    }
    printField("To:", abstract.recipients() ? groupsLine(*abstract.recipients()) : "");
    printField("Cc:", abstract.ccRecipients() ? groupsLine(*abstract.ccRecipients()) : "");
    printField("Bcc:", abstract.bccRecipients() ? groupsLine(*abstract.bccRecipients()) : "");
    printField("Reply-To:", abstract.replyToRecipients() ? groupsLine(*abstract.replyToRecipients()) : "");
    printField("Subject:", abstract.subject() ? toUTF8(*abstract.subject()) : "(none)");
    printField("Date:", dateLine(abstract.dateSent()));
    if (abstract.dateReceived() != abstract.dateSent()) printField("Received:", dateLine(abstract.dateReceived()));
    printField("Message-Id:", toUTF8(abstract.headerID().value_or(u"")));
    printField("Identifier:", toUTF8(abstract.contentIdentifier().value_or(u"")));
    printField("Size:",
               groupedNumber(contents.size()) + " bytes, " + groupedNumber(contents.contentSize()) + " decoded");
    uint64_t flags = contents.encryptionFlags();
    std::string security;
    if (flags & kMessageDigitallySigned) security = "signed";
    if (flags & kMessagePGPEncrypted) security += security.empty() ? "encrypted (PGP)" : ", encrypted (PGP)";
    printField("Security:", security.empty() ? "neither signed nor encrypted" : security);
    if (!contents.isWellFormed()) printField("Warning:", "a multipart body could not be split into its parts");

    std::printf("\nMIME tree:\n");
    printOutline(inspection.root, 0);
    if (inspection.attachments.empty()) {
        std::printf("\nNo attachments.\n");
        return;
    }
    std::printf("\nAttachments:\n");
    for (const PWMimePartRef& part : inspection.attachments) {
        std::printf("  %-10s %s  %s, %s bytes\n", toUTF8(part->identifier().value_or(u"?")).c_str(),
                    toUTF8(attachmentName(part).value_or(u"(no name)")).c_str(), toUTF8(part->MIMEtype()).c_str(),
                    groupedNumber(part->decodedSize()).c_str());
    }
}
}  // namespace

int runInspect(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"index", "now", "tz", "locale"}, {"json"});
    if (!arguments.ok()) return usageError("inspect", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("inspect", "expects exactly one FILE");
    std::optional<DateEnvironment::Override> pinned;
    if (int status = pinDateEnvironment("inspect", arguments, pinned)) return status;

    Inspection inspection;
    inspection.contents = readMessageContents(arguments, "inspect");
    if (!inspection.contents) return 1;
    inspection.root = positionalRootMimePart(inspection.contents);
    if (!inspection.root) return 1;
    inspection.attachments = inspection.contents->mimeAttachments();
    inspection.abstract = FGMessageAbstract::newWithMessageContents(inspection.contents);
    inspection.abstract->setNumberOfAttachments(inspection.attachments.size());
    inspection.abstract->setEncryptionFlags(inspection.contents->encryptionFlags());
    inspection.abstract->setEncryptionMethod(static_cast<int16_t>(inspection.contents->encryptionMethod()));

    if (arguments.flag("json")) {
        printJSON(inspectionJson(inspection));
    } else {
        printSummary(arguments.positionals()[0], inspection);
    }
    return 0;
}

}  // namespace postwright::tool
