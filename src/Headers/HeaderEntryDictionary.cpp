#include "postwright/Headers/HeaderEntryDictionary.hpp"

namespace postwright {

HeaderEntryDictionary::ListRef HeaderEntryDictionary::find(const std::u16string& key) const {
    auto found = index_.find(key);
    return found == index_.end() ? nullptr : items_[found->second].second;
}

void HeaderEntryDictionary::set(const std::u16string& key, ListRef list) {
    if (!list || list->empty()) {
        remove(key);
        return;
    }
    auto found = index_.find(key);
    if (found != index_.end()) {
        items_[found->second].second = std::move(list);
        return;
    }
    index_.emplace(key, items_.size());
    items_.emplace_back(key, std::move(list));
}

bool HeaderEntryDictionary::remove(const std::u16string& key) {
    auto found = index_.find(key);
    if (found == index_.end()) return false;
    size_t position = found->second;
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(position));
    index_.erase(found);
    for (auto& [name, slot] : index_) {
        if (slot > position) --slot;
    }
    return true;
}

void HeaderEntryDictionary::append(const std::u16string& key, PWMessageHeaderEntryRef entry) {
    auto found = index_.find(key);
    if (found == index_.end()) {
        set(key, std::make_shared<const EntryList>(EntryList{std::move(entry)}));
        return;
    }
    auto list = std::make_shared<EntryList>(*items_[found->second].second);
    list->push_back(std::move(entry));
    items_[found->second].second = std::move(list);
}

void HeaderEntryDictionary::clear() {
    items_.clear();
    index_.clear();
}

std::vector<PWMessageHeaderEntryRef> HeaderEntryDictionary::allEntries() const {
    std::vector<PWMessageHeaderEntryRef> entries;
    for (const auto& [key, list] : items_) entries.insert(entries.end(), list->begin(), list->end());
    return entries;
}

std::u16string headerDictionaryKey(std::u16string_view fieldName) {
    // Trimmed as fgTrim trims, upper-cased in the one copy (every lookup of a field makes a key).
    size_t start = 0, end = fieldName.size();
    while (start < end && isWhitespaceOrNewline(fieldName[start])) ++start;
    while (end > start && isWhitespaceOrNewline(fieldName[end - 1])) --end;
    return uppercase(fieldName.substr(start, end - start));
}

}  // namespace postwright
