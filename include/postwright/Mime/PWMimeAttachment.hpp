// PWMimeAttachment: a part that is shown or saved as a file, and the attachment registry.
//
// The registry of PWMimePart picks this class (or one of the attachment kinds in AttachmentKinds.hpp)
// whenever the disposition says "attachment", the base type is "application", or the type is registered
// in the attachment registry. An attachment has a file name (made up from "UNTITLED_ATTACHMENT" and its
// subtype when the message gives none), decodes its body to bytes, and writes those bytes to a file.
//
//     for (const PWMimePartRef& part : root->attachments()) {
//         auto attachment = std::static_pointer_cast<PWMimeAttachment>(part);
//         ErrorRef error;
//         PWMimeAttachment::_exportData(attachment->decodedAttachmentData(), attachment->attachmentExportPath(), &error);
//     }
//
// In a rendered message an attachment stands as a placeholder element of the composer's vocabulary, so that
// the message can be edited and sent again with its attachments in place:
//     <span orw-mime-type="application/pdf" orw-name="report.pdf" orw-src="x-postwright-cid:ID">report.pdf</span>
// (an image placeholder holds an <img> of the same URL instead of the name).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "postwright/Export.hpp"
#include "postwright/Mime/FGMessageAttachment.hpp"
#include "postwright/Mime/PWMimePart.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A part that is shown or saved as a file, and the attachment object the composer holds for it.
class PWMimeAttachment : public PWMimePart, public FGMessageAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

    // ---- The attachment registry ----

    // Records cls under the lower-cased type: attachment kinds go to the attachment registry (any other
    // class to the general one, as with PWMimePart::registerForMimeType).
    static void registerForMimeType(const PWMimeClass& cls, std::u16string_view type);
    // The attachment registry's class for the type (whole type first, then "major/*"), or nullptr.
    static const PWMimeClass* classForMimeType(std::u16string_view type);

    // ---- Names and types ----

    // "%@.%@" of the localized text for "UNTITLED_ATTACHMENT" (the key itself when the host has none) and
    // the subtype: "UNTITLED_ATTACHMENT.pdf".
    std::u16string unknownFileName() const;
    // The Content-Type "name", or when that is empty the disposition's "filename"; double quotes trimmed
    // from both ends. nullopt when neither is there.
    OptString attachmentFilename() const;
    // The uniform type of the part: its MIME type text; nullopt when the part has no type.
    OptString utType() const;
    // True when the transfer encoding is base64 and the first 16 characters of the body decode to the
    // leading bytes of an image format, whatever the declared type.
    bool isImage() const;
    // The host's attachment directory for the root part's identifier, then the file name made safe for a
    // path (attachmentFilename, else filename, else unknownFileName).
    std::string attachmentExportPath() const;
    // The title shown instead of the file name (set by containers that present the part, such as the
    // returned message of a delivery report); nullopt when none was given.
    OptString alternativeTitle() const;
    void setAlternativeTitle(const OptString& title);

    // ---- Content ----

    // The body as bytes, by the lower-cased transfer encoding: base64 decoded; 7bit, 8bit and binary as they
    // stand; quoted-printable decoded (to bytes for a PDF, else to text in the part's encoding and then
    // UTF-8); without a transfer encoding, the body as it stands when the part has a charset that the bytes
    // are valid in, else nullopt; nullopt for an empty body and for any other transfer encoding.
    std::optional<Data> decodedAttachmentData() const;
    // Writes the bytes to path. No data writes nothing (false, no error). The directory is created (a file
    // standing where it should be is removed first); a file already at path is moved aside to a UUID name
    // and restored when the write fails, removed when it succeeds. The bytes are written by the process's
    // export queue (one worker thread) with permissions 0600, one write per contiguous region, each logged
    // as "[MIME:export] exported %ld bytes %ld bytes remain file %@ "; the caller waits. Errors: directory
    // errors as the system reports them (POSIX domain), write errors in the POSIX domain with the errno as
    // code and the description "Count not write attachment to path:%@". The slot is cleared on entry.
    static bool _exportData(const std::optional<Data>& data, const std::string& path, ErrorRef* error = nullptr);

    // ---- The composer's attachment object ----

    // The part itself: the message model lists parsed attachments as its attachment objects.
    PWMimePartRef mimePart() const override { return std::const_pointer_cast<PWMimePart>(shared_from_this()); }
    // "x-postwright-cid:" followed by the content id (characters that URLs do not allow percent-encoded).
    // Always has a value: every parsed part has a content id (its identifier when the message gives none).
    OptString resourceURL() const override;

    // ---- Tree queries and presentation ----

    std::vector<PWMimePartRef> attachments() const override { return {mimePart()}; }
    // Removing drops the attachment (nullptr); replacing takes the list's attachment with the same content
    // id, or a mutable copy of this one when the list has none.
    PWMimePartRef mimePartByRemovingAttachments() const override { return nullptr; }
    PWMimePartRef mimePartByReplacingMimeAttachments(const std::vector<PWMimePartRef>& attachments) const override;
    // The placeholder element described above, whatever the context and options.
    std::u16string htmlFragmentForContext(int context, unsigned options,
                                          std::vector<PWMimePartRef>* relatedAttachments) const override;

protected:
    PWMimeAttachment() = default;
    OptString unknownFileNameForInitialisation() const override { return unknownFileName(); }
    // Quoted-printable bodies of most attachments are text; a PDF's are bytes.
    virtual bool decodesQuotedPrintableAsBytes() const { return false; }

private:
    OptString alternativeTitle_;
};

// The content-id URL of a content id: FGWebViewContentIdSchemeKey followed by the id, with the characters
// that URLs do not allow (and "%") percent-encoded, as RFC 2392 writes "cid:" URLs. Rendered messages,
// placeholders and the composer's attachments all use this form, so the same id always gives the same URL.
std::u16string contentIdURLForContentId(std::u16string_view contentId);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
