// The content identifier: the stable 18-character name of a message, computed from its headers so that the
// same message seen twice gets the same identifier. Identifiers are persisted: nothing here may change the
// value computed for a given header block.
#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"
#include <unicode/uchar.h>

#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "postwright/Lexical/DateFormat.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {
bool isSeedWhiteSpace(char16_t c) {
    if (c < 0x80) return c == u' ' || c == u'\t' || c == u'\n' || c == u'\f' || c == u'\r';
    int8_t type = u_charType(c);
    return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
}

// The seed's Date value written again in GMT, or nullopt when it does not parse.
OptString gmtDateText(const std::u16string& date) {
    std::optional<double> parsed = dateFromRFC822String(date);
    if (!parsed) return std::nullopt;
    return RFC2822GMTdateFormatter().stringFromDate(*parsed);
}
}  // namespace

int64_t PWPostmarkIdentifierIndex(std::u16string_view text) {
    std::string bytes = toUTF8(text);
    const size_t n = bytes.size();
    uint64_t sum = 0;  // wraps like the signed 64-bit sum it stands for
    auto byteAt = [&](size_t i) { return static_cast<uint64_t>(static_cast<int64_t>(static_cast<signed char>(bytes[i]))); };
    if (n >= 4) {
        for (size_t group = 0; group + 4 <= n; group += 4) {
            sum += byteAt(group) + byteAt(group + 1) * 256u + byteAt(group + 2) * 65536u + byteAt(group + 3) * 16777216u;
        }
    }
    for (size_t i = 0; i < n; ++i) {
        uint64_t power = i < 8 ? uint64_t(1) << (8 * i) : 0;  // 2^(8i) in 64 bits: nothing from the ninth byte on
        sum += byteAt(i) * power;
    }
    return static_cast<int64_t>(sum) % 10000;
}

OptString PWMessageHeaders::hashForCompoundedHeaderValueString(std::u16string_view seed, TextEncoding encoding) {
    if (seed.empty()) return std::nullopt;
    std::string bytes;
    if (std::optional<std::string> utf8 = bytesFromString(seed, kUTF8StringEncoding)) {
        bytes = utf8->substr(0, utf8->find('\0'));  // the UTF-8 C string
    } else if (std::optional<std::string> inEncoding = bytesFromString(seed, encoding);
               inEncoding && !inEncoding->empty()) {
        bytes = *inEncoding;
    } else {
        // The fastest encoding: the UTF-16 code units themselves, which always convert.
        bytes.assign(reinterpret_cast<const char*>(seed.data()), seed.size() * sizeof(char16_t));
    }
    if (bytes.empty()) {
        logMessage(u"Could not generate a hash for headerValues -- encoding issues");
        return std::nullopt;
    }
    SHA256Digest digest = sha256Digest(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    std::u16string text = pathSafeBase64String(digest.data(), digest.size());
    return formatString(u"%04lu%@", {static_cast<unsigned long>(PWPostmarkIdentifierIndex(text)), text.substr(0, 14)});
}

OptString PWMessageHeaders::hashForCompoundedHeaderValueString(std::u16string_view seed) const {
    return hashForCompoundedHeaderValueString(seed, preferredEncoding());
}

std::u16string PWMessageHeaders::legacy_decodeMimeEncodedSubject(std::u16string_view subject) {
    // Words are "=?" charset "?" Q|B "?" text "?=", decoded with the whole-word decoder; adjacent decoded
    // words join their bytes, and text between words is kept as it stands.
    std::u16string out;
    std::string pendingBytes;
    TextEncoding pendingEncoding = kNoEncoding;
    auto flush = [&] {
        if (pendingBytes.empty()) return;
        OptString text = stringFromBytes(reinterpret_cast<const uint8_t*>(pendingBytes.data()), pendingBytes.size(),
                                         pendingEncoding);
        if (text) {
            out += *text;
        } else {
            logMessage(formatString(u"problem decoding MimeString: %@", {fromLatin1(pendingBytes)}));
        }
        pendingBytes.clear();
    };
    size_t position = 0;
    while (position < subject.size()) {
        size_t start = subject.find(u"=?", position);
        if (start == std::u16string_view::npos) break;
        // charset "?" letter "?" text "?="
        size_t charsetEnd = subject.find(u'?', start + 2);
        size_t end = charsetEnd == std::u16string_view::npos || charsetEnd + 3 > subject.size()
                         ? std::u16string_view::npos
                         : subject.find(u"?=", charsetEnd + 3);
        bool shaped = end != std::u16string_view::npos && charsetEnd + 2 < subject.size() &&
                      subject[charsetEnd + 2] == u'?' &&
                      std::u16string_view(u"QqBb").find(subject[charsetEnd + 1]) != std::u16string_view::npos;
        if (!shaped) {
            logMessage(formatString(u"problem parsing MimeEncodedWord: %@", {subject.substr(start)}));
            flush();
            out += subject.substr(position, start + 2 - position);
            position = start + 2;
            continue;
        }
        std::u16string_view between = subject.substr(position, start - position);
        bool adjacent = !pendingBytes.empty() && trimWhitespace(between).empty();
        if (!adjacent) {
            flush();
            out += between;
        }
        std::u16string_view word = subject.substr(start, end + 2 - start);
        TextEncoding encoding = kNoEncoding;
        std::optional<Data> bytes = dataForMimeEncodedWord(word, &encoding);
        if (!bytes) {
            flush();
            logMessage(formatString(u"problem decoding MimeString: %@", {word}));
            out += word;
        } else {
            if (encoding != pendingEncoding) flush();
            pendingEncoding = encoding;
            pendingBytes.append(bytes->view());
        }
        position = end + 2;
    }
    flush();
    out += subject.substr(std::min(position, subject.size()));
    return out;
}

std::u16string PWMessageHeaders::_contentIdentifierSeedConvertingDateToGMT(bool convertDateToGMT) const {
    auto raw = [&](const char16_t* key, const char16_t* placeholder) {
        return firstHeaderForKey(key, false).value_or(placeholder);
    };
    std::u16string subject = u"NO_SUBJECT";
    if (OptString value = firstHeaderForKey(PWMessageHeaderSubjectKey, false)) {
        subject = legacy_decodeMimeEncodedSubject(*value);
    }
    std::u16string date = firstHeaderForKey(PWMessageHeaderDateKey).value_or(u"NO_DATE");
    if (convertDateToGMT && date != u"NO_DATE") {
        if (OptString normalised = gmtDateText(date)) date = *normalised;
    }
    std::vector<std::u16string> values = {
        raw(PWMessageHeaderToKey, u"NO_RECIPIENTS"),
        raw(PWMessageHeaderCcKey, u"NO_CC_RECIPIENTS"),
        raw(PWMessageHeaderBccKey, u"NO_BCC_RECIPIENTS"),
        raw(PWMessageHeaderFromKey, u"NO_FROM"),
        subject,
        firstHeaderForKey(PWMessageHeaderMessageIdKey).value_or(u"NO_MESSAGE_ID"),
        date,
    };
    // Every white-space character goes, as the pattern "\\s" defines it: TAB, LF, FF, CR and the Unicode
    // separators (Z*).
    std::u16string seed;
    for (const std::u16string& value : values) {
        if (&value != &values.front()) seed.push_back(u'|');
        for (char16_t c : value) {
            if (!isSeedWhiteSpace(c)) seed.push_back(c);
        }
    }
    return seed;
}

std::u16string PWMessageHeaders::_generateContentIdentifierConvertingDateToGMT(bool convertDateToGMT) const {
    if (OptString composer = firstHeaderForKey(PWMessageHeaderComposerIdKey)) return *composer;
    if (OptString override = firstHeaderForKey(PWMessageHeaderContentIdOverrideKey)) {
        std::vector<std::u16string> pieces = componentsSeparatedBy(*override, u"/");
        return pieces.size() >= 2 ? pieces[1] : pieces[0];
    }
    return hashForCompoundedHeaderValueString(_contentIdentifierSeedConvertingDateToGMT(convertDateToGMT))
        .value_or(u"");
}

std::u16string PWMessageHeaders::contentIdentifier() const {
    {
        std::lock_guard lock(mutex_);
        if (contentIdentifier_) return *contentIdentifier_;
    }
    std::u16string identifier = _generateContentIdentifierConvertingDateToGMT(false);
    std::lock_guard lock(mutex_);
    contentIdentifier_ = identifier;
    mutated_ = false;
    return identifier;
}

}  // namespace postwright
