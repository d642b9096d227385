// The map behind a header collection: upper-cased field name to the entries of that name, in order.
//
// Keys keep the order in which they were first added, so enumeration (merging, building from a
// dictionary) is deterministic. Entry lists are immutable and shared: copying the dictionary copies
// pointers, never entries.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "postwright/Export.hpp"
#include "postwright/Headers/PWMessageHeaderEntry.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Upper-cased field name to the shared, immutable list of its entries, in first-added order.
class HeaderEntryDictionary {
public:
    using EntryList = std::vector<PWMessageHeaderEntryRef>;
    using ListRef = std::shared_ptr<const EntryList>;
    using Item = std::pair<std::u16string, ListRef>;

    // The entries under a dictionary key (already trimmed and upper-cased), or nullptr.
    ListRef find(const std::u16string& key) const;
    // Stores the list under the key (keeping the key's place when present); an empty list removes it.
    void set(const std::u16string& key, ListRef list);
    bool remove(const std::u16string& key);
    // Appends one entry under the key (copying the key's list, which other dictionaries may share).
    void append(const std::u16string& key, PWMessageHeaderEntryRef entry);
    void clear();

    size_t size() const noexcept { return items_.size(); }
    bool empty() const noexcept { return items_.empty(); }
    const std::vector<Item>& items() const noexcept { return items_; }
    // Every entry of every name, in key order, then order of appearance.
    std::vector<PWMessageHeaderEntryRef> allEntries() const;

private:
    std::vector<Item> items_;
    std::unordered_map<std::u16string, size_t> index_;
};

// The dictionary key of a field name: trimmed of white space and line breaks, upper-cased.
std::u16string headerDictionaryKey(std::u16string_view fieldName);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
