// Quoted-printable (RFC 2045 section 6.7): decoding and encoding of bodies, and the strict decoder of the
// "Q" form that encoded words use (RFC 2047 section 4.2).
//
// The body decoder accepts soft line breaks written with CR LF or with a bare LF, and is strict about
// escapes: an "=" that neither ends a line nor starts two hex digits fails the whole decoding (code 11 of
// the domain "ca.ostra.emailParser"), and nothing partial is returned. The encoder writes CR LF separated
// lines of at most kQuotedPrintableLineLength characters.
//
//     ErrorRef error;
//     std::optional<Data> body = decodedQuotedPrintableDataWithOptions(Data::withString("a=3D=\r\nb"), 0, &error);
//     TextEncoding used = 0;
//     OptString wire = quotedPrintableStringForPlainTextBody(u"Gr\u00fc\u00dfe", kUTF8StringEncoding, &used);
#pragma once

#include <optional>
#include <string_view>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"

namespace postwright {

// The longest encoded line, a trailing soft-break "=" included.
inline constexpr size_t kQuotedPrintableLineLength = 76;

// The error vocabulary of the codec: one domain, one code.
inline constexpr const char* kQuotedPrintableErrorDomain = "ca.ostra.emailParser";
inline constexpr long kMalformedQuotedPrintableErrorCode = 11;
// The record of a malformed escape: the host's text for "MALFORMED_QUOTED_PRINTABLE_STRING" as the
// localized description (empty when the host has none), nothing else.
ErrorRef malformedQuotedPrintableError();

// Decodes the "Q" form of an encoded word's text: "_" is SPACE, "=" must start two hex digits, any other
// character up to U+00FF stands for its own byte. Soft line breaks are not recognised. nullopt when an
// escape is malformed or a character lies above U+00FF; empty text gives empty bytes.
std::optional<Data> dataWithQuotedPrintableEncodedString(std::u16string_view text);

}  // namespace postwright
