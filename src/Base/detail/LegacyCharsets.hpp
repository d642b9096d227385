// The legacy charsets the detector considers, with their byte structure and the languages written in them.
#pragma once

#include <vector>

#include "postwright/Base/TextEncoding.hpp"

namespace postwright::detail {

// How a charset lays out characters in bytes.
enum class Structure : unsigned char { SingleByte, ShiftJIS, EUCJP, GBK, GB18030, Big5, EUCKR };

// Charsets that write the same languages: a hint for one counts, in part, for the others.
enum class Family : unsigned char {
    None, Western, Central, Cyrillic, Greek, Turkish, Hebrew, Arabic, Baltic, Japanese, SimplifiedChinese,
    TraditionalChinese, Korean,
};

struct LegacyCharset {
    const char* name;       // preferred MIME name
    Structure structure;
    Family family;
    const char* languages;  // the statistics models that score it, separated by spaces
    // Nats added to its cost: rarer charsets lose ties and near-ties. Hebrew and Arabic letters make
    // plausible one- and two-letter words of almost any 8-bit byte, so a lone byte goes to the others.
    double prior;
};

// Candidates in order of preference: where two read the same text, the first is answered.
const std::vector<LegacyCharset>& legacyCharsets();

// The family of a charset that is not a candidate itself (iso-2022-jp is Japanese, ...); None when it has
// none (ASCII, UTF-8, UTF-16, ...).
Family familyOfOtherCharset(TextEncoding encoding);

// The ICU converter of an encoding the library numbers (TextEncoding.cpp owns the table); nullptr for the
// built-in conversions and unknown numbers.
const char* converterName(TextEncoding encoding);

}  // namespace postwright::detail
