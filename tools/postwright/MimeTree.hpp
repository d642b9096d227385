// A MIME part as JSON, as the tree and inspect commands print it.
#pragma once

#include "ToolSupport.hpp"
#include "postwright/Mime/PWMimePart.hpp"

namespace postwright::tool {

// A part and its children as JSON: identifier, class, type, subtype, charset, contentTransferEncoding,
// contentType (the info dictionary as `postwright parse content-type` prints it), contentDisposition (the
// info dictionary or null), filename, contentId, headerSize, size (raw bytes), decodedSize, children.
Json jsonMimePart(const PWMimePart& part);

}  // namespace postwright::tool
