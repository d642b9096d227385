#include "MessageComposing.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "MessageInput.hpp"
#include "MimeTree.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Message/FGFileAttachment.hpp"
#include "postwright/Mime/MimeConstants.hpp"

namespace postwright::tool {

namespace {

bool isFieldName(std::string_view name) {
    if (name.empty()) return false;
    for (char c : name) {
        if (c <= ' ' || c >= 127 || c == ':') return false;
    }
    return true;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

std::string addressError(std::string_view name, std::u16string_view value) {
    return "cannot read the addresses of " + std::string(name) + ": \"" + toUTF8(value) + "\"";
}

// Every mailbox must be a usable address: a user who mistypes one hears of it rather than sending to it.
bool allValid(const PWEmailAddressList& addresses) {
    for (const auto& address : addresses) {
        if (!address || !address->valid()) return false;
    }
    return !addresses.empty();
}

bool startsWithIgnoringASCIICase(std::u16string_view text, size_t at, std::u16string_view prefix) {
    if (text.size() - at < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        char16_t c = text[at + i];
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
        if (c != prefix[i]) return false;
    }
    return true;
}

}  // namespace

std::string setHeaderField(PWMutableMessageHeaders& headers, std::string_view name, std::u16string_view value) {
    if (!isFieldName(name)) return "\"" + std::string(name) + "\" is not a header field name";
    std::u16string key = fromUTF8(name);
    if (fgTrim(value).empty()) {
        headers.removeHeaderForKey(key);
        return {};
    }
    if (equalsIgnoringCase(name, "Subject")) {
        headers.setSubject(std::u16string(value));
        return {};
    }
    if (equalsIgnoringCase(name, "From") || equalsIgnoringCase(name, "Sender")) {
        std::optional<PWEmailAddressList> addresses =
            PWEmailAddress::emailAddressesFromHeaderValue(std::u16string(value));
        if (!addresses || !allValid(*addresses)) return addressError(name, value);
        equalsIgnoringCase(name, "From") ? headers.setFrom(*addresses) : headers.setSender(*addresses);
        return {};
    }
    static constexpr std::string_view kRecipientFields[] = {"To", "Cc", "Bcc", "Reply-To"};
    for (std::string_view field : kRecipientFields) {
        if (!equalsIgnoringCase(name, field)) continue;
        std::optional<PWEmailAddressGroupList> groups =
            PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(std::u16string(value));
        if (!groups || groups->empty()) return addressError(name, value);
        for (const auto& group : *groups) {
            // A named group may be empty ("undisclosed-recipients:;"); a plain mailbox may not.
            PWEmailAddressList members = group->addresses();
            if (members.empty() ? !group->groupName() : !allValid(members)) return addressError(name, value);
        }
        if (field == "To") headers.setRecipients(*groups);
        if (field == "Cc") headers.setCcRecipients(*groups);
        if (field == "Bcc") headers.setBccRecipients(*groups);
        if (field == "Reply-To") headers.setReplyToRecipients(*groups);
        return {};
    }
    headers.setHeader(std::u16string(value), key);
    return {};
}

std::optional<std::u16string> readTextArgument(const std::string& path, std::string* error) {
    std::optional<Data> bytes;
    if (path == "-") {
        bytes = readInput(path);
    } else {
        ErrorRef fileError;
        bytes = Data::mapFile(path, &fileError);
        if (!bytes) {
            *error =
                "cannot read " + path + ": " + toUTF8(fileError ? fileError->localizedDescription : u"unknown error");
            return std::nullopt;
        }
    }
    Data data = *bytes;
    if (data.hasPrefix("\xEF\xBB\xBF")) data = data.subdata(3, data.length() - 3);
    if (OptString text = utf8EncodedString(data)) return text;
    TextEncoding used = kNoEncoding;
    if (OptString text = newByDecodingData(data, &used)) return text;
    *error = path + " does not read as text";
    return std::nullopt;
}

std::u16string composerHTMLFromMessageHTML(std::u16string_view html) {
    std::u16string out;
    out.reserve(html.size());
    for (size_t i = 0; i < html.size(); ++i) {
        // A value that starts with "cid:": right after the "=" of an attribute, or after its opening quote.
        bool valueStart = i > 0 && (html[i - 1] == u'=' ||
                                    ((html[i - 1] == u'"' || html[i - 1] == u'\'') && i > 1 && html[i - 2] == u'='));
        if (valueStart && startsWithIgnoringASCIICase(html, i, u"cid:")) {
            out += FGWebViewContentIdSchemeKey;
            i += 3;
            continue;
        }
        out += html[i];
    }
    return out;
}

int writeMessageBytes(const Data& bytes, const std::optional<std::string>& outputPath) {
    if (!outputPath) {
        size_t written = std::fwrite(bytes.bytes(), 1, bytes.length(), stdout);
        std::fflush(stdout);
        return written == bytes.length() ? 0 : inputError("could not write the message to standard output");
    }
    namespace fs = std::filesystem;
    fs::path target(*outputPath);
    fs::path temporary = target;
    temporary += ".postwright-" + std::to_string(::getpid()) + ".tmp";
    FILE* file = std::fopen(temporary.c_str(), "wb");
    if (!file) return inputError("cannot write " + *outputPath + ": " + std::strerror(errno));
    bool ok = std::fwrite(bytes.bytes(), 1, bytes.length(), file) == bytes.length();
    ok = std::fclose(file) == 0 && ok;
    std::error_code code;
    if (ok) fs::rename(temporary, target, code);
    if (!ok || code) {
        fs::remove(temporary, code);
        return inputError("cannot write " + *outputPath);
    }
    return 0;
}

bool readAttachmentArguments(const std::vector<std::string>& paths, FGAttachmentList* attachments) {
    for (const std::string& path : paths) {
        ErrorRef error;
        auto attachment = FGFileAttachment::attachmentWithContentsOfFile(path, &error);
        if (!attachment) {
            inputError("cannot attach " + path + ": " + toUTF8(error ? error->localizedDescription : u"unknown error"));
            return false;
        }
        attachments->push_back(attachment);
    }
    return true;
}

int writeMessageResult(const PWMessageContentsRef& contents, const Arguments& arguments) {
    Data bytes = contents->contentData();
    if (arguments.flag("tree")) {
        return writeMessageBytes(Data::withString(dumpJSON(treeJsonOfMessageBytes(bytes)) + "\n"),
                                 arguments.value("output"));
    }
    return writeMessageBytes(bytes, arguments.value("output"));
}

Json treeJsonOfMessageBytes(const Data& bytes) {
    PWMessageContentsRef contents = PWMessageContents::initWithHeaderAndBodyData(bytes);
    PWMimePartRef root = contents ? positionalRootMimePart(contents) : nullptr;
    return root ? jsonMimePart(*root) : Json(nullptr);
}

}  // namespace postwright::tool
