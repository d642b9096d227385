#include "Html/detail/GumboErrors.hpp"

#include <string>

#include "postwright/Base/Text.hpp"

namespace postwright::detail {

namespace {

using Type = GumboErrorType;

bool isNoncharacter(uint64_t code) {
    return (code >= 0xFDD0 && code <= 0xFDEF) || (code & 0xFFFE) == 0xFFFE;
}

// The code point that starts at text (valid UTF-8 is all the parser ever sees from the library).
uint32_t codePointAt(const char* text, const char* end) {
    auto byte = [&](const char* at) { return at < end ? static_cast<uint8_t>(*at) : 0u; };
    uint32_t first = byte(text);
    if (first < 0x80) return first;
    if ((first & 0xE0) == 0xC0) return ((first & 0x1F) << 6) | (byte(text + 1) & 0x3F);
    if ((first & 0xF0) == 0xE0) return ((first & 0x0F) << 12) | ((byte(text + 1) & 0x3F) << 6) | (byte(text + 2) & 0x3F);
    return ((first & 0x07) << 18) | ((byte(text + 1) & 0x3F) << 12) | ((byte(text + 2) & 0x3F) << 6) |
           (byte(text + 3) & 0x3F);
}

// Where a doctype error happened, read from the doctype text before the offending character: gumbo
// reports all doctype errors in one tokenizer state, so the keyword and identifiers already read tell
// which of the standard's errors it is.
enum class DoctypePlace { Name, AfterPublicKeyword, AfterSystemKeyword, InPublicId, AfterPublicId, InSystemId,
                          AfterSystemId };

DoctypePlace doctypePlace(std::string_view input, size_t errorOffset) {
    size_t searchFrom = errorOffset > 4096 ? errorOffset - 4096 : 0;
    std::string_view before = input.substr(searchFrom, errorOffset - searchFrom);
    size_t start = before.rfind("<!");
    if (start == std::string_view::npos) return DoctypePlace::Name;
    std::string_view text = before.substr(start + 2);
    auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; };
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    auto startsWithKeyword = [&](std::string_view rest, std::string_view keyword) {
        if (rest.size() < keyword.size()) return false;
        for (size_t i = 0; i < keyword.size(); ++i) {
            if (lower(rest[i]) != keyword[i]) return false;
        }
        return true;
    };
    size_t i = std::min<size_t>(7, text.size());  // "DOCTYPE"
    while (i < text.size() && isSpace(text[i])) ++i;
    while (i < text.size() && !isSpace(text[i])) ++i;  // the name
    while (i < text.size() && isSpace(text[i])) ++i;
    std::string_view rest = text.substr(i);
    bool isPublic = startsWithKeyword(rest, "public");
    if (!isPublic && !startsWithKeyword(rest, "system")) return DoctypePlace::Name;
    i += 6;
    // Identifiers: public has two, system one.
    for (int identifier = 0; identifier < (isPublic ? 2 : 1); ++identifier) {
        bool first = identifier == 0;
        while (i < text.size() && isSpace(text[i])) ++i;
        if (i >= text.size() || (text[i] != '"' && text[i] != '\'')) {
            if (first) return isPublic ? DoctypePlace::AfterPublicKeyword : DoctypePlace::AfterSystemKeyword;
            return DoctypePlace::AfterPublicId;
        }
        size_t close = text.find(text[i], i + 1);
        bool system = !isPublic || !first;
        if (close == std::string_view::npos) return system ? DoctypePlace::InSystemId : DoctypePlace::InPublicId;
        i = close + 1;
    }
    return DoctypePlace::AfterSystemId;
}

std::u16string_view doctypeErrorCode(Type type, int codepoint, DoctypePlace place) {
    bool quote = codepoint == '"' || codepoint == '\'';
    switch (type) {
        case Type::DoctypeSpace:
            return codepoint == '>' ? u"missing-doctype-name" : u"missing-whitespace-before-doctype-name";
        case Type::DoctypeSpaceOrRightBracket:
            return u"invalid-character-sequence-after-doctype-name";
        case Type::DoctypeRightBracket:
        case Type::DoctypeEnd:
            switch (place) {
                case DoctypePlace::AfterPublicKeyword: return u"missing-doctype-public-identifier";
                case DoctypePlace::AfterSystemKeyword: return u"missing-doctype-system-identifier";
                case DoctypePlace::InPublicId: return u"abrupt-doctype-public-identifier";
                case DoctypePlace::InSystemId: return u"abrupt-doctype-system-identifier";
                case DoctypePlace::AfterPublicId: return u"missing-doctype-system-identifier";
                case DoctypePlace::Name:
                case DoctypePlace::AfterSystemId: return u"missing-doctype-name";
            }
            break;
        default:
            break;
    }
    // DoctypeInvalid: an unexpected character between the doctype's parts.
    switch (place) {
        case DoctypePlace::AfterPublicKeyword:
            return quote ? u"missing-whitespace-after-doctype-public-keyword"
                         : u"missing-quote-before-doctype-public-identifier";
        case DoctypePlace::AfterSystemKeyword:
            return quote ? u"missing-whitespace-after-doctype-system-keyword"
                         : u"missing-quote-before-doctype-system-identifier";
        case DoctypePlace::AfterPublicId:
            return quote ? u"missing-whitespace-between-doctype-public-and-system-identifiers"
                         : u"missing-quote-before-doctype-system-identifier";
        case DoctypePlace::Name: return u"invalid-character-sequence-after-doctype-name";
        default: return u"unexpected-character-after-doctype-system-identifier";
    }
}

std::u16string_view treeConstructionErrorCode(GumboTokenKind token) {
    switch (token) {
        case GumboTokenKind::Doctype: return u"unexpected-doctype";
        case GumboTokenKind::StartTag: return u"unexpected-start-tag";
        case GumboTokenKind::EndTag: return u"unexpected-end-tag";
        case GumboTokenKind::Comment: return u"unexpected-comment";
        case GumboTokenKind::Null: return u"unexpected-null-character";
        case GumboTokenKind::Eof: return u"unexpected-eof";
        default: return u"unexpected-character";
    }
}

// The WHATWG code for one gumbo record. Where gumbo has one type for several of the standard's errors,
// the code point it recorded (or the text before it) tells them apart. Where the standard names no error
// (gumbo reports some constructs that the current standard accepts silently), the nearest code is used:
// "--" followed by "-" or a space inside a comment is "incorrectly-closed-comment".
std::u16string_view errorCode(const GumboErrorRecord& error, std::string_view input) {
    int codepoint = error.v.tokenizer.codepoint;
    size_t offset = static_cast<size_t>(error.originalText - input.data());
    switch (error.type) {
        case Type::Utf8Invalid: {
            uint32_t code = codePointAt(error.originalText, input.data() + input.size());
            if (code >= 0xD800 && code <= 0xDFFF) return u"surrogate-in-input-stream";
            if (isNoncharacter(code)) return u"noncharacter-in-input-stream";
            return u"control-character-in-input-stream";
        }
        case Type::Utf8Truncated: return u"invalid-utf-8";  // never from the library: its text is valid UTF-8
        case Type::Utf8Null: return u"unexpected-null-character";
        case Type::NumericCharRefNoDigits: return u"absence-of-digits-in-numeric-character-reference";
        case Type::NumericCharRefWithoutSemicolon:
        case Type::NamedCharRefWithoutSemicolon: return u"missing-semicolon-after-character-reference";
        case Type::NumericCharRefInvalid: {
            uint64_t code = error.v.codepoint;
            if (code == 0) return u"null-character-reference";
            if (code > 0x10FFFF) return u"character-reference-outside-unicode-range";
            if (code >= 0xD800 && code <= 0xDFFF) return u"surrogate-character-reference";
            if (isNoncharacter(code)) return u"noncharacter-character-reference";
            return u"control-character-reference";
        }
        case Type::NamedCharRefInvalid: return u"unknown-named-character-reference";
        case Type::TagStartsWithQuestion: return u"unexpected-question-mark-instead-of-tag-name";
        case Type::TagInvalid:
            return codepoint == -1 ? u"eof-before-tag-name" : u"invalid-first-character-of-tag-name";
        case Type::CloseTagEmpty: return u"missing-end-tag-name";
        case Type::CloseTagEof: return u"eof-before-tag-name";
        case Type::CloseTagInvalid: return u"invalid-first-character-of-tag-name";
        case Type::ScriptEof: return u"eof-in-script-html-comment-like-text";
        case Type::TagEof:
        case Type::AttrNameEof:
        case Type::AttrDoubleQuoteEof:
        case Type::AttrSingleQuoteEof:
        case Type::AttrUnquotedEof:
        case Type::AttrAfterEof:
        case Type::SolidusEof: return u"eof-in-tag";
        case Type::AttrNameInvalid:
            return codepoint == '=' ? u"unexpected-equals-sign-before-attribute-name"
                                    : u"unexpected-character-in-attribute-name";
        case Type::AttrUnquotedRightBracket: return u"missing-attribute-value";
        case Type::AttrUnquotedEquals: return u"unexpected-character-in-unquoted-attribute-value";
        case Type::AttrAfterInvalid: return u"missing-whitespace-between-attributes";
        case Type::DuplicateAttr: return u"duplicate-attribute";
        case Type::SolidusInvalid: return u"unexpected-solidus-in-tag";
        case Type::DashesOrDoctype:
            return codepoint == '[' ? u"cdata-in-html-content" : u"incorrectly-opened-comment";
        case Type::CommentEof:
        case Type::CommentEndBangEof: return u"eof-in-comment";
        case Type::CommentInvalid:
            if (codepoint == '>') return u"abrupt-closing-of-empty-comment";
            if (codepoint == 0) return u"unexpected-null-character";
            if (offset >= 4 && input.substr(offset - 4, 4) == "<!--") return u"nested-comment";
            return u"incorrectly-closed-comment";
        case Type::CommentBangAfterDoubleDash:
        case Type::CommentDashAfterDoubleDash:
        case Type::CommentSpaceAfterDoubleDash: return u"incorrectly-closed-comment";
        case Type::DoctypeEof: return u"eof-in-doctype";
        case Type::DoctypeInvalid:
        case Type::DoctypeSpace:
        case Type::DoctypeRightBracket:
        case Type::DoctypeSpaceOrRightBracket:
        case Type::DoctypeEnd: return doctypeErrorCode(error.type, codepoint, doctypePlace(input, offset));
        case Type::Parser: return treeConstructionErrorCode(error.v.parser.inputType);
        case Type::UnacknowledgedSelfClosingTag: return u"non-void-html-element-start-tag-with-trailing-solidus";
        case Type::Count: break;
    }
    return u"unexpected-character";
}

}  // namespace

std::vector<HTMLParseError> collectParseErrors(const GumboOutput& output, std::string_view input) {
    std::vector<HTMLParseError> errors;
    const char* begin = input.data();
    const char* end = input.data() + input.size();
    for (unsigned i = 0; i < output.errors.length; ++i) {
        const auto* error = static_cast<const GumboErrorRecord*>(output.errors.data[i]);
        int type = static_cast<int>(error->type);
        bool plausible = type >= 0 && type < static_cast<int>(Type::Count) && error->originalText >= begin &&
                         error->originalText <= end;
        if (!plausible) break;
        HTMLParseError named{std::u16string(errorCode(*error, input)), error->position.line, error->position.column};
        // gumbo repeats some errors for one token ("<div/>" reports the unacknowledged solidus several times),
        // and reports a doctype without name twice.
        if (!errors.empty() && errors.back().line == named.line && errors.back().column == named.column &&
            (errors.back().code == named.code ||
             (errors.back().code == u"missing-doctype-name" && error->type == Type::DoctypeRightBracket))) {
            continue;
        }
        errors.push_back(std::move(named));
    }
    return errors;
}

}  // namespace postwright::detail
