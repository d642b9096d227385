// Base64 (RFC 4648 section 4) and its path-safe form base64url (section 5).
//
// Decoding skips every character outside the alphabet (line breaks, spaces, stray punctuation) and stops
// at the first "=", as mail bodies need. Encoding can cut its output into 76-character lines.
//
//     Data bytes = base64DecodedData(Data::withString("aGVs\r\nbG8="));   // "hello"
//     std::string text = base64EncodedString(bytes.bytes(), bytes.length());
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "postwright/Base/Data.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

enum class Base64Alphabet { Standard, URLSafe };

// Decodes base64 text, ignoring characters outside the alphabet; a trailing partial group of 2 or 3
// characters yields its whole bytes, a lone character nothing.
Data base64DecodedData(const uint8_t* text, size_t length, Base64Alphabet alphabet = Base64Alphabet::Standard);
inline Data base64DecodedData(const Data& text, Base64Alphabet alphabet = Base64Alphabet::Standard) {
    return base64DecodedData(text.bytes(), text.length(), alphabet);
}
Data base64DecodedData(std::u16string_view text, Base64Alphabet alphabet = Base64Alphabet::Standard);
// Number of bytes the text decodes to, without decoding it.
size_t base64DecodedLength(const uint8_t* text, size_t length);

// How base64EncodedString lays out its output.
struct Base64Options {
    bool lineBreaks = false;   // cut into lines of lineLength characters joined by CR LF
    size_t lineLength = 76;
    bool padding = true;
};

std::string base64EncodedString(const uint8_t* bytes, size_t length, Base64Alphabet alphabet = Base64Alphabet::Standard,
                                Base64Options options = {});
inline std::string base64EncodedString(const Data& data, Base64Alphabet alphabet = Base64Alphabet::Standard,
                                       Base64Options options = {}) {
    return base64EncodedString(data.bytes(), data.length(), alphabet, options);
}

// The path-safe base64 of the platform's base framework: base64url with "=" padding.
std::u16string pathSafeBase64String(const uint8_t* bytes, size_t length);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
