#include "postwright/Mime/PWMimeAttachment.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "Mime/detail/ExportQueue.hpp"
#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Base/MimeTypes.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/QuotedPrintable.hpp"

namespace postwright {

const PWMimeClass& PWMimeAttachment::mimeClass() {
    static const PWMimeClass descriptor{u"PWMimeAttachment", &PWMimePart::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWMimeAttachment()); }};
    return descriptor;
}

// ---- Names and types ----------------------------------------------------------------------------------------

std::u16string PWMimeAttachment::unknownFileName() const {
    return formatString(u"%@.%@", {localizedString(u"UNTITLED_ATTACHMENT", u"UNTITLED_ATTACHMENT"), subtype()});
}

OptString PWMimeAttachment::attachmentFilename() const {
    OptString name = contentType().text(u"name");
    if (!name || name->empty()) {
        std::optional<ParameterDictionary> disposition = contentDisposition();
        name = disposition ? disposition->text(u"filename") : std::nullopt;
    }
    if (!name) return std::nullopt;
    return trimCharacters(*name, u"\"");
}

OptString PWMimeAttachment::utType() const {
    if (!type()) return std::nullopt;
    return MIMEtype();
}

bool PWMimeAttachment::isImage() const {
    if (FGTransferEncoding() != kFGTransferEncodingBase64) return false;
    Data content = contentData();
    Data head = base64DecodedData(content.subdata(0, 16));
    return imageMimeType(head.bytes(), head.length()).has_value();
}

std::string PWMimeAttachment::attachmentExportPath() const {
    PWMimePartRef root = rootMimePart();
    std::string directory =
        Application::shared().attachmentDirectoryDelegate()->pathToAttachmentDirectoryForIdentifier(
            root->identifier().value_or(u""));
    OptString name = attachmentFilename();
    if (!name || name->empty()) name = filename();
    if (!name || name->empty()) name = unknownFileName();
    return (std::filesystem::path(directory) / toUTF8(pathSafeBaseFileName(*name))).string();
}

OptString PWMimeAttachment::alternativeTitle() const {
    std::lock_guard lock(mutex_);
    return alternativeTitle_;
}

void PWMimeAttachment::setAlternativeTitle(const OptString& title) {
    std::lock_guard lock(mutex_);
    alternativeTitle_ = title;
}

OptString PWMimeAttachment::resourceURL() const { return contentIdURLForContentId(contentId().value_or(u"")); }

std::u16string contentIdURLForContentId(std::u16string_view contentId) {
    // RFC 3986: characters outside the unreserved and reserved sets, and "%" itself, are percent-encoded,
    // so that the URL survives as an attribute value and compares equal to the same id written elsewhere.
    static const char hex[] = "0123456789ABCDEF";
    std::u16string url(FGWebViewContentIdSchemeKey);
    for (unsigned char byte : toUTF8(contentId)) {
        bool plain = byte > 0x20 && byte < 0x7F && std::string_view("\"%<>\\^`{|}").find(static_cast<char>(byte)) ==
                                                      std::string_view::npos;
        if (plain) {
            url.push_back(byte);
        } else {
            url.push_back(u'%');
            url.push_back(static_cast<char16_t>(hex[byte >> 4]));
            url.push_back(static_cast<char16_t>(hex[byte & 15]));
        }
    }
    return url;
}

// ---- Content ------------------------------------------------------------------------------------------------

std::optional<Data> PWMimeAttachment::decodedAttachmentData() const {
    Data body = contentData();
    if (body.empty()) return std::nullopt;
    OptString encoding = contentTransferEncoding();
    if (!encoding) {
        // Without a transfer encoding the body is only vouched for by its charset: it is given out as it
        // stands when its bytes are valid in that charset.
        OptString charsetName = charset();
        if (!charsetName) return std::nullopt;
        TextEncoding declared = PWencodingForCharSetName(*charsetName);
        if (isUnusableEncoding(declared) || !stringFromData(body, declared)) return std::nullopt;
        return body;
    }
    std::u16string lower = lowercase(*encoding);
    if (lower == kMimeTransferEncodingBase64) return base64DecodedData(body);
    if (lower == kMimeTransferEncoding7Bit || lower == kMimeTransferEncoding8Bit ||
        lower == kMimeTransferEncodingBinary) {
        return body;
    }
    if (lower != kMimeTransferEncodingQuotedPrintable) return std::nullopt;
    if (decodesQuotedPrintableAsBytes()) {
        ErrorRef error;
        std::optional<ChainedData> decoded = decodedQuotedPrintableDispatchDataWithOptions(body, 0, &error);
        if (!decoded) {
            logMessage(formatString(u"Error creating the dispatch data from PDF content: %@",
                                    {error ? OptString(error->localizedDescription) : std::nullopt}));
            return std::nullopt;
        }
        return decoded->flatten();
    }
    OptString text = decodedQuotedPrintableStringWithEncoding(body, stringEncoding(), 0, nullptr);
    if (!text) return std::nullopt;
    return Data::adopting(toUTF8(*text));
}

namespace {
ErrorRef posixError(int code, std::u16string description) {
    return makeError(kPOSIXErrorDomain, code, std::move(description));
}
}  // namespace

bool PWMimeAttachment::_exportData(const std::optional<Data>& data, const std::string& path, ErrorRef* error) {
    namespace fs = std::filesystem;
    setSlot(error, nullptr);
    if (!data) return false;
    const fs::path target(path);
    const fs::path directory = target.parent_path();
    std::error_code failure;
    if (!directory.empty()) {
        if (fs::exists(fs::symlink_status(directory, failure)) && !fs::is_directory(directory, failure)) {
            fs::remove(directory, failure);
        }
        failure.clear();
        fs::create_directories(directory, failure);
        if (failure) {
            setSlot(error, posixError(failure.value(), fromUTF8(failure.message())));
            return false;
        }
    }
    // An existing file is kept aside until the new one is complete, so that a failed export loses nothing.
    fs::path aside;
    if (fs::exists(fs::symlink_status(target, failure))) {
        aside = directory / toUTF8(uuidString());
        fs::rename(target, aside, failure);
        if (failure) {
            setSlot(error, posixError(failure.value(), fromUTF8(failure.message())));
            return false;
        }
    }

    int writeError = 0;
    const std::u16string fileName = fromUTF8(target.filename().string());
    detail::runOnExportQueue([&] {
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
        if (fd < 0) {
            writeError = errno;
            return;
        }
        const uint8_t* bytes = data->bytes();
        size_t remaining = data->length();
        while (remaining > 0) {
            ssize_t written = ::write(fd, bytes, remaining);
            if (written < 0) {
                if (errno == EINTR) continue;
                writeError = errno;
                break;
            }
            bytes += written;
            remaining -= static_cast<size_t>(written);
            logMessage(formatString(u"[MIME:export] exported %ld bytes %ld bytes remain file %@ ",
                                    {static_cast<long>(written), static_cast<long>(remaining), fileName}));
        }
        if (::close(fd) != 0 && writeError == 0) writeError = errno;
    });

    if (writeError != 0) {
        if (!aside.empty()) {
            fs::rename(aside, target, failure);
        } else {
            fs::remove(target, failure);
        }
        setSlot(error, posixError(writeError, formatString(u"Count not write attachment to path:%@", {fromUTF8(path)})));
        return false;
    }
    if (!aside.empty()) fs::remove(aside, failure);
    return true;
}

// ---- Queries and presentation ------------------------------------------------------------------------------

PWMimePartRef PWMimeAttachment::mimePartByReplacingMimeAttachments(const std::vector<PWMimePartRef>& attachments) const {
    OptString own = contentId();
    for (const PWMimePartRef& attachment : attachments) {
        if (attachment && attachment->contentId() == own) return attachment;
    }
    return mutableCopy();
}

std::u16string PWMimeAttachment::htmlFragmentForContext(int, unsigned, std::vector<PWMimePartRef>*) const {
    OptString name = alternativeTitle();
    if (!name) name = attachmentFilename();
    if (!name || name->empty()) name = filename();
    if (!name || name->empty()) name = unknownFileName();
    std::u16string type = MIMEtype();
    std::u16string url = stringByEscapingForHTMLAttribute(*resourceURL());
    std::u16string escapedName = stringByEscapingForHTMLAttribute(*name);
    std::u16string html = u"<span orw-mime-type=\"" + stringByEscapingForHTMLAttribute(type) + u"\" orw-name=\"" +
                          escapedName + u"\" orw-src=\"" + url + u"\">";
    if (hasPrefix(type, u"image/")) {
        html += u"<img src=\"" + url + u"\" alt=\"" + escapedName + u"\">";
    } else {
        html += stringByEscapingForHTMLContent(*name);
    }
    return html + u"</span>";
}

}  // namespace postwright
