// Civil dates and times to instants by arithmetic, for the date readers' common case.
//
// ICU's calendar builds every date the readers find, which costs more than reading the text. For a date
// of the Gregorian calendar from 1600 on, with every field in range, the instant is plain arithmetic and
// the calendar is not needed; everything else (earlier years, where ICU's calendar turns Julian, and any
// field out of range, which a strict calendar refuses) is left to the calendar by returning nullopt.
#pragma once

#include <optional>

namespace postwright::detail {

// Days from 1970-01-01 to a date of the proleptic Gregorian calendar.
constexpr long long daysFromCivil(long long year, long long month, long long day) {
    year -= month <= 2 ? 1 : 0;
    const long long era = (year >= 0 ? year : year - 399) / 400;
    const long long yearOfEra = year - era * 400;
    const long long dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const long long dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

// Milliseconds since 1970 of a civil time in UTC, or nullopt when the calendar must decide (see above).
constexpr std::optional<double> plainGregorianInstant(long year, long month, long day, long hour, long minute,
                                                      long second) {
    constexpr int kDaysInMonth[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1600 || year > 9999 || month < 1 || month > 12) return std::nullopt;
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    const long monthLength = kDaysInMonth[month - 1] + (month == 2 && leap ? 1 : 0);
    if (day < 1 || day > monthLength || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 ||
        second > 59) {
        return std::nullopt;
    }
    const long long seconds = daysFromCivil(year, month, day) * 86400 + hour * 3600LL + minute * 60LL + second;
    return static_cast<double>(seconds * 1000);
}

}  // namespace postwright::detail
