#include <gtest/gtest.h>

#include <unicode/uchar.h>

#include <functional>

#include "postwright/Lexical/CharacterSetRFC2822.hpp"

using namespace postwright;

namespace {
bool in(unsigned c, unsigned first, unsigned last) { return c >= first && c <= last; }
bool atomSpecial(unsigned c) { return c < 0x80 && std::u16string_view(u"!#$%&'*+-/=?^_`{|}~").find(char16_t(c)) != std::u16string_view::npos; }
bool alphanumeric(unsigned c) {
    int8_t type = u_charType(static_cast<UChar32>(c));
    switch (type) {
        case U_UPPERCASE_LETTER: case U_LOWERCASE_LETTER: case U_TITLECASE_LETTER: case U_MODIFIER_LETTER:
        case U_OTHER_LETTER: case U_NON_SPACING_MARK: case U_ENCLOSING_MARK: case U_COMBINING_SPACING_MARK:
        case U_DECIMAL_DIGIT_NUMBER: case U_LETTER_NUMBER: case U_OTHER_NUMBER:
            return true;
        default:
            return false;
    }
}

// Reference predicates written straight from the table of members, compared over every code unit. Some
// classes differ from the RFC on purpose: field names take the control codes 0x01-0x0A, VCHAR takes SPACE,
// and atoms take every Unicode letter, mark and digit, one code unit at a time (so no surrogate).
struct Case {
    const char* name;
    const CharacterSet& (*set)();
    std::function<bool(unsigned)> reference;
};
}  // namespace

TEST(CharacterSetRFC2822, EveryClassHoldsExactlyItsMembers) {
    const Case cases[] = {
        {"ftext", rfc2822FTextSet, [](unsigned c) { return in(c, 0x01, 0x0A) || in(c, 0x21, 0x39) || in(c, 0x3B, 0x7E); }},
        {"text", rfc2822TextSet, [](unsigned c) { return in(c, 0x01, 0x0C) || in(c, 0x0E, 0x7F); }},
        {"wsp", rfc2822WSPcharacterSet, [](unsigned c) { return c == 0x09 || c == 0x20; }},
        {"dtext", rfc2822DTextSet, [](unsigned c) { return in(c, 0x01, 0x09) || in(c, 0x21, 0x5A) || in(c, 0x5E, 0x7E); }},
        {"ctext", rfc2822CTextSet,
         [](unsigned c) {
             return in(c, 0x01, 0x09) || in(c, 0x0B, 0x0C) || in(c, 0x0E, 0x1F) || in(c, 0x21, 0x27) ||
                    in(c, 0x2A, 0x5B) || in(c, 0x5D, 0x7E) || c == 0x7F;
         }},
        {"qtext", rfc2822QTextSet, [](unsigned c) { return in(c, 0x01, 0x7F) && c != '"' && c != '\\'; }},
        {"extended qtext", rfc2822ExtendedQTextSet,
         [](unsigned c) { return (in(c, 0x01, 0x7F) && c != '"' && c != '\\') || in(c, 0x80, 0xFE); }},
        {"atext", rfc2822atomTextSet, [](unsigned c) { return alphanumeric(c) || atomSpecial(c); }},
        {"dot-atom text", rfc2822dotAtomTextSet, [](unsigned c) { return alphanumeric(c) || atomSpecial(c) || c == '.'; }},
        {"domain dot-atom text", rfc2822DomainDotAtomTextSet,
         [](unsigned c) { return alphanumeric(c) || atomSpecial(c) || c == '.' || c == '@'; }},
        {"plain phrase", rfc2822PlainPhraseSet,
         [](unsigned c) { return alphanumeric(c) || atomSpecial(c) || c == '.' || c == ' ' || c == '\t'; }},
        {"vchar", rfc2822VCHARSet, [](unsigned c) { return in(c, 0x01, 0x7E); }},
    };
    for (const Case& test : cases) {
        const CharacterSet& set = test.set();
        for (unsigned c = 0; c <= 0xFFFF; ++c) {
            if (set.contains(static_cast<char16_t>(c)) != test.reference(c)) {
                ADD_FAILURE() << test.name << " is wrong at U+" << std::hex << c;
                break;
            }
        }
    }
}
