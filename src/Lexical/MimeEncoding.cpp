// Encoded words (RFC 2047): the scanner operations on one word, header-text decoding, whole-word decoding,
// Q encoding and encoded-word output; charset names; the IMAP astring (RFC 9051 section 4.3).
#include "postwright/Lexical/MimeEncoding.hpp"

#include <algorithm>
#include <string>

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/CharacterSet.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Lexical/EmailParserError.hpp"
#include "postwright/Lexical/QuotedPrintable.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {

// RFC 2047 section 2: encoded-text is printable ASCII except "?" (and SPACE, which a sloppy encoder may
// leave in; the second set admits it for the retry).
const CharacterSet& encodedTextSet(bool allowSpace) {
    static const CharacterSet strict = [] {
        CharacterSet set = CharacterSet::withRanges({{0x21, 0x7F - 0x21 + 1}});
        set.remove(u'?');
        return set;
    }();
    static const CharacterSet withSpace = [] {
        CharacterSet set = strict;
        set.add(u' ');
        return set;
    }();
    return allowSpace ? withSpace : strict;
}

bool isEncodingLetter(char16_t c) {
    return c == u'Q' || c == u'q' || c == u'B' || c == u'b';
}

// RFC 2231 section 5: "charset*language".
void splitLanguage(std::u16string_view charsetAndLanguage, std::u16string_view* charset, OptString* language) {
    size_t star = charsetAndLanguage.find(u'*');
    if (star == std::u16string_view::npos) {
        *charset = charsetAndLanguage;
        *language = std::nullopt;
        return;
    }
    *charset = charsetAndLanguage.substr(0, star);
    *language = std::u16string(charsetAndLanguage.substr(star + 1));
}

// A decoded word that carries NUL bytes could cut the text short in a careless consumer or hide what
// follows; every NUL is shown instead as the two characters backslash-zero, in the word's encoding.
std::string replaceNULBytes(const Data& bytes, TextEncoding encoding) {
    std::string marker = bytesFromString(u"\\0", encoding).value_or("\\0");
    std::string out;
    out.reserve(bytes.length() + 8);
    for (uint8_t byte : bytes) {
        if (byte == 0) {
            out += marker;
        } else {
            out.push_back(static_cast<char>(byte));
        }
    }
    return out;
}

// Q-encoding (RFC 2047 section 4.2): bytes that may stand as themselves in any encoded word.
const CharacterSet& qSafeSet() {
    static const CharacterSet set = [] {
        CharacterSet s = CharacterSet::withRanges({{0x20, 0x7D - 0x20 + 1}});
        s.removeCharacters(u" _=?");
        return s;
    }();
    return set;
}

// RFC 9051 section 4.3: characters that force an astring to be quoted.
bool isAStringSpecial(char16_t c) {
    return c < 0x20 || c == 0x7F || c == u'(' || c == u')' || c == u'{' || c == u' ' || c == u'%' || c == u'*' ||
           c == u'"' || c == u'\\';
}

// The encoding Q encoding uses for text, with the text's bytes in it: the preferred one when it can hold
// the text, else ISO Latin-2, UTF-8, UTF-16, then the smallest encoding that holds it; 0 when none does.
TextEncoding qEncodingFor(std::u16string_view text, TextEncoding preferredEncoding, std::string* bytes) {
    for (TextEncoding candidate : {preferredEncoding, kISOLatin2StringEncoding, kUTF8StringEncoding,
                                   kUTF16StringEncoding, smallestEncoding(text)}) {
        if (std::optional<std::string> converted = bytesFromString(text, candidate)) {
            *bytes = std::move(*converted);
            return candidate;
        }
    }
    return kNoEncoding;
}

constexpr char16_t kHexDigits[] = u"0123456789ABCDEF";

}  // namespace

OptString PWcharSetNameForEncoding(TextEncoding encoding) {
    OptString name = charSetNameForEncoding(encoding);
    if (!name) return std::nullopt;
    return lowercase(*name);
}

TextEncoding PWencodingForCharSetName(std::u16string_view name) {
    return encodingForCharSetName(name);
}

std::vector<TextEncoding> encodedWordEncodings(std::string_view headerBytes) {
    constexpr size_t kLongestCharsetName = 40;
    std::vector<TextEncoding> found;
    size_t at = 0;
    while ((at = headerBytes.find("=?", at)) != std::string_view::npos) {
        at += 2;
        size_t question = headerBytes.find('?', at);
        if (question == std::string_view::npos) break;
        if (question - at > kLongestCharsetName || question + 2 >= headerBytes.size()) continue;
        const char letter = static_cast<char>(headerBytes[question + 1] | 0x20);
        if ((letter != 'q' && letter != 'b') || headerBytes[question + 2] != '?') continue;
        std::string_view name = headerBytes.substr(at, question - at);
        name = name.substr(0, name.find('*'));
        TextEncoding encoding = PWencodingForCharSetName(fromLatin1(name));
        if (!isUnusableEncoding(encoding) && std::find(found.begin(), found.end(), encoding) == found.end()) {
            found.push_back(encoding);
        }
        at = question + 3;
    }
    return found;
}

// ---- One encoded word ---------------------------------------------------------------------------------

bool Scanner::scanRFC2047EncodedWordIntoString(OptString* result, unsigned options, TextEncoding* encodingUsed,
                                               OptString* languageUsed, bool* mailSploited) {
    size_t start = location_;
    if (!scanString(u"=?")) return false;
    OptString charsetToken;
    if (!scanRFC2047TokenIntoString(&charsetToken) || !scanString(u"?") || isAtEnd() ||
        !isEncodingLetter(currentCharacter())) {
        location_ = start;
        return false;
    }
    char16_t letter = currentCharacter();
    advance(1);

    // From here on a failure may come from spaces a faulty encoder left in the encoded text: without
    // options, the whole word is tried once more with SPACE admitted.
    auto fail = [&]() {
        location_ = start;
        if (options != 0) return false;
        return scanRFC2047EncodedWordIntoString(result, 1, encodingUsed, languageUsed, mailSploited);
    };
    std::u16string encodedText;
    if (!scanString(u"?") || !scanCharactersFromSet(encodedTextSet(options & 1u), &encodedText) || !scanString(u"?=")) {
        return fail();
    }

    std::u16string_view charset;
    OptString language;
    splitLanguage(*charsetToken, &charset, &language);
    if (language) setSlot(languageUsed, language);
    TextEncoding encoding = PWencodingForCharSetName(charset);
    setSlot(encodingUsed, encoding);
    if (!result || encoding == kInvalidEncoding) return fail();

    std::optional<Data> bytes;
    if (letter == u'Q' || letter == u'q') {
        bytes = dataWithQuotedPrintableEncodedString(encodedText);
    } else {
        bytes = base64DecodedData(encodedText);
    }
    if (!bytes) return fail();

    setSlot(mailSploited, false);
    if (bytes->findByte(0) != Data::npos) {
        setSlot(mailSploited, true);
        bytes = Data::adopting(replaceNULBytes(*bytes, encoding));
    }
    // Bytes that are not valid in the declared charset leave the word undecoded, like any other
    // malformed word.
    OptString text = stringFromData(*bytes, encoding);
    if (!text) return fail();
    *result = std::move(text);
    return true;
}

bool Scanner::scanMimeEncodedWordIntoString(OptString* result, ErrorRef* error) {
    size_t start = location_;
    if (characterAtOffset(1) != u'?') return false;
    advance(2);
    scanUpToString(u"?");
    advance(1);
    std::u16string letter;
    scanUpToString(u"?", &letter);
    if (!equalsIgnoringCase(letter, u"Q") && !equalsIgnoringCase(letter, u"B")) {
        if (error) *error = emailParserError(EmailParserErrorCode::MalformedMimeData, string_);
        location_ = start;
        return false;
    }
    advance(1);
    scanUpToString(u"?=");
    if (!scanString(u"?=")) {
        if (error) *error = emailParserError(EmailParserErrorCode::MalformedMimeData, string_);
        location_ = start;
        return false;
    }
    setSlot(result, string_.substr(start, location_ - start));
    return location_ != start;
}

// ---- Header text --------------------------------------------------------------------------------------

std::u16string decodedMimeEncodedString(std::u16string_view text, bool* isMailSploited, TextEncoding* encodingUsed,
                                        OptString* languageUsed) {
    setSlot(isMailSploited, false);
    setSlot(languageUsed, std::nullopt);
    setSlot(encodingUsed, kInvalidEncoding);
    // Most header text holds no encoded word at all.
    size_t firstWord = text.find(u"=?");
    if (firstWord == std::u16string_view::npos) return std::u16string(text);

    std::u16string out;
    out.reserve(text.size());
    out.append(text.substr(0, firstWord));
    Scanner scanner{std::u16string(text)};
    scanner.setScanLocation(firstWord);
    bool lastWasWord = false;
    bool sploited = false;
    size_t previous = std::u16string::npos;
    while (!scanner.isAtEnd()) {
        size_t location = scanner.scanLocation();
        if (location == previous) break;
        previous = location;

        size_t next = text.find(u"=?", location);
        if (next == std::u16string_view::npos) next = text.size();
        if (next > location) {
            std::u16string_view plain = text.substr(location, next - location);
            // RFC 2047 section 6.2: white space between adjacent encoded words is not displayed.
            bool onlyWhiteSpace = std::all_of(plain.begin(), plain.end(), isWhitespaceOrNewline);
            if (!(lastWasWord && onlyWhiteSpace)) out.append(plain);
            scanner.setScanLocation(next);
        }

        OptString word;
        TextEncoding wordEncoding = kInvalidEncoding;
        OptString wordLanguage;
        bool wordSploited = false;
        if (scanner.scanRFC2047EncodedWordIntoString(&word, 0, &wordEncoding, &wordLanguage, &wordSploited)) {
            sploited = sploited || wordSploited;
            out.append(*word);
            setSlot(encodingUsed, wordEncoding);
            setSlot(languageUsed, wordLanguage);
            lastWasWord = true;
        } else if (scanner.scanString(u"=?")) {
            out.append(u"=?");
            lastWasWord = false;
        }
    }
    setSlot(isMailSploited, sploited);
    return out;
}

// ---- Whole words --------------------------------------------------------------------------------------

namespace {
// The parts of a whole encoded word; false when it is not one.
bool splitWholeWord(std::u16string_view word, TextEncoding* encoding, OptString* language, char16_t* letter,
                    std::u16string_view* encodedText) {
    if (word.size() < 4 || word.substr(0, 2) != u"=?" || word.substr(word.size() - 2) != u"?=") return false;
    size_t question = word.find(u'?', 2);
    if (question == std::u16string_view::npos || question >= word.size() - 4) return false;
    std::u16string_view charset;
    splitLanguage(word.substr(2, question - 2), &charset, language);
    *encoding = PWencodingForCharSetName(charset);
    if (isUnusableEncoding(*encoding)) return false;
    char16_t kind = word[question + 1];
    if (word[question + 2] != u'?' || !isEncodingLetter(kind)) return false;
    *letter = kind;
    *encodedText = word.substr(question + 3, word.size() - 2 - (question + 3));
    return true;
}

std::optional<Data> decodeWholeWord(char16_t letter, std::u16string_view encodedText) {
    if (letter == u'Q' || letter == u'q') return dataWithQuotedPrintableEncodedString(encodedText);
    return base64DecodedData(encodedText);
}
}  // namespace

std::optional<Data> dataForMimeEncodedWord(std::u16string_view word, TextEncoding* usedEncoding,
                                           OptString* usedLanguage) {
    TextEncoding encoding = kInvalidEncoding;
    OptString language;
    char16_t letter = 0;
    std::u16string_view encodedText;
    if (!splitWholeWord(word, &encoding, &language, &letter, &encodedText)) return std::nullopt;
    setSlot(usedEncoding, encoding);
    setSlot(usedLanguage, std::move(language));
    return decodeWholeWord(letter, encodedText);
}

OptString stringWithMimeEncodedWord(std::u16string_view word, TextEncoding* encodingUsed, OptString* languageUsed) {
    TextEncoding encoding = kInvalidEncoding;
    OptString language;
    char16_t letter = 0;
    std::u16string_view encodedText;
    if (!splitWholeWord(word, &encoding, &language, &letter, &encodedText)) return std::nullopt;
    setSlot(encodingUsed, encoding);
    setSlot(languageUsed, std::move(language));
    std::optional<Data> bytes = decodeWholeWord(letter, encodedText);
    if (!bytes) return std::nullopt;
    // The Q form is read as a NUL-terminated string: a decoded NUL ends the text.
    if (letter == u'Q' || letter == u'q') {
        size_t nul = bytes->findByte(0);
        if (nul != Data::npos) bytes = bytes->subdata(0, nul);
    }
    return stringFromData(*bytes, encoding);
}

// ---- Output -------------------------------------------------------------------------------------------

OptString qEncodedStringWithString(const OptString& text, TextEncoding preferredEncoding, TextEncoding* encodingUsed) {
    std::string bytes;
    TextEncoding encoding = text ? qEncodingFor(*text, preferredEncoding, &bytes) : kNoEncoding;
    setSlot(encodingUsed, encoding);
    if (encoding == kNoEncoding) return std::nullopt;
    const CharacterSet& safe = qSafeSet();
    std::u16string out;
    out.reserve(bytes.size() * 3);
    for (char raw : bytes) {
        uint8_t byte = static_cast<uint8_t>(raw);
        if (safe.contains(byte)) {
            out.push_back(byte);
        } else if (byte == ' ') {
            out.push_back(u'_');
        } else {
            out.push_back(u'=');
            out.push_back(kHexDigits[byte >> 4]);
            out.push_back(kHexDigits[byte & 0xF]);
        }
    }
    return out;
}

OptString mimeWordWithString(std::u16string_view text, TextEncoding preferredEncoding, TextEncoding* encodingUsed) {
    TextEncoding encoding = kNoEncoding;
    OptString qText = qEncodedStringWithString(std::u16string(text), preferredEncoding, &encoding);
    OptString charset = qText ? PWcharSetNameForEncoding(encoding) : std::nullopt;
    if (!charset) {
        setSlot(encodingUsed, kNoEncoding);
        return std::nullopt;
    }
    setSlot(encodingUsed, encoding);
    return formatString(u"=?%@?Q?%@?=", {*charset, *qText});
}

std::u16string mimeWordsWithString(std::u16string_view text, size_t firstWordLength) {
    static constexpr std::u16string_view kOpening = u"=?utf-8?Q?";
    static constexpr std::u16string_view kClosing = u"?=";
    const CharacterSet& safe = qSafeSet();
    std::u16string out, word, character;
    size_t limit = firstWordLength;
    auto closeWord = [&] {
        if (!out.empty()) out += u' ';
        out += kOpening;
        out += word;
        out += kClosing;
        word.clear();
        limit = kMimeWordMaximumLength;
    };
    for (size_t i = 0; i < text.size();) {
        // One whole character: a surrogate pair stays together.
        bool pair = text[i] >= 0xD800 && text[i] < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
                    text[i + 1] < 0xE000;
        size_t length = pair ? 2 : 1;
        character.clear();
        for (char raw : toUTF8(text.substr(i, length))) {
            uint8_t byte = static_cast<uint8_t>(raw);
            if (safe.contains(byte)) {
                character.push_back(byte);
            } else if (byte == ' ') {
                character.push_back(u'_');
            } else {
                character.push_back(u'=');
                character.push_back(kHexDigits[byte >> 4]);
                character.push_back(kHexDigits[byte & 0xF]);
            }
        }
        if (!word.empty() && kOpening.size() + word.size() + character.size() + kClosing.size() > limit) closeWord();
        word += character;
        i += length;
    }
    if (!word.empty() || out.empty()) closeWord();
    return out;
}

std::u16string rfc9051AString(std::u16string_view text) {
    if (std::none_of(text.begin(), text.end(), isAStringSpecial)) return std::u16string(text);
    std::u16string escaped = replaceAll(replaceAll(text, u"\\", u"\\\\"), u"\"", u"\\\"");
    return formatString(u"\"%@\"", {escaped});
}

}  // namespace postwright
