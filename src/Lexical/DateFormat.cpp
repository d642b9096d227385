// Dates: the strict RFC 2822 date-time scanner (RFC 2822 section 3.3, with the RFC 822 zone names and
// military letters), the format-list reader, the tolerant reader, and the date forms the library writes.
#include "postwright/Lexical/DateFormat.hpp"

#include <unicode/datefmt.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/simpletz.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <map>
#include <vector>

#include "Base/detail/CivilTime.hpp"
#include "postwright/Base/CharacterSet.hpp"
#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Base/Regex.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {
icu::UnicodeString alias(std::u16string_view text) {
    return icu::UnicodeString(false, reinterpret_cast<const UChar*>(text.data()), static_cast<int32_t>(text.size()));
}

std::u16string fromICU(const icu::UnicodeString& text) {
    return std::u16string(reinterpret_cast<const char16_t*>(text.getBuffer()), static_cast<size_t>(text.length()));
}

icu::TimeZone* newTimeZone(const std::string& identifier) {
    return icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(identifier));
}

icu::DateFormat::EStyle icuStyle(DateFormatterStyle style) {
    switch (style) {
        case DateFormatterStyle::Short:
            return icu::DateFormat::kShort;
        case DateFormatterStyle::Medium:
            return icu::DateFormat::kMedium;
        case DateFormatterStyle::Long:
            return icu::DateFormat::kLong;
        case DateFormatterStyle::Full:
            return icu::DateFormat::kFull;
        case DateFormatterStyle::None:
            break;
    }
    return icu::DateFormat::kNone;
}

// A Gregorian calendar in the given zone (the current zone when empty), lenient as calendars that build
// dates from loose components are.
std::unique_ptr<icu::Calendar> newCalendar(const std::string& zoneIdentifier) {
    UErrorCode status = U_ZERO_ERROR;
    std::string zone = zoneIdentifier.empty() ? DateEnvironment::timeZoneIdentifier() : zoneIdentifier;
    auto calendar = std::make_unique<icu::GregorianCalendar>(
        newTimeZone(zone), icu::Locale::createFromName(DateEnvironment::localeIdentifier().c_str()), status);
    if (U_FAILURE(status)) return nullptr;
    return calendar;
}
}  // namespace

// ---- DateFormatter ------------------------------------------------------------------------------------------

struct DateFormatter::Implementation {
    icu::Locale locale;
    std::unique_ptr<icu::SimpleDateFormat> format;
    bool followsCurrentZone = true;
    std::string appliedZone;
    double twoDigitYearsNow = NAN;  // the "now" the two-digit-year window was placed from

    // A formatter that follows the current zone re-reads it before each use, so that a zone pinned after
    // the formatter was cached still applies.
    void refreshZone() {
        if (!followsCurrentZone) return;
        std::string zone = DateEnvironment::timeZoneIdentifier();
        if (zone == appliedZone) return;
        format->adoptTimeZone(newTimeZone(zone));
        appliedZone = zone;
    }

    // Two-digit years fall in the 80 years before now and the 20 after, "now" being the pinned one. A
    // formatter may live long (the cached ones live as long as their thread), so the window follows now,
    // moved when now has moved by a day or more.
    void refreshTwoDigitYears() {
        constexpr double kDay = 86'400'000;
        double now = DateEnvironment::now();
        if (std::abs(now - twoDigitYearsNow) < kDay) return;
        thread_local std::unique_ptr<icu::Calendar> utc = newCalendar("UTC");
        if (!utc) return;
        UErrorCode status = U_ZERO_ERROR;
        utc->setTime(now, status);
        utc->add(UCAL_YEAR, -80, status);
        UDate start = utc->getTime(status);
        if (U_SUCCESS(status)) format->set2DigitYearStart(start, status);
        twoDigitYearsNow = now;
    }
};

DateFormatter::DateFormatter(const std::string& localeIdentifier, std::u16string_view pattern,
                             std::optional<std::string> timeZoneIdentifier)
    : implementation_(std::make_unique<Implementation>()) {
    implementation_->locale = icu::Locale::createFromName(localeIdentifier.c_str());
    UErrorCode status = U_ZERO_ERROR;
    implementation_->format =
        std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString(alias(pattern)), implementation_->locale, status);
    if (U_FAILURE(status)) {
        status = U_ZERO_ERROR;
        implementation_->format =
            std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString(), implementation_->locale, status);
    }
    // Parsing is strict about field values (no "32 Mar"), as pattern readers of dates are by default.
    implementation_->format->setLenient(false);
    if (timeZoneIdentifier) {
        setTimeZoneIdentifier(*timeZoneIdentifier);
    } else {
        implementation_->refreshZone();
    }
    implementation_->refreshTwoDigitYears();
}

DateFormatter::~DateFormatter() = default;

std::u16string DateFormatter::pattern() const {
    icu::UnicodeString pattern;
    implementation_->format->toPattern(pattern);
    return fromICU(pattern);
}

void DateFormatter::setPattern(std::u16string_view pattern) {
    implementation_->format->applyPattern(alias(pattern));
}

void DateFormatter::setStyles(DateFormatterStyle dateStyle, DateFormatterStyle timeStyle) {
    std::string localeName = implementation_->locale.getName();
    setPattern(localizedDateFormatPattern(dateStyle, timeStyle, localeName).value_or(u""));
}

void DateFormatter::setTimeZoneIdentifier(const std::string& identifier) {
    implementation_->followsCurrentZone = false;
    implementation_->appliedZone = identifier;
    implementation_->format->adoptTimeZone(newTimeZone(identifier));
}

void DateFormatter::setTimeZoneOffset(int secondsFromGMT) {
    implementation_->followsCurrentZone = false;
    implementation_->appliedZone.clear();
    long long milliseconds = static_cast<long long>(secondsFromGMT) * 1000;
    milliseconds = std::clamp<long long>(milliseconds, INT32_MIN, INT32_MAX);
    implementation_->format->adoptTimeZone(new icu::SimpleTimeZone(static_cast<int32_t>(milliseconds), "GMT"));
}

void DateFormatter::followCurrentTimeZone() {
    implementation_->followsCurrentZone = true;
    implementation_->appliedZone.clear();
    implementation_->refreshZone();
}

std::u16string DateFormatter::stringFromDate(double date) {
    implementation_->refreshZone();
    icu::UnicodeString text;
    implementation_->format->format(date, text);
    return fromICU(text);
}

std::optional<double> DateFormatter::dateFromString(std::u16string_view text) {
    implementation_->refreshZone();
    implementation_->refreshTwoDigitYears();
    icu::UnicodeString source = alias(text);
    icu::ParsePosition position(0);
    UDate date = implementation_->format->parse(source, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != source.length() || text.empty()) return std::nullopt;
    return date;
}

std::optional<size_t> DateFormatter::lengthReadFrom(std::u16string_view text) {
    implementation_->refreshZone();
    implementation_->refreshTwoDigitYears();
    icu::UnicodeString source = alias(text);
    icu::ParsePosition position(0);
    // A lenient calendar accepts any combination of fields; the fields themselves are still read strictly
    // (the parsing attributes stay those of a non-lenient formatter).
    implementation_->format->setCalendarLenient(true);
    implementation_->format->parse(source, position);
    implementation_->format->setCalendarLenient(false);
    if (position.getErrorIndex() >= 0 || position.getIndex() <= 0) return std::nullopt;
    return static_cast<size_t>(position.getIndex());
}

OptString localizedDateFormatPattern(DateFormatterStyle dateStyle, DateFormatterStyle timeStyle,
                                     const std::string& localeIdentifier) {
    if (dateStyle == DateFormatterStyle::None && timeStyle == DateFormatterStyle::None) return std::nullopt;
    icu::Locale locale = icu::Locale::createFromName(localeIdentifier.c_str());
    std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createDateTimeInstance(icuStyle(dateStyle), icuStyle(timeStyle), locale));
    auto* simple = dynamic_cast<icu::SimpleDateFormat*>(format.get());
    if (!simple) return std::nullopt;
    icu::UnicodeString pattern;
    simple->toPattern(pattern);
    if (pattern.isEmpty()) return std::nullopt;
    return fromICU(pattern);
}

// ---- The calling thread's formatters ------------------------------------------------------------------------

namespace {
constexpr const char16_t* kRFC2822Pattern = u"EEE, d MMM yyyy HH:mm:ss Z";

// Each thread's own formatters by key. Nothing is shared, so nothing is locked.
std::map<std::string, std::unique_ptr<DateFormatter>, std::less<>>& threadFormatters() {
    thread_local std::map<std::string, std::unique_ptr<DateFormatter>, std::less<>> formatters;
    return formatters;
}

DateFormatter* threadFormatterForKey(std::string_view key) {
    auto& formatters = threadFormatters();
    auto found = formatters.find(key);
    return found == formatters.end() ? nullptr : found->second.get();
}

template <typename Make>
DateFormatter& cachedFormatter(std::string_view key, Make make) {
    if (DateFormatter* formatter = threadFormatterForKey(key)) return *formatter;
    auto& slot = threadFormatters()[std::string(key)];
    slot = make();
    return *slot;
}
}  // namespace

DateFormatter& RFC2822dateFormatter() {
    return cachedFormatter("RFC2822dateFormatter",
                           [] { return std::make_unique<DateFormatter>("en_US", kRFC2822Pattern); });
}

DateFormatter& mboxDateFormatter() {
    return cachedFormatter("RFC2822MBOXdateFormatter", [] {
        return std::make_unique<DateFormatter>("en_US", u"EEE MMM dd HH:mm:ss yyyy", std::string("UTC"));
    });
}

DateFormatter& RFC2822GMTdateFormatter() {
    return cachedFormatter("Postwright.2822GMTDateFormatter", [] {
        auto formatter = std::make_unique<DateFormatter>("en_US", kRFC2822Pattern, std::string("GMT"));
        formatter->setTimeZoneOffset(0);
        return formatter;
    });
}

std::u16string rfc2822Date(double date) {
    return RFC2822dateFormatter().stringFromDate(date);
}

std::u16string mboxDateString(double date) {
    return mboxDateFormatter().stringFromDate(date);
}

std::u16string rfc3501AppendDateTime(double date) {
    DateFormatter formatter("en_US", u"dd-MMM-yyyy HH:mm:ss ZZZ", std::string("GMT"));
    formatter.setTimeZoneOffset(0);
    return formatter.stringFromDate(date);
}

// ---- Strict RFC 2822 date-time ------------------------------------------------------------------------------

namespace {
constexpr const char16_t* kStrictDayNames[] = {u"Mon", u"Tue", u"Wed", u"Thu", u"Fri", u"Sat", u"Sun", u"***"};
constexpr const char16_t* kMonthNames[] = {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun",
                                           u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};
constexpr const char16_t* kNumericMonths[] = {u"01", u"02", u"03", u"04", u"05", u"06",
                                              u"07", u"08", u"09", u"10", u"11", u"12"};
struct NamedZone {
    const char16_t* name;
    long hhmm;
};
// RFC 822 section 5.1 zone names, as signed hhmm numbers.
constexpr NamedZone kZoneNames[] = {{u"GMT", 0},    {u"UT", 0},     {u"EDT", -400}, {u"EST", -500}, {u"CDT", -500},
                                    {u"CST", -600}, {u"MDT", -600}, {u"MST", -700}, {u"PDT", -700}, {u"PST", -800}};
// RFC 822 military letters: position i stands for i x 100 - 1200 (the RFC's signs, kept as they are).
constexpr std::u16string_view kMilitaryZones = u"MLKIHGFEDCBAZNOPQRSTUVWXY";

const CharacterSet& dateSeparators() {
    static const CharacterSet set = CharacterSet::withCharacters(u" -/.");
    return set;
}

// Index of the first table entry at the location (consumed), or -1.
template <size_t N>
int scanTableEntry(Scanner& scanner, const char16_t* const (&table)[N]) {
    for (size_t i = 0; i < N; ++i) {
        if (scanner.scanString(table[i])) return static_cast<int>(i);
    }
    return -1;
}

const NamedZone* scanZoneName(Scanner& scanner) {
    for (const NamedZone& zone : kZoneNames) {
        if (scanner.scanString(zone.name)) return &zone;
    }
    return nullptr;
}

bool fitsInt(long value) {
    return value >= INT32_MIN && value <= INT32_MAX;
}

// The instant of a civil date-time at a fixed offset east of GMT, in the Gregorian calendar; nullopt for an
// impossible combination (day 0, 30 February, hour 24, ...). Ordinary dates are arithmetic; the rest go to
// a strict calendar kept per thread.
std::optional<double> dateFromFields(long year, long month, long day, long hour, long minute, long second,
                                     long long offsetSeconds) {
    const double offsetMilliseconds = static_cast<double>(offsetSeconds) * 1000.0;
    if (std::optional<double> plain = detail::plainGregorianInstant(year, month, day, hour, minute, second)) {
        return *plain - offsetMilliseconds;
    }
    if (!fitsInt(year) || !fitsInt(month) || !fitsInt(day) || !fitsInt(hour) || !fitsInt(minute) || !fitsInt(second)) {
        return std::nullopt;
    }
    thread_local std::unique_ptr<icu::GregorianCalendar> calendar = [] {
        UErrorCode status = U_ZERO_ERROR;
        auto made = std::make_unique<icu::GregorianCalendar>(icu::TimeZone::getGMT()->clone(), status);
        made->setLenient(false);
        return made;
    }();
    calendar->clear();
    calendar->set(UCAL_ERA, icu::GregorianCalendar::AD);
    calendar->set(UCAL_YEAR, static_cast<int32_t>(year));
    calendar->set(UCAL_MONTH, static_cast<int32_t>(month - 1));
    calendar->set(UCAL_DATE, static_cast<int32_t>(day));
    calendar->set(UCAL_HOUR_OF_DAY, static_cast<int32_t>(hour));
    calendar->set(UCAL_MINUTE, static_cast<int32_t>(minute));
    calendar->set(UCAL_SECOND, static_cast<int32_t>(second));
    calendar->set(UCAL_MILLISECOND, 0);
    UErrorCode status = U_ZERO_ERROR;
    UDate inGMT = calendar->getTime(status);
    if (U_FAILURE(status)) return std::nullopt;
    return inGMT - offsetMilliseconds;
}
}  // namespace

bool Scanner::scanRFC2822DateTimeIntoDate(std::optional<double>* date, unsigned options) {
    setSlot(date, std::nullopt);
    const size_t start = location_;
    auto fail = [&] {
        location_ = start;
        return false;
    };

    scanFoldingWhiteSpace();
    if (scanTableEntry(*this, kStrictDayNames) >= 0) {
        scanUpToString(u",");
        scanString(u",");
        scanFoldingWhiteSpace();
    }

    long day = 0;
    scanInteger(&day);
    scanCharactersFromSet(dateSeparators());

    long month = 0;
    if (int named = scanTableEntry(*this, kMonthNames); named >= 0) {
        month = named + 1;
        scanUpToCharactersFromSet(dateSeparators());  // the rest of "March", "Sept."
    } else {
        if (!(options & 1u)) return fail();
        int numeric = scanTableEntry(*this, kNumericMonths);
        if (numeric < 0) return fail();
        month = numeric + 1;
        if (options & 2u) std::swap(day, month);
    }

    scanCharactersFromSet(dateSeparators());
    long year = 0;
    scanInteger(&year);
    if (year < 50) {
        year += 2000;
    } else if (year <= 999) {
        year += 1900;
    }

    if (!scanFoldingWhiteSpace()) return fail();
    long hour = 0, minute = 0, second = 0;
    scanInteger(&hour);
    if (!scanString(u":")) return fail();
    scanInteger(&minute);
    if (scanString(u":") && !scanInteger(&second)) return fail();

    scanFoldingWhiteSpace();
    long zone = 0;
    if (scanString(u"+")) {
        scanInteger(&zone);
    } else if (scanString(u"-")) {
        scanInteger(&zone);
        zone = zone == LONG_MIN ? LONG_MAX : -zone;
    } else if (const NamedZone* named = scanZoneName(*this)) {
        zone = named->hhmm;
    } else {
        for (size_t i = 0; i < kMilitaryZones.size(); ++i) {
            if (scanString(kMilitaryZones.substr(i, 1))) {
                zone = static_cast<long>(i) * 100 - 1200;
                break;
            }
        }
    }
    // hhmm to seconds, truncating toward zero on both parts: -130 is -(1 h 30 min). An offset beyond
    // what a zone can hold is no date.
    if (zone / 100 > 596 || zone / 100 < -596) return fail();
    long long offset = static_cast<long long>(zone % 100) * 60 + static_cast<long long>(zone / 100) * 3600;
    if (offset > INT32_MAX / 1000 || offset < INT32_MIN / 1000) return fail();

    std::optional<double> built = dateFromFields(year, month, day, hour, minute, second, offset);
    if (!built) return fail();
    setSlot(date, *built);
    return true;
}

std::optional<double> dateFromRFC822String(const OptString& text) {
    if (!text) return std::nullopt;
    Scanner scanner = Scanner::emailAddressScannerWithString(*text);
    scanner.setCaseSensitive(false);
    std::optional<double> date;
    if (!scanner.scanRFC2822DateTimeIntoDate(&date)) return std::nullopt;
    return date;
}

// ---- Format-list reader -------------------------------------------------------------------------------------

std::optional<double> olddateFromRFC822String(const OptString& text) {
    static constexpr const char16_t* kPatterns[] = {
        u"d MMM yyyy HH:mm:ss ZZZ", u"d MMM yyyy HH:mm:ss zzz", u"d MMM yyyy HH:mm ZZZ",    u"d MMM yyyy HH:mm zzz",
        u"d MMM yyyy HH:mm:ss",     u"d MMM yyyy HH:mm",        u"d-MMM-yyyy HH:mm:ss ZZZ", u"d-MMM-yyyy HH:mm:ss zzz",
        u"d-MMM-yyyy HH:mm ZZZ",    u"d-MMM-yyyy HH:mm zzz",    u"d-MMM-yyyy HH:mm:ss",     u"d-MMM-yyyy HH:mm"};
    if (!text) return std::nullopt;
    std::u16string squeezed = *text;
    while (squeezed.find(u"  ") != std::u16string::npos) squeezed = replaceAll(squeezed, u"  ", u" ");
    if (size_t comment = squeezed.find(u'('); comment != std::u16string::npos) squeezed.resize(comment);
    if (size_t comma = squeezed.find(u", "); comma != std::u16string::npos) squeezed.erase(0, comma + 2);
    std::u16string trimmed = fgTrim(squeezed);

    // A formatter a caller left under "HeaderDateFormatter" on this thread is used; otherwise one is made
    // for this call only and not kept.
    std::unique_ptr<DateFormatter> own;
    DateFormatter* formatter = threadFormatterForKey("HeaderDateFormatter");
    if (!formatter) {
        own = std::make_unique<DateFormatter>("en_US", u"", std::string("GMT"));
        own->setTimeZoneOffset(0);
        formatter = own.get();
    }
    std::u16string upper = uppercase(trimmed);
    for (const char16_t* pattern : kPatterns) {
        formatter->setPattern(pattern);
        if (std::optional<double> date = formatter->dateFromString(upper)) return date;
    }
    logMessage(formatString(u"Could not parse RFC822 date: \"%@\" Possibly invalid format.", {trimmed}));
    return std::nullopt;
}

// ---- Tolerant reader ----------------------------------------------------------------------------------------

namespace {
const Regex& separatorRuns() {
    static const Regex regex(u"[-/ \\.,]+");
    return regex;
}

std::u16string normaliseSeparators(std::u16string_view text) {
    return separatorRuns().replaceAll(text, u" ");
}

struct VotingPatterns {
    std::vector<std::u16string> dates;
    std::vector<std::u16string> times;  // the last one is empty: the date pattern alone
};

// The patterns of strategy A for a locale, built once per thread and locale.
const VotingPatterns& votingPatterns(const std::string& locale) {
    thread_local std::map<std::string, VotingPatterns> byLocale;
    auto found = byLocale.find(locale);
    if (found != byLocale.end()) return found->second;
    VotingPatterns patterns;
    constexpr DateFormatterStyle kStyles[] = {DateFormatterStyle::Medium, DateFormatterStyle::Short,
                                              DateFormatterStyle::Long, DateFormatterStyle::Full};
    for (DateFormatterStyle style : kStyles) {
        if (OptString pattern = localizedDateFormatPattern(style, DateFormatterStyle::None, locale)) {
            patterns.dates.push_back(normaliseSeparators(*pattern));
        }
    }
    constexpr const char16_t* kFixedDates[] = {u"d M y", u"d MMM y", u"M d y", u"MMM d y"};
    for (const char16_t* prefix : {u"", u"EEE ", u"EEEE "}) {
        for (const char16_t* fixed : kFixedDates) patterns.dates.push_back(std::u16string(prefix) + fixed);
    }
    for (DateFormatterStyle style : kStyles) {
        if (OptString pattern = localizedDateFormatPattern(DateFormatterStyle::None, style, locale)) {
            patterns.times.push_back(normaliseSeparators(*pattern));
        }
    }
    constexpr const char16_t* kFixedTimes[] = {u"HH:mm:ss zzz",
                                               u"HH:mm:ss zzzz",
                                               u"HH:mm:ss ZZZ",
                                               u"HH:mm:ss ZZZZ",
                                               u"hh:mm:ss a zzz",
                                               u"hh:mm:ss a zzzz",
                                               u"hh:mm:ss a ZZZ",
                                               u"hh:mm:ss z ZZZZ",
                                               u"hh:mm:ss",
                                               u"HH:mm zzz",
                                               u"HH:mm zzzz",
                                               u"HH:mm ZZZ",
                                               u"HH:mm ZZZZ",
                                               u"hh:mm a zzz",
                                               u"hh:mm a zzzz",
                                               u"hh:mm a ZZZ",
                                               u"hh:mm z ZZZZ",
                                               u"hh:mm",
                                               u""};
    for (const char16_t* fixed : kFixedTimes) patterns.times.emplace_back(fixed);
    return byLocale.emplace(locale, std::move(patterns)).first->second;
}

// Year, month and day of a date in the calendar's zone, as one comparable number.
long long dayNumber(icu::Calendar& calendar, double date) {
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(date, status);
    long long year = calendar.get(UCAL_EXTENDED_YEAR, status);
    long long month = calendar.get(UCAL_MONTH, status);
    long long day = calendar.get(UCAL_DATE, status);
    return (year * 16 + month) * 32 + day;
}

// What strategy A works with for one locale, kept per thread: making them costs more than a vote.
struct VotingTools {
    explicit VotingTools(const std::string& locale) : formatter(locale, u""), reader(locale, u"") {}
    DateFormatter formatter;                  // parses with the calendar's checks
    DateFormatter reader;                     // tells how much of a text a pattern reads
    std::unique_ptr<icu::Calendar> calendar;  // in the current zone, to tell dates before today
    std::string calendarZone;
};

VotingTools& votingTools(const std::string& locale) {
    thread_local std::map<std::string, std::unique_ptr<VotingTools>> byLocale;
    std::unique_ptr<VotingTools>& tools = byLocale[locale];
    if (!tools) tools = std::make_unique<VotingTools>(locale);
    std::string zone = DateEnvironment::timeZoneIdentifier();
    if (!tools->calendar || tools->calendarZone != zone) {
        tools->calendar = newCalendar(zone);
        tools->calendarZone = zone;
    }
    return *tools;
}

// Which time patterns read the rest of the input after a date part, so that a date-and-time pattern is
// tried only when its time part can fit.
//
// A pattern is read field by field from left to right, so a date-and-time pattern reads the whole input
// only if its date part reads a prefix and its time part, with the joining space, reads the rest. That
// holds exactly when the joining space is the only literal between the two parts (ICU matches a run of
// literals as one): the date pattern must end with a field and the time pattern begin with one. Other
// combinations are always tried. Answers are kept per end of the date part, since most date patterns
// that fit end at the same place.
class TimeFits {
public:
    TimeFits(DateFormatter& reader, const std::vector<std::u16string>& times, std::u16string_view input)
        : reader_(reader), times_(times), input_(input) {}

    bool mayFit(const std::u16string& datePattern, size_t dateEnd, size_t time) {
        const std::u16string& timePattern = times_[time];
        if (datePattern.empty() || !isASCIILetter(datePattern.back())) return true;
        if (timePattern.empty() || !isASCIILetter(timePattern.front())) return true;
        auto known =
            std::find_if(fits_.begin(), fits_.end(), [&](const auto& entry) { return entry.first == dateEnd; });
        if (known == fits_.end()) {
            fits_.emplace_back(dateEnd, std::vector<signed char>(times_.size(), -1));
            known = std::prev(fits_.end());
        }
        signed char& fit = known->second[time];
        if (fit < 0) {
            reader_.setPattern(u" " + timePattern);
            std::u16string_view rest = input_.substr(dateEnd);
            fit = reader_.lengthReadFrom(rest) == rest.size() ? 1 : 0;
        }
        return fit == 1;
    }

private:
    DateFormatter& reader_;
    const std::vector<std::u16string>& times_;
    std::u16string_view input_;
    std::vector<std::pair<size_t, std::vector<signed char>>> fits_;
};

// Strategy A: every date pattern with every time pattern parses the normalised text; each date before
// today counts one vote per pattern that produced it. The most voted dates come first; ties keep the order
// in which the dates were first found.
std::vector<double> votedDates(std::u16string_view text) {
    std::string locale = DateEnvironment::localeIdentifier();
    const VotingPatterns& patterns = votingPatterns(locale);
    std::u16string input = normaliseSeparators(text);
    VotingTools& tools = votingTools(locale);
    if (!tools.calendar) return {};
    DateFormatter& formatter = tools.formatter;
    DateFormatter& reader = tools.reader;
    icu::Calendar* calendar = tools.calendar.get();
    long long today = dayNumber(*calendar, DateEnvironment::now());

    std::vector<std::pair<double, size_t>> votes;
    TimeFits timeFits(reader, patterns.times, input);
    std::u16string pattern;
    for (const std::u16string& datePattern : patterns.dates) {
        // A date-and-time pattern can read the whole text only if its date part reads the text's start.
        reader.setPattern(datePattern);
        std::optional<size_t> dateEnd = reader.lengthReadFrom(input);
        if (!dateEnd) continue;
        for (size_t time = 0; time < patterns.times.size(); ++time) {
            const std::u16string& timePattern = patterns.times[time];
            if (!timeFits.mayFit(datePattern, *dateEnd, time)) continue;
            pattern = datePattern;
            if (!timePattern.empty()) {
                pattern.push_back(u' ');
                pattern += timePattern;
            }
            formatter.setPattern(pattern);
            std::optional<double> date = formatter.dateFromString(input);
            if (!date || dayNumber(*calendar, *date) >= today) continue;
            auto counted =
                std::find_if(votes.begin(), votes.end(), [&](const auto& vote) { return vote.first == *date; });
            if (counted == votes.end()) {
                votes.emplace_back(*date, 1);
            } else {
                ++counted->second;
            }
        }
    }
    std::stable_sort(votes.begin(), votes.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
    std::vector<double> dates;
    for (const auto& vote : votes) dates.push_back(vote.first);
    return dates;
}

// The zone a US zone abbreviation names (as abbreviation tables map them), or empty for none.
std::string zoneForAbbreviation(std::u16string_view abbreviation) {
    static const std::pair<const char16_t*, const char*> kZones[] = {{u"GMT", "GMT"},
                                                                     {u"UT", "UTC"},
                                                                     {u"EDT", "America/New_York"},
                                                                     {u"EST", "America/New_York"},
                                                                     {u"CDT", "America/Chicago"},
                                                                     {u"CST", "America/Chicago"},
                                                                     {u"MDT", "America/Denver"},
                                                                     {u"MST", "America/Denver"},
                                                                     {u"PDT", "America/Los_Angeles"},
                                                                     {u"PST", "America/Los_Angeles"}};
    for (const auto& [name, zone] : kZones) {
        if (equalsIgnoringCase(abbreviation, name)) return zone;
    }
    return {};
}

// Removes range from the working text.
void cutOut(std::u16string& text, Range range) {
    text.erase(range.location, range.length);
}

long numberValue(std::u16string_view digits) {
    long value = 0;
    bool negative = false;
    size_t i = 0;
    if (i < digits.size() && (digits[i] == u'+' || digits[i] == u'-')) negative = digits[i++] == u'-';
    for (; i < digits.size() && digits[i] >= u'0' && digits[i] <= u'9' && value < 100000000; ++i) {
        value = value * 10 + (digits[i] - u'0');
    }
    return negative ? -value : value;
}

struct Pieces {
    long day = 0, month = 0, year = 0, hour = 0, minute = 0, second = 0;
    bool hasDay = false, hasMonth = false, hasYear = false, hasTime = false;
    bool monthNamed = false;
    int weekday = 0;  // 1 = Sunday; 0 when the text names no day
    OptString zoneName;
    OptString numericZone;
};

// Strategy B step by step: each piece found is cut out of the working text before the next is sought.
Pieces extractPieces(std::u16string_view input) {
    static constexpr const char16_t* kDayNames[] = {u"Sun", u"Mon", u"Tue", u"Wed", u"Thu", u"Fri", u"Sat"};
    static const Regex numericZone(u"(\\+|\\-)\\d\\d\\d\\d$", Regex::CaseInsensitive);
    static const Regex time(u"(\\d?\\d):(\\d\\d)(:(\\d\\d))?\\s?(am|pm)?", Regex::CaseInsensitive);
    static const Regex betweenSeparators(u"([:punct:]|\\s)(\\d?\\d)([:punct:]|\\s)", Regex::CaseInsensitive);
    static const Regex dayNumber(u"(^|[:punct:]|\\s)(\\d?\\d)([:punct:]|\\s)");
    static const Regex fullYear(u"(^|[:punct:]|\\s)((19|20)\\d\\d)");

    Pieces pieces;
    std::u16string work(input);
    auto cutName = [&](std::u16string_view name) {
        size_t at = findIgnoringCase(work, name);
        if (at != std::u16string::npos) cutOut(work, Range{at, name.size()});
    };

    int dayIndex = -1;
    for (int i = 0; i < 7; ++i) {
        if (containsIgnoringCase(work, kDayNames[i])) dayIndex = i;
    }
    if (dayIndex >= 0) {
        pieces.weekday = dayIndex + 1;
        cutName(kDayNames[dayIndex]);
    }

    for (const NamedZone& zone : kZoneNames) {
        if (containsIgnoringCase(work, zone.name)) pieces.zoneName = std::u16string(zone.name);
    }
    if (pieces.zoneName) {
        cutName(*pieces.zoneName);
    } else if (auto match = numericZone.firstMatch(work)) {
        pieces.numericZone = match->group(work, 0);
        cutOut(work, match->range());
    }

    if (auto match = time.firstMatch(work)) {
        pieces.hour = numberValue(*match->group(work, 1));
        pieces.minute = numberValue(*match->group(work, 2));
        pieces.second = match->groups[4] ? numberValue(*match->group(work, 4)) : 0;
        OptString meridiem = match->group(work, 5);
        if (meridiem && equalsIgnoringCase(*meridiem, u"pm") && pieces.hour < 12) pieces.hour += 12;
        pieces.hasTime = true;
        cutOut(work, match->range());
    }

    int monthIndex = -1;
    for (int i = 0; i < 12; ++i) {
        if (containsIgnoringCase(work, kMonthNames[i])) monthIndex = i;
    }
    if (monthIndex >= 0) {
        pieces.month = monthIndex + 1;
        pieces.hasMonth = pieces.monthNamed = true;
        cutName(kMonthNames[monthIndex]);
    } else if (auto match = betweenSeparators.firstMatch(work)) {
        pieces.month = numberValue(*match->group(work, 2));
        pieces.hasMonth = true;
        cutOut(work, *match->groups[2]);
    }

    if (auto match = dayNumber.firstMatch(work)) {
        pieces.day = numberValue(*match->group(work, 2));
        pieces.hasDay = true;
        cutOut(work, *match->groups[2]);
        if (pieces.month >= 13) std::swap(pieces.day, pieces.month);
    }

    if (auto match = fullYear.firstMatch(work)) {
        pieces.year = numberValue(*match->group(work, 2));
        pieces.hasYear = true;
        cutOut(work, *match->groups[2]);
    } else if (auto twoDigits = dayNumber.firstMatch(work)) {
        pieces.year = numberValue(*twoDigits->group(work, 2));
        pieces.hasYear = true;
    }
    return pieces;
}

struct BuiltDate {
    double date;
    int weekday;
};

std::optional<BuiltDate> buildDate(icu::Calendar& calendar, long year, long month, long day, long hour, long minute,
                                   long second) {
    calendar.clear();
    calendar.set(static_cast<int32_t>(year), static_cast<int32_t>(month - 1), static_cast<int32_t>(day),
                 static_cast<int32_t>(hour), static_cast<int32_t>(minute), static_cast<int32_t>(second));
    UErrorCode status = U_ZERO_ERROR;
    UDate date = calendar.getTime(status);
    int32_t weekday = calendar.get(UCAL_DAY_OF_WEEK, status);
    if (U_FAILURE(status)) return std::nullopt;
    return BuiltDate{date, weekday};
}

// Strategy B: the date from its pieces, and, when a numeric month disagrees with the day name (or the text
// names no day), the date with day and month swapped.
bool piecewiseDates(std::u16string_view input, std::vector<double>* result) {
    Pieces pieces = extractPieces(input);
    if (!pieces.hasDay || !pieces.hasMonth || !pieces.hasYear || !pieces.hasTime) return false;

    std::unique_ptr<icu::Calendar> calendar = newCalendar("");
    if (!calendar) return false;
    if (pieces.year <= 99) {
        UErrorCode status = U_ZERO_ERROR;
        calendar->setTime(DateEnvironment::now(), status);
        long currentYear = calendar->get(UCAL_YEAR, status);
        pieces.year += pieces.year <= currentYear - 1998 ? 2000 : 1900;
    }

    if (pieces.numericZone) {
        // The minutes are the whole value modulo 60, not its last two digits: "+0200" is 2 h 20 min.
        long value = numberValue(*pieces.numericZone);
        long seconds = (value % 60) * 60 + ((value / 100) % 24) * 3600;
        calendar->adoptTimeZone(new icu::SimpleTimeZone(static_cast<int32_t>(seconds * 1000), "GMT"));
    } else if (pieces.zoneName) {
        calendar->adoptTimeZone(newTimeZone(zoneForAbbreviation(*pieces.zoneName)));
    }

    std::optional<BuiltDate> first =
        buildDate(*calendar, pieces.year, pieces.month, pieces.day, pieces.hour, pieces.minute, pieces.second);
    if (!first) return true;
    if (pieces.monthNamed || first->weekday == pieces.weekday) {
        result->push_back(first->date);
        return true;
    }
    if (pieces.month > 12) return true;
    std::optional<BuiltDate> swapped =
        buildDate(*calendar, pieces.year, pieces.day, pieces.month, pieces.hour, pieces.minute, pieces.second);
    if (!swapped) {
        result->push_back(first->date);
        return true;
    }
    if (swapped->weekday != pieces.weekday) result->push_back(first->date);
    result->push_back(swapped->date);
    return true;
}
}  // namespace

bool Scanner::scanNonConformantDateString(std::u16string_view text, std::optional<std::vector<double>>* dates) {
    setSlot(dates, std::nullopt);
    if (text.empty()) return false;
    std::vector<double> result = votedDates(text);
    if (result.empty() && !piecewiseDates(text, &result)) return false;
    if (result.empty()) result.push_back(DateEnvironment::now());
    setSlot(dates, std::move(result));
    return true;
}

}  // namespace postwright
