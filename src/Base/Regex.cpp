#include "postwright/Base/Regex.hpp"

#include <unicode/regex.h>

#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"

namespace postwright {

struct Regex::Compiled {
    std::unique_ptr<icu::RegexPattern> pattern;
};

namespace {
icu::UnicodeString alias(std::u16string_view text) {
    return icu::UnicodeString(false, reinterpret_cast<const UChar*>(text.data()), static_cast<int32_t>(text.size()));
}
}  // namespace

Regex::Regex(std::u16string_view pattern, unsigned flags) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    uint32_t icuFlags = (flags & CaseInsensitive) ? UREGEX_CASE_INSENSITIVE : 0;
    compiled_ = std::make_unique<Compiled>();
    compiled_->pattern.reset(icu::RegexPattern::compile(icu::UnicodeString(reinterpret_cast<const UChar*>(pattern.data()),
                                                                 static_cast<int32_t>(pattern.size())),
                                              icuFlags, parseError, status));
    if (U_FAILURE(status) || !compiled_->pattern) {
        throw ProgrammingError("invalid regular expression: " + toUTF8(pattern));
    }
}

Regex::~Regex() = default;

std::optional<std::u16string> Regex::Match::group(std::u16string_view text, size_t index) const {
    if (index >= groups.size() || !groups[index]) return std::nullopt;
    return std::u16string(text.substr(groups[index]->location, groups[index]->length));
}

namespace {
Regex::Match currentMatch(icu::RegexMatcher& matcher) {
    Regex::Match match;
    UErrorCode status = U_ZERO_ERROR;
    int32_t count = matcher.groupCount();
    for (int32_t i = 0; i <= count; ++i) {
        int32_t start = matcher.start(i, status);
        int32_t end = matcher.end(i, status);
        if (U_FAILURE(status) || start < 0) {
            match.groups.emplace_back(std::nullopt);
            status = U_ZERO_ERROR;
            continue;
        }
        match.groups.emplace_back(Range{static_cast<size_t>(start), static_cast<size_t>(end - start)});
    }
    return match;
}
}  // namespace

std::optional<Regex::Match> Regex::firstMatch(std::u16string_view text, size_t from) const {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString subject = alias(text);
    std::unique_ptr<icu::RegexMatcher> matcher(compiled_->pattern->matcher(subject, status));
    if (U_FAILURE(status) || from > text.size()) return std::nullopt;
    if (!matcher->find(static_cast<int64_t>(from), status) || U_FAILURE(status)) return std::nullopt;
    return currentMatch(*matcher);
}

std::vector<Regex::Match> Regex::allMatches(std::u16string_view text) const {
    std::vector<Match> matches;
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString subject = alias(text);
    std::unique_ptr<icu::RegexMatcher> matcher(compiled_->pattern->matcher(subject, status));
    if (U_FAILURE(status)) return matches;
    while (matcher->find(status) && U_SUCCESS(status)) matches.push_back(currentMatch(*matcher));
    return matches;
}

size_t Regex::numberOfMatches(std::u16string_view text) const {
    size_t count = 0;
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString subject = alias(text);
    std::unique_ptr<icu::RegexMatcher> matcher(compiled_->pattern->matcher(subject, status));
    if (U_FAILURE(status)) return 0;
    while (matcher->find(status) && U_SUCCESS(status)) ++count;
    return count;
}

bool Regex::matchesEntirely(std::u16string_view text) const {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString subject = alias(text);
    std::unique_ptr<icu::RegexMatcher> matcher(compiled_->pattern->matcher(subject, status));
    if (U_FAILURE(status)) return false;
    bool result = matcher->matches(status);
    return U_SUCCESS(status) && result;
}

std::u16string Regex::replaceAll(std::u16string_view text, std::u16string_view replacement) const {
    std::u16string out;
    size_t position = 0;
    for (const Match& match : allMatches(text)) {
        Range range = match.range();
        out.append(text.substr(position, range.location - position));
        out.append(replacement);
        position = range.end();
    }
    out.append(text.substr(position));
    return out;
}

}  // namespace postwright
