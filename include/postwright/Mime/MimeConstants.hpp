// The MIME tree's exported names: header fields, types, subtypes, transfer encodings, charsets, the
// boundary format, the content-id URL scheme of rendered messages, and the nesting limit.
//
//     if (part->MIMEtype() == kMimeTypeMessageRFC822) ...
//     std::u16string url = std::u16string(FGWebViewContentIdSchemeKey) + contentId;
#pragma once

#include <cstddef>
#include <string_view>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr std::u16string_view kMimeHeaderContentType = u"Content-Type";
inline constexpr std::u16string_view kMimeHeaderContentDisposition = u"Content-Disposition";
inline constexpr std::u16string_view kMimeHeaderContentTransferEncoding = u"Content-Transfer-Encoding";
inline constexpr std::u16string_view kMimeHeaderContentID = u"Content-Id";

inline constexpr std::u16string_view kMimeTypeApplication = u"application";
inline constexpr std::u16string_view kMimeTypeAudio = u"audio";
inline constexpr std::u16string_view kMimeTypeImage = u"image";
inline constexpr std::u16string_view kMimeTypeMultipart = u"multipart";
inline constexpr std::u16string_view kMimeTypeImagePNG = u"image/png";
inline constexpr std::u16string_view kMimeTypeMessageRFC822 = u"message/rfc822";
inline constexpr std::u16string_view kMimeSubTypeJPEG = u"jpeg";
inline constexpr std::u16string_view kMimeSubTypePDF = u"pdf";
inline constexpr std::u16string_view kMimeSubTypePNG = u"png";
inline constexpr std::u16string_view kMimeSubTypeZIP = u"zip";
inline constexpr std::u16string_view kMimeMultipartSubtypeMixed = u"mixed";
inline constexpr std::u16string_view kMimeMultipartSubtypeAlternative = u"alternative";
inline constexpr std::u16string_view kMimeMultipartSubtypeRelated = u"related";
inline constexpr std::u16string_view kMimeMultipartSubtypeReport = u"report";
inline constexpr std::u16string_view kMimeMultipartBoundaryFormatString = u"MailOrwin=_%@";

inline constexpr std::u16string_view kMimeTransferEncoding7Bit = u"7bit";
inline constexpr std::u16string_view kMimeTransferEncoding8Bit = u"8bit";
inline constexpr std::u16string_view kMimeTransferEncodingBinary = u"binary";
inline constexpr std::u16string_view kMimeTransferEncodingBase64 = u"base64";
inline constexpr std::u16string_view kMimeTransferEncodingQuotedPrintable = u"quoted-printable";

inline constexpr std::u16string_view kMimeContentEncodingUTF8 = u"utf-8";
inline constexpr std::u16string_view kMimeContentEncodingUSASCII = u"us-ascii";
inline constexpr std::u16string_view kMimeContentEncodingISO8859 = u"iso-8859-1";

// The URL scheme prefix under which rendered messages refer to their parts: "cid:" references of HTML
// bodies are rewritten to it, and attachment placeholders carry it in "orw-src". Always lower case.
inline constexpr std::u16string_view FGWebViewContentIdSchemeKey = u"x-postwright-cid:";

// The kinds FGTransferEncoding() reports, compared on the lower-cased effective transfer encoding.
enum FGTransferEncodingKind : int {
    kFGTransferEncoding8Bit = 0,
    kFGTransferEncoding7Bit = 1,
    kFGTransferEncodingOther = 2,  // "binary", no header, anything unknown
    kFGTransferEncodingQuotedPrintable = 3,
    kFGTransferEncodingBase64 = 4,
};

// Display contexts of the HTML fragment builders: 1 shows a message as plain text, anything else is rich.
inline constexpr int kMimeDisplayContextPlainText = 1;
inline constexpr int kMimeDisplayContextRich = 0;
// The option bit a mixed or report container sets on an attachment that is shown inline.
inline constexpr unsigned kMimeFragmentOptionInlineAttachment = 4;

// Multipart bodies are split into children down to this many levels below the part being parsed. A
// multipart nested deeper keeps its whole body as its content, so no input can make parsing, rendering or
// serialising recurse deeper than this.
inline constexpr size_t kMimeMaxNestingDepth = 64;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
