// Dates in message text: reading RFC 2822 date-times and writing the three date forms of mail.
//
// Reading comes in three strengths. dateFromRFC822String runs the strict RFC 2822 scanner (a Scanner
// operation, declared in Scanner.hpp with the tolerant reader); olddateFromRFC822String tries a fixed
// list of patterns; Scanner::scanNonConformantDateString guesses dates from free text. Writing gives the
// Date header form, the mbox envelope form and the IMAP APPEND form.
//
//     std::optional<double> sent = dateFromRFC822String(u"Tue, 5 Mar 2024 10:04:00 +0100");
//     std::u16string header = rfc2822Date(*sent);      // in the current zone: "Tue, 5 Mar 2024 09:04:00 +0000"
//     std::u16string envelope = mboxDateString(*sent); // "Tue Mar 05 09:04:00 2024"
//
// Dates are milliseconds since 1970. "Now", the current zone and the user's locale come from
// DateEnvironment. Formatters are costly to make, so each thread keeps its own under fixed keys and reuses
// them; a formatter is never shared between threads.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

enum class DateFormatterStyle { None, Short, Medium, Long, Full };

// A pattern-based date formatter (ICU pattern letters: "EEE, d MMM yyyy HH:mm:ss Z") for one locale and
// one time zone. Not thread-safe: one thread uses a formatter at a time.
class DateFormatter {
public:
    // Locale identifier such as "en_US". Without a zone the formatter follows DateEnvironment's current
    // zone, re-reading it on every use.
    DateFormatter(const std::string& localeIdentifier, std::u16string_view pattern,
                  std::optional<std::string> timeZoneIdentifier = std::nullopt);
    ~DateFormatter();
    DateFormatter(const DateFormatter&) = delete;
    DateFormatter& operator=(const DateFormatter&) = delete;

    std::u16string pattern() const;
    void setPattern(std::u16string_view pattern);
    // The locale's own pattern for the two styles (as setPattern would take it).
    void setStyles(DateFormatterStyle dateStyle, DateFormatterStyle timeStyle);
    // A named zone ("UTC", "America/New_York"); an unknown name reads as GMT.
    void setTimeZoneIdentifier(const std::string& identifier);
    // A fixed offset east of GMT.
    void setTimeZoneOffset(int secondsFromGMT);
    // Follow DateEnvironment's current zone again.
    void followCurrentTimeZone();

    std::u16string stringFromDate(double date);
    // The date the whole text stands for under the pattern; nullopt when the text does not fit (text left
    // over after the date also makes it fail). Fields the pattern lacks default to 1970-01-01 00:00:00 in
    // the formatter's zone; two-digit years are read within the 80 years before and 20 after now.
    std::optional<double> dateFromString(std::u16string_view text);
    // How many code units from the start of the text the pattern reads, whatever follows them; nullopt
    // when it reads none. Only the text decides: the calendar's check that the fields make a real date
    // (no 30 February, no wall time that a zone change skips) is left out.
    std::optional<size_t> lengthReadFrom(std::u16string_view text);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

// The locale's own pattern for a date style and a time style (one may be None); nullopt when the locale
// has none.
OptString localizedDateFormatPattern(DateFormatterStyle dateStyle, DateFormatterStyle timeStyle,
                                     const std::string& localeIdentifier);

// The date at the start of the text, read by the strict RFC 2822 scanner with options 0; text after the
// date is ignored. nullopt for nil text or when the scanner fails.
std::optional<double> dateFromRFC822String(const OptString& text);
// The format-list reader for old callers: squeezes double spaces, drops a "(...)" zone comment and the
// day name, then tries twelve "d MMM yyyy HH:mm[:ss] [zone]" patterns in GMT. Logs
// "Could not parse RFC822 date: "<text>" Possibly invalid format." and gives nullopt when none fits.
std::optional<double> olddateFromRFC822String(const OptString& text);

// The Date header form in the current zone: "Tue, 5 Mar 2024 10:04:00 +0100".
std::u16string rfc2822Date(double date);
// The mbox envelope form in UTC: "Tue Mar 05 09:04:00 2024".
std::u16string mboxDateString(double date);
// The IMAP APPEND form in GMT: "05-Mar-2024 09:04:00 +0000" (a new formatter on every call).
std::u16string rfc3501AppendDateTime(double date);

// The calling thread's cached formatters, made on first use on the thread and kept for its lifetime:
// "EEE, d MMM yyyy HH:mm:ss Z" in the current zone (the Date header, and reading dates back);
DateFormatter& RFC2822dateFormatter();
// "EEE MMM dd HH:mm:ss yyyy" in UTC (mbox envelope lines);
DateFormatter& mboxDateFormatter();
// "EEE, d MMM yyyy HH:mm:ss Z" at 0 seconds from GMT (the GMT-normalised date text of identifier seeds).
DateFormatter& RFC2822GMTdateFormatter();

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
