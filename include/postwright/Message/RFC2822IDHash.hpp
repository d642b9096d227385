// RFC2822IDHash: the 16-byte MD5 digest of a Message-ID value, for threading without keeping the text.
//
// In-Reply-To and References are matched against messages by these digests. The class also decides which
// Message-ID values are strong enough to thread on.
//
//     RFC2822IDHash a = RFC2822IDHash::newWithRFC2822MessageIdValue(u"<1234@example.com>");
//     a == RFC2822IDHash::newWithRFC2822MessageIdValue(u"1234@example.com");   // brackets do not matter
//     a.stringRepresentation();                                              // 22 characters
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The MD5 digest of a Message-ID value, which threading matches instead of the text.
class RFC2822IDHash {
public:
    using Bytes = std::array<uint8_t, 16>;

    RFC2822IDHash() = default;
    explicit RFC2822IDHash(const Bytes& bytes) : bytes_(bytes) {}

    // The MD5 of the value's UTF-8 bytes after trimming "<", ">", SPACE, CR and LF from both ends.
    static RFC2822IDHash newWithRFC2822MessageIdValue(std::u16string_view value);
    static RFC2822IDHash initWithRFC2822MessageIdValue(std::u16string_view value) {
        return newWithRFC2822MessageIdValue(value);
    }
    // Back from stringRepresentation(). The text must be 22 characters: anything else is a programming
    // error ("invalid representation").
    static RFC2822IDHash newWithStringRepresentation(std::u16string_view representation);
    static RFC2822IDHash initWithStringRepresentation(std::u16string_view representation) {
        return newWithStringRepresentation(representation);
    }

    // Standard base64 of the 16 bytes without its "==" padding: 22 characters.
    std::u16string stringRepresentation() const;
    std::u16string description() const { return stringRepresentation(); }
    const Bytes& bytes() const noexcept { return bytes_; }

    bool isEqual(const RFC2822IDHash& other) const noexcept { return bytes_ == other.bytes_; }
    bool operator==(const RFC2822IDHash& other) const noexcept { return bytes_ == other.bytes_; }
    size_t hash() const noexcept;

    // Whether a Message-ID value is strong enough to thread on: exactly one "@", and a left part of 24
    // characters or more, or of 18 to 23 characters holding at least 4 decimal digits.
    static bool validateRFC2822MessageIdValue(std::u16string_view value);

private:
    Bytes bytes_{};
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END

// Hashes digests by value, for unordered containers keyed by RFC2822IDHash.
template <>
struct std::hash<postwright::RFC2822IDHash> {
    size_t operator()(const postwright::RFC2822IDHash& value) const noexcept { return value.hash(); }
};
