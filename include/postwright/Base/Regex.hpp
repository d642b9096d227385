// Regular expressions in ICU syntax over UTF-16 text.
//
// A Regex is compiled once and may be shared by threads (keep it in a function-local static); each call
// makes its own matcher. Patterns are the system's own texts and work as written, POSIX classes included.
//
//     static const Regex time(u"(\\d?\\d):(\\d\\d)", Regex::CaseInsensitive);
//     if (auto match = time.firstMatch(text)) std::u16string hour = *match->group(text, 1);
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A compiled regular expression in ICU syntax, shareable between threads.
class Regex {
public:
    enum Flags : unsigned { None = 0, CaseInsensitive = 1 };

    // Throws ProgrammingError when the pattern does not compile: patterns are fixed texts.
    explicit Regex(std::u16string_view pattern, unsigned flags = None);
    ~Regex();
    Regex(const Regex&) = delete;
    Regex& operator=(const Regex&) = delete;

    // One match: the ranges of the whole match and of each capture group.
    struct Match {
        std::vector<std::optional<Range>> groups;  // groups[0] is the whole match
        Range range() const { return *groups[0]; }
        std::optional<std::u16string> group(std::u16string_view text, size_t index) const;
    };

    std::optional<Match> firstMatch(std::u16string_view text, size_t from = 0) const;
    std::vector<Match> allMatches(std::u16string_view text) const;
    size_t numberOfMatches(std::u16string_view text) const;
    bool matchesEntirely(std::u16string_view text) const;
    // Replaces every match by the literal replacement text.
    std::u16string replaceAll(std::u16string_view text, std::u16string_view replacement) const;

private:
    struct Compiled;
    std::unique_ptr<Compiled> compiled_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
