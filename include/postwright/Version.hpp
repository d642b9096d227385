// Version: the release these headers belong to, and the versions the linked library reports.
//
// The numbers below are the project's version: the build reads them from this file, so a release changes
// them here and nowhere else. Compare them in the preprocessor or in code; libraryVersion() answers for
// the library the program actually runs with, which for a shared library can be a later compatible
// release than the headers the program was compiled with.
//
//     #if POSTWRIGHT_VERSION_MAJOR == 0 && POSTWRIGHT_VERSION_MINOR < 2
//     #error "needs FGPostwright 0.2 or later"
//     #endif
//     std::printf("postwright %s (headers %s)\n", postwright::libraryVersion(), postwright::kVersionString);
#pragma once

#define POSTWRIGHT_VERSION_MAJOR 0
#define POSTWRIGHT_VERSION_MINOR 2
#define POSTWRIGHT_VERSION_PATCH 0

#define POSTWRIGHT_VERSION_TEXT_(number) #number
#define POSTWRIGHT_VERSION_TEXT(number) POSTWRIGHT_VERSION_TEXT_(number)
// "MAJOR.MINOR.PATCH", e.g. "0.2.0".
#define POSTWRIGHT_VERSION_STRING                      \
    POSTWRIGHT_VERSION_TEXT(POSTWRIGHT_VERSION_MAJOR) "." \
    POSTWRIGHT_VERSION_TEXT(POSTWRIGHT_VERSION_MINOR) "." \
    POSTWRIGHT_VERSION_TEXT(POSTWRIGHT_VERSION_PATCH)

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr int kVersionMajor = POSTWRIGHT_VERSION_MAJOR;
inline constexpr int kVersionMinor = POSTWRIGHT_VERSION_MINOR;
inline constexpr int kVersionPatch = POSTWRIGHT_VERSION_PATCH;
inline constexpr const char* kVersionString = POSTWRIGHT_VERSION_STRING;

// The version of the library the program runs with, "MAJOR.MINOR.PATCH".
const char* libraryVersion();

// The versions of the platform libraries the library was compiled against, as their own version texts
// (ICU "72.1", OpenSSL "3.0.17", gumbo "0.10.1"); "unknown" where the build could not tell.
struct PlatformVersions {
    const char* icu;
    const char* openssl;
    const char* gumbo;
};
PlatformVersions platformVersions();

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
