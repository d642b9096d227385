// Reading gumbo's parse errors and naming them with the WHATWG error codes.
//
// gumbo 0.10 keeps its error record out of its public header ("the API for errors hasn't been fully
// fleshed out"), but hands the records out in GumboOutput::errors. GumboErrorRecord mirrors the layout of
// that release; collectParseErrors checks each record for plausibility (known type, position inside the
// input) and stops at the first one that does not fit, so a different layout loses errors instead of
// misreading memory. The tests pin the mapping on known inputs, which also pins the layout.
#pragma once

#include <gumbo.h>

#include <cstdint>
#include <string_view>
#include <vector>

#include "postwright/Html/HTMLParser.hpp"

namespace postwright::detail {

// gumbo 0.10's GumboErrorType values.
enum class GumboErrorType : int {
    Utf8Invalid,
    Utf8Truncated,
    Utf8Null,
    NumericCharRefNoDigits,
    NumericCharRefWithoutSemicolon,
    NumericCharRefInvalid,
    NamedCharRefWithoutSemicolon,
    NamedCharRefInvalid,
    TagStartsWithQuestion,
    TagEof,
    TagInvalid,
    CloseTagEmpty,
    CloseTagEof,
    CloseTagInvalid,
    ScriptEof,
    AttrNameEof,
    AttrNameInvalid,
    AttrDoubleQuoteEof,
    AttrSingleQuoteEof,
    AttrUnquotedEof,
    AttrUnquotedRightBracket,
    AttrUnquotedEquals,
    AttrAfterEof,
    AttrAfterInvalid,
    DuplicateAttr,
    SolidusEof,
    SolidusInvalid,
    DashesOrDoctype,
    CommentEof,
    CommentInvalid,
    CommentBangAfterDoubleDash,
    CommentDashAfterDoubleDash,
    CommentSpaceAfterDoubleDash,
    CommentEndBangEof,
    DoctypeEof,
    DoctypeInvalid,
    DoctypeSpace,
    DoctypeRightBracket,
    DoctypeSpaceOrRightBracket,
    DoctypeEnd,
    Parser,
    UnacknowledgedSelfClosingTag,
    Count
};

// gumbo 0.10's GumboTokenType values, as recorded in tree-construction errors.
enum class GumboTokenKind : int { Doctype, StartTag, EndTag, Comment, Whitespace, Character, CData, Null, Eof };

struct GumboErrorRecord {
    GumboErrorType type;
    GumboSourcePosition position;
    const char* originalText;  // the offending byte in the input
    union {
        uint64_t codepoint;
        struct {
            int codepoint;
            int state;
        } tokenizer;
        GumboStringPiece text;
        struct {
            GumboTokenKind inputType;
            GumboTag inputTag;
            int parserState;
            GumboVector tagStack;
        } parser;
    } v;
};

// The errors of one parse, named, in input order, consecutive duplicates (same code and position) merged.
std::vector<HTMLParseError> collectParseErrors(const GumboOutput& output, std::string_view input);

}  // namespace postwright::detail
