// A set of UTF-16 code units, stored as a 65,536-bit bitmap for constant-time membership.
//
// Sets are built once (ranges, literal strings, predicates) and then used read-only, so a built set may be
// shared by every thread.
//
//     static const CharacterSet wsp = CharacterSet::withCharacters(u" \t");
//     if (wsp.contains(text[i])) ...
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A set of UTF-16 code units with constant-time membership (a 65,536-bit bitmap).
class CharacterSet {
public:
    CharacterSet() { bits_.fill(0); }

    // Ranges written as (first code, count).
    static CharacterSet withRanges(std::initializer_list<std::pair<char16_t, unsigned>> ranges);
    static CharacterSet withCharacters(std::u16string_view characters);
    template <typename Predicate>
    static CharacterSet withPredicate(Predicate isMember) {
        CharacterSet set;
        for (uint32_t c = 0; c <= 0xFFFF; ++c) {
            if (isMember(static_cast<char16_t>(c))) set.add(static_cast<char16_t>(c));
        }
        return set;
    }

    bool contains(char16_t c) const noexcept { return (bits_[c >> 6] >> (c & 63)) & 1u; }

    void add(char16_t c) noexcept { bits_[c >> 6] |= uint64_t(1) << (c & 63); }
    void remove(char16_t c) noexcept { bits_[c >> 6] &= ~(uint64_t(1) << (c & 63)); }
    void addRange(char16_t first, unsigned count) noexcept;
    void removeRange(char16_t first, unsigned count) noexcept;
    void addCharacters(std::u16string_view characters) noexcept;
    void removeCharacters(std::u16string_view characters) noexcept;
    void formUnion(const CharacterSet& other) noexcept;
    void invert() noexcept;

    bool operator==(const CharacterSet&) const = default;

private:
    std::array<uint64_t, 1024> bits_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
