// DateEnvironment: the clock, time zone and locale that every date operation reads.
//
// Where the library speaks of "now", "the current time zone", "the user's locale" or "the current
// calendar", it asks this environment. The defaults are the system clock, the system's time zone and the
// locale "en_US"; a host may pin any of them, and tests pin all three so that dates are deterministic.
// Dates are milliseconds since 1970 (UTC), as everywhere in the library.
//
//     DateEnvironment::Override pinned(1709629440000.0, "Europe/Berlin", "de_DE");
//     double today = DateEnvironment::now();                 // 2024-03-05T09:04:00Z while pinned
//     std::string zone = DateEnvironment::timeZoneIdentifier(); // "Europe/Berlin"
//
// The environment is process-wide and guarded by its own lock; an Override restores what it replaced when
// it goes out of scope (overrides nest, innermost last).
#pragma once

#include <optional>
#include <string>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The clock, time zone and locale every date operation reads; pinned by hosts and tests.
class DateEnvironment {
public:
    // The current moment: the pinned one, else the system clock.
    static double now();
    // The current time-zone identifier ("Europe/Berlin", "UTC", "GMT+01:00"): the pinned one, else the
    // system's zone.
    static std::string timeZoneIdentifier();
    // The user's locale identifier ("en_US", "de_DE"): the pinned one, else "en_US".
    static std::string localeIdentifier();

    // nullopt returns to the default source.
    static void setNow(std::optional<double> now);
    static void setTimeZoneIdentifier(std::optional<std::string> identifier);
    static void setLocaleIdentifier(std::optional<std::string> identifier);

    // Pins the sources for its lifetime; a nullopt argument leaves that source as it was.
    class Override {
    public:
        explicit Override(std::optional<double> now, std::optional<std::string> timeZoneIdentifier = std::nullopt,
                          std::optional<std::string> localeIdentifier = std::nullopt);
        ~Override();
        Override(const Override&) = delete;
        Override& operator=(const Override&) = delete;

    private:
        std::optional<double> previousNow_;
        std::optional<std::string> previousZone_;
        std::optional<std::string> previousLocale_;
    };
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
