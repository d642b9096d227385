// FGFileAttachment: a file a user attaches to a message being composed.
//
// The attachment holds the file's bytes (copied from memory, or a memory-mapped file), its file name, its
// MIME type (from the name's extension by default), a content id and the URL under which the composer's
// HTML refers to it. Its part is an attachment of that type: Content-Disposition "attachment" with the file
// name, Content-Type with the name, base64 in lines of 76 characters, and the Content-Id. The base64 text
// is made once and shared by every part the attachment hands out, so a message regenerated many times does
// not encode the file again.
//
//     ErrorRef error;
//     auto report = FGFileAttachment::attachmentWithContentsOfFile("report.pdf", &error);
//     auto logo = FGFileAttachment::attachmentWithData(png, u"logo.png");
//     html = u"<p><img src=\"" + *logo->resourceURL() + u"\"></p>";   // an inline image of the HTML
//     message->setAttachments({report});
//     message->setHtmlRelatedAttachments({logo});
//
// An attachment is immutable once made; it may be shared between threads and messages.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"
#include "postwright/Mime/FGMessageAttachment.hpp"
#include "postwright/Mime/PWMimePart.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The domain of the content ids given to attachments that come without one: "<UUID>@postwright.invalid".
inline constexpr std::u16string_view kFGGeneratedContentIdDomain = u"postwright.invalid";

// A file attached to a message being composed: its bytes, name, type, content id and URL.
class FGFileAttachment : public FGMessageAttachment, public std::enable_shared_from_this<FGFileAttachment> {
public:
    // An attachment of the bytes. Without a MIME type, the one registered for the file name's extension,
    // else "application/octet-stream". Without a content id, "<random UUID>@postwright.invalid". Without a
    // resource URL, the content-id URL of the content id ("x-postwright-cid:" and the id, as rendered
    // messages write it).
    static std::shared_ptr<FGFileAttachment> attachmentWithData(const Data& data, std::u16string_view filename,
                                                                const OptString& mimeType = std::nullopt,
                                                                const OptString& contentId = std::nullopt,
                                                                const OptString& resourceURL = std::nullopt);
    // The same for a file, memory-mapped; the file name defaults to the path's last component. nullptr, with
    // the error of the file system, when the path is not a readable regular file. The slot is cleared on
    // entry.
    static std::shared_ptr<FGFileAttachment> attachmentWithContentsOfFile(const std::string& path, ErrorRef* error,
                                                                          const OptString& filename = std::nullopt,
                                                                          const OptString& mimeType = std::nullopt,
                                                                          const OptString& contentId = std::nullopt,
                                                                          const OptString& resourceURL = std::nullopt);

    const Data& data() const noexcept { return data_; }
    const std::u16string& filename() const noexcept { return filename_; }
    const std::u16string& mimeType() const noexcept { return mimeType_; }
    const std::u16string& contentId() const noexcept { return contentId_; }

    OptString resourceURL() const override { return resourceURL_; }
    // A new mutable attachment part each time (the base64 body is shared): parts go into one tree each.
    PWMimePartRef mimePart() const override;

    FGFileAttachment(const FGFileAttachment&) = delete;
    FGFileAttachment& operator=(const FGFileAttachment&) = delete;

private:
    FGFileAttachment() = default;
    Data base64Body() const;

    Data data_;
    std::u16string filename_;
    std::u16string mimeType_;
    std::u16string contentId_;
    std::u16string resourceURL_;
    mutable std::mutex mutex_;
    mutable std::optional<Data> base64Body_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
