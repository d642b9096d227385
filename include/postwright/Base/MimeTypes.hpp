// File-name extensions to MIME types, and image formats recognised from their leading bytes.
//
//     mimeTypeForFilenameExtension(u"PDF");      // u"application/pdf"
//     imageMimeType(bytes, 12);                  // u"image/png" for a PNG signature
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The MIME type registered for an extension (any case, without the dot): read once from /etc/mime.types,
// with a short built-in table when that file is missing. nullopt for unknown extensions.
OptString mimeTypeForFilenameExtension(std::u16string_view extension);
// The preferred extension for a MIME type, nullopt when none is known.
OptString preferredFilenameExtensionForMimeType(std::u16string_view mimeType);

// The image type whose signature the bytes begin with (PNG, JPEG, GIF, BMP, TIFF, WebP, HEIC), or nullopt.
OptString imageMimeType(const uint8_t* bytes, size_t length);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
