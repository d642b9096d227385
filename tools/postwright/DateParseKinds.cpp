// The parse kinds of the date readers: strict RFC 2822, the format-list reader and the tolerant reader.
#include "MessageJson.hpp"
#include "ParseKinds.hpp"
#include "postwright/Lexical/DateFormat.hpp"

namespace postwright::tool {

namespace {
ParseOutcome runStrictDate(ParseRequest& r) {
    std::optional<double> date;
    bool ok = r.scanner.scanRFC2822DateTimeIntoDate(&date, r.options);
    return {ok, jsonDate(date)};
}

ParseOutcome runOldDate(ParseRequest& r) {
    std::optional<double> date = olddateFromRFC822String(r.scanner.string());
    return {date.has_value(), jsonDate(date)};
}

ParseOutcome runTolerantDate(ParseRequest& r) {
    std::optional<std::vector<double>> dates;
    bool ok = Scanner::scanNonConformantDateString(r.scanner.string(), &dates);
    Json value = nullptr;
    if (dates) {
        value = Json::array();
        for (double date : *dates) value.push_back(isoDateString(date));
    }
    return {ok, value};
}
}  // namespace

void addDateParseKinds(std::vector<ParseKind>& kinds) {
    kinds.insert(kinds.end(),
                 {
                     {"date", "strict RFC 2822 date-time (--options 1: numeric month, 3: month first)", runStrictDate},
                     {"date-old", "the format-list date reader over the whole text", runOldDate},
                     {"date-tolerant", "the tolerant date reader: an array of dates, best first", runTolerantDate},
                 });
}

}  // namespace postwright::tool
