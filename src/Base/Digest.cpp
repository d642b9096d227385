#include "postwright/Base/Digest.hpp"

#include <openssl/evp.h>
#include <uuid/uuid.h>

#include <memory>

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Text.hpp"

namespace postwright {

namespace {
// Each algorithm is fetched from the provider once for the process (naming it anew for each digest, as
// EVP_sha256() does, costs a provider lookup every time, more than hashing a header's worth of text), and
// each thread resets one context for every digest. A digest the provider cannot make stays all zeros.
template <size_t N>
std::array<uint8_t, N> evpDigest(const EVP_MD* type, const uint8_t* bytes, size_t length) {
    thread_local std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    std::array<uint8_t, N> digest{};
    unsigned int size = 0;
    if (type && context && EVP_DigestInit_ex2(context.get(), type, nullptr) &&
        EVP_DigestUpdate(context.get(), bytes, length)) {
        EVP_DigestFinal_ex(context.get(), digest.data(), &size);
    }
    return digest;
}
}  // namespace

MD5Digest md5Digest(const uint8_t* bytes, size_t length) {
    static const EVP_MD* md5 = EVP_MD_fetch(nullptr, "MD5", nullptr);
    return evpDigest<16>(md5, bytes, length);
}

MD5Digest md5Digest(std::u16string_view text) {
    std::string utf8 = toUTF8(text);
    return md5Digest(reinterpret_cast<const uint8_t*>(utf8.data()), utf8.size());
}

SHA256Digest sha256Digest(const uint8_t* bytes, size_t length) {
    static const EVP_MD* sha256 = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return evpDigest<32>(sha256, bytes, length);
}

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
