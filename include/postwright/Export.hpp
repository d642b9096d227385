// Export: marks what a public header declares as the library's interface.
//
// The library is compiled with symbols hidden by default, so a shared libpostwright exports what the
// public headers declare and nothing else: helpers under src/ stay inside the library. Every public header
// puts its declarations between the two markers, after its #include lines (the markers must never enclose
// an #include):
//
//     #include "postwright/Export.hpp"
//     POSTWRIGHT_PUBLIC_BEGIN
//     namespace postwright { ... }
//     POSTWRIGHT_PUBLIC_END
//
// Everything between them is visible outside the library: functions, classes with their members, virtual
// tables and type information, so exceptions and dynamic_cast work across the library's boundary.
// scripts/mark-public-headers adds the markers to a new header.
//
// A class of src/ that a public header names, as a friend, is first declared inside the markers and would
// be exported with them; its definition says otherwise with POSTWRIGHT_INTERNAL:
//
//     class POSTWRIGHT_INTERNAL CSSSelectorMatcher { ... };
#pragma once

#if defined(__GNUC__) || defined(__clang__)
#define POSTWRIGHT_PUBLIC_BEGIN _Pragma("GCC visibility push(default)")
#define POSTWRIGHT_PUBLIC_END _Pragma("GCC visibility pop")
#define POSTWRIGHT_INTERNAL __attribute__((visibility("hidden")))
#else
#define POSTWRIGHT_PUBLIC_BEGIN
#define POSTWRIGHT_PUBLIC_END
#define POSTWRIGHT_INTERNAL
#endif
