// Quoted-printable decoding and encoding (RFC 2045 section 6.7) and the Q form of encoded words.
#include "postwright/Lexical/QuotedPrintable.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"

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

// Option 2: the bytes of a run of escapes become text in the requested encoding (or, when they are not
// valid in it, in the detected one), escaped for HTML and appended as UTF-8.
void appendEscapedAsHTML(std::string& out, const std::string& pending, TextEncoding encoding,
                         TextEncoding preferredForDetection) {
    if (pending.empty()) return;
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(pending.data());
    OptString text = stringFromBytes(bytes, pending.size(), encoding);
    if (!text) {
        TextEncoding detected = kNoEncoding;
        text = newByDecodingData(Data::withBytes(bytes, pending.size()), preferredForDetection, &detected);
    }
    if (text) out += toUTF8(stringByEscapingForHTMLContent(*text));
}

// The encoder's safe class: 0x20-0x7D, CR and LF, without = ! " # $ @ [ \ ] ^ ` { | } ~.
struct SafeTable {
    std::array<bool, 256> safe;
    constexpr SafeTable() : safe() {
        for (int c = 0x20; c <= 0x7D; ++c) safe[c] = true;
        safe['\r'] = true;
        safe['\n'] = true;
        for (char c : std::string_view("=!\"#$@[\\]^`{|}~")) safe[static_cast<unsigned char>(c)] = false;
    }
};
constexpr SafeTable kSafe;

constexpr char16_t kHexDigits[] = u"0123456789ABCDEF";

}  // namespace

ErrorRef malformedQuotedPrintableError() {
    return makeError(kQuotedPrintableErrorDomain, kMalformedQuotedPrintableErrorCode,
                     localizedString(u"MALFORMED_QUOTED_PRINTABLE_STRING", u"", StringSource::Host));
}

std::optional<Data> decodedQuotedPrintableDataWithOptions(const Data& data, unsigned options, TextEncoding encoding,
                                                          ErrorRef* error) {
    if (encoding == kASCIIStringEncoding) encoding = kUTF8StringEncoding;
    const bool underscoreIsSpace = options & kQuotedPrintableUnderscoreIsSpace;
    const bool escapeHTML = options & kQuotedPrintableEscapeHTML;
    const uint8_t* bytes = data.bytes();
    const size_t length = data.length();
    std::string out;
    out.reserve(length);
    // With option 2 the bytes of consecutive escapes are collected here and converted as one piece;
    // without it they go straight to the output, which is the same thing.
    std::string pending;
    std::string& escaped = escapeHTML ? pending : out;

    size_t i = 0;
    while (i < length) {
        const void* equals = std::memchr(bytes + i, '=', length - i);
        size_t runEnd = equals ? static_cast<size_t>(static_cast<const uint8_t*>(equals) - bytes) : length;
        if (runEnd > i) {
            if (escapeHTML) {
                appendEscapedAsHTML(out, pending, encoding, encoding);
                pending.clear();
            }
            size_t literalStart = out.size();
            out.append(reinterpret_cast<const char*>(bytes + i), runEnd - i);
            if (underscoreIsSpace)
                std::replace(out.begin() + static_cast<std::ptrdiff_t>(literalStart), out.end(), '_', ' ');
            i = runEnd;
            if (i >= length) break;
        }
        uint8_t first = i + 1 < length ? bytes[i + 1] : 0;
        uint8_t second = i + 2 < length ? bytes[i + 2] : 0;
        if (first == '\r' && second == '\n') {  // soft line break
            i += 3;
            continue;
        }
        if (first == '\n') {  // soft line break written with a bare LF
            i += 2;
            continue;
        }
        int high = hexValue(first);
        int low = hexValue(second);
        if (high < 0 || low < 0) {
            setSlot(error, malformedQuotedPrintableError());
            return std::nullopt;
        }
        escaped.push_back(static_cast<char>(high * 16 + low));
        i += 3;
    }
    // The final run is detected with ASCII preferred, whatever was asked: kept as the system does it.
    if (escapeHTML) appendEscapedAsHTML(out, pending, encoding, kASCIIStringEncoding);
    return Data::adopting(std::move(out));
}

std::optional<ChainedData> decodedQuotedPrintableDispatchDataWithOptions(const Data& data, unsigned options,
                                                                         ErrorRef* error) {
    if (!error) throw ProgrammingError("decodedQuotedPrintableDispatchDataWithOptions requires an error slot");
    *error = nullptr;
    std::optional<Data> decoded = decodedQuotedPrintableDataWithOptions(data, options, error);
    if (*error || !decoded) return std::nullopt;
    return ChainedData(*decoded);
}

OptString decodedQuotedPrintableStringWithEncoding(const Data& data, TextEncoding encoding, unsigned options,
                                                   ErrorRef* error, const std::function<EncodingHints()>& hints) {
    std::optional<Data> bytes = decodedQuotedPrintableDataWithOptions(data, options, encoding, error);
    if (!bytes) return std::nullopt;
    OptString text = stringFromData(*bytes, encoding);
    if (text) return text;
    if (!bytes->empty()) {
        TextEncoding detected = kNoEncoding;
        EncodingHints given = hints ? hints() : EncodingHints();
        if (!isUnusableEncoding(encoding)) given.declared = encoding;
        OptString detectedText = newByDecodingData(*bytes, given, &detected);
        if (detected != encoding) {
            logMessage(formatString(u"Data indicated encoding %@ but data was decoded using %@",
                                    {PWcharSetNameForEncoding(encoding), PWcharSetNameForEncoding(detected)}));
        }
        if (detectedText) return detectedText;
    }
    return stringFromData(*bytes, kASCIIStringEncoding);
}

OptString quotedPrintableStringForPlainTextBody(std::u16string_view text, TextEncoding preferredEncoding,
                                                TextEncoding* encodingUsed) {
    std::optional<std::string> converted;
    TextEncoding encoding = kNoEncoding;
    for (TextEncoding candidate :
         {preferredEncoding, kISOLatin2StringEncoding, kUTF8StringEncoding, kUTF16StringEncoding}) {
        converted = bytesFromString(text, candidate);
        if (converted) {
            encoding = candidate;
            break;
        }
    }
    setSlot(encodingUsed, encoding);
    if (!converted) return std::nullopt;

    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(converted->data());
    const size_t length = converted->size();
    // The output is written into a buffer sized for the worst case and cut to size once: each escape
    // takes three characters, each LF may gain a CR, and soft breaks come at most once per 72 characters.
    size_t unsafe = 0;
    size_t lineFeeds = 0;
    for (size_t k = 0; k < length; ++k) {
        unsafe += !kSafe.safe[bytes[k]];
        lineFeeds += bytes[k] == '\n';
    }
    const size_t escapedLength = length + 2 * unsafe;
    std::u16string out(escapedLength + lineFeeds + 3 * (escapedLength / 72 + 1) + 1, u'\0');
    char16_t* cursor = out.data();
    auto softBreak = [&cursor] {
        cursor[0] = u'=';
        cursor[1] = u'\r';
        cursor[2] = u'\n';
        cursor += 3;
    };

    // Lines are cut on the escaped text: "column" is the length of the line so far, and 1 + column the
    // length it would have with a soft break after the next character. An escape is moved to the next
    // line once that reaches 73, any other character at 76, so a line never exceeds 76 characters.
    constexpr size_t kEscapeLimit = kQuotedPrintableLineLength - 3;
    size_t column = 0;
    for (size_t k = 0; k < length; ++k) {
        uint8_t byte = bytes[k];
        if (byte == '\n' || (byte == '\r' && k + 1 < length && bytes[k + 1] == '\n')) {
            if (byte == '\r') ++k;
            cursor[0] = u'\r';
            cursor[1] = u'\n';
            cursor += 2;
            column = 0;
            continue;
        }
        if (kSafe.safe[byte]) {
            if (1 + column >= kQuotedPrintableLineLength) {
                softBreak();
                column = 0;
            }
            *cursor++ = byte;
            ++column;
        } else {
            if (1 + column >= kEscapeLimit) {
                softBreak();
                column = 0;
            }
            cursor[0] = u'=';
            cursor[1] = kHexDigits[byte >> 4];
            cursor[2] = kHexDigits[byte & 0xF];
            cursor += 3;
            column += 3;
        }
    }
    // Only the last line's trailing SPACE is protected from being stripped in transport.
    if (column > 0 && cursor[-1] == u' ') *cursor++ = u'=';
    out.resize(static_cast<size_t>(cursor - out.data()));
    return out;
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
