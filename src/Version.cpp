#include "postwright/Version.hpp"

#include <openssl/opensslv.h>
#include <unicode/uvernum.h>

// The build passes gumbo's version from its package description; gumbo's headers do not carry it.
#ifndef PW_GUMBO_VERSION
#define PW_GUMBO_VERSION "unknown"
#endif

namespace postwright {

const char* libraryVersion() {
    return POSTWRIGHT_VERSION_STRING;
}

PlatformVersions platformVersions() {
    return {U_ICU_VERSION, OPENSSL_VERSION_STR, PW_GUMBO_VERSION};
}

}  // namespace postwright
