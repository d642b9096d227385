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

#include <functional>
#include <optional>
#include <string_view>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/EncodingDetector.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The longest encoded line, a trailing soft-break "=" included.
inline constexpr size_t kQuotedPrintableLineLength = 76;

// The error vocabulary of the codec: one domain, one code.
inline constexpr const char* kQuotedPrintableErrorDomain = "ca.ostra.emailParser";
inline constexpr long kMalformedQuotedPrintableErrorCode = 11;
// The record of a malformed escape: the host's text for "MALFORMED_QUOTED_PRINTABLE_STRING" as the
// localized description (empty when the host has none), nothing else.
ErrorRef malformedQuotedPrintableError();

// Decoder option bits.
enum QuotedPrintableOptions : unsigned {
    // An underscore in literal text decodes to SPACE (the Q form of encoded words).
    kQuotedPrintableUnderscoreIsSpace = 1,
    // Text produced by escapes is decoded with the given encoding, escaped for HTML content and written
    // as UTF-8, so that a decoded HTML body cannot gain markup through escaped "<". Literal bytes are
    // never escaped.
    kQuotedPrintableEscapeHTML = 2,
};

// Decodes a quoted-printable body. ASCII as the encoding is read as UTF-8 (it only matters with
// kQuotedPrintableEscapeHTML). Bytes that consecutive escapes produce are kept together across soft line
// breaks, so a multi-byte character split by a soft break stays whole. A malformed escape gives nullopt
// and, when a slot is given, the code 11 record; the slot is not written on success.
std::optional<Data> decodedQuotedPrintableDataWithOptions(const Data& data, unsigned options, TextEncoding encoding,
                                                          ErrorRef* error);
inline std::optional<Data> decodedQuotedPrintableDataWithOptions(const Data& data, unsigned options, ErrorRef* error) {
    return decodedQuotedPrintableDataWithOptions(data, options, kUTF8StringEncoding, error);
}

// The same bytes as a chained buffer, for callers that stream regions. The error slot is mandatory
// (ProgrammingError "decodedQuotedPrintableDispatchDataWithOptions requires an error slot" otherwise);
// nullopt when an error was stored.
std::optional<ChainedData> decodedQuotedPrintableDispatchDataWithOptions(const Data& data, unsigned options,
                                                                         ErrorRef* error);

// Decodes a body to text: the decoded bytes read with the encoding; when they are not valid in it, the
// encoding is detected (preferring it) and, when the detected encoding differs, the line
// "Data indicated encoding <requested> but data was decoded using <detected>" is logged with both
// charset names. Failing that, the bytes read as ASCII. nullopt when the decoding failed (error as above)
// or no reading works.
// hints, when given, is asked for the message's charset hints only if detection is needed (the MIME text
// parts pass PWMimePart::encodingHints).
OptString decodedQuotedPrintableStringWithEncoding(const Data& data, TextEncoding encoding, unsigned options,
                                                   ErrorRef* error,
                                                   const std::function<EncodingHints()>& hints = nullptr);

// Decodes the "Q" form of an encoded word's text: "_" is SPACE, "=" must start two hex digits, any other
// character up to U+00FF stands for its own byte. Soft line breaks are not recognised. nullopt when an
// escape is malformed or a character lies above U+00FF; empty text gives empty bytes.
std::optional<Data> dataWithQuotedPrintableEncodedString(std::u16string_view text);

// Encodes plain text as a quoted-printable body. The encoding is the preferred one when it can hold the
// text, else ISO Latin-2, UTF-8, then UTF-16 (Latin-2 before UTF-8, deliberately); it goes into
// encodingUsed, and the result is nullopt when none of them can (encodingUsed 0). Bytes outside the safe
// class (0x20-0x7D, CR and LF, without = ! " # $ @ [ \ ] ^ ` { | } ~) become "=XX" in upper-case hex, so
// TAB is always escaped. Line breaks (LF or CR LF) are written as CR LF; longer lines are cut with a soft
// break "=" so that no line exceeds kQuotedPrintableLineLength and no escape is cut in two. A SPACE ending
// the last line is protected with "=" (only there: spaces before inner line breaks stay as they are). Text
// ending in a line break gives output ending in CR LF. A lone CR stays as it is.
OptString quotedPrintableStringForPlainTextBody(std::u16string_view text, TextEncoding preferredEncoding,
                                                TextEncoding* encodingUsed);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
