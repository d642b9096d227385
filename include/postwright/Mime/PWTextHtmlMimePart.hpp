// PWTextHtmlMimePart: a text/html part. It decodes its body as HTML (htmlContent) and renders it for display
// with its "cid:" references turned into the content-id URL scheme of the renderer.
//
//     OptString html = part->htmlContent();
//     std::u16string fragment = part->htmlFragmentForContext(kMimeDisplayContextRich, 0, nullptr);
//
// Decoding (transfer encodings compared case-insensitively):
//   no body: nullopt.
//   quoted-printable: decoded with stringEncoding(); a malformed escape shows the raw body read with
//     stringEncoding() and escaped for HTML; any other failure gives the empty text.
//   7bit: read with stringEncoding() (ASCII when it is 0); the markup is kept.
//   base64: decoded, then read by detection preferring stringEncoding().
//   none, 8bit, binary and anything else: read with stringEncoding(); when that fails, the charset named by
//     a <meta http-equiv="content-type" content="...; charset=X"> element (found in the body read lossily as
//     ASCII); else detection, logged as "No transfer encoding provided and utf8 didn't work -- but %ld did".
// Only text that is not HTML is escaped (the raw body after a malformed quoted-printable escape); a body
// that is HTML keeps its markup.
#pragma once

#include "postwright/Export.hpp"
#include "postwright/Mime/PWTextMimePart.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A text/html part.
class PWTextHtmlMimePart : public PWTextMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

    // A new mutable text/html part; the body is built as PWTextMimePart::initMutableWithPlainText builds it.
    static std::shared_ptr<PWTextHtmlMimePart> initMutableWithHtmlString(std::u16string_view html, TextEncoding encoding,
                                                                         const OptString& contentTransferEncoding);

    OptString htmlContent() const override;
    // The part itself.
    std::vector<PWMimePartRef> htmlParts() const override { return {self()}; }
    // Characters of the decoded HTML.
    size_t decodedContentSize() const override;
    bool shouldDisplayAsPlainText() const override { return false; }
    // The inner HTML of the body of the parsed htmlContent, every attribute value that begins with "cid:"
    // (any case) rewritten to FGWebViewContentIdSchemeKey followed by the rest, whatever the context.
    std::u16string htmlFragmentForContext(int context, unsigned options,
                                          std::vector<PWMimePartRef>* relatedAttachments) const override;

protected:
    PWTextHtmlMimePart() = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
