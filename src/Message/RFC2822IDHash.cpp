#include "postwright/Message/RFC2822IDHash.hpp"

#include <cstring>

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Regex.hpp"
#include "postwright/Base/Text.hpp"

namespace postwright {

namespace {
constexpr char16_t kMessageIdTrim[] = u"<> \r\n";
}

RFC2822IDHash RFC2822IDHash::newWithRFC2822MessageIdValue(std::u16string_view value) {
    MD5Digest digest = md5Digest(trimCharacters(value, kMessageIdTrim));
    return RFC2822IDHash(digest);
}

RFC2822IDHash RFC2822IDHash::newWithStringRepresentation(std::u16string_view representation) {
    if (representation.size() != 22) throw ProgrammingError("invalid representation");
    Data decoded = base64DecodedData(std::u16string(representation) + u"==");
    RFC2822IDHash hash;
    if (decoded.length() == 16) std::memcpy(hash.bytes_.data(), decoded.bytes(), 16);
    return hash;
}

std::u16string RFC2822IDHash::stringRepresentation() const {
    return fromLatin1(base64EncodedString(bytes_.data(), bytes_.size()).substr(0, 22));
}

size_t RFC2822IDHash::hash() const noexcept {
    uint64_t value;
    std::memcpy(&value, bytes_.data(), sizeof value);
    return static_cast<size_t>(value);
}

bool RFC2822IDHash::validateRFC2822MessageIdValue(std::u16string_view value) {
    std::vector<std::u16string> pieces = componentsSeparatedBy(trimCharacters(value, kMessageIdTrim), u"@");
    if (pieces.size() != 2) return false;
    size_t length = pieces[0].size();
    if (length >= 24) return true;
    if (length < 18) return false;
    static const Regex digit(u"\\d");
    return digit.numberOfMatches(pieces[0]) >= 4;
}

}  // namespace postwright
