// RFC 2822 lexical tokens (section 3.2): line breaks, folding white space, comments, quoted pairs, atoms,
// dot-atoms, quoted strings, words, phrases, local parts, domains and message ids, plus the RFC 2045 and
// RFC 2047 tokens.
//
// An error record is built only when the caller gave a slot for it: a record copies the scanner's whole
// text, and failed attempts are routine, so building unasked-for records would make long text quadratic.
#include "postwright/Lexical/CharacterSetRFC2822.hpp"
#include "postwright/Lexical/EmailParserError.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {
// The characters of folding white space (white space, CR and LF): what a phrase is trimmed of, and what
// folding white space starts with. The scanners below are tried at almost every position of a header;
// checking the first character first lets the common failure cost one comparison.
bool isFoldingWhiteSpace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }
bool startsCommentFoldingWhiteSpace(char16_t c) { return isFoldingWhiteSpace(c) || c == u'('; }

CharacterSet tokenSet(std::u16string_view specials) {
    CharacterSet set = CharacterSet::withRanges({{0x21, 0x7E - 0x21 + 1}});
    set.removeCharacters(specials);
    return set;
}
}  // namespace

bool Scanner::scanCRLF() {
    if (string_.size() < 2 || location_ + 1 >= string_.size()) return false;
    if (string_[location_] == u'\r' && string_[location_ + 1] == u'\n') {
        location_ += 2;
        return true;
    }
    if (string_[location_] == u'\n') {
        location_ += 1;
        return true;
    }
    return false;
}

bool Scanner::scanRFC2822FoldingWhiteSpaceIntoString(OptString* result) {
    if (!isFoldingWhiteSpace(currentCharacter())) return false;
    size_t start = location_;
    scanCharactersFromSet(rfc2822WSPcharacterSet());
    scanCRLF();
    scanCharactersFromSet(rfc2822WSPcharacterSet());
    if (location_ == start) return false;
    setSlot(result, string_.substr(start, location_ - start));
    return true;
}

bool Scanner::scanRFC2822CommentFoldingWhiteSpace() {
    if (!startsCommentFoldingWhiteSpace(currentCharacter())) return false;
    size_t start = location_;
    while (!isAtEnd()) {
        size_t iterationStart = location_;
        scanFoldingWhiteSpace();
        if (!scanRFC2822CommentIntoString(nullptr, nullptr)) break;
        if (location_ == iterationStart) break;
    }
    return location_ != start;
}

bool Scanner::scanRFC2822CommentIntoString(OptString* result, ErrorRef* error) {
    bool tooDeep = false;
    return scanComment(result, error, 0, &tooDeep);
}

// RFC 2822 section 3.2.3: comments nest. Nesting is followed only to kMaxCommentNesting levels so that
// hostile input cannot exhaust the stack; a deeper comment ends the whole scan as unclosed.
bool Scanner::scanComment(OptString* result, ErrorRef* error, int depth, bool* tooDeep) {
    size_t start = location_;
    if (currentCharacter() != u'(') return false;
    if (depth >= kMaxCommentNesting) {
        *tooDeep = true;
        return false;
    }
    if (!advance(1)) {
        location_ = start;
        return false;
    }
    std::u16string content;
    bool closed = false;
    size_t previous = std::u16string::npos;
    // Where a nested comment already failed. White space before a nested comment lets the loop come back
    // to the same "(" once more before the progress guard stops it; scanning that comment again would
    // double the work at every level, so "(x (x (x ..." would take 2^depth steps. The second attempt is
    // known to fail without moving, so it is skipped and the guard ends the loop as before.
    size_t failedNestedAt = std::u16string::npos;
    while (!isAtEnd()) {
        if (location_ == previous) {  // no progress: silent failure
            location_ = start;
            return false;
        }
        previous = location_;
        bool endedInWhiteSpace = false;
        while (scanFoldingWhiteSpace()) {
            content.push_back(u' ');
            if (isAtEnd()) {
                endedInWhiteSpace = true;
                break;
            }
        }
        if (endedInWhiteSpace) break;

        std::u16string run;
        OptString piece;
        if (scanCharactersFromSet(rfc2822CTextSet(), &run)) {
            content += run;
        } else if (scanQuotedPairIntoString(&piece, nullptr)) {
            content += *piece;
        } else if (currentCharacter() == u'(') {
            if (location_ == failedNestedAt) {
                // known to fail: no progress, and the guard ends the loop
            } else if (!commentCanClose(location_)) {
                failedNestedAt = location_;
            } else if (scanComment(&piece, nullptr, depth + 1, tooDeep)) {
                if (piece) content += u"(" + *piece + u")";
            } else if (*tooDeep) {
                break;
            } else {
                failedNestedAt = location_;
            }
        } else if (currentCharacter() == u')') {
            advance(1);
            closed = true;
            break;
        }
    }
    if (!closed) {
        if (error) *error = emailParserError(EmailParserErrorCode::CommentNotClosed, string_);
        location_ = start;
        return false;
    }
    if (location_ != start) setSlot(result, std::move(content));
    return true;
}

bool Scanner::commentCanClose(size_t position) const {
    constexpr uint32_t kNone = UINT32_MAX;
    if (string_.size() >= kNone) return true;
    if (closingParentheses_.empty()) {
        closingParentheses_.assign(string_.size() + 1, kNone);
        std::vector<uint32_t> open;
        const CharacterSet& text = rfc2822TextSet();
        for (size_t i = 0; i < string_.size(); ++i) {
            char16_t c = string_[i];
            if (c == u'\\' && i + 1 < string_.size() && text.contains(string_[i + 1])) {
                ++i;  // a quoted pair: the escaped character is not structure
            } else if (c == u'(') {
                open.push_back(static_cast<uint32_t>(i));
            } else if (c == u')' && !open.empty()) {
                closingParentheses_[open.back()] = static_cast<uint32_t>(i);
                open.pop_back();
            }
        }
    }
    return position < string_.size() && closingParentheses_[position] != kNone;
}

bool Scanner::scanQuotedPairIntoString(OptString* result, ErrorRef*) {
    if (currentCharacter() != u'\\') return false;
    char16_t escaped = characterAtOffset(1);
    if (location_ + 1 >= string_.size() || !rfc2822TextSet().contains(escaped)) return false;
    setSlot(result, std::u16string(1, static_cast<char16_t>(escaped & 0xFF)));
    location_ += 2;
    return true;
}

bool Scanner::scanRFC2822AtomIntoString(OptString* result, ErrorRef*) {
    if (!result) return scanCharactersFromSet(rfc2822atomTextSet());
    std::u16string atom;
    if (!scanCharactersFromSet(rfc2822atomTextSet(), &atom)) return false;
    setSlot(result, std::move(atom));
    return true;
}

bool Scanner::scanRFC2822DotAtomIntoString(OptString* result, bool allowTrailingDot, ErrorRef* error) {
    setSlot(error, nullptr);
    size_t start = location_;
    scanRFC2822CommentFoldingWhiteSpace();
    std::u16string text;
    if (!scanCharactersFromSet(rfc2822atomTextSet(), &text)) {
        location_ = start;
        return false;
    }
    bool trailingDot = false;
    while (scanString(u".")) {
        text.push_back(u'.');
        std::u16string atom;
        if (!scanCharactersFromSet(rfc2822atomTextSet(), &atom)) {
            trailingDot = true;
            break;
        }
        text += atom;
    }
    if (trailingDot && !allowTrailingDot) {
        if (error) *error = emailParserError(EmailParserErrorCode::DotAtomNotParsed, string_);
        return false;
    }
    scanRFC2822CommentFoldingWhiteSpace();
    setSlot(result, std::move(text));
    return true;
}

bool Scanner::scanRFC2822QContentIntoString(OptString* result, ErrorRef* error) {
    if (!result) return scanCharactersFromSet(rfc2822ExtendedQTextSet()) || scanQuotedPairIntoString(nullptr, error);
    std::u16string run;
    if (scanCharactersFromSet(rfc2822ExtendedQTextSet(), &run)) {
        setSlot(result, std::move(run));
        return true;
    }
    return scanQuotedPairIntoString(result, error);
}

bool Scanner::scanRFC2822QuotedStringIntoString(OptString* result, ErrorRef* error) {
    if (currentCharacter() != u'"' && !startsCommentFoldingWhiteSpace(currentCharacter())) return false;
    size_t start = location_;
    scanRFC2822CommentFoldingWhiteSpace();
    if (currentCharacter() != u'"') {
        location_ = start;
        return false;
    }
    advance(1);
    // The content is built only when asked for; a look-ahead needs the location alone.
    std::u16string text;
    OptString piece;
    OptString* pieceSlot = result ? &piece : nullptr;
    while (!isAtEnd()) {
        size_t iterationStart = location_;
        if (scanRFC2822FoldingWhiteSpaceIntoString(pieceSlot) && result) text += *piece;
        if (!scanRFC2822QContentIntoString(pieceSlot, nullptr)) break;
        if (result) text += *piece;
        if (location_ == iterationStart) break;
    }
    if (scanRFC2822FoldingWhiteSpaceIntoString(pieceSlot) && result) text += *piece;
    if (currentCharacter() != u'"') {
        if (error) *error = emailParserError(EmailParserErrorCode::QuotedStringNotClosed, string_);
        location_ = start;
        return false;
    }
    advance(1);
    scanRFC2822CommentFoldingWhiteSpace();
    // An encoded word that was quoted, and whose underscores a sender turned into spaces, is repaired.
    if (hasPrefix(text, u"=?") && hasSuffix(text, u"?=")) {
        for (char16_t& c : text) {
            if (c == u' ') c = u'_';
        }
    }
    setSlot(result, std::move(text));
    return true;
}

bool Scanner::scanQuotedStringIntoString(OptString* result, ErrorRef* error) {
    if (currentCharacter() != u'"') return false;
    size_t start = location_;
    if (!advance(1)) {
        if (error) {
            *error = emailParserError(EmailParserErrorCode::QuotedStringNotClosed, string_);
            location_ = start;
        }
        return false;
    }
    std::u16string text;
    size_t previous = std::u16string::npos;
    while (!isAtEnd()) {
        if (location_ == previous) {
            if (error) {
                *error = emailParserError(EmailParserErrorCode::QuotedStringNonASCII, string_);
                location_ = start;
            }
            return false;
        }
        previous = location_;
        // The extended class holds nothing above 0xFE, so every run converts to ISO 8859-1 unchanged.
        std::u16string run;
        if (scanCharactersFromSet(rfc2822ExtendedQTextSet(), &run)) text += run;
        if (currentCharacter() == u'"') {
            advance(1);
            setSlot(result, std::move(text));
            return true;
        }
        OptString pair;
        if (scanQuotedPairIntoString(&pair, nullptr)) text += *pair;
    }
    if (error) {
        *error = emailParserError(EmailParserErrorCode::QuotedStringNotClosed, string_);
        location_ = start;
        return false;
    }
    setSlot(result, std::move(text));
    return true;
}

bool Scanner::scanRFC2822WordIntoString(OptString* result, ErrorRef* error) {
    size_t start = location_;
    if (scanRFC2822AtomIntoString(result, error)) return true;
    if (scanRFC2822QuotedStringIntoString(result, error)) return true;
    location_ = start;
    return false;
}

// Most phrases are atoms, dots, spaces and tabs only (names, group names). When such a run ends at a
// character that no phrase goes on with (anything but a quote, a comment or a line break), the word loop
// below would consume exactly that run, with no error, so the run is read in one pass: the result is the
// atom of a one-word phrase, else the trimmed source, or, built up, the atoms and dots with one SPACE for
// each run of blanks. Anything else is left to the word loop.
bool Scanner::scanPlainPhrase(OptString* result, unsigned options) {
    const CharacterSet& atomText = rfc2822atomTextSet();
    const CharacterSet& plainPhrase = rfc2822PlainPhraseSet();
    const size_t start = location_, size = string_.size();
    size_t end = start;
    while (end < size && atomText.contains(string_[end])) ++end;
    if (end == start) return false;
    const size_t firstWordEnd = end;
    while (end < size && plainPhrase.contains(string_[end])) ++end;
    if (end < size &&
        (string_[end] == u'"' || string_[end] == u'(' || string_[end] == u'\r' || string_[end] == u'\n')) {
        return false;
    }
    location_ = end;
    if (!result) return true;
    std::u16string_view source = std::u16string_view(string_).substr(start, end - start);
    if (end == firstWordEnd) {
        setSlot(result, std::u16string(source));
    } else if (options & 1u) {
        std::u16string builtUp;
        builtUp.reserve(source.size());
        for (size_t i = 0; i < source.size(); ++i) {
            bool blank = source[i] == u' ' || source[i] == u'\t';
            if (!blank) {
                builtUp.push_back(source[i]);
            } else if (i == 0 || (source[i - 1] != u' ' && source[i - 1] != u'\t')) {
                builtUp.push_back(u' ');
            }
        }
        setSlot(result, std::move(builtUp));
    } else {
        setSlot(result, trimIf(source, isFoldingWhiteSpace));
    }
    return true;
}

bool Scanner::scanRFC2822PhraseIntoString(OptString* result, unsigned options, ErrorRef* error) {
    if (scanPlainPhrase(result, options)) return true;
    size_t start = location_;
    // The words' texts are needed only for a result in the built-up form, or for a phrase of one word; any
    // other phrase is handed back as its source text, and a look-ahead asks for no result at all.
    const bool buildsUp = result && (options & 1u);
    OptString word;
    if (!scanRFC2822WordIntoString(result ? &word : nullptr, error)) return false;
    std::u16string buffer;
    if (result) buffer = std::move(*word);
    bool extended = false;
    while (!isAtEnd()) {
        size_t iterationStart = location_;
        if (buildsUp && rfc2822atomTextSet().contains(currentCharacter())) {
            // An atom's text is its source: append it without a copy in between.
            size_t atomStart = location_;
            scanCharactersFromSet(rfc2822atomTextSet());
            buffer.append(string_, atomStart, location_ - atomStart);
            extended = true;
        } else if (scanRFC2822WordIntoString(buildsUp ? &word : nullptr, error)) {
            if (buildsUp) buffer += *word;
            extended = true;
        }
        if (scanString(u".")) {
            if (buildsUp) buffer.push_back(u'.');
            extended = true;
        }
        if (scanRFC2822CommentFoldingWhiteSpace()) {
            if (buildsUp) buffer.push_back(u' ');
            extended = true;
        }
        if (location_ == iterationStart) break;
    }
    if (location_ == start) return false;
    if (!result) return true;
    if (!extended || buildsUp) {
        setSlot(result, std::move(buffer));
    } else {
        setSlot(result, trimIf(std::u16string_view(string_).substr(start, location_ - start), isFoldingWhiteSpace));
    }
    return true;
}

bool Scanner::scanRFC2822DisplayNamePhraseIntoString(OptString*, ErrorRef*) { return false; }

bool Scanner::scanLocalPartIntoString(OptString* result, ErrorRef* error) {
    size_t start = location_;
    OptString text;
    if (scanRFC2822DotAtomIntoString(&text, true, error)) {
        setSlot(result, std::move(text));
    } else if (scanRFC2822QuotedStringIntoString(&text, error)) {
        setSlot(result, u"\"" + *text + u"\"");
    }
    return location_ != start;
}

bool Scanner::scanDomainContentIntoString(OptString* result, ErrorRef* error) {
    setSlot(error, nullptr);
    size_t start = location_;
    std::u16string run;
    if (scanCharactersFromSet(rfc2822DTextSet(), &run)) {
        setSlot(result, std::move(run));
        return true;
    }
    if (scanQuotedPairIntoString(result, nullptr)) return true;
    setSlot(result, std::nullopt);
    location_ = start;
    return false;
}

bool Scanner::scanDomainLiteralIntoString(OptString* result, ErrorRef* error) {
    size_t start = location_;
    scanRFC2822CommentFoldingWhiteSpace();
    if (currentCharacter() != u'[') {
        location_ = start;
        return false;
    }
    advance(1);
    scanFoldingWhiteSpace();
    std::vector<std::u16string> pieces;
    OptString piece;
    while (scanDomainContentIntoString(&piece, nullptr)) {
        pieces.push_back(*piece);
        scanFoldingWhiteSpace();
    }
    scanFoldingWhiteSpace();
    if (currentCharacter() != u']') {
        if (error) *error = emailParserError(EmailParserErrorCode::UnclosedAngularBracket, string_);
        location_ = start;
        return false;
    }
    advance(1);
    scanRFC2822CommentFoldingWhiteSpace();
    setSlot(result, componentsJoinedBy(pieces, u" "));
    return true;
}

bool Scanner::scanDomainIntoString(OptString* result, ErrorRef* error) {
    setSlot(error, nullptr);
    size_t start = location_;
    if (scanRFC2822DotAtomIntoString(result, false, error)) return true;
    if (scanDomainLiteralIntoString(result, error)) return true;
    if (scanObsDomainIntoString(result)) return true;
    location_ = start;
    return false;
}

bool Scanner::scanObsDomainIntoString(OptString*) { return false; }

bool Scanner::scanObsRoute() {
    scanRFC2822CommentFoldingWhiteSpace();
    return false;
}

bool Scanner::scanDomainDotAtomIntoString(OptString* result) {
    size_t start = location_;
    scanRFC2822CommentFoldingWhiteSpace();
    std::u16string atom, rest;
    bool atomMatched = scanCharactersFromSet(rfc2822atomTextSet(), &atom);
    scanCharactersFromSet(rfc2822DomainDotAtomTextSet(), &rest);
    if (atomMatched) setSlot(result, atom + rest);
    scanRFC2822CommentFoldingWhiteSpace();
    return location_ != start;
}

bool Scanner::scanMessageIdIntoString(OptString* result) {
    size_t start = location_;
    scanUpToString(u"<");
    if (currentCharacter() != u'<') {
        location_ = start;
        return false;
    }
    std::u16string text;
    scanUpToString(u">", &text);
    if (currentCharacter() != u'>') {
        location_ = start;
        return false;
    }
    advance(1);
    setSlot(result, text + u">");
    return true;
}

bool Scanner::scanRFC2045TokenIntoString(OptString* result) {
    static const CharacterSet token = tokenSet(u"()<>@,;\"/[]?=");
    std::u16string run;
    if (!scanCharactersFromSet(token, &run)) return false;
    setSlot(result, std::move(run));
    return true;
}

bool Scanner::scanRFC2047TokenIntoString(OptString* result) {
    static const CharacterSet token = tokenSet(u"()<>@,;\"/[]?=.");
    std::u16string run;
    if (!scanCharactersFromSet(token, &run)) return false;
    setSlot(result, std::move(run));
    return true;
}

}  // namespace postwright
