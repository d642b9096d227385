// Walking a MIME tree leaf by leaf, decoding each as a reader would.
#pragma once

#include <functional>

#include "postwright/Mime/PWMimePart.hpp"

namespace postwright::tool {

// Calls visit for every part of the tree, parents before children, without recursion.
void forEachPart(const PWMimePartRef& root, const std::function<void(const PWMimePartRef&)>& visit);

// Decodes a leaf as a reader would: text parts to text, attachments to bytes, anything else by its
// transfer encoding. Returns the decoded size (UTF-16 code units for text, bytes otherwise).
size_t decodeLeaf(const PWMimePartRef& part);

}  // namespace postwright::tool
