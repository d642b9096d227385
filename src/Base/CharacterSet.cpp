#include "postwright/Base/CharacterSet.hpp"

namespace postwright {

CharacterSet CharacterSet::withRanges(std::initializer_list<std::pair<char16_t, unsigned>> ranges) {
    CharacterSet set;
    for (const auto& [first, count] : ranges) set.addRange(first, count);
    return set;
}

CharacterSet CharacterSet::withCharacters(std::u16string_view characters) {
    CharacterSet set;
    set.addCharacters(characters);
    return set;
}

void CharacterSet::addRange(char16_t first, unsigned count) noexcept {
    for (uint32_t c = first; c < uint32_t(first) + count && c <= 0xFFFF; ++c) add(static_cast<char16_t>(c));
}

void CharacterSet::removeRange(char16_t first, unsigned count) noexcept {
    for (uint32_t c = first; c < uint32_t(first) + count && c <= 0xFFFF; ++c) remove(static_cast<char16_t>(c));
}

void CharacterSet::addCharacters(std::u16string_view characters) noexcept {
    for (char16_t c : characters) add(c);
}

void CharacterSet::removeCharacters(std::u16string_view characters) noexcept {
    for (char16_t c : characters) remove(c);
}

void CharacterSet::formUnion(const CharacterSet& other) noexcept {
    for (size_t i = 0; i < bits_.size(); ++i) bits_[i] |= other.bits_[i];
}

void CharacterSet::invert() noexcept {
    for (auto& word : bits_) word = ~word;
}

}  // namespace postwright
