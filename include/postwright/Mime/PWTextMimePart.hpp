// PWTextMimePart: a text/plain part. It undoes the transfer encoding, picks the character encoding with a
// chain of fallbacks, and gives the text; it also builds new text parts for composed messages.
//
//     OptString text = part->plainContent();        // decoded, trimmed (quoted-printable: untrimmed)
//     auto reply = PWTextMimePart::initMutableWithPlainText(u"Thanks!\n", kUTF8StringEncoding,
//                                                           u"quoted-printable");
//
// Decoding (transfer encodings compared case-insensitively, inherited from the parent when absent):
//   no body: nullopt. Subtype other than "plain": the body read with stringEncoding(), trimmed.
//   no transfer encoding: the charset's encoding when the part has a charset and the bytes are valid in it,
//     else detection (ASCII, UTF-8, ICU's detector, Windows-1252).
//   quoted-printable: decoded with stringEncoding(), untrimmed (blank lines at both ends stay).
//   7bit, binary and anything unknown: read with stringEncoding(). base64: decoded, then read the same way.
//   8bit: stringEncoding(), else detection preferring it, else detection without preference.
// Every branch but quoted-printable trims white space and line breaks at both ends. Where reading with
// stringEncoding() fails (bytes the declared charset does not allow), detection preferring that encoding
// reads the text instead, so mislabelled mail still shows.
#pragma once

#include "postwright/Export.hpp"
#include "postwright/Mime/PWMimePart.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A text/plain part; text/html parts (PWTextHtmlMimePart) build on it.
class PWTextMimePart : public PWMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

    // A new mutable text/plain part holding the text with CR LF line ends. With "quoted-printable" the body
    // is encoded (the encoding is the given one when it holds the text, else the encoder's next choice, and
    // the charset names the one used); with "base64" the bytes are base64 in lines of 76; otherwise the
    // body is the text's bytes in the encoding (UTF-8 when the encoding cannot hold the text).
    static std::shared_ptr<PWTextMimePart> initMutableWithPlainText(std::u16string_view text, TextEncoding encoding,
                                                                    const OptString& contentTransferEncoding);

    OptString plainContent() const override;
    // The part itself.
    std::vector<PWMimePartRef> textParts() const override { return {self()}; }
    // Characters of the decoded text.
    size_t decodedContentSize() const override;
    bool shouldDisplayAsPlainText() const override { return true; }
    // The text escaped for HTML in a block that keeps line breaks:
    // <div style="white-space: pre-wrap">...</div> (the empty text for an empty part).
    std::u16string htmlFragmentForContext(int context, unsigned options,
                                          std::vector<PWMimePartRef>* relatedAttachments) const override;

protected:
    PWTextMimePart() = default;
    PWMimePartRef self() const { return std::const_pointer_cast<PWMimePart>(shared_from_this()); }
    // Builds a mutable text part of the given class and subtype (the text builders of both text classes).
    static PWMimePartRef initMutableWithText(const PWMimeClass& cls, std::u16string_view subtype,
                                             std::u16string_view text, TextEncoding encoding,
                                             const OptString& contentTransferEncoding);
};

// The text of a body read with an encoding; when the bytes are not valid in it, detection with that
// encoding as the declared hint and, when a part is given, the hints of its message
// (PWMimePart::encodingHints). Shared by the text classes and the other parts that show text.
OptString decodeTextBody(const Data& bytes, TextEncoding encoding, const PWMimePart* part = nullptr);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
