// Text helpers over UTF-16 text (std::u16string), the library's text type.
//
// Indexes and lengths are UTF-16 code units, as everywhere in the library. Conversion to UTF-8 happens
// only at the edges (tool output, JSON, logs). Where nil and empty text differ, text is OptString.
//
//     std::u16string key = capitalizedHeaderKey(u"message-id");   // u"Message-Id"
//     std::u16string safe = stringByEscapingForHTMLContent(u"a<b"); // u"a&lt;b"
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

using OptString = std::optional<std::u16string>;

// UTF-8 <-> UTF-16. Both are lenient: unpaired surrogates and invalid UTF-8 become U+FFFD. Strict
// decoding (null on invalid bytes) is TextEncoding's job.
std::string toUTF8(std::u16string_view text);
inline std::string toUTF8(const std::u16string& text) { return toUTF8(std::u16string_view(text)); }
inline std::string toUTF8(const char16_t* text) { return toUTF8(std::u16string_view(text)); }
std::string toUTF8(const OptString& text);  // nil gives "(null)"
std::u16string fromUTF8(std::string_view text);
// Widens each byte to one code unit (ISO Latin 1 reading; the identity for ASCII).
std::u16string fromLatin1(std::string_view bytes);
bool isASCII(std::u16string_view text) noexcept;
bool isASCII(std::string_view bytes) noexcept;

// Character classes of the platform's text services.
bool isWhitespace(char16_t c) noexcept;             // Unicode Zs and TAB
bool isNewline(char16_t c) noexcept;                // LF, VT, FF, CR, NEL, LS, PS
bool isWhitespaceOrNewline(char16_t c) noexcept;    // Z*, U+0009-U+000D, U+0085
bool isDecimalDigit(char16_t c) noexcept;           // Unicode Nd
inline bool isASCIILetter(char16_t c) noexcept { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }

// Trimming.
std::u16string fgTrim(std::u16string_view text);           // white space and line breaks, both ends
std::u16string trimWhitespace(std::u16string_view text);    // white space only (not line breaks)
std::u16string trimCharacters(std::u16string_view text, std::u16string_view characters);
template <typename Predicate>
std::u16string trimIf(std::u16string_view text, Predicate isTrimmed) {
    size_t start = 0, end = text.size();
    while (start < end && isTrimmed(text[start])) ++start;
    while (end > start && isTrimmed(text[end - 1])) --end;
    return std::u16string(text.substr(start, end - start));
}

// Case mapping (full Unicode, locale-independent; ASCII takes a fast path).
std::u16string lowercase(std::u16string_view text);
std::u16string uppercase(std::u16string_view text);
bool equalsIgnoringCase(std::u16string_view a, std::u16string_view b);
int compareIgnoringCase(std::u16string_view a, std::u16string_view b);
bool hasPrefixIgnoringCase(std::u16string_view text, std::u16string_view prefix);
// Case- and diacritic-insensitive equality (letters compared by base letter: "é" equals "E").
bool equalsIgnoringCaseAndDiacritics(std::u16string_view a, std::u16string_view b);

// Orders text ignoring case, for ordered containers keyed by text.
struct CaseInsensitiveLess {
    bool operator()(std::u16string_view a, std::u16string_view b) const { return compareIgnoringCase(a, b) < 0; }
};

// Searching and rewriting.
size_t findIgnoringCase(std::u16string_view text, std::u16string_view needle, size_t from = 0);
bool contains(std::u16string_view text, std::u16string_view needle);
bool containsIgnoringCase(std::u16string_view text, std::u16string_view needle);
bool hasPrefix(std::u16string_view text, std::u16string_view prefix);
bool hasSuffix(std::u16string_view text, std::u16string_view suffix);
std::u16string replaceAll(std::u16string_view text, std::u16string_view target, std::u16string_view replacement);
std::u16string replaceAllIgnoringCase(std::u16string_view text, std::u16string_view target,
                                      std::u16string_view replacement);
std::u16string removeCharacters(std::u16string_view text, std::u16string_view characters);
std::vector<std::u16string> componentsSeparatedBy(std::u16string_view text, std::u16string_view separator);
std::u16string componentsJoinedBy(const std::vector<std::u16string>& parts, std::u16string_view separator);

// Mail text helpers.
std::u16string stringByEscapingForHTMLContent(std::u16string_view text);    // < > &
std::u16string stringByEscapingForHTMLAttribute(std::u16string_view text);  // < > & "
std::u16string stringByNormalizingLineEndsToCRLF(std::u16string_view text); // CR LF, lone CR, lone LF -> CR LF
std::u16string capitalizedHeaderKey(std::u16string_view name);              // "message-ID" -> "Message-Id"
// LF written as the two characters "\n" and CR as "\r", so that the text can never start a header line.
std::u16string escapingLineBreaks(std::u16string_view text);
std::u16string quotedString(std::u16string_view text);                      // "a\"b" with \ and " escaped
std::u16string pathExtension(std::u16string_view fileName);                 // "" when there is none
// A file name that is safe as one path component: "/", "\\", ":", NUL and other control characters become
// "_", white space is trimmed, leading dots are dropped (no hidden files, no "." or ".."), and the name is cut
// to 255 UTF-8 bytes keeping its extension. Never empty: a name with nothing left is "_".
std::u16string pathSafeBaseFileName(std::u16string_view fileName);

std::u16string decimalString(long long value);
std::u16string decimalString(unsigned long long value);
inline std::u16string decimalString(long value) { return decimalString(static_cast<long long>(value)); }
inline std::u16string decimalString(unsigned long value) {
    return decimalString(static_cast<unsigned long long>(value));
}
inline std::u16string decimalString(int value) { return decimalString(static_cast<long long>(value)); }
inline std::u16string decimalString(unsigned value) { return decimalString(static_cast<unsigned long long>(value)); }

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
