#include "postwright/Lexical/CharacterSetRFC2822.hpp"

#include <unicode/uchar.h>

namespace postwright {

namespace {
constexpr char16_t kAtomSpecials[] = u"!#$%&'*+-/=?^_`{|}~";

// Unicode general categories L*, M* and N*, tested per code unit.
bool isUnicodeAlphanumeric(char16_t c) {
    uint32_t mask = U_GET_GC_MASK(c);
    return (mask & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
}

CharacterSet atomSetWith(std::u16string_view extra) {
    CharacterSet set = CharacterSet::withPredicate(isUnicodeAlphanumeric);
    set.addCharacters(kAtomSpecials);
    set.addCharacters(extra);
    return set;
}
}  // namespace

const CharacterSet& rfc2822FTextSet() {
    static const CharacterSet set = CharacterSet::withRanges({{1, 10}, {33, 25}, {59, 68}});
    return set;
}

const CharacterSet& rfc2822TextSet() {
    static const CharacterSet set = CharacterSet::withRanges({{1, 10}, {11, 2}, {14, 114}});
    return set;
}

const CharacterSet& rfc2822WSPcharacterSet() {
    static const CharacterSet set = CharacterSet::withRanges({{9, 1}, {32, 1}});
    return set;
}

const CharacterSet& rfc2822DTextSet() {
    static const CharacterSet set = CharacterSet::withRanges({{1, 9}, {33, 58}, {94, 33}});
    return set;
}

const CharacterSet& rfc2822CTextSet() {
    static const CharacterSet set =
        CharacterSet::withRanges({{1, 9}, {11, 2}, {14, 18}, {33, 7}, {42, 50}, {93, 34}, {127, 1}});
    return set;
}

const CharacterSet& rfc2822QTextSet() {
    static const CharacterSet set = CharacterSet::withRanges({{1, 33}, {35, 57}, {93, 34}, {127, 1}});
    return set;
}

const CharacterSet& rfc2822ExtendedQTextSet() {
    static const CharacterSet set = [] {
        CharacterSet extended = rfc2822QTextSet();
        extended.addRange(128, 127);
        return extended;
    }();
    return set;
}

const CharacterSet& rfc2822atomTextSet() {
    static const CharacterSet set = atomSetWith(u"");
    return set;
}

const CharacterSet& rfc2822dotAtomTextSet() {
    static const CharacterSet set = atomSetWith(u".");
    return set;
}

const CharacterSet& rfc2822PlainPhraseSet() {
    static const CharacterSet set = atomSetWith(u". \t");
    return set;
}

const CharacterSet& rfc2822DomainDotAtomTextSet() {
    static const CharacterSet set = atomSetWith(u".@");
    return set;
}

const CharacterSet& rfc2822VCHARSet() {
    static const CharacterSet set = CharacterSet::withRanges({{1, 33}, {33, 94}});
    return set;
}

}  // namespace postwright
