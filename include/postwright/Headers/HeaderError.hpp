// The error vocabulary of header parsing: domain "com.fennelgate.FGPostwright.Header".
#pragma once

#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr const char* kHeaderErrorDomain = "com.fennelgate.FGPostwright.Header";

enum class HeaderErrorCode : long {
    UndecodableHeader = 1,  // the header bytes could not be decoded to text
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
