// The charset detector: structural stages, then a statistical reading of the legacy candidates.
#include "postwright/Base/EncodingDetector.hpp"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/uscript.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>

#include "Base/detail/CharsetStatistics.hpp"
#include "Base/detail/LegacyCharsets.hpp"
#include "postwright/Base/Text.hpp"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace postwright {

namespace {

using detail::Family;
using detail::LegacyCharset;
using detail::Structure;

// ---- Costs the statistics cannot give (nats) ------------------------------------------------------------

constexpr double kCaseChangeCost = 4;    // a lower-case letter followed by an upper-case one inside a word
constexpr double kScriptChangeCost = 5;  // a word whose letters change script
// CJK readings: characters outside the language's frequency list, by the tier their bytes fall in.
constexpr double kCommonHanCost = 10.5;   // the first level of the national standard
constexpr double kRareHanCost = 12.5;     // its second level
constexpr double kExtensionCost = 15;     // vendor and user-defined extensions
constexpr double kSymbolRowCost = 11;     // the standard's symbol rows (box drawing, Greek, Cyrillic, ...)
constexpr double kForeignKanaCost = 13;   // kana in a Chinese or Korean reading
constexpr double kForeignHangulCost = 15; // Hangul in a Chinese or Japanese reading
constexpr double kHalfwidthKanaCost = 11;
constexpr double kFullwidthFormCost = 7;
constexpr double kCJKPunctuationCost = 6;
constexpr double kASCIILetterInCJKCost = 3.3;  // about ln 26
constexpr double kLatinSwitchInCJKCost = 3;    // a CJK character next to an ASCII letter in the same word
constexpr double kCombiningMarkCost = 6;       // vowel points and other marks: rare in mail
constexpr double kASCIIOtherInCJKCost = 1.5;
// Hints (nats added to a plausible reading): the part's own label, the rest of the message, the host. A
// hint for another charset of the same script or language counts half.
constexpr double kDeclaredHintBonus = 6;
constexpr double kMessageHintBonus = 5;
constexpr double kHostHintBonus = 3;
constexpr double kSameFamilyShare = 0.5;
// Above this cost per byte of the sample no reading is text (binary data, a lone symbol): Windows-1252,
// the reading of last resort, is answered. Text in any candidate costs 2-5 nats a byte.
constexpr double kImplausibleCostPerByte = 6;
// Every kPruningInterval bytes of the sample, readings more than kPruningMargin nats behind the best (its
// hints counted) are dropped, and so are the languages of a reading that far behind its best language.
constexpr size_t kPruningInterval = 128;
constexpr double kPruningMargin = 30;

// ---- Characters ---------------------------------------------------------------------------------------

enum class CharScript : unsigned char { None, Latin, Cyrillic, Greek, Hebrew, Arabic, Han, Kana, Hangul, Other };

enum CharFlags : unsigned char {
    kLetter = 1,
    kUpper = 2,
    kLower = 4,
    kPunctuation = 8,  // typographic punctuation of alphabetic text
    kMark = 16,        // a combining mark: part of the letter before it
    kASCIIOther = 32,  // ASCII that is not a letter: a word boundary
};

struct CharInfo {
    uint16_t letter = 0;  // global letter id (1-based) of the lower-case form; 0 when no model has it
    CharScript script = CharScript::None;
    unsigned char flags = 0;
};

CharScript scriptOf(UChar32 c) {
    UErrorCode status = U_ZERO_ERROR;
    switch (uscript_getScript(c, &status)) {
        case USCRIPT_LATIN: return CharScript::Latin;
        case USCRIPT_CYRILLIC: return CharScript::Cyrillic;
        case USCRIPT_GREEK: return CharScript::Greek;
        case USCRIPT_HEBREW: return CharScript::Hebrew;
        case USCRIPT_ARABIC: return CharScript::Arabic;
        case USCRIPT_HAN: return CharScript::Han;
        case USCRIPT_HIRAGANA:
        case USCRIPT_KATAKANA:
        case USCRIPT_KATAKANA_OR_HIRAGANA: return CharScript::Kana;
        case USCRIPT_HANGUL: return CharScript::Hangul;
        default: return CharScript::Other;
    }
}

// The lower-case form the models are built on (the generator folds the same way).
char16_t foldedLetter(char16_t c) {
    switch (c) {
        case 0x0130: return u'i';       // İ
        case 0x0218: case 0x0219: return 0x015F;  // Ș ș read as ş
        case 0x021A: case 0x021B: return 0x0163;  // Ț ț read as ţ
        default: break;
    }
    UChar32 lower = u_tolower(c);
    return lower <= 0xFFFF ? static_cast<char16_t>(lower) : c;
}

bool isTypographicPunctuation(char16_t c) {
    static constexpr char16_t kMarks[] = u"\u00A0\u00A1\u00A3\u00A7\u00A9\u00AB\u00AE\u00B0\u00B7\u00BB\u00BF"
                                          u"\u2013\u2014\u2018\u2019\u201A\u201C\u201D\u201E\u2022\u2026\u2039"
                                          u"\u203A\u20AC\u2122";
    return std::u16string_view(kMarks).find(c) != std::u16string_view::npos;
}

// The models, turned into lookup tables once.
struct Models {
    std::array<CharInfo, 0x10000> chars;
    struct Alphabetic {
        const detail::AlphabeticModel* source;
        size_t side;                    // kFirstLetterSymbol + letters
        std::vector<uint8_t> costs;     // side * side quarter nats
        std::vector<uint8_t> symbolOf;  // global letter id -> symbol (0: not in the alphabet)
        CharScript script;
    };
    std::vector<Alphabetic> alphabetic;
    struct Frequencies {
        std::string language;
        std::unordered_map<char16_t, uint8_t> costs;  // quarter nats
    };
    std::vector<Frequencies> frequencies;

    Models() {
        std::unordered_map<char16_t, uint16_t> letterIds;
        for (size_t m = 0; m < detail::kAlphabeticModelCount; ++m) {
            for (char16_t c : detail::kAlphabeticModels[m].alphabet) {
                letterIds.try_emplace(c, static_cast<uint16_t>(letterIds.size() + 1));
            }
        }
        for (UChar32 c = 0; c < 0x10000; ++c) {
            CharInfo& info = chars[static_cast<size_t>(c)];
            if (c < 0x80) {
                bool letter = (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
                info.script = letter ? CharScript::Latin : CharScript::None;
                info.flags = letter ? static_cast<unsigned char>(kLetter | (c < 'a' ? kUpper : kLower))
                                    : static_cast<unsigned char>(kASCIIOther);
                if (letter) info.letter = letterIds[static_cast<char16_t>(c | 0x20)];
                continue;
            }
            if (U_IS_SURROGATE(c)) continue;
            int8_t type = u_charType(c);
            if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || type == U_COMBINING_SPACING_MARK) {
                info.flags = kMark;
            } else if (u_isalpha(c)) {
                info.flags = kLetter;
                if (u_isUUppercase(c) || type == U_TITLECASE_LETTER) info.flags |= kUpper;
                if (u_isULowercase(c)) info.flags |= kLower;
                info.script = scriptOf(c);
                auto found = letterIds.find(foldedLetter(static_cast<char16_t>(c)));
                if (found != letterIds.end()) info.letter = found->second;
            } else if (isTypographicPunctuation(static_cast<char16_t>(c))) {
                info.flags = kPunctuation;
            }
        }
        for (size_t m = 0; m < detail::kAlphabeticModelCount; ++m) {
            const detail::AlphabeticModel& model = detail::kAlphabeticModels[m];
            Alphabetic built{&model, detail::kFirstLetterSymbol + model.alphabet.size(), {}, {}, {}};
            built.costs.reserve(model.bigrams.size());
            for (char c : model.bigrams) built.costs.push_back(static_cast<uint8_t>(detail::statisticsCost(c) * 4));
            built.symbolOf.assign(letterIds.size() + 1, 0);
            for (size_t i = 0; i < model.alphabet.size(); ++i) {
                built.symbolOf[letterIds[model.alphabet[i]]] = static_cast<uint8_t>(detail::kFirstLetterSymbol + i);
            }
            static constexpr CharScript kScripts[] = {CharScript::Latin, CharScript::Cyrillic, CharScript::Greek,
                                                      CharScript::Hebrew, CharScript::Arabic};
            built.script = kScripts[static_cast<size_t>(model.script)];
            alphabetic.push_back(std::move(built));
        }
        for (size_t f = 0; f < detail::kCharacterFrequencyCount; ++f) {
            const detail::CharacterFrequencies& source = detail::kCharacterFrequencies[f];
            Frequencies built{source.language, {}};
            for (size_t i = 0; i < source.characters.size() && i < source.costs.size(); ++i) {
                built.costs.emplace(source.characters[i], static_cast<uint8_t>(detail::statisticsCost(source.costs[i]) * 4));
            }
            frequencies.push_back(std::move(built));
        }
    }

    int alphabeticIndex(std::string_view language) const {
        for (size_t i = 0; i < alphabetic.size(); ++i) {
            if (language == alphabetic[i].source->language) return static_cast<int>(i);
        }
        return -1;
    }
    int frequencyIndex(std::string_view language) const {
        for (size_t i = 0; i < frequencies.size(); ++i) {
            if (language == frequencies[i].language) return static_cast<int>(i);
        }
        return -1;
    }
};

const Models& models() {
    static const Models* built = new Models();
    return *built;
}

// ---- Candidates -----------------------------------------------------------------------------------------

// A set of the bytes 0x80-0xFF.
struct HighBytes {
    uint64_t bits[2] = {0, 0};
    void add(uint8_t b) { bits[(b - 0x80u) >> 6] |= uint64_t(1) << ((b - 0x80u) & 63); }
    bool has(uint8_t b) const { return bits[(b - 0x80u) >> 6] & (uint64_t(1) << ((b - 0x80u) & 63)); }
    bool meets(const HighBytes& other) const { return (bits[0] & other.bits[0]) | (bits[1] & other.bits[1]); }
};

// A legacy candidate with what detection needs of it, resolved once.
struct Candidate {
    const LegacyCharset* charset;  // the table entry
    TextEncoding encoding;
    std::array<char16_t, 128> upper{};  // single-byte: the character of bytes 0x80-0xFF (0xFFFF: unusable)
    HighBytes forbidden;                // single-byte: bytes undefined or mapped to C1 controls
    std::vector<int> alphabeticModels;
    int frequencyModel = -1;
};

std::vector<Candidate> buildCandidates() {
    const Models& built = models();
    std::vector<Candidate> candidates;
    for (const LegacyCharset& charset : detail::legacyCharsets()) {
        Candidate candidate{&charset, encodingForCharSetName(fromLatin1(charset.name)), {}, {}, {}, -1};
        if (isUnusableEncoding(candidate.encoding)) continue;
        std::string_view languages = charset.languages;
        while (!languages.empty()) {
            size_t space = languages.find(' ');
            std::string_view language = languages.substr(0, space);
            if (int a = built.alphabeticIndex(language); a >= 0) candidate.alphabeticModels.push_back(a);
            if (int f = built.frequencyIndex(language); f >= 0) candidate.frequencyModel = f;
            languages = space == std::string_view::npos ? std::string_view() : languages.substr(space + 1);
        }
        if (charset.structure == Structure::SingleByte) {
            for (int b = 0x80; b < 0x100; ++b) {
                uint8_t byte = static_cast<uint8_t>(b);
                std::optional<std::u16string> text = stringFromBytes(&byte, 1, candidate.encoding);
                char16_t c = text && text->size() == 1 ? (*text)[0] : char16_t(0xFFFF);
                bool control = c >= 0x80 && c < 0xA0;
                candidate.upper[static_cast<size_t>(b - 0x80)] = control ? char16_t(0xFFFF) : c;
                if (control || c == 0xFFFF || (c >= 0xE000 && c <= 0xF8FF)) candidate.forbidden.add(static_cast<uint8_t>(b));
            }
        }
        candidates.push_back(std::move(candidate));
    }
    return candidates;
}

const std::vector<Candidate>& candidates() {
    static const std::vector<Candidate>* built = new std::vector<Candidate>(buildCandidates());
    return *built;
}

// ---- Structural checks ------------------------------------------------------------------------------------

bool inRange(uint8_t b, uint8_t low, uint8_t high) { return b >= low && b <= high; }

// The position of the first 8-bit byte at or after `from`, or `length`. Mail is mostly ASCII: the runs
// are skipped 16 bytes at a time.
size_t nextHighByte(const uint8_t* bytes, size_t from, size_t length) {
    size_t i = from;
#if defined(__SSE2__)
    for (; i + 16 <= length; i += 16) {
        int mask = _mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i)));
        if (mask) return i + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
    }
#endif
    while (i < length && bytes[i] < 0x80) ++i;
    return i;
}

// The length of the character at bytes[i] in a multi-byte structure, 0 when the bytes cannot start one
// there. Only the byte ranges are checked; which codes are assigned is the converter's business.
size_t characterLength(Structure structure, const uint8_t* bytes, size_t i, size_t length) {
    uint8_t b = bytes[i];
    if (b < 0x80) return 1;
    auto trail = [&](size_t k) -> int { return i + k < length ? bytes[i + k] : -1; };
    int t = trail(1);
    switch (structure) {
        case Structure::ShiftJIS:
            if (inRange(b, 0xA1, 0xDF)) return 1;
            if ((inRange(b, 0x81, 0x9F) || inRange(b, 0xE0, 0xFC)) && t >= 0x40 && t <= 0xFC && t != 0x7F) return 2;
            return 0;
        case Structure::EUCJP:
            if (b == 0x8E) return t >= 0xA1 && t <= 0xDF ? 2 : 0;
            if (b == 0x8F) return t >= 0xA1 && t <= 0xFE && trail(2) >= 0xA1 && trail(2) <= 0xFE ? 3 : 0;
            return inRange(b, 0xA1, 0xFE) && t >= 0xA1 && t <= 0xFE ? 2 : 0;
        case Structure::GBK:
            return inRange(b, 0x81, 0xFE) && t >= 0x40 && t <= 0xFE && t != 0x7F ? 2 : 0;
        case Structure::GB18030:
            if (inRange(b, 0x81, 0xFE) && t >= 0x30 && t <= 0x39) {
                return trail(2) >= 0x81 && trail(2) <= 0xFE && trail(3) >= 0x30 && trail(3) <= 0x39 ? 4 : 0;
            }
            return inRange(b, 0x81, 0xFE) && t >= 0x40 && t <= 0xFE && t != 0x7F ? 2 : 0;
        case Structure::Big5:
            return inRange(b, 0x81, 0xFE) && ((t >= 0x40 && t <= 0x7E) || (t >= 0xA1 && t <= 0xFE)) ? 2 : 0;
        case Structure::EUCKR:
            return inRange(b, 0x81, 0xFE) && ((t >= 0x41 && t <= 0x5A) || (t >= 0x61 && t <= 0x7A) || (t >= 0x81 && t <= 0xFE))
                       ? 2
                       : 0;
        case Structure::SingleByte:
            return 1;
    }
    return 0;
}

bool structurallyValid(Structure structure, const uint8_t* bytes, size_t length) {
    size_t i = 0;
    while (i < length) {
        if (bytes[i] < 0x80) {
            i = nextHighByte(bytes, i, length);
            continue;
        }
        size_t n = characterLength(structure, bytes, i, length);
        if (n == 0) return false;
        i += n;
    }
    return true;
}

// Which tier of its standard a multi-byte character's bytes fall in.
enum class Tier { Common, Rare, Symbols, Extension, HalfwidthKana };

Tier tierOf(Structure structure, const uint8_t* c, size_t n) {
    uint8_t lead = c[0];
    uint8_t trail = n > 1 ? c[1] : 0;
    switch (structure) {
        case Structure::ShiftJIS: {
            if (n == 1) return Tier::HalfwidthKana;
            if (lead >= 0xF0) return Tier::Extension;
            unsigned row = (lead <= 0x9F ? lead - 0x81u : lead - 0xC1u) * 2 + 1 + (trail >= 0x9F ? 1u : 0u);
            if (row <= 8) return Tier::Symbols;
            if (row >= 16 && row <= 47) return Tier::Common;
            if (row >= 48 && row <= 84) return Tier::Rare;
            return Tier::Extension;
        }
        case Structure::EUCJP:
            if (lead == 0x8E) return Tier::HalfwidthKana;
            if (lead == 0x8F) return Tier::Extension;
            if (lead <= 0xA8) return Tier::Symbols;
            if (lead >= 0xB0 && lead <= 0xCF) return Tier::Common;
            if (lead >= 0xD0 && lead <= 0xF4) return Tier::Rare;
            return Tier::Extension;
        case Structure::GBK:
        case Structure::GB18030:
            if (n != 2 || trail < 0xA1) return Tier::Extension;
            if (lead >= 0xA1 && lead <= 0xA9) return Tier::Symbols;
            if (lead >= 0xB0 && lead <= 0xD7) return Tier::Common;
            if (lead >= 0xD8 && lead <= 0xF7) return Tier::Rare;
            return Tier::Extension;
        case Structure::Big5: {
            unsigned code = lead * 256u + trail;
            if (code >= 0xA140 && code <= 0xA3BF) return Tier::Symbols;
            if (code >= 0xA440 && code <= 0xC67E) return Tier::Common;
            if (code >= 0xC940 && code <= 0xF9D5) return Tier::Rare;
            return Tier::Extension;
        }
        case Structure::EUCKR:
            if (trail < 0xA1) return Tier::Extension;
            if (lead >= 0xA1 && lead <= 0xAC) return Tier::Symbols;
            if (lead >= 0xB0 && lead <= 0xC8) return Tier::Common;
            if (lead >= 0xCA && lead <= 0xFD) return Tier::Rare;
            return Tier::Extension;
        case Structure::SingleByte:
            break;
    }
    return Tier::Common;
}

// ---- The sample -------------------------------------------------------------------------------------------

bool isWordByte(uint8_t b) { return b >= 0x80 || ((b | 0x20) >= 'a' && (b | 0x20) <= 'z'); }

struct Token {
    size_t start;
    size_t length;
};

// The words that hold 8-bit bytes, up to kDetectionSampleLimit bytes of them. A word is a run of bytes
// that are 8-bit or ASCII letters: ASCII around them (spaces, punctuation, digits, the "=?charset?Q?" of an
// encoded word) reads the same in every candidate, so it tells nothing and is left out. A multi-byte
// reading completes a character whose trail byte lies past the word.
std::vector<Token> sampleTokens(const uint8_t* bytes, size_t length) {
    std::vector<Token> tokens;
    size_t taken = 0;
    size_t wordEnd = 0;  // where the last word taken ends
    size_t high = nextHighByte(bytes, 0, length);
    while (high < length && taken < kDetectionSampleLimit) {
        size_t start = high;
        while (start > wordEnd && isWordByte(bytes[start - 1])) --start;
        size_t end = high;
        while (end < length && isWordByte(bytes[end])) ++end;
        size_t n = std::min(end - start, kDetectionSampleLimit - taken);
        tokens.push_back({start, n});
        taken += n;
        wordEnd = end;
        high = nextHighByte(bytes, end, length);
    }
    return tokens;
}

// ---- Scoring ----------------------------------------------------------------------------------------------

struct Reading {
    const Candidate* candidate;
    double cost = 0;
    int anomalies = 0;
    uint64_t textHash = 1469598103934665603ull;  // FNV-1a of the sample as read
};

// Scores the characters of one token under the alphabetic models and the language-independent rules.
class AlphabeticScorer {
public:
    explicit AlphabeticScorer(const Candidate& candidate)
        : candidate_(candidate), totals_(candidate.alphabeticModels.size(), 0), active_(totals_.size(), true) {}

    void token(const std::u16string& text, Reading& reading) {
        const Models& built = models();
        int caseChanges = 0, scriptChanges = 0;
        CharInfo previous;
        for (char16_t c : text) {
            const CharInfo& info = built.chars[c];
            if ((info.flags & kLetter) && (previous.flags & kLetter)) {
                caseChanges += (info.flags & kUpper) && (previous.flags & kLower);
                scriptChanges += info.script != previous.script && info.script != CharScript::None;
            }
            if (!(info.flags & kMark)) previous = info;
        }
        reading.anomalies += caseChanges + scriptChanges;
        reading.cost += caseChanges * kCaseChangeCost + scriptChanges * kScriptChangeCost;
        for (size_t m = 0; m < candidate_.alphabeticModels.size(); ++m) {
            if (!active_[m]) continue;
            const Models::Alphabetic& model = built.alphabetic[static_cast<size_t>(candidate_.alphabeticModels[m])];
            unsigned cost = 0;
            size_t symbol = detail::kBoundarySymbol;
            for (char16_t c : text) {
                const CharInfo& info = built.chars[c];
                if (info.flags & kMark) {
                    cost += static_cast<unsigned>(kCombiningMarkCost * 4);
                    continue;
                }
                size_t next = symbolFor(model, info);
                cost += model.costs[symbol * model.side + next];
                symbol = next;
            }
            cost += model.costs[symbol * model.side + detail::kBoundarySymbol];
            totals_[m] += cost;
        }
    }

    // The cost of the sample in the language that reads it best.
    double best() const {
        unsigned lowest = ~0u;
        for (size_t m = 0; m < totals_.size(); ++m) {
            if (active_[m]) lowest = std::min(lowest, totals_[m]);
        }
        return lowest == ~0u ? 0 : lowest * 0.25;
    }

    // Stops reading in the languages that are more than `margin` nats behind the best one: costs only grow.
    void prune(double margin) {
        const double best = this->best();
        for (size_t m = 0; m < totals_.size(); ++m) {
            if (active_[m] && totals_[m] * 0.25 > best + margin) active_[m] = false;
        }
    }

private:
    static size_t symbolFor(const Models::Alphabetic& model, const CharInfo& info) {
        if (info.flags & kLetter) {
            if (info.letter && model.symbolOf[info.letter]) return model.symbolOf[info.letter];
            return info.script == model.script ? detail::kOtherLetterSymbol : detail::kForeignLetterSymbol;
        }
        if (info.flags & kASCIIOther) return detail::kBoundarySymbol;
        if (info.flags & kPunctuation) return detail::kPunctuationSymbol;
        return detail::kOtherSymbol;
    }

    const Candidate& candidate_;
    std::vector<unsigned> totals_;
    std::vector<bool> active_;
};

void hashInto(uint64_t& hash, char16_t c) {
    hash = (hash ^ c) * 1099511628211ull;
}

void scoreSingleByteToken(const Candidate& candidate, const uint8_t* bytes, const Token& token,
                          AlphabeticScorer& scorer, std::u16string& text, Reading& reading) {
    text.clear();
    for (size_t i = token.start; i < token.start + token.length; ++i) {
        uint8_t b = bytes[i];
        char16_t c = b < 0x80 ? char16_t(b) : candidate.upper[b - 0x80u];
        text.push_back(c);
        hashInto(reading.textHash, c);
    }
    scorer.token(text, reading);
}

double cjkCharacterCost(const Models::Frequencies& model, UChar32 c, Tier tier, std::string_view language) {
    if (c < 0x80) {
        return ((c | 0x20) >= 'a' && (c | 0x20) <= 'z') ? kASCIILetterInCJKCost : kASCIIOtherInCJKCost;
    }
    if (c <= 0xFFFF) {
        auto found = model.costs.find(static_cast<char16_t>(c));
        if (found != model.costs.end()) return found->second * 0.25;
    }
    const bool japanese = language == "ja";
    const bool korean = language == "ko";
    if (c >= 0xFF61 && c <= 0xFF9F) return japanese ? kHalfwidthKanaCost : kExtensionCost;
    if (c >= 0xFF01 && c <= 0xFF5E) return kFullwidthFormCost;
    if (c >= 0x3000 && c <= 0x303F) return kCJKPunctuationCost;
    if (c >= 0x3041 && c <= 0x30FF) return japanese ? kSymbolRowCost : kForeignKanaCost;
    if (c >= 0xAC00 && c <= 0xD7A3) {
        if (!korean) return kForeignHangulCost;
        return tier == Tier::Common ? kCommonHanCost : kExtensionCost;
    }
    if (c >= 0xE000 && c <= 0xF8FF) return kExtensionCost + 5;  // private use: no text is written in it
    switch (tier) {
        case Tier::Common: return korean ? kRareHanCost : kCommonHanCost;
        case Tier::Rare: return kRareHanCost;
        case Tier::Symbols: return kSymbolRowCost;
        case Tier::HalfwidthKana: return japanese ? kHalfwidthKanaCost : kExtensionCost;
        case Tier::Extension: break;
    }
    return kExtensionCost;
}

// A thread's converters for reading candidates one character at a time.
UConverter* characterConverter(TextEncoding encoding) {
    thread_local std::unordered_map<TextEncoding, std::unique_ptr<UConverter, decltype(&ucnv_close)>> cache;
    auto found = cache.find(encoding);
    if (found != cache.end()) {
        ucnv_reset(found->second.get());
        return found->second.get();
    }
    const char* name = detail::converterName(encoding);
    if (!name) return nullptr;
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &status);
    if (U_FAILURE(status) || !converter) return nullptr;
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    cache.emplace(encoding, std::unique_ptr<UConverter, decltype(&ucnv_close)>(converter, ucnv_close));
    return converter;
}

// Reads one word in a multi-byte candidate; `consumed` carries a character completed past the previous
// word's end. Returns false when the bytes are not valid in the candidate.
bool scoreMultiByteToken(const Candidate& candidate, UConverter* converter, const uint8_t* bytes, size_t length,
                         const Token& token, size_t& consumed, Reading& reading) {
    const Models::Frequencies& model = models().frequencies[static_cast<size_t>(candidate.frequencyModel)];
    const Structure structure = candidate.charset->structure;
    size_t i = std::max(token.start, consumed);
    const size_t end = token.start + token.length;
    bool previousLatin = false, previousWide = false;
    while (i < end) {
        size_t n = characterLength(structure, bytes, i, length);
        if (n == 0) return false;
        const char* source = reinterpret_cast<const char*>(bytes + i);
        UErrorCode status = U_ZERO_ERROR;
        ucnv_reset(converter);
        UChar32 c = ucnv_getNextUChar(converter, &source, reinterpret_cast<const char*>(bytes + i + n), &status);
        if (U_FAILURE(status)) return false;
        const Tier tier = bytes[i] < 0x80 ? Tier::Common : tierOf(structure, bytes + i, n);
        reading.cost += cjkCharacterCost(model, c, tier, model.language);
        const bool latin = c < 0x80 && (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
        const bool wide = c >= 0x80;
        if ((latin && previousWide) || (wide && previousLatin)) reading.cost += kLatinSwitchInCJKCost;
        previousLatin = latin;
        previousWide = wide;
        hashInto(reading.textHash, static_cast<char16_t>(c));
        i += n;
    }
    consumed = i;
    return true;
}

// ---- Hints ----------------------------------------------------------------------------------------------

Family familyOf(TextEncoding encoding) {
    for (const Candidate& candidate : candidates()) {
        if (candidate.encoding == encoding) return candidate.charset->family;
    }
    return detail::familyOfOtherCharset(encoding);
}

double hintBonus(TextEncoding encoding, const std::vector<TextEncoding>& hints, double bonus) {
    double best = 0;
    Family family = familyOf(encoding);
    for (TextEncoding hint : hints) {
        if (hint == encoding) return bonus;
        if (family != Family::None && familyOf(hint) == family) best = bonus * kSameFamilyShare;
    }
    return best;
}

// True when some hint names a charset of a language (not ASCII, UTF-8 or another Unicode form).
bool namesAFamily(const EncodingHints& hints) {
    auto named = [](TextEncoding encoding) { return !isUnusableEncoding(encoding) && familyOf(encoding) != Family::None; };
    return named(hints.declared) || std::any_of(hints.message.begin(), hints.message.end(), named) ||
           std::any_of(hints.host.begin(), hints.host.end(), named);
}

double hintsBonus(TextEncoding encoding, const EncodingHints& hints) {
    double bonus = 0;
    if (!isUnusableEncoding(hints.declared)) bonus += hintBonus(encoding, {hints.declared}, kDeclaredHintBonus);
    bonus += hintBonus(encoding, hints.message, kMessageHintBonus);
    bonus += hintBonus(encoding, hints.host, kHostHintBonus);
    return bonus;
}

// ---- Stages -----------------------------------------------------------------------------------------------

bool allASCII(const uint8_t* bytes, size_t length) {
    size_t i = 0;
#if defined(__SSE2__)
    for (; i + 16 <= length; i += 16) {
        __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
        if (_mm_movemask_epi8(block)) return false;
    }
#endif
    for (; i < length; ++i) {
        if (bytes[i] & 0x80) return false;
    }
    return true;
}

bool decodes(const uint8_t* bytes, size_t length, TextEncoding encoding) {
    return stringFromBytes(bytes, length, encoding).has_value();
}

// The form a byte-order mark announces. UTF-16 and UTF-32 without a stated byte order read the mark, take
// the order from it and drop it, so the text does not begin with U+FEFF (the UTF-8 reading drops it too).
std::optional<TextEncoding> byteOrderMark(const uint8_t* b, size_t n) {
    if (n >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) return kUTF8StringEncoding;
    if (n >= 4 && ((b[0] == 0xFF && b[1] == 0xFE && b[2] == 0 && b[3] == 0) ||
                   (b[0] == 0 && b[1] == 0 && b[2] == 0xFE && b[3] == 0xFF))) {
        return kUTF32StringEncoding;
    }
    if (n >= 2 && ((b[0] == 0xFF && b[1] == 0xFE) || (b[0] == 0xFE && b[1] == 0xFF))) return kUTF16StringEncoding;
    return std::nullopt;
}

// UTF-32 or UTF-16 without a mark: only when NUL bytes sit where that form puts them for ASCII-range text.
std::optional<TextEncoding> nulLayout(const uint8_t* b, size_t n) {
    if (n < 4 || !std::memchr(b, 0, n)) return std::nullopt;
    size_t zeros[4] = {0, 0, 0, 0};
    for (size_t i = 0; i < n; ++i) zeros[i % 4] += b[i] == 0;
    const size_t quads = n / 4;
    if (n % 4 == 0) {
        if (zeros[2] == quads && zeros[3] == quads && zeros[0] < quads) return kUTF32LittleEndianStringEncoding;
        if (zeros[0] == quads && zeros[1] == quads && zeros[3] < quads) return kUTF32BigEndianStringEncoding;
    }
    if (n % 2 == 0) {
        size_t evenZeros = zeros[0] + zeros[2], oddZeros = zeros[1] + zeros[3], pairs = n / 2;
        if (oddZeros * 2 >= pairs && evenZeros * 10 <= pairs) return kUTF16LittleEndianStringEncoding;
        if (evenZeros * 2 >= pairs && oddZeros * 10 <= pairs) return kUTF16BigEndianStringEncoding;
    }
    return std::nullopt;
}

// The ISO-2022 form whose designation sequences the bytes use, if they decode in it.
std::optional<TextEncoding> escapeForm(const uint8_t* bytes, size_t length) {
    std::string_view text(reinterpret_cast<const char*>(bytes), length);
    struct Form {
        const char* charset;
        std::initializer_list<std::string_view> designations;
    };
    static const Form kForms[] = {
        {"iso-2022-jp", {"\x1b$B", "\x1b$@", "\x1b(J", "\x1b(I"}},
        {"iso-2022-kr", {"\x1b$)C"}},
        {"iso-2022-cn", {"\x1b$)A", "\x1b$)G", "\x1b$*H"}},
    };
    for (const Form& form : kForms) {
        bool designated = std::any_of(form.designations.begin(), form.designations.end(),
                                      [&](std::string_view d) { return text.find(d) != std::string_view::npos; });
        if (!designated) continue;
        TextEncoding encoding = encodingForCharSetName(fromLatin1(form.charset));
        if (!isUnusableEncoding(encoding) && decodes(bytes, length, encoding)) return encoding;
    }
    return std::nullopt;
}

EncodingDetection decided(TextEncoding encoding, DetectionStage stage) {
    EncodingDetection detection;
    detection.encoding = encoding;
    detection.stage = stage;
    return detection;
}

// True when two single-byte candidates read every byte of `present` as the same character.
bool readsAlike(const Candidate& a, const Candidate& b, const HighBytes& present) {
    for (unsigned byte = 0x80; byte < 0x100; ++byte) {
        if (present.has(static_cast<uint8_t>(byte)) && a.upper[byte - 0x80] != b.upper[byte - 0x80]) return false;
    }
    return true;
}

// A candidate that passed the filters, read word by word.
struct Contender {
    Reading reading;
    std::unique_ptr<AlphabeticScorer> alphabetic;  // single-byte candidates
    UConverter* converter = nullptr;               // multi-byte candidates
    size_t consumed = 0;
    int twinOf = -1;       // the contender that reads the same text, scored for both
    double bestBonus = 0;  // the most its hints can add
    bool alive = true;

    double cost() const { return reading.cost + (alphabetic ? alphabetic->best() : 0); }
};

EncodingDetection statistics(const uint8_t* bytes, size_t length, const EncodingHints& hints) {
    HighBytes present;
    for (size_t i = nextHighByte(bytes, 0, length); i < length; i = nextHighByte(bytes, i + 1, length)) {
        present.add(bytes[i]);
    }
    const std::vector<Token> tokens = sampleTokens(bytes, length);

    std::vector<Contender> contenders;
    for (const Candidate& candidate : candidates()) {
        Contender contender{Reading{&candidate}};
        if (candidate.charset->structure == Structure::SingleByte) {
            if (present.meets(candidate.forbidden)) continue;
            // A charset that reads every byte present as an earlier one does, for the same languages,
            // reads the same text at the same cost: it is scored once (iso-8859-1, windows-1252 and
            // iso-8859-15 on most Western text).
            for (size_t earlier = 0; earlier < contenders.size(); ++earlier) {
                const Candidate& other = *contenders[earlier].reading.candidate;
                if (contenders[earlier].alphabetic && other.alphabeticModels == candidate.alphabeticModels &&
                    readsAlike(candidate, other, present)) {
                    contender.twinOf = static_cast<int>(earlier);
                    break;
                }
            }
            if (contender.twinOf < 0) contender.alphabetic = std::make_unique<AlphabeticScorer>(candidate);
        } else {
            if (candidate.frequencyModel < 0 || !structurallyValid(candidate.charset->structure, bytes, length)) continue;
            contender.converter = characterConverter(candidate.encoding);
            if (!contender.converter) continue;
        }
        contender.reading.cost = candidate.charset->prior;
        if (!hints.empty()) contender.bestBonus = hintsBonus(candidate.encoding, hints);
        contenders.push_back(std::move(contender));
    }
    // Word by word; now and then the readings too far behind to catch up are dropped.
    std::u16string text;
    size_t read = 0, nextPruning = kPruningInterval;
    for (const Token& token : tokens) {
        for (Contender& contender : contenders) {
            if (!contender.alive || contender.twinOf >= 0) continue;
            const Candidate& candidate = *contender.reading.candidate;
            if (contender.alphabetic) {
                scoreSingleByteToken(candidate, bytes, token, *contender.alphabetic, text, contender.reading);
            } else if (!scoreMultiByteToken(candidate, contender.converter, bytes, length, token, contender.consumed,
                                            contender.reading)) {
                contender.alive = false;
            }
        }
        read += token.length;
        if (read < nextPruning) continue;
        nextPruning = read + kPruningInterval;
        double best = 1e300;
        for (const Contender& contender : contenders) {
            if (contender.alive && contender.twinOf < 0) best = std::min(best, contender.cost() - contender.bestBonus);
        }
        for (Contender& contender : contenders) {
            if (!contender.alive || contender.twinOf >= 0) continue;
            if (contender.cost() > best + kPruningMargin) contender.alive = false;
            if (contender.alphabetic) contender.alphabetic->prune(kPruningMargin);
        }
    }
    std::vector<Reading> readings;
    for (const Contender& contender : contenders) {
        const Contender& scored = contender.twinOf >= 0 ? contenders[static_cast<size_t>(contender.twinOf)] : contender;
        if (!scored.alive) continue;
        Reading reading = scored.reading;
        reading.candidate = contender.reading.candidate;
        reading.cost = scored.cost() - scored.reading.candidate->charset->prior + contender.reading.candidate->charset->prior;
        readings.push_back(reading);
    }
    if (readings.empty()) return decided(kWindowsCP1252StringEncoding, DetectionStage::Fallback);

    EncodingDetection detection;
    detection.stage = DetectionStage::Statistics;
    std::vector<std::pair<double, const Reading*>> ranked;
    for (const Reading& reading : readings) {
        double bonus = reading.anomalies == 0 && !hints.empty() ? hintsBonus(reading.candidate->encoding, hints) : 0;
        ranked.push_back({bonus - reading.cost, &reading});
        detection.candidates.push_back({reading.candidate->encoding, bonus - reading.cost, bonus > 0});
    }
    // Highest score first; the table order (the more common charset first) breaks ties.
    std::stable_sort(detection.candidates.begin(), detection.candidates.end(),
                     [](const EncodingCandidate& a, const EncodingCandidate& b) { return a.score > b.score; });
    std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    detection.encoding = detection.candidates.front().encoding;
    size_t sampleBytes = 0;
    for (const Token& token : tokens) sampleBytes += token.length;
    // One 8-bit byte standing alone is no evidence for any alphabet ("И", "é" and "י" are all words):
    // without a hint it is read as the fallback reads it.
    const bool loneByte = sampleBytes == 1 && !namesAFamily(hints);
    if (loneByte || ranked.front().second->cost > kImplausibleCostPerByte * static_cast<double>(sampleBytes)) {
        detection.encoding = kWindowsCP1252StringEncoding;
        detection.stage = DetectionStage::Fallback;
        detection.confidence = 0;
        return detection;
    }
    const double best = ranked.front().first;
    const uint64_t bestText = ranked.front().second->textHash;
    double others = 0;
    for (const auto& [score, reading] : ranked) {
        if (reading->textHash != bestText) others += std::exp(score - best);
    }
    detection.confidence = 1 / (1 + others);
    return detection;
}

}  // namespace

bool isValidUTF8(const uint8_t* bytes, size_t length) {
    size_t i = 0;
    while (i < length) {
#if defined(__SSE2__)
        // ASCII runs, 16 bytes at a time.
        while (i + 16 <= length &&
               !_mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i)))) {
            i += 16;
        }
#endif
        while (i < length && bytes[i] < 0x80) ++i;
        if (i >= length) break;
        uint8_t b = bytes[i];
        size_t n;
        uint8_t low = 0x80, high = 0xBF;  // the allowed range of the second byte
        if (b >= 0xC2 && b <= 0xDF) {
            n = 2;
        } else if (b >= 0xE0 && b <= 0xEF) {
            n = 3;
            if (b == 0xE0) low = 0xA0;
            if (b == 0xED) high = 0x9F;  // no surrogates
        } else if (b >= 0xF0 && b <= 0xF4) {
            n = 4;
            if (b == 0xF0) low = 0x90;
            if (b == 0xF4) high = 0x8F;
        } else {
            return false;
        }
        if (length - i < n) return false;
        if (bytes[i + 1] < low || bytes[i + 1] > high) return false;
        for (size_t k = 2; k < n; ++k) {
            if ((bytes[i + k] & 0xC0) != 0x80) return false;
        }
        i += n;
    }
    return true;
}

EncodingDetection detectEncoding(const uint8_t* bytes, size_t length, const EncodingHints& hints) {
    if (length == 0) return decided(kASCIIStringEncoding, DetectionStage::Empty);
    if (std::optional<TextEncoding> marked = byteOrderMark(bytes, length); marked && decodes(bytes, length, *marked)) {
        return decided(*marked, DetectionStage::ByteOrderMark);
    }
    if (std::optional<TextEncoding> laid = nulLayout(bytes, length); laid && decodes(bytes, length, *laid)) {
        return decided(*laid, DetectionStage::NulLayout);
    }
    if (allASCII(bytes, length)) {
        if (std::memchr(bytes, 0x1B, length)) {
            if (std::optional<TextEncoding> form = escapeForm(bytes, length)) return decided(*form, DetectionStage::EscapeForm);
        }
        return decided(kASCIIStringEncoding, DetectionStage::ASCII);
    }
    if (isValidUTF8(bytes, length)) return decided(kUTF8StringEncoding, DetectionStage::UTF8);
    return statistics(bytes, length, hints);
}

const char* detectionStageName(DetectionStage stage) {
    switch (stage) {
        case DetectionStage::Empty: return "empty";
        case DetectionStage::ByteOrderMark: return "byte-order mark";
        case DetectionStage::NulLayout: return "nul layout";
        case DetectionStage::ASCII: return "ascii";
        case DetectionStage::EscapeForm: return "escape form";
        case DetectionStage::UTF8: return "utf-8";
        case DetectionStage::Statistics: return "statistics";
        case DetectionStage::Fallback: return "fallback";
    }
    return "";
}

}  // namespace postwright
