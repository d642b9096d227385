// The MIME header fields a part writes from its own fields: the texts of Content-Type and
// Content-Disposition built from their info dictionaries, and how they are put into a header collection.
#pragma once

#include <optional>
#include <string>

#include "postwright/Base/Text.hpp"
#include "postwright/Headers/HeaderEntryDictionary.hpp"
#include "postwright/Lexical/ParameterDictionary.hpp"

namespace postwright::detail {

// "@fulltype" trimmed (left out when empty), then every parameter other than the "@" keys, each written by
// the header writer's parameter folding (integers by their decimal text; unjoined RFC 2231 sections, whose
// charset could not be resolved, are left out), joined by ";", the line end and a SPACE: every parameter,
// and every RFC 2231 segment, starts a continuation line of its own. CR and LF in the type itself are
// dropped, so that the only line breaks are those continuations.
std::u16string contentTypeFieldValue(const ParameterDictionary& contentType, std::u16string_view lineEnd = u"\r\n");
// The disposition type ("attachment" when missing), then every other parameter, written the same way.
std::u16string contentDispositionFieldValue(const ParameterDictionary& disposition,
                                            std::u16string_view lineEnd = u"\r\n");

// The dictionary with the field `name` holding exactly one entry that is written as `text` stands (its
// continuation lines are kept, never refolded), or without the field when text is nullopt. As with setting
// a field of a mutable collection, a single existing entry keeps its written name and its place.
//
// Content-Type and Content-Disposition go in this way rather than as refolded values: the folder of
// mutable fields breaks at any white space, a quoted parameter included, and replaces that white space
// with its continuation, which would change a boundary or file name that holds a space.
void setFieldWrittenAsIs(HeaderEntryDictionary& dictionary, std::u16string_view name, const OptString& text);

// The text, nullopt for no text or empty text.
OptString nonEmptyText(const OptString& text);

}  // namespace postwright::detail
