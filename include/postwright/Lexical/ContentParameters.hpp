// Content-Type (RFC 2045) and Content-Disposition (RFC 2183) parameters: the keys of the info
// dictionaries the two scanner operations produce, and the hex helper of RFC 2231 percent-escapes.
//
// The parsers are Scanner members (Scanner.hpp); run them over the header's unfolded value with a scanner
// made by emailAddressScannerWithString (case-insensitive, skipping nothing):
//
//     Scanner scanner = Scanner::emailAddressScannerWithString(u"text/plain; charset=\"UTF-8\"");
//     ParameterDictionary info;
//     if (scanner.scanRFC1341ContentTypeHeaderIntoDictionary(&info, nullptr)) ...  // info.text(u"charset")
//
// The dictionaries hold:
//   "@type"       the major type or the disposition type, lower-cased ("x-" disposition types as written)
//   "@subtype"    the subtype, lower-cased (content type only)
//   "@fulltype"   "major/subtype" made from the major type as scanned, lower-cased: for "x-foo/bar" it is
//                 "foo/bar", and for an unknown major type, whose text is not kept, "(null)/bar"
//   "size"        an integer (disposition only)
//   "creation-date", "modification-date", "read-date"   the quoted text as it stands (disposition only)
//   any other parameter, by its lower-cased name: its value as text. Values are kept as they stand (not
//   lower-cased). A continued parameter whose charset cannot be resolved stays under "name*" as its
//   numbered sections of raw bytes; one whose bytes are not valid in its charset is dropped.
#pragma once

#include <string_view>

#include "postwright/Export.hpp"
#include "postwright/Lexical/ParameterDictionary.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr std::u16string_view kContentTypeKeyType = u"@type";
inline constexpr std::u16string_view kContentTypeKeySubtype = u"@subtype";
inline constexpr std::u16string_view kContentTypeKeyFullType = u"@fulltype";
inline constexpr std::u16string_view kContentTypeKeyBoundary = u"boundary";
inline constexpr std::u16string_view kContentTypeKeyName = u"name";
inline constexpr std::u16string_view kContentDispositionKeyType = u"@type";
inline constexpr std::u16string_view kContentDispositionKeyFilename = u"filename";
inline constexpr std::u16string_view kContentDispositionValueInline = u"inline";
inline constexpr std::u16string_view kContentDispositionValueAttachment = u"attachment";

// The value of the two characters of a percent-escape: each character, lower-cased, gives c - 0x30 below
// 0x3A and (c & 7) + 9 otherwise; the result is first * 16 + second. Nothing is validated, so characters
// that are not hex digits give arbitrary (possibly negative) values; callers keep the low 8 bits.
int ahex2int(char16_t first, char16_t second);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
