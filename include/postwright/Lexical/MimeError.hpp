// The error vocabulary of MIME structure: domain "com.fennelgate.FGPostwright.MIME".
//
// Code 1: a part's header block could not be parsed (the header error is the underlying error).
// Code 2: a multipart body could not be split because its boundary or line delimiter has no bytes.
#pragma once

#include <optional>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr const char* kMimeErrorDomain = "com.fennelgate.FGPostwright.MIME";

enum class MimeErrorCode : long {
    HeaderParsing = 1,
    MultipartParsing = 2,
};

// Code 2 with the user-info keys "boundary" ("<NO BOUNDARY>" when nil) and "lineDelimiter"
// ("<NO LINEBREAK>" when none was given).
ErrorRef multipartParsingError(const OptString& boundary, const std::optional<Data>& lineDelimiter);

// Code 1 with the header collection's error as the underlying error; the localized description is the
// library's text for "MIME_ERROR:HEADER_PARSING" ("Could not parse the headers of a Mime part").
ErrorRef headerParsingError(ErrorRef underlyingError);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
