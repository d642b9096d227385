#include "postwright/Base/Text.hpp"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <algorithm>

namespace postwright {

std::string toUTF8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    size_t ascii = 0;
    while (ascii < text.size() && text[ascii] < 0x80) ++ascii;
    out.assign(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(ascii));
    if (ascii == text.size()) return out;
    for (size_t i = ascii; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
            continue;
        }
        if (U16_IS_LEAD(c) && i + 1 < text.size() && U16_IS_TRAIL(text[i + 1])) {
            c = U16_GET_SUPPLEMENTARY(c, text[i + 1]);
            ++i;
        } else if (U16_IS_SURROGATE(c)) {
            c = 0xFFFD;
        }
        if (c < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (c >> 12)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (c >> 18)));
            out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return out;
}

std::string toUTF8(const OptString& text) { return text ? toUTF8(*text) : std::string("(null)"); }

std::u16string fromUTF8(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    const auto* s = reinterpret_cast<const uint8_t*>(text.data());
    int32_t length = static_cast<int32_t>(text.size());
    int32_t i = 0;
    while (i < length) {
        UChar32 c;
        U8_NEXT_OR_FFFD(s, i, length, c);
        if (c <= 0xFFFF) {
            out.push_back(static_cast<char16_t>(c));
        } else {
            out.push_back(U16_LEAD(c));
            out.push_back(U16_TRAIL(c));
        }
    }
    return out;
}

std::u16string fromLatin1(std::string_view bytes) {
    std::u16string out(bytes.size(), u'\0');
    for (size_t i = 0; i < bytes.size(); ++i) out[i] = static_cast<unsigned char>(bytes[i]);
    return out;
}

bool isASCII(std::u16string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
}

bool isASCII(std::string_view bytes) noexcept {
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isWhitespace(char16_t c) noexcept {
    if (c < 0x80) return c == u' ' || c == u'\t';
    return c == 0xA0 || u_charType(c) == U_SPACE_SEPARATOR;
}

bool isNewline(char16_t c) noexcept {
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isWhitespaceOrNewline(char16_t c) noexcept {
    if (c < 0x80) return c == u' ' || (c >= 0x09 && c <= 0x0D);
    if (c == 0x85) return true;
    int8_t type = u_charType(c);
    return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
}

bool isDecimalDigit(char16_t c) noexcept {
    if (c < 0x80) return c >= u'0' && c <= u'9';
    return u_charType(c) == U_DECIMAL_DIGIT_NUMBER;
}

std::u16string fgTrim(std::u16string_view text) { return trimIf(text, isWhitespaceOrNewline); }

std::u16string trimWhitespace(std::u16string_view text) { return trimIf(text, isWhitespace); }

std::u16string trimCharacters(std::u16string_view text, std::u16string_view characters) {
    return trimIf(text, [characters](char16_t c) { return characters.find(c) != std::u16string_view::npos; });
}

namespace {
template <typename Mapper>
std::u16string mapCase(std::u16string_view text, Mapper mapper, char16_t asciiFrom, char16_t asciiTo) {
    if (isASCII(text)) {
        std::u16string out(text);
        for (char16_t& c : out) {
            if (c >= asciiFrom && c <= asciiTo) c ^= 0x20;
        }
        return out;
    }
    std::u16string out(text.size() + 8, u'\0');
    for (int attempt = 0; attempt < 2; ++attempt) {
        UErrorCode status = U_ZERO_ERROR;
        int32_t length = mapper(reinterpret_cast<UChar*>(out.data()), static_cast<int32_t>(out.size()),
                                reinterpret_cast<const UChar*>(text.data()), static_cast<int32_t>(text.size()),
                                "", &status);
        if (status == U_BUFFER_OVERFLOW_ERROR) {
            out.assign(static_cast<size_t>(length), u'\0');
            continue;
        }
        if (U_FAILURE(status)) return std::u16string(text);
        out.resize(static_cast<size_t>(length));
        return out;
    }
    return std::u16string(text);
}
}  // namespace

std::u16string lowercase(std::u16string_view text) { return mapCase(text, u_strToLower, u'A', u'Z'); }

std::u16string uppercase(std::u16string_view text) { return mapCase(text, u_strToUpper, u'a', u'z'); }

int compareIgnoringCase(std::u16string_view a, std::u16string_view b) {
    size_t common = std::min(a.size(), b.size());
    for (size_t i = 0; i < common; ++i) {
        char16_t x = a[i], y = b[i];
        if (x >= 0x80 || y >= 0x80) {
            UErrorCode status = U_ZERO_ERROR;
            int result = u_strCaseCompare(reinterpret_cast<const UChar*>(a.data() + i), static_cast<int32_t>(a.size() - i),
                                          reinterpret_cast<const UChar*>(b.data() + i), static_cast<int32_t>(b.size() - i),
                                          U_FOLD_CASE_DEFAULT, &status);
            return result < 0 ? -1 : (result > 0 ? 1 : 0);
        }
        if (x >= u'A' && x <= u'Z') x ^= 0x20;
        if (y >= u'A' && y <= u'Z') y ^= 0x20;
        if (x != y) return x < y ? -1 : 1;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

bool equalsIgnoringCase(std::u16string_view a, std::u16string_view b) {
    if (a.size() == b.size() && isASCII(a) && isASCII(b)) {
        for (size_t i = 0; i < a.size(); ++i) {
            char16_t x = a[i], y = b[i];
            if (x >= u'A' && x <= u'Z') x ^= 0x20;
            if (y >= u'A' && y <= u'Z') y ^= 0x20;
            if (x != y) return false;
        }
        return true;
    }
    return compareIgnoringCase(a, b) == 0;
}

bool hasPrefixIgnoringCase(std::u16string_view text, std::u16string_view prefix) {
    return text.size() >= prefix.size() && equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

namespace {
// Folds case and strips combining marks after canonical decomposition, so "É" and "e" compare equal.
std::u16string foldCaseAndDiacritics(std::u16string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status)) return lowercase(text);
    icu::UnicodeString source(false, reinterpret_cast<const UChar*>(text.data()), static_cast<int32_t>(text.size()));
    icu::UnicodeString decomposed = nfd->normalize(source, status);
    if (U_FAILURE(status)) return lowercase(text);
    decomposed.foldCase(U_FOLD_CASE_DEFAULT);
    std::u16string out;
    out.reserve(static_cast<size_t>(decomposed.length()));
    for (int32_t i = 0; i < decomposed.length(); ++i) {
        char16_t c = decomposed.charAt(i);
        if (u_getIntPropertyValue(c, UCHAR_GENERAL_CATEGORY_MASK) & U_GC_M_MASK) continue;
        out.push_back(c);
    }
    return out;
}
}  // namespace

bool equalsIgnoringCaseAndDiacritics(std::u16string_view a, std::u16string_view b) {
    if (isASCII(a) && isASCII(b)) return equalsIgnoringCase(a, b);
    return foldCaseAndDiacritics(a) == foldCaseAndDiacritics(b);
}

size_t findIgnoringCase(std::u16string_view text, std::u16string_view needle, size_t from) {
    if (needle.empty() || from > text.size() || needle.size() > text.size() - from) return std::u16string_view::npos;
    if (isASCII(needle)) {
        char16_t first = needle[0];
        char16_t firstOther = (first >= u'A' && first <= u'Z') || (first >= u'a' && first <= u'z') ? first ^ 0x20 : first;
        for (size_t i = from; i + needle.size() <= text.size(); ++i) {
            if (text[i] != first && text[i] != firstOther) continue;
            if (equalsIgnoringCase(text.substr(i, needle.size()), needle)) return i;
        }
        return std::u16string_view::npos;
    }
    for (size_t i = from; i + needle.size() <= text.size(); ++i) {
        if (equalsIgnoringCase(text.substr(i, needle.size()), needle)) return i;
    }
    return std::u16string_view::npos;
}

bool contains(std::u16string_view text, std::u16string_view needle) {
    return text.find(needle) != std::u16string_view::npos;
}

bool containsIgnoringCase(std::u16string_view text, std::u16string_view needle) {
    return findIgnoringCase(text, needle) != std::u16string_view::npos;
}

bool hasPrefix(std::u16string_view text, std::u16string_view prefix) {
    return text.size() >= prefix.size() && text.substr(0, prefix.size()) == prefix;
}

bool hasSuffix(std::u16string_view text, std::u16string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

std::u16string replaceAll(std::u16string_view text, std::u16string_view target, std::u16string_view replacement) {
    if (target.empty()) return std::u16string(text);
    std::u16string out;
    out.reserve(text.size());
    size_t position = 0;
    while (true) {
        size_t hit = text.find(target, position);
        if (hit == std::u16string_view::npos) break;
        out.append(text.substr(position, hit - position));
        out.append(replacement);
        position = hit + target.size();
    }
    out.append(text.substr(position));
    return out;
}

std::u16string replaceAllIgnoringCase(std::u16string_view text, std::u16string_view target,
                                      std::u16string_view replacement) {
    if (target.empty()) return std::u16string(text);
    std::u16string out;
    out.reserve(text.size());
    size_t position = 0;
    while (true) {
        size_t hit = findIgnoringCase(text, target, position);
        if (hit == std::u16string_view::npos) break;
        out.append(text.substr(position, hit - position));
        out.append(replacement);
        position = hit + target.size();
    }
    out.append(text.substr(position));
    return out;
}

namespace {
// The text without the characters the predicate names, copied a run at a time: the characters removed are
// usually few (the line breaks of a folded value).
template <typename IsRemoved>
std::u16string removingRuns(std::u16string_view text, IsRemoved isRemoved) {
    std::u16string out;
    out.reserve(text.size());
    size_t runStart = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (!isRemoved(text[i])) continue;
        out.append(text.substr(runStart, i - runStart));
        runStart = i + 1;
    }
    out.append(text.substr(runStart));
    return out;
}
}  // namespace

std::u16string removeCharacters(std::u16string_view text, std::u16string_view characters) {
    // One or two characters (CR, line breaks), the usual sets, are compared directly.
    if (characters.size() == 1) return removingRuns(text, [only = characters[0]](char16_t c) { return c == only; });
    if (characters.size() == 2) {
        return removingRuns(text, [a = characters[0], b = characters[1]](char16_t c) { return c == a || c == b; });
    }
    return removingRuns(text, [&](char16_t c) { return characters.find(c) != std::u16string_view::npos; });
}

std::u16string escapingLineBreaks(std::u16string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (char16_t c : text) {
        if (c == u'\n') {
            out += u"\\n";
        } else if (c == u'\r') {
            out += u"\\r";
        } else {
            out.push_back(c);
        }
    }
    return out;
}

std::vector<std::u16string> componentsSeparatedBy(std::u16string_view text, std::u16string_view separator) {
    std::vector<std::u16string> parts;
    if (separator.empty()) {
        parts.emplace_back(text);
        return parts;
    }
    size_t position = 0;
    while (true) {
        size_t hit = text.find(separator, position);
        if (hit == std::u16string_view::npos) break;
        parts.emplace_back(text.substr(position, hit - position));
        position = hit + separator.size();
    }
    parts.emplace_back(text.substr(position));
    return parts;
}

std::u16string componentsJoinedBy(const std::vector<std::u16string>& parts, std::u16string_view separator) {
    std::u16string out;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i) out.append(separator);
        out.append(parts[i]);
    }
    return out;
}

namespace {
std::u16string escapeHTML(std::u16string_view text, bool quotes) {
    std::u16string out;
    out.reserve(text.size() + text.size() / 8);
    for (char16_t c : text) {
        switch (c) {
            case u'<': out.append(u"&lt;"); break;
            case u'>': out.append(u"&gt;"); break;
            case u'&': out.append(u"&amp;"); break;
            case u'"':
                if (quotes) {
                    out.append(u"&quot;");
                    break;
                }
                [[fallthrough]];
            default: out.push_back(c);
        }
    }
    return out;
}
}  // namespace

std::u16string stringByEscapingForHTMLContent(std::u16string_view text) { return escapeHTML(text, false); }

std::u16string stringByEscapingForHTMLAttribute(std::u16string_view text) { return escapeHTML(text, true); }

std::u16string stringByNormalizingLineEndsToCRLF(std::u16string_view text) {
    std::u16string out;
    out.reserve(text.size() + text.size() / 32);
    for (size_t i = 0; i < text.size(); ++i) {
        char16_t c = text[i];
        if (c == u'\r') {
            out.append(u"\r\n");
            if (i + 1 < text.size() && text[i + 1] == u'\n') ++i;
        } else if (c == u'\n') {
            out.append(u"\r\n");
        } else {
            out.push_back(c);
        }
    }
    return out;
}

std::u16string capitalizedHeaderKey(std::u16string_view name) {
    std::u16string out = lowercase(name);
    bool wordStart = true;
    for (char16_t& c : out) {
        if (c == u'-') {
            wordStart = true;
            continue;
        }
        if (wordStart && c >= u'a' && c <= u'z') c ^= 0x20;
        wordStart = false;
    }
    return out;
}

std::u16string quotedString(std::u16string_view text) {
    std::u16string out(u"\"");
    for (char16_t c : text) {
        if (c == u'\\' || c == u'"') out.push_back(u'\\');
        out.push_back(c);
    }
    out.push_back(u'"');
    return out;
}

std::u16string pathExtension(std::u16string_view fileName) {
    size_t slash = fileName.rfind(u'/');
    std::u16string_view last = slash == std::u16string_view::npos ? fileName : fileName.substr(slash + 1);
    size_t dot = last.rfind(u'.');
    if (dot == std::u16string_view::npos || dot == 0 || dot + 1 == last.size()) return {};
    return std::u16string(last.substr(dot + 1));
}

std::u16string pathSafeBaseFileName(std::u16string_view fileName) {
    std::u16string safe;
    safe.reserve(fileName.size());
    for (char16_t c : fileName) {
        bool unsafe = c < 0x20 || c == 0x7F || c == u'/' || c == u'\\' || c == u':';
        safe.push_back(unsafe ? u'_' : c);
    }
    safe = fgTrim(safe);
    size_t dots = safe.find_first_not_of(u'.');
    safe.erase(0, dots == std::u16string::npos ? safe.size() : dots);
    if (safe.empty()) return u"_";
    // File systems count bytes: shorten the stem, never the extension, to 255 UTF-8 bytes.
    constexpr size_t kMaximumBytes = 255;
    if (toUTF8(safe).size() <= kMaximumBytes) return safe;
    std::u16string extension = pathExtension(safe);
    std::u16string suffix = extension.empty() || extension.size() > 32 ? u"" : u"." + extension;
    std::u16string_view stem(safe.data(), safe.size() - suffix.size());
    const size_t budget = kMaximumBytes - toUTF8(suffix).size();
    size_t bytes = 0, kept = 0;
    while (kept < stem.size()) {
        bool pair = stem[kept] >= 0xD800 && stem[kept] < 0xDC00 && kept + 1 < stem.size() &&
                    stem[kept + 1] >= 0xDC00 && stem[kept + 1] < 0xE000;
        size_t width = pair ? 4 : stem[kept] < 0x80 ? 1 : stem[kept] < 0x800 ? 2 : 3;
        if (bytes + width > budget) break;
        bytes += width;
        kept += pair ? 2 : 1;
    }
    return std::u16string(stem.substr(0, kept)) + suffix;
}

std::u16string decimalString(long long value) {
    std::string digits = std::to_string(value);
    return std::u16string(digits.begin(), digits.end());
}

std::u16string decimalString(unsigned long long value) {
    std::string digits = std::to_string(value);
    return std::u16string(digits.begin(), digits.end());
}

}  // namespace postwright
