#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <random>
#include <thread>

#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Lexical/DateFormat.hpp"
#include "postwright/Lexical/Scanner.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {
// Milliseconds since 1970 of a UTC civil time.
double utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0, int second = 0) {
    using namespace std::chrono;
    sys_days days = year_month_day{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
    return static_cast<double>(duration_cast<milliseconds>(days.time_since_epoch()).count()) +
           ((hour * 60.0 + minute) * 60.0 + second) * 1000.0;
}

const double kNow = utc(2024, 3, 5, 9, 4);  // Tue, 5 Mar 2024 10:04 in Berlin

std::optional<double> strict(std::u16string_view text, unsigned options = 0, size_t* location = nullptr) {
    Scanner scanner = Scanner::emailAddressScannerWithString(text);
    std::optional<double> date = 12345.0;
    bool ok = scanner.scanRFC2822DateTimeIntoDate(&date, options);
    EXPECT_EQ(ok, date.has_value()) << "the slot is nil at entry and set only on success";
    if (location) *location = scanner.scanLocation();
    return date;
}

std::vector<double> tolerant(std::u16string_view text, bool* ok = nullptr) {
    std::optional<std::vector<double>> dates = std::vector<double>{1.0};
    bool result = Scanner::scanNonConformantDateString(text, &dates);
    if (ok) *ok = result;
    EXPECT_EQ(result, dates.has_value());
    return dates.value_or(std::vector<double>{});
}
}  // namespace

TEST(StrictDateScanner, ReadsRFC2822DateTimesWithZonesAndYearWindows) {
    DateEnvironment::Override pinned(kNow, "Europe/Berlin", "en_US");
    size_t location = 0;
    EXPECT_EQ(strict(u"Tue, 5 Mar 2024 10:04:00 +0100 (CET) trailing", 0, &location), utc(2024, 3, 5, 9, 4));
    EXPECT_EQ(location, 30u) << "the location stays after the zone";
    EXPECT_EQ(strict(u"5 Mar 24 10:04 EST"), utc(2024, 3, 5, 15, 4));
    EXPECT_EQ(strict(u"5 Mar 75 10:04 GMT"), utc(1975, 3, 5, 10, 4));
    EXPECT_EQ(strict(u"5 Mar 100 10:04 GMT"), utc(2000, 3, 5, 10, 4)) << "50-999 get 1900 added";
    EXPECT_EQ(strict(u"5 Mar 1999 10:04 PDT"), utc(1999, 3, 5, 17, 4));
    EXPECT_EQ(strict(u"  wed ,5-march-2024 10:04:59 ut"), utc(2024, 3, 5, 10, 4, 59))
        << "case-insensitive names, the rest of a longer month word is swallowed";
    EXPECT_EQ(strict(u"Fri 5 Mar 2024 10:04"), std::nullopt)
        << "after a day name everything up to a comma is skipped; without one nothing is left";
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 A"), utc(2024, 3, 5, 11, 4)) << "A is one hour behind GMT";
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 N"), utc(2024, 3, 5, 9, 4)) << "N is one hour ahead";
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 Z"), utc(2024, 3, 5, 10, 4));
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 CET"), utc(2024, 3, 5, 13, 4)) << "CET reads as the military letter C";
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 UTC"), utc(2024, 3, 5, 10, 4)) << "UT matches as a prefix";
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 -0130"), utc(2024, 3, 5, 11, 34)) << "-130 is minus an hour and a half";
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 +0245"), utc(2024, 3, 5, 7, 19));
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 ?"), utc(2024, 3, 5, 10, 4)) << "no zone is GMT";
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 xyz"), utc(2024, 3, 4, 23, 4)) << "x is the military letter X";
}

// Dates from 1600 on are built by arithmetic, the rest by the calendar; both must agree with the Gregorian
// calendar (std::chrono's) on every day, leap days and century years included, and refuse what it refuses.
TEST(StrictDateScanner, BuildsEveryGregorianDateAndRefusesImpossibleOnes) {
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::mt19937 random(5);
    for (int round = 0; round < 20000; ++round) {
        int year = 1583 + static_cast<int>(random() % 8417);
        unsigned month = 1 + random() % 12, day = random() % 32;
        int hour = static_cast<int>(random() % 25), minute = static_cast<int>(random() % 61);
        char text[64];
        std::snprintf(text, sizeof text, "%u %s %d %02d:%02d:07 -0130", day, kMonths[month - 1], year, hour, minute);
        std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
        std::optional<double> expected;
        if (date.ok() && hour < 24 && minute < 60) expected = utc(year, month, day, hour, minute, 7) + 5400000.0;
        ASSERT_EQ(dateFromRFC822String(std::u16string(text, text + std::strlen(text))), expected) << text;
    }
}

TEST(StrictDateScanner, NumericMonthsOnlyWithTheirOptions) {
    EXPECT_EQ(strict(u"05/03/2024 10:04 +0000"), std::nullopt);
    EXPECT_EQ(strict(u"05/03/2024 10:04 +0000", 1), utc(2024, 3, 5, 10, 4));
    EXPECT_EQ(strict(u"05/03/2024 10:04 +0000", 3), utc(2024, 5, 3, 10, 4)) << "the first number was the month";
    EXPECT_EQ(strict(u"05/03/2024 10:04 +0000", 2), std::nullopt) << "bit 2 alone does nothing";
    EXPECT_EQ(strict(u"5/3/2024 10:04", 1), std::nullopt) << "only the two-digit table is accepted";
    EXPECT_EQ(strict(u"05/13/2024 10:04", 1), std::nullopt);
}

TEST(StrictDateScanner, FailuresRestoreTheLocation) {
    size_t location = 99;
    EXPECT_EQ(strict(u"5 Mar 2024 10:04: +0000", 0, &location), std::nullopt) << "a colon needs seconds";
    EXPECT_EQ(location, 0u);
    EXPECT_EQ(strict(u"5 Mar 2024 10:04"), utc(2024, 3, 5, 10, 4)) << "no seconds is second 0";
    EXPECT_EQ(strict(u"5 Mar 2024T10:04"), std::nullopt) << "white space must precede the time";
    EXPECT_EQ(strict(u"5 Mar 2024 1004"), std::nullopt) << "the time needs its colon";
    EXPECT_EQ(strict(u"Mar 2024 10:04"), std::nullopt) << "a missing day stays 0, which the calendar refuses";
    EXPECT_EQ(strict(u"5 Mar 10:04"), std::nullopt) << "10 is the year, then no white space before ':'";
    EXPECT_EQ(strict(u"99999999999999999999 Mar 2024 10:04"), std::nullopt);
    EXPECT_EQ(strict(u"5 Mar 2024 10:04 +99999999999999999999"), std::nullopt);
    EXPECT_EQ(strict(u""), std::nullopt);
}

TEST(FormatListDateReader, CleansTheTextThenTriesTwelvePatterns) {
    test::ScopedRecordingLogger log;
    EXPECT_EQ(olddateFromRFC822String(std::u16string(u"Tue,  5  Mar 2024 10:04:00 +0000 (GMT)")),
              utc(2024, 3, 5, 10, 4));
    EXPECT_EQ(olddateFromRFC822String(std::u16string(u"5 mar 2024 10:04 EST")), utc(2024, 3, 5, 15, 4));
    EXPECT_EQ(olddateFromRFC822String(std::u16string(u"5-Mar-2024 10:04:07")), utc(2024, 3, 5, 10, 4, 7))
        << "without a zone the text is read in GMT";
    EXPECT_TRUE(log->messages().empty());
    EXPECT_EQ(olddateFromRFC822String(std::u16string(u" Sunday, 2024-03-05 \r\n")), std::nullopt);
    EXPECT_EQ(olddateFromRFC822String(std::nullopt), std::nullopt);
    EXPECT_EQ(log->messages(),
              std::vector<std::string>{"Could not parse RFC822 date: \"2024-03-05\" Possibly invalid format."});
}

TEST(DateWriters, WriteTheThreeMailFormsInTheirZones) {
    const double date = utc(2024, 3, 5, 9, 4);
    {
        DateEnvironment::Override berlin(kNow, "Europe/Berlin");
        EXPECT_EQ(rfc2822Date(date), u"Tue, 5 Mar 2024 10:04:00 +0100");
        EXPECT_EQ(mboxDateString(date), u"Tue Mar 05 09:04:00 2024");
        EXPECT_EQ(rfc3501AppendDateTime(date), u"05-Mar-2024 09:04:00 +0000");
        EXPECT_EQ(RFC2822GMTdateFormatter().stringFromDate(date), u"Tue, 5 Mar 2024 09:04:00 +0000");
    }
    {
        DateEnvironment::Override newYork(kNow, "America/New_York");
        EXPECT_EQ(rfc2822Date(date), u"Tue, 5 Mar 2024 04:04:00 -0500") << "the cached formatter follows the zone";
        EXPECT_EQ(mboxDateString(date), u"Tue Mar 05 09:04:00 2024");
    }
    EXPECT_EQ(&RFC2822dateFormatter(), &RFC2822dateFormatter()) << "one formatter per thread and key";
    EXPECT_NE(static_cast<void*>(&RFC2822dateFormatter()), static_cast<void*>(&mboxDateFormatter()));
    const DateFormatter* other = nullptr;
    std::thread([&] { other = &RFC2822dateFormatter(); }).join();
    EXPECT_NE(other, &RFC2822dateFormatter()) << "no formatter is shared between threads";

    DateEnvironment::Override utcZone(kNow, "UTC");
    std::optional<double> back = RFC2822dateFormatter().dateFromString(u"Tue, 5 Mar 2024 10:04:00 +0100");
    EXPECT_EQ(back, date) << "the RFC 2822 formatter reads its own form back";
    EXPECT_EQ(RFC2822dateFormatter().dateFromString(u"Tue, 5 Mar 2024 10:04:00 +0100 x"), std::nullopt);
}

TEST(TolerantDateReader, PatternsVoteForPastDatesOnly) {
    DateEnvironment::Override pinned(utc(2024, 6, 1, 10), "UTC", "en_US");
    std::vector<double> dates = tolerant(u"4.3.2024");
    ASSERT_EQ(dates.size(), 2u);
    EXPECT_EQ(dates[0], utc(2024, 4, 3)) << "en_US: M d y and the short style outvote d M y";
    EXPECT_EQ(dates[1], utc(2024, 3, 4));
    {
        DateEnvironment::Override german(std::nullopt, std::nullopt, "de_DE");
        EXPECT_EQ(tolerant(u"4.3.2024"), (std::vector<double>{utc(2024, 3, 4), utc(2024, 4, 3)}))
            << "de_DE: the locale's day-first styles win";
    }
    EXPECT_EQ(tolerant(u"Mon, 4 Mar 2024 10:04:00 +0100"), std::vector<double>{utc(2024, 3, 4, 9, 4)});
    EXPECT_EQ(tolerant(u"4 Mar 2024"), std::vector<double>{utc(2024, 3, 4)})
        << "fields the text lacks are midnight in the current zone";

    // Today and later are not counted, so these fall through to the piecewise strategy.
    DateEnvironment::Override march(kNow, "Europe/Berlin", "en_US");
    EXPECT_EQ(tolerant(u"Wed, 6 Mar 2024 10:04:00 +0100"), std::vector<double>{utc(2024, 3, 6, 8, 24)})
        << "tomorrow: read piecewise, with +0100 taken as 1 h 40 min";
}

TEST(TolerantDateReader, EveryPatternVotesWhateverTheDatePartAloneWouldMean) {
    // Beirut skipped the hour after midnight on 28 March 2010. The date part alone means that missing
    // midnight, but with its time and zone the text is a real moment, and every pattern reading it votes.
    DateEnvironment::Override beirut(utc(2024, 3, 5), "Asia/Beirut", "en_US");
    EXPECT_EQ(tolerant(u"March, 28/2010 12:00:00 AM +0000").front(), utc(2010, 3, 28));

    // Two-digit years fall in the 80 years before now, the pinned one, on every call of the same thread.
    DateEnvironment::Override in2024(utc(2024, 6, 1), "UTC", "en_US");
    EXPECT_EQ(tolerant(u"Jul 5, 20"), std::vector<double>{utc(2020, 7, 5)});
    DateEnvironment::Override in2000(utc(2000, 6, 1));
    EXPECT_EQ(tolerant(u"Jul 5, 20"), std::vector<double>{utc(1920, 7, 5)});
}

TEST(TolerantDateReader, PiecewiseExtractionWithItsSwapsAndQuirks) {
    DateEnvironment::Override pinned(kNow, "Europe/Berlin", "en_US");
    EXPECT_EQ(tolerant(u"3/4/2020 at 10:00"), (std::vector<double>{utc(2020, 4, 3, 8), utc(2020, 3, 4, 9)}))
        << "the number between two separators is the month; no day name, so the swap follows";
    EXPECT_EQ(tolerant(u"sent 4.3.2024 at 10:04 +0200"),
              (std::vector<double>{utc(2024, 4, 3, 7, 44), utc(2024, 3, 4, 7, 44)}))
        << "+0200 is 8400 seconds";
    EXPECT_EQ(tolerant(u"Wed 13/3/2024 at 10:00 pm"), std::vector<double>{utc(2024, 3, 13, 21)})
        << "the month swaps with a day of 13 or more; the day name agrees, so one date";
    EXPECT_EQ(tolerant(u"Tue 13/3/2024 at 10:00"), (std::vector<double>{utc(2024, 3, 13, 9), utc(2025, 1, 3, 9)}))
        << "a disagreeing day name adds the swapped date, however odd";
    EXPECT_EQ(tolerant(u"Thu 4/1/2024 at 10:00"), std::vector<double>{utc(2024, 1, 4, 9)})
        << "when only the swapped date agrees, it alone is kept";
    EXPECT_EQ(tolerant(u"on 4 March 2024, at 10:04 EST"), std::vector<double>{utc(2024, 3, 4, 15, 4)})
        << "a named month: one date, in the zone the abbreviation names";
    EXPECT_EQ(tolerant(u"3/4/21 at 12:30 am"), (std::vector<double>{utc(2021, 4, 3, 10, 30), utc(2021, 3, 4, 11, 30)}))
        << "12 am stays 12; years up to the current year - 1998 are 20xx";
    EXPECT_EQ(tolerant(u"3/4/27 at 10:00")[0], utc(1927, 4, 3, 9)) << "larger two-digit years are 19xx";
    EXPECT_EQ(tolerant(u"13/14/2020 at 10:00"), std::vector<double>{kNow})
        << "a month above 12 after the swap adds nothing: the result is now";

    bool ok = true;
    EXPECT_TRUE(tolerant(u"", &ok).empty());
    EXPECT_FALSE(ok);
    EXPECT_TRUE(tolerant(u"nothing of a date", &ok).empty());
    EXPECT_FALSE(ok);
    EXPECT_TRUE(tolerant(u"March 4th, 2024 at 10:04 pm", &ok).empty()) << "no day stands between separators";
    EXPECT_FALSE(ok);
}
