// Header output: folding of fields to the line limit (RFC 2822 section 2.2.3), the ordered header block,
// RFC 2231 parameters and Q-encoded header values (RFC 2047).
#include <algorithm>

#include "postwright/Base/Format.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Lexical/CharacterSetRFC2822.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"

namespace postwright {

namespace {
constexpr size_t kLineLimit = 78;

bool isFoldingWhiteSpace(char16_t c) { return c == u' ' || c == u'\t'; }

bool isHeaderText(std::u16string_view text) {
    const CharacterSet& vchar = rfc2822VCHARSet();
    return std::all_of(text.begin(), text.end(), [&](char16_t c) { return vchar.contains(c); });
}

// RFC 5322 section 3.6.8: a field name is printable ASCII without the colon. A name with anything else (a
// line break above all) would write something other than one field, so such a field is not written.
bool isFieldName(std::u16string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char16_t c) { return c > 32 && c < 127 && c != u':'; });
}

// The lines of a text, split at CR LF, lone CR and lone LF.
std::vector<std::u16string> valueLines(std::u16string_view text) {
    std::vector<std::u16string> lines;
    size_t start = 0;
    while (true) {
        size_t end = text.find_first_of(u"\r\n", start);
        if (end == std::u16string_view::npos) {
            lines.emplace_back(text.substr(start));
            return lines;
        }
        lines.emplace_back(text.substr(start, end - start));
        start = end + ((text[end] == u'\r' && end + 1 < text.size() && text[end + 1] == u'\n') ? 2 : 1);
    }
}

// The last folding white space in [from, to), never at `from` itself (a piece is never empty).
size_t lastWhiteSpace(std::u16string_view line, size_t from, size_t to) {
    for (size_t p = to; p-- > from + 1;) {
        if (isFoldingWhiteSpace(line[p])) return p;
    }
    return std::u16string_view::npos;
}

size_t firstWhiteSpace(std::u16string_view line, size_t from) {
    for (size_t p = from; p < line.size(); ++p) {
        if (isFoldingWhiteSpace(line[p])) return p;
    }
    return std::u16string_view::npos;
}

// Breaks one line into pieces of fewer than 78 characters where it can: at white space (dropped, the
// continuation replaces it), else after an extra delimiter (kept at the end of its piece).
std::vector<std::u16string> foldLine(std::u16string_view line, const std::vector<std::u16string>& delimiters) {
    std::vector<std::u16string> pieces;
    size_t s = 0;
    size_t w = kLineLimit;
    while (line.size() - s >= kLineLimit) {
        size_t spanEnd = std::min(line.size(), s + w);
        size_t p = lastWhiteSpace(line, s, spanEnd);
        bool broke = false;
        if (p != std::u16string_view::npos) {
            pieces.emplace_back(line.substr(s, p - s));
            s = p + 1;
            broke = true;
        } else {
            for (const std::u16string& delimiter : delimiters) {
                if (delimiter.empty()) continue;
                spanEnd = std::min(line.size(), s + w);
                if (spanEnd - s < delimiter.size()) continue;
                size_t q = line.substr(s, spanEnd - s).rfind(delimiter);
                if (q == std::u16string_view::npos || q + delimiter.size() == 0) continue;
                size_t end = s + q + delimiter.size();
                pieces.emplace_back(line.substr(s, end - s));
                s = end;
                w = std::min(line.size() - s, kLineLimit);
                broke = true;
            }
            if (!broke) {
                size_t forward = firstWhiteSpace(line, s + w);
                if (forward != std::u16string_view::npos) {
                    pieces.emplace_back(line.substr(s, forward - s));
                    s = forward + 1;
                    broke = true;
                } else {
                    for (const std::u16string& delimiter : delimiters) {
                        if (delimiter.empty() || s + w > line.size()) continue;
                        size_t q = line.find(delimiter, s + w);
                        if (q == std::u16string_view::npos) continue;
                        size_t end = q + delimiter.size();
                        pieces.emplace_back(line.substr(s, end - s));
                        s = end;
                        broke = true;
                        break;
                    }
                }
            }
        }
        if (!broke) break;  // no break opportunity: the rest stays one long line
        w = std::min(line.size() - s, kLineLimit);
    }
    pieces.emplace_back(line.substr(s));
    return pieces;
}
}  // namespace

OptString PWMutableMessageHeaderEntry::foldedHeaderWithOption(unsigned options,
                                                             const std::vector<std::u16string>* addedDelimiters) const {
    OptString stored = value();
    if (!stored || !isFieldName(fieldName())) return std::nullopt;
    const std::u16string lineEnd = (options & kFoldLineFeedOnly) ? u"\n" : u"\r\n";
    const char16_t continuationSpace = (options & kFoldTabContinuation) ? u'\t' : u' ';
    std::u16string text = *stored;
    // A value that is not plain header text, or that holds a line break, is written as encoded words. A
    // short one-line value is one word; a longer value is several, each at most 75 characters (RFC 2047
    // section 2) with spaces between them to fold at; each line of a value that holds line breaks is
    // encoded on its own, so that its line breaks fold instead of hiding in (or cutting through) a word.
    bool lineBreaks = text.find_first_of(u"\r\n") != std::u16string::npos;
    if (!isHeaderText(text) || lineBreaks) {
        if (!canBeConvertedToEncoding(text, kUTF8StringEncoding)) return std::nullopt;  // a lone surrogate
        // The first word leaves room for "Name: " before it and the space after it on the first line.
        const size_t firstWordLength = kLineLimit > fieldName().size() + 3 + 16
                                           ? kLineLimit - fieldName().size() - 3
                                           : 16;
        OptString word = lineBreaks ? std::nullopt : mimeWordWithString(text, kUTF8StringEncoding, nullptr);
        if (word && word->size() <= firstWordLength) {
            text = *word;
        } else {
            std::vector<std::u16string> encodedLines;
            for (const std::u16string& line : valueLines(text)) {
                if (line.empty()) continue;
                encodedLines.push_back(mimeWordsWithString(line, encodedLines.empty() ? firstWordLength : 75));
            }
            text = componentsJoinedBy(encodedLines, u"\r\n");
        }
    }
    std::u16string field = capitalizedHeaderName() + u": " + text;
    // Every line break of the field starts a continuation: a line that does not begin with white space
    // gets one, so no written line can start a new field (no header injection).
    std::vector<std::u16string> lines = valueLines(field);
    static const std::vector<std::u16string> none;
    const std::vector<std::u16string>& delimiters = addedDelimiters ? *addedDelimiters : none;
    const std::u16string continuation = lineEnd + continuationSpace;
    std::u16string folded;
    for (size_t i = 0; i < lines.size(); ++i) {
        // Blank lines inside the value are dropped: a line of only white space could end the header block.
        if (i > 0 && std::all_of(lines[i].begin(), lines[i].end(), isFoldingWhiteSpace)) continue;
        if (i > 0) {
            folded += lineEnd;
            if (lines[i].empty() || !isFoldingWhiteSpace(lines[i][0])) folded.push_back(continuationSpace);
        }
        std::vector<std::u16string> pieces = foldLine(lines[i], delimiters);
        for (size_t j = 0; j < pieces.size(); ++j) {
            if (j > 0) folded += continuation;
            folded += pieces[j];
        }
    }
    return trimCharacters(folded, u"\r\n");
}

std::u16string PWMessageHeaders::foldedHeaderStringWithOptions(unsigned options) const {
    std::vector<PWMessageHeaderEntryRef> entries = headerEntryDictionary().allEntries();
    std::stable_sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        if (a->sortHint() != b->sortHint()) return a->sortHint() < b->sortHint();
        return compareIgnoringCase(a->fieldName(), b->fieldName()) < 0;
    });
    std::vector<std::u16string> lines;
    for (const PWMessageHeaderEntryRef& entry : entries) {
        OptString folded = entry->foldedHeaderWithOption(options);
        if (!folded) continue;
        std::u16string line = fgTrim(*folded);
        if (!line.empty()) lines.push_back(std::move(line));
    }
    return componentsJoinedBy(lines, (options & kFoldLineFeedOnly) ? u"\n" : u"\r\n");
}

namespace {
bool isPrintable(char16_t c) { return c >= 0x20 && c <= 0x7E; }

bool isParameterToken(char16_t c) {
    return isPrintable(c) && std::u16string_view(u" *'%()<>@,;:\\/[]?=\"").find(c) == std::u16string_view::npos;
}

long signedLength(std::u16string_view text) { return static_cast<long>(text.size()); }
}  // namespace

std::u16string PWMessageHeaders::foldedStringForParameterName(std::u16string_view name, std::u16string_view value,
                                                              const OptString& preferredLanguage) {
    std::vector<std::u16string> segments;
    const long nameLength = signedLength(name);
    if (!std::all_of(value.begin(), value.end(), isPrintable)) {
        // RFC 2231 extended form: charset, language, percent-encoded UTF-8.
        static const char hex[] = "0123456789ABCDEF";
        std::u16string encoded;
        for (unsigned char byte : toUTF8(value)) {
            if (byte < 0x80 && isParameterToken(byte)) {
                encoded.push_back(byte);
            } else {
                encoded.push_back(u'%');
                encoded.push_back(static_cast<char16_t>(hex[byte >> 4]));
                encoded.push_back(static_cast<char16_t>(hex[byte & 15]));
            }
        }
        std::u16string rest = u"utf-8'" + preferredLanguage.value_or(u"") + u"'" + encoded;
        long number = 0;
        while (true) {
            // A name that leaves no room for a segment is written with its value in one piece: cutting the
            // value into one-character segments would never end once the value is used up, and would grow
            // with the product of the name's and the value's lengths.
            if (signedLength(rest) < 73 - nameLength || nameLength >= 68) {
                std::u16string segmentName = number == 0 ? std::u16string(name) + u"*"
                                                         : formatString(u"%@*%ld*", {name, number});
                segments.push_back(segmentName + u"=" + rest);
                break;
            }
            long cut = std::max(1L, 68 - nameLength);
            if (cut >= 1 && rest[static_cast<size_t>(cut - 1)] == u'%') {
                cut -= 1;
            } else if (cut >= 2 && rest[static_cast<size_t>(cut - 2)] == u'%') {
                cut -= 2;
            }
            if (cut < 1) cut = 1;
            segments.push_back(formatString(u"%@*%ld*=%@", {name, number, rest.substr(0, static_cast<size_t>(cut))}));
            rest.erase(0, static_cast<size_t>(cut));
            ++number;
        }
    } else {
        bool quoting = !std::all_of(value.begin(), value.end(), isParameterToken);
        auto written = [&](std::u16string_view text) { return quoting ? quotedString(text) : std::u16string(text); };
        const long budget = 70 - nameLength + (quoting ? 0 : 2);
        std::u16string rest(value);
        long number = 0;
        while (true) {
            if (signedLength(rest) < budget || budget <= 3) {
                std::u16string segmentName =
                    number == 0 ? std::u16string(name) : formatString(u"%@*%ld", {name, number});
                segments.push_back(segmentName + u"=" + written(rest));
                break;
            }
            size_t cut = static_cast<size_t>(std::max(1L, budget - 3));
            segments.push_back(formatString(u"%@*%ld=%@", {name, number, written(rest.substr(0, cut))}));
            rest.erase(0, cut);
            ++number;
        }
    }
    return componentsJoinedBy(segments, u";\r\n ");
}

OptString PWMessageHeaders::mimeEncodedHeaderForKey(const OptString& key, std::u16string_view value,
                                                    TextEncoding preferredEncoding, TextEncoding* encodingUsed) {
    TextEncoding used = kNoEncoding;
    OptString encoded = qEncodedStringWithString(std::u16string(value), preferredEncoding, &used);
    setSlot(encodingUsed, used);
    if (used == kNoEncoding || !encoded) return std::nullopt;
    OptString charset = PWcharSetNameForEncoding(used);
    if (!charset) return std::nullopt;

    std::u16string opening, closing = u"?=";
    if (key) {
        opening = formatString(u"%@: =?%@?Q?", {capitalizedHeaderKey(*key), *charset});
    } else if (used == kASCIIStringEncoding) {
        closing.clear();
    } else {
        opening = formatString(u"=?%@?Q?", {*charset});
    }
    const std::u16string continuation = formatString(u" =?%@?Q?", {*charset});
    std::vector<std::u16string> lines;
    std::u16string taken;
    for (char16_t c : *encoded) {
        size_t limit = c == u'=' ? 72 : 75;
        if (opening.size() + taken.size() + closing.size() >= limit && !taken.empty()) {
            lines.push_back(opening + taken + closing);
            opening = continuation;
            taken.clear();
        }
        taken.push_back(c);
    }
    lines.push_back(opening + taken + closing);
    return componentsJoinedBy(lines, u"\r\n");
}

}  // namespace postwright
