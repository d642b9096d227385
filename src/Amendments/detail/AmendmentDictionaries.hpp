// Reading the keys of amendment dictionaries: a key of the wrong kind counts as missing.
#pragma once

#include <string_view>

#include "postwright/Amendments/PWMessageAmendment.hpp"

namespace postwright::detail {

inline OptString stringForKey(const PWAmendmentDictionary& dictionary, std::string_view key) {
    if (!dictionary.is_object()) return std::nullopt;
    auto found = dictionary.find(key);
    if (found == dictionary.end() || !found->is_string()) return std::nullopt;
    return fromUTF8(found->get<std::string>());
}

inline std::string utf8(const std::u16string& text) { return toUTF8(text); }

}  // namespace postwright::detail
