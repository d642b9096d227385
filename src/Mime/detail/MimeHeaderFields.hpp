// The MIME header fields a part writes from its own fields: the texts of Content-Type and
// Content-Disposition built from their info dictionaries, and the comparisons that tell whether a field
// already says what the part's fields say.
#pragma once

#include <optional>
#include <string>

#include "postwright/Base/Text.hpp"
#include "postwright/Lexical/ParameterDictionary.hpp"

namespace postwright::detail {

// "@fulltype" trimmed (left out when empty), then every parameter other than the "@" keys, each written by
// the header writer's parameter folding (integers by their decimal text; unjoined RFC 2231 sections, whose
// charset could not be resolved, are left out), joined by ";" CR LF SPACE.
std::u16string contentTypeFieldValue(const ParameterDictionary& contentType);
// The disposition type ("attachment" when missing), then every other parameter, written the same way.
std::u16string contentDispositionFieldValue(const ParameterDictionary& disposition);

// The charset name as a part stores it: nullopt for no text or empty text.
OptString nonEmptyText(const OptString& text);

}  // namespace postwright::detail
