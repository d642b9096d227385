#include "postwright/Message/FGFileAttachment.hpp"

#include <filesystem>

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/MimeTypes.hpp"
#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"

namespace postwright {

namespace {
constexpr std::u16string_view kDefaultMimeType = u"application/octet-stream";

std::u16string mimeTypeForFilename(std::u16string_view filename) {
    size_t dot = filename.rfind(u'.');
    if (dot == std::u16string_view::npos || dot + 1 == filename.size()) return std::u16string(kDefaultMimeType);
    return lowercase(mimeTypeForFilenameExtension(filename.substr(dot + 1)).value_or(std::u16string(kDefaultMimeType)));
}

// A MIME type the way a Content-Type value splits it; anything without a slash counts as unknown bytes.
std::pair<std::u16string, std::u16string> typeAndSubtype(std::u16string_view mimeType) {
    size_t slash = mimeType.find(u'/');
    if (slash == std::u16string_view::npos || slash == 0 || slash + 1 == mimeType.size()) {
        return {u"application", u"octet-stream"};
    }
    return {lowercase(fgTrim(mimeType.substr(0, slash))), lowercase(fgTrim(mimeType.substr(slash + 1)))};
}
}  // namespace

std::shared_ptr<FGFileAttachment> FGFileAttachment::attachmentWithData(const Data& data, std::u16string_view filename,
                                                                       const OptString& mimeType,
                                                                       const OptString& contentId,
                                                                       const OptString& resourceURL) {
    std::shared_ptr<FGFileAttachment> attachment(new FGFileAttachment());
    attachment->data_ = data;
    attachment->filename_ = std::u16string(filename);
    auto [type, subtype] = typeAndSubtype(mimeType && !mimeType->empty() ? *mimeType : mimeTypeForFilename(filename));
    attachment->mimeType_ = type + u"/" + subtype;
    attachment->contentId_ = contentId && !contentId->empty()
                                 ? trimCharacters(*contentId, u"<> ")
                                 : uuidString() + u"@" + std::u16string(kFGGeneratedContentIdDomain);
    attachment->resourceURL_ =
        resourceURL && !resourceURL->empty() ? *resourceURL : contentIdURLForContentId(attachment->contentId_);
    return attachment;
}

std::shared_ptr<FGFileAttachment> FGFileAttachment::attachmentWithContentsOfFile(
    const std::string& path, ErrorRef* error, const OptString& filename, const OptString& mimeType,
    const OptString& contentId, const OptString& resourceURL) {
    // Mapping refuses anything but a regular file (a folder, a device), with the system's error.
    std::optional<Data> data = Data::mapFile(path, error);
    if (!data) return nullptr;
    std::u16string name = filename ? *filename : fromUTF8(std::filesystem::path(path).filename().string());
    return attachmentWithData(*data, name, mimeType, contentId, resourceURL);
}

Data FGFileAttachment::base64Body() const {
    std::lock_guard lock(mutex_);
    if (!base64Body_) {
        Base64Options options;
        options.lineBreaks = true;
        base64Body_ = Data::adopting(base64EncodedString(data_, Base64Alphabet::Standard, options));
    }
    return *base64Body_;
}

PWMimePartRef FGFileAttachment::mimePart() const {
    auto [type, subtype] = typeAndSubtype(mimeType_);
    ParameterDictionary contentType{{std::u16string(kContentTypeKeyType), type},
                                    {std::u16string(kContentTypeKeySubtype), subtype},
                                    {std::u16string(kContentTypeKeyFullType), mimeType_}};
    if (!filename_.empty()) contentType.set(std::u16string(kContentTypeKeyName), filename_);
    ParameterDictionary disposition{{std::u16string(kContentDispositionKeyType), std::u16string(u"attachment")}};
    if (!filename_.empty()) disposition.set(std::u16string(kContentDispositionKeyFilename), filename_);

    const PWMimeClass& cls = PWMimePart::MimeClassForBaseType(type, subtype, &contentType, &disposition);
    PWMimePartRef part = PWMimePart::initMutable(cls);
    part->setContentType(contentType);
    part->setContentDisposition(disposition);
    part->setContentTransferEncoding(std::u16string(kMimeTransferEncodingBase64));
    part->setContentId(contentId_);
    part->setContentData(base64Body());
    part->setHeaders(part->headers());
    return part;
}

}  // namespace postwright
