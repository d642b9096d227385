#include "postwright/Base/Digest.hpp"

#include <openssl/evp.h>
#include <uuid/uuid.h>

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Text.hpp"

namespace postwright {

namespace {
template <size_t N>
std::array<uint8_t, N> evpDigest(const EVP_MD* type, const uint8_t* bytes, size_t length) {
    std::array<uint8_t, N> digest{};
    unsigned int size = 0;
    EVP_Digest(bytes, length, digest.data(), &size, type, nullptr);
    return digest;
}
}  // namespace

MD5Digest md5Digest(const uint8_t* bytes, size_t length) { return evpDigest<16>(EVP_md5(), bytes, length); }

MD5Digest md5Digest(std::u16string_view text) {
    std::string utf8 = toUTF8(text);
    return md5Digest(reinterpret_cast<const uint8_t*>(utf8.data()), utf8.size());
}

SHA256Digest sha256Digest(const uint8_t* bytes, size_t length) { return evpDigest<32>(EVP_sha256(), bytes, length); }

std::u16string shortSHAHashString(std::u16string_view text) {
    std::string utf8 = toUTF8(text);
    SHA256Digest digest = sha256Digest(reinterpret_cast<const uint8_t*>(utf8.data()), utf8.size());
    return pathSafeBase64String(digest.data(), digest.size()).substr(0, 16);
}

std::u16string uuidString() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    char text[37];
    uuid_unparse_upper(uuid, text);
    return fromLatin1(text);
}

}  // namespace postwright
