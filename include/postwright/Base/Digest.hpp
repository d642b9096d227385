// Message digests (OpenSSL EVP) and the identifiers built from them.
//
//     auto md5 = md5Digest(Data::withString("abc"));
//     std::u16string id = shortSHAHashString(u"Alice <a@example.com>");   // 16 base64url characters
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "postwright/Base/Data.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

using MD5Digest = std::array<uint8_t, 16>;
using SHA256Digest = std::array<uint8_t, 32>;

MD5Digest md5Digest(const uint8_t* bytes, size_t length);
inline MD5Digest md5Digest(const Data& data) { return md5Digest(data.bytes(), data.length()); }
MD5Digest md5Digest(std::u16string_view text);  // of the text's UTF-8 bytes
SHA256Digest sha256Digest(const uint8_t* bytes, size_t length);
inline SHA256Digest sha256Digest(const Data& data) { return sha256Digest(data.bytes(), data.length()); }

// The short hash of a text: the first 16 characters of the base64url SHA-256 of its UTF-8 bytes.
std::u16string shortSHAHashString(std::u16string_view text);

// A fresh random UUID in its 36-character upper-case form.
std::u16string uuidString();

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
