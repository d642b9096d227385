#include "postwright/Lexical/ParameterDictionary.hpp"

namespace postwright {

ParameterDictionary::ParameterDictionary(std::initializer_list<Entry> entries) {
    for (const Entry& entry : entries) set(entry.first, entry.second);
}

std::vector<std::u16string> ParameterDictionary::keys() const {
    std::vector<std::u16string> out;
    out.reserve(entries_.size());
    for (const Entry& entry : entries_) out.push_back(entry.first);
    return out;
}

size_t ParameterDictionary::indexOf(std::u16string_view key) const {
    if (!index_.empty()) {
        auto found = index_.find(key);
        return found == index_.end() ? npos : found->second;
    }
    for (size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].first == key) return i;
    }
    return npos;
}

void ParameterDictionary::rebuildIndex() {
    index_.clear();
    if (entries_.size() < kIndexedSize) return;
    index_.reserve(entries_.size() * 2);
    for (size_t i = 0; i < entries_.size(); ++i) index_.emplace(entries_[i].first, i);
}

const ParameterValue* ParameterDictionary::get(std::u16string_view key) const {
    size_t index = indexOf(key);
    return index == npos ? nullptr : &entries_[index].second;
}

ParameterValue* ParameterDictionary::get(std::u16string_view key) {
    size_t index = indexOf(key);
    return index == npos ? nullptr : &entries_[index].second;
}

OptString ParameterDictionary::text(std::u16string_view key) const {
    const ParameterValue* value = get(key);
    if (!value) return std::nullopt;
    if (const auto* text = std::get_if<std::u16string>(value)) return *text;
    return std::nullopt;
}

std::optional<long long> ParameterDictionary::integer(std::u16string_view key) const {
    const ParameterValue* value = get(key);
    if (!value) return std::nullopt;
    if (const auto* number = std::get_if<long long>(value)) return *number;
    return std::nullopt;
}

const SectionMap* ParameterDictionary::sections(std::u16string_view key) const {
    const ParameterValue* value = get(key);
    return value ? std::get_if<SectionMap>(value) : nullptr;
}

void ParameterDictionary::set(std::u16string key, ParameterValue value) {
    size_t index = indexOf(key);
    if (index != npos) {
        entries_[index].second = std::move(value);
        return;
    }
    entries_.emplace_back(std::move(key), std::move(value));
    if (!index_.empty()) {
        index_.emplace(entries_.back().first, entries_.size() - 1);
    } else if (entries_.size() == kIndexedSize) {
        rebuildIndex();
    }
}

bool ParameterDictionary::remove(std::u16string_view key) {
    size_t index = indexOf(key);
    if (index == npos) return false;
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
    if (!index_.empty()) rebuildIndex();
    return true;
}

bool ParameterDictionary::operator==(const ParameterDictionary& other) const {
    if (size() != other.size()) return false;
    for (const Entry& entry : entries_) {
        const ParameterValue* theirs = other.get(entry.first);
        if (!theirs || !(*theirs == entry.second)) return false;
    }
    return true;
}

}  // namespace postwright
