#include "postwright/Base/Base64.hpp"

#include <array>

#include "postwright/Base/Text.hpp"

namespace postwright {

namespace {
constexpr char kStandard[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kURLSafe[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr uint8_t kSkip = 0xFF;
constexpr uint8_t kPad = 0xFE;

using DecodeTable = std::array<uint8_t, 256>;

constexpr DecodeTable makeDecodeTable(const char* alphabet) {
    DecodeTable table{};
    for (auto& entry : table) entry = kSkip;
    for (int i = 0; i < 64; ++i) table[static_cast<uint8_t>(alphabet[i])] = static_cast<uint8_t>(i);
    table[static_cast<uint8_t>('=')] = kPad;
    return table;
}

constexpr DecodeTable kStandardDecode = makeDecodeTable(kStandard);
constexpr DecodeTable kURLSafeDecode = makeDecodeTable(kURLSafe);
}  // namespace

Data base64DecodedData(const uint8_t* text, size_t length, Base64Alphabet alphabet) {
    const DecodeTable& table = alphabet == Base64Alphabet::Standard ? kStandardDecode : kURLSafeDecode;
    std::vector<uint8_t> out;
    out.resize(length / 4 * 3 + 3);
    uint8_t* target = out.data();
    size_t i = 0;
    // Fast path: four alphabet characters in a row decode straight into three bytes.
    while (i + 4 <= length) {
        uint8_t a = table[text[i]], b = table[text[i + 1]], c = table[text[i + 2]], d = table[text[i + 3]];
        if ((a | b | c | d) & 0xC0) break;
        uint32_t group = (uint32_t(a) << 18) | (uint32_t(b) << 12) | (uint32_t(c) << 6) | d;
        target[0] = static_cast<uint8_t>(group >> 16);
        target[1] = static_cast<uint8_t>(group >> 8);
        target[2] = static_cast<uint8_t>(group);
        target += 3;
        i += 4;
        if (i + 4 <= length && (text[i] == '\r' || text[i] == '\n')) {
            while (i < length && (text[i] == '\r' || text[i] == '\n')) ++i;
        }
    }
    uint32_t group = 0;
    int count = 0;
    for (; i < length; ++i) {
        uint8_t value = table[text[i]];
        if (value == kSkip) continue;
        if (value == kPad) break;
        group = (group << 6) | value;
        if (++count == 4) {
            target[0] = static_cast<uint8_t>(group >> 16);
            target[1] = static_cast<uint8_t>(group >> 8);
            target[2] = static_cast<uint8_t>(group);
            target += 3;
            group = 0;
            count = 0;
        }
    }
    if (count == 2) {
        *target++ = static_cast<uint8_t>(group >> 4);
    } else if (count == 3) {
        *target++ = static_cast<uint8_t>(group >> 10);
        *target++ = static_cast<uint8_t>(group >> 2);
    }
    out.resize(static_cast<size_t>(target - out.data()));
    return Data::adopting(std::move(out));
}

Data base64DecodedData(std::u16string_view text, Base64Alphabet alphabet) {
    std::string bytes;
    bytes.reserve(text.size());
    for (char16_t c : text) {
        if (c < 0x80) bytes.push_back(static_cast<char>(c));
    }
    return base64DecodedData(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), alphabet);
}

size_t base64DecodedLength(const uint8_t* text, size_t length) {
    size_t count = 0;
    for (size_t i = 0; i < length; ++i) {
        uint8_t value = kStandardDecode[text[i]];
        if (value == kPad) break;
        if (value != kSkip) ++count;
    }
    size_t bytes = count / 4 * 3;
    if (count % 4 == 2) bytes += 1;
    if (count % 4 == 3) bytes += 2;
    return bytes;
}

std::string base64EncodedString(const uint8_t* bytes, size_t length, Base64Alphabet alphabet, Base64Options options) {
    const char* digits = alphabet == Base64Alphabet::Standard ? kStandard : kURLSafe;
    const size_t lineLength = options.lineLength ? options.lineLength : 76;
    const size_t rest = length % 3;
    const size_t encoded = length / 3 * 4 + (rest == 0 ? 0 : options.padding ? 4 : rest + 1);
    // Line breaks go between characters, never after the last one.
    const size_t breaks = options.lineBreaks && encoded > 0 ? (encoded - 1) / lineLength : 0;
    std::string out(encoded + 2 * breaks, '\0');
    char* next = out.data();
    size_t column = 0;
    auto put = [&](char c) {
        if (options.lineBreaks && column == lineLength) {
            *next++ = '\r';
            *next++ = '\n';
            column = 0;
        }
        *next++ = c;
        ++column;
    };
    size_t i = 0;
    const size_t whole = length - rest;
    if (!options.lineBreaks || lineLength % 4 == 0) {
        // Lines hold whole groups: the line end is checked once a group.
        for (; i < whole; i += 3) {
            if (options.lineBreaks && column == lineLength) {
                *next++ = '\r';
                *next++ = '\n';
                column = 0;
            }
            uint32_t group = (uint32_t(bytes[i]) << 16) | (uint32_t(bytes[i + 1]) << 8) | bytes[i + 2];
            next[0] = digits[(group >> 18) & 63];
            next[1] = digits[(group >> 12) & 63];
            next[2] = digits[(group >> 6) & 63];
            next[3] = digits[group & 63];
            next += 4;
            column += 4;
        }
    }
    for (; i < whole; i += 3) {
        uint32_t group = (uint32_t(bytes[i]) << 16) | (uint32_t(bytes[i + 1]) << 8) | bytes[i + 2];
        put(digits[(group >> 18) & 63]);
        put(digits[(group >> 12) & 63]);
        put(digits[(group >> 6) & 63]);
        put(digits[group & 63]);
    }
    if (rest) {
        uint32_t group = uint32_t(bytes[i]) << 16;
        if (rest == 2) group |= uint32_t(bytes[i + 1]) << 8;
        put(digits[(group >> 18) & 63]);
        put(digits[(group >> 12) & 63]);
        if (rest == 2) {
            put(digits[(group >> 6) & 63]);
        } else if (options.padding) {
            put('=');
        }
        if (options.padding) put('=');
    }
    return out;
}

std::u16string pathSafeBase64String(const uint8_t* bytes, size_t length) {
    return fromLatin1(base64EncodedString(bytes, length, Base64Alphabet::URLSafe));
}

}  // namespace postwright
