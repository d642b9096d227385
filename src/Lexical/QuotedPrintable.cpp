// Quoted-printable decoding and encoding (RFC 2045 section 6.7) and the Q form of encoded words.
#include "postwright/Lexical/QuotedPrintable.hpp"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "postwright/Base/Host.hpp"

namespace postwright {

namespace {

// Value of a hexadecimal digit (either case), or -1.
struct HexTable {
    std::array<int8_t, 256> value;
    constexpr HexTable() : value() {
        for (int i = 0; i < 256; ++i) value[i] = -1;
        for (int i = 0; i < 10; ++i) value['0' + i] = static_cast<int8_t>(i);
        for (int i = 0; i < 6; ++i) {
            value['A' + i] = static_cast<int8_t>(10 + i);
            value['a' + i] = static_cast<int8_t>(10 + i);
        }
    }
};
constexpr HexTable kHex;

inline int hexValue(unsigned c) {
    return c < 256 ? kHex.value[c] : -1;
}

}  // namespace

ErrorRef malformedQuotedPrintableError() {
    return makeError(kQuotedPrintableErrorDomain, kMalformedQuotedPrintableErrorCode,
                     localizedString(u"MALFORMED_QUOTED_PRINTABLE_STRING", u"", StringSource::Host));
}

std::optional<Data> dataWithQuotedPrintableEncodedString(std::u16string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char16_t c = text[i];
        if (c == u'_') {
            bytes.push_back(' ');
        } else if (c == u'=') {
            if (i + 2 >= text.size()) return std::nullopt;  // both digits must lie inside the text
            int high = hexValue(text[i + 1]);
            int low = hexValue(text[i + 2]);
            if (high < 0 || low < 0) return std::nullopt;
            bytes.push_back(static_cast<char>(high * 16 + low));
            i += 2;
        } else if (c <= 0xFF) {
            bytes.push_back(static_cast<char>(c));
        } else {
            return std::nullopt;
        }
    }
    return Data::adopting(std::move(bytes));
}

}  // namespace postwright
