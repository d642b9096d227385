// ParameterDictionary: the Content-Type and Content-Disposition info that the parameter parsers produce.
//
// An insertion-ordered map from text keys to a small variant: text (most values), an integer (the
// disposition's "size"), or the numbered sections of an RFC 2231 parameter that could not be joined
// (kept under the parameter's name with its "*", section number to raw bytes). Keys are compared exactly;
// the parsers store lower-cased names and the reserved keys beginning with "@".
//
//     ParameterDictionary info{{u"@type", u"text"}, {u"@subtype", u"plain"}};
//     info.set(u"charset", u"utf-8");
//     OptString charset = info.text(u"charset");          // u"utf-8"
//     for (const auto& [key, value] : info) ...            // in insertion order
//
// Setting a key that exists replaces its value in place; a new key goes to the end. Lookups are
// constant-time on average (an index is kept once the dictionary grows past a few keys); removing a
// key is linear in the size. Equality compares keys and values, not their order, as two dictionaries
// holding the same parameters describe the same header.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The sections of a continued parameter (RFC 2231 section 3), by section number, as raw bytes.
using SectionMap = std::map<uint64_t, Data>;
using ParameterValue = std::variant<std::u16string, long long, SectionMap>;

// The parameters of a Content-Type or Content-Disposition value: an insertion-ordered map.
class ParameterDictionary {
public:
    using Entry = std::pair<std::u16string, ParameterValue>;
    using const_iterator = std::vector<Entry>::const_iterator;

    ParameterDictionary() = default;
    ParameterDictionary(std::initializer_list<Entry> entries);

    size_t size() const noexcept { return entries_.size(); }
    bool empty() const noexcept { return entries_.empty(); }
    const_iterator begin() const noexcept { return entries_.begin(); }
    const_iterator end() const noexcept { return entries_.end(); }
    // The keys in insertion order.
    std::vector<std::u16string> keys() const;

    bool contains(std::u16string_view key) const { return indexOf(key) != npos; }
    // The value under key, or nullptr. The mutable form changes the value in place.
    const ParameterValue* get(std::u16string_view key) const;
    ParameterValue* get(std::u16string_view key);
    // The value when it is of that kind; nullopt (nullptr) when absent or of another kind.
    OptString text(std::u16string_view key) const;
    std::optional<long long> integer(std::u16string_view key) const;
    const SectionMap* sections(std::u16string_view key) const;

    // Replaces the value of an existing key in place, else appends the key.
    void set(std::u16string key, ParameterValue value);
    void set(std::u16string key, const char16_t* text) { set(std::move(key), ParameterValue(std::u16string(text))); }
    // Removes the key; false when it was absent.
    bool remove(std::u16string_view key);

    // Same keys with equal values, in any order.
    bool operator==(const ParameterDictionary& other) const;

private:
    static constexpr size_t npos = static_cast<size_t>(-1);
    // Below this size a scan is faster than hashing and the index is not kept.
    static constexpr size_t kIndexedSize = 16;

    size_t indexOf(std::u16string_view key) const;
    void rebuildIndex();

    struct KeyHash {
        using is_transparent = void;
        size_t operator()(std::u16string_view key) const noexcept { return std::hash<std::u16string_view>{}(key); }
    };

    std::vector<Entry> entries_;
    // Position of each key; empty while size() < kIndexedSize.
    std::unordered_map<std::u16string, size_t, KeyHash, std::equal_to<>> index_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
