// Text encodings: numbers, charset names, conversion and detection.
//
// An encoding is a number. The common ones have fixed numbers (ASCII 1, UTF-8 4, ISO Latin 1 5, ...);
// every other supported charset is 0x80000000 plus a code of the library's own table. 0 means "no
// encoding" and kInvalidEncoding (all 32 bits set) an unknown charset. Names are produced as the
// lower-case preferred MIME names ("iso-8859-1", "windows-1252") and matched case-insensitively through
// the library's table and then every alias ICU knows.
//
// Conversion is strict: bytes that are invalid in the encoding give nullopt, and text that the encoding
// cannot represent gives nullopt. Nothing is ever replaced silently.
//
//     TextEncoding latin2 = encodingForCharSetName(u"ISO_8859-2");   // 9
//     std::optional<std::u16string> text = stringFromData(bytes, latin2);
//     TextEncoding used;
//     std::u16string anyway = *newByDecodingData(bytes, &used);      // detection never fails on bytes
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

using TextEncoding = uint32_t;

inline constexpr TextEncoding kNoEncoding = 0;
inline constexpr TextEncoding kInvalidEncoding = 0xFFFFFFFFu;
inline constexpr TextEncoding kASCIIStringEncoding = 1;
inline constexpr TextEncoding kNEXTSTEPStringEncoding = 2;
inline constexpr TextEncoding kJapaneseEUCStringEncoding = 3;
inline constexpr TextEncoding kUTF8StringEncoding = 4;
inline constexpr TextEncoding kISOLatin1StringEncoding = 5;
inline constexpr TextEncoding kSymbolStringEncoding = 6;
inline constexpr TextEncoding kShiftJISStringEncoding = 8;
inline constexpr TextEncoding kISOLatin2StringEncoding = 9;
inline constexpr TextEncoding kUTF16StringEncoding = 10;
inline constexpr TextEncoding kWindowsCP1251StringEncoding = 11;
inline constexpr TextEncoding kWindowsCP1252StringEncoding = 12;
inline constexpr TextEncoding kWindowsCP1253StringEncoding = 13;
inline constexpr TextEncoding kWindowsCP1254StringEncoding = 14;
inline constexpr TextEncoding kWindowsCP1250StringEncoding = 15;
inline constexpr TextEncoding kISO2022JPStringEncoding = 21;
inline constexpr TextEncoding kMacOSRomanStringEncoding = 30;
inline constexpr TextEncoding kUTF16BigEndianStringEncoding = 0x90000100u;
inline constexpr TextEncoding kUTF16LittleEndianStringEncoding = 0x94000100u;
inline constexpr TextEncoding kUTF32StringEncoding = 0x8c000100u;
inline constexpr TextEncoding kUTF32BigEndianStringEncoding = 0x98000100u;
inline constexpr TextEncoding kUTF32LittleEndianStringEncoding = 0x9c000100u;

// True for 0 and kInvalidEncoding, the two values callers treat as "no usable encoding".
inline bool isUnusableEncoding(TextEncoding encoding) { return encoding == kNoEncoding || encoding == kInvalidEncoding; }

// The lower-case preferred MIME name of a supported encoding; nullopt for 0, invalid or unknown numbers.
std::optional<std::u16string> charSetNameForEncoding(TextEncoding encoding);
// The encoding for a charset name (any case, any alias ICU knows); kInvalidEncoding when unknown.
TextEncoding encodingForCharSetName(std::u16string_view name);
// Every encoding the library numbers, in table order (the fixed ones first).
const std::vector<TextEncoding>& supportedEncodings();

// Bytes to text; nullopt when the bytes are not valid in the encoding (or the encoding is unknown).
// A UTF-8 byte-order mark at the start is dropped.
std::optional<std::u16string> stringFromBytes(const uint8_t* bytes, size_t length, TextEncoding encoding);
inline std::optional<std::u16string> stringFromData(const Data& data, TextEncoding encoding) {
    return stringFromBytes(data.bytes(), data.length(), encoding);
}
// Text to bytes; nullopt when some character cannot be represented.
std::optional<std::string> bytesFromString(std::u16string_view text, TextEncoding encoding);
std::optional<Data> dataFromString(std::u16string_view text, TextEncoding encoding);
bool canBeConvertedToEncoding(std::u16string_view text, TextEncoding encoding);
// The smallest encoding that holds the text: ASCII, else ISO Latin 1, else UTF-16.
TextEncoding smallestEncoding(std::u16string_view text);
// The encoding the text converts to most directly (UTF-16).
TextEncoding fastestEncoding(std::u16string_view text);

// Decodes bytes whose encoding is not known, with the detector of EncodingDetector.hpp (byte-order mark,
// ASCII, the ISO-2022 escape forms, UTF-8, the legacy charsets by their statistics, then Windows-1252,
// which accepts any bytes) and the host's preferred encodings (Application::preferredEncodings) as hints.
// The encoding used goes into encodingUsed. Empty bytes give empty text (ASCII). Never fails.
std::optional<std::u16string> newByDecodingData(const Data& data, TextEncoding* encodingUsed);
// The same, trying the preferred encoding first (0 or invalid: no preference): when the bytes are valid
// in it, it is the answer; otherwise it is the declared hint of the detection.
std::optional<std::u16string> newByDecodingData(const Data& data, TextEncoding preferredEncoding,
                                                TextEncoding* encodingUsed);
struct EncodingHints;
// Detection weighed with what the message says (EncodingHints); no encoding is tried before it.
std::optional<std::u16string> newByDecodingData(const Data& data, const EncodingHints& hints,
                                                TextEncoding* encodingUsed);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
