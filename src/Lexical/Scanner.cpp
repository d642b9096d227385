#include "postwright/Lexical/Scanner.hpp"

#include <limits>

namespace postwright {

Scanner Scanner::emailAddressScannerWithString(const OptString& string) {
    return Scanner(string.value_or(std::u16string()));
}

bool Scanner::advance(size_t n) noexcept {
    if (n > string_.size() - location_) return false;
    location_ += n;
    return true;
}

bool Scanner::scanString(std::u16string_view literal, std::u16string* into) {
    if (literal.empty() || literal.size() > string_.size() - location_) return false;
    // The grammar's punctuation (".", ":", ",", "<", ...): no character folds to one, so case makes no
    // difference and one comparison decides.
    if (literal.size() == 1 && !isASCIILetter(literal[0])) {
        if (string_[location_] != literal[0]) return false;
        setSlot(into, std::u16string(literal));
        ++location_;
        return true;
    }
    std::u16string_view here = std::u16string_view(string_).substr(location_, literal.size());
    bool same = caseSensitive_ ? here == literal : equalsIgnoringCase(here, literal);
    if (!same) return false;
    setSlot(into, std::u16string(here));
    location_ += literal.size();
    return true;
}

bool Scanner::scanCharactersFromSet(const CharacterSet& set, std::u16string* into) {
    size_t stop = location_;
    while (stop < string_.size() && set.contains(string_[stop])) ++stop;
    if (stop == location_) return false;
    setSlot(into, string_.substr(location_, stop - location_));
    location_ = stop;
    return true;
}

bool Scanner::scanUpToCharactersFromSet(const CharacterSet& set, std::u16string* into) {
    size_t stop = location_;
    while (stop < string_.size() && !set.contains(string_[stop])) ++stop;
    if (stop == location_) return false;
    setSlot(into, string_.substr(location_, stop - location_));
    location_ = stop;
    return true;
}

bool Scanner::scanUpToString(std::u16string_view text, std::u16string* into) {
    if (isAtEnd()) return false;
    size_t hit = caseSensitive_ ? std::u16string_view(string_).find(text, location_)
                                : findIgnoringCase(string_, text, location_);
    size_t stop = hit == std::u16string_view::npos ? string_.size() : hit;
    if (stop == location_) return false;
    setSlot(into, string_.substr(location_, stop - location_));
    location_ = stop;
    return true;
}

namespace {
bool isASCIIDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
}  // namespace

bool Scanner::scanLongLong(long long* value) {
    size_t position = location_;
    bool negative = false;
    if (position < string_.size() && (string_[position] == u'+' || string_[position] == u'-')) {
        negative = string_[position] == u'-';
        ++position;
    }
    if (position >= string_.size() || !isASCIIDigit(string_[position])) return false;
    unsigned long long magnitude = 0;
    bool overflow = false;
    const unsigned long long limit = negative ? 9223372036854775808ull : 9223372036854775807ull;
    while (position < string_.size() && isASCIIDigit(string_[position])) {
        unsigned digit = string_[position] - u'0';
        if (!overflow && magnitude > (limit - digit) / 10) overflow = true;
        if (!overflow) magnitude = magnitude * 10 + digit;
        ++position;
    }
    if (overflow) magnitude = limit;
    location_ = position;
    if (value) {
        *value = negative ? (magnitude == 9223372036854775808ull ? std::numeric_limits<long long>::min()
                                                                 : -static_cast<long long>(magnitude))
                          : static_cast<long long>(magnitude);
    }
    return true;
}

bool Scanner::scanInteger(long* value) {
    long long wide = 0;
    if (!scanLongLong(&wide)) return false;
    setSlot(value, static_cast<long>(wide));
    return true;
}

bool Scanner::scanUnsignedLongLong(unsigned long long* value) {
    size_t position = location_;
    if (position >= string_.size() || !isASCIIDigit(string_[position])) return false;
    unsigned long long result = 0;
    bool overflow = false;
    while (position < string_.size() && isASCIIDigit(string_[position])) {
        unsigned digit = string_[position] - u'0';
        if (!overflow && result > (std::numeric_limits<unsigned long long>::max() - digit) / 10) overflow = true;
        if (!overflow) result = result * 10 + digit;
        ++position;
    }
    location_ = position;
    setSlot(value, overflow ? std::numeric_limits<unsigned long long>::max() : result);
    return true;
}

}  // namespace postwright
