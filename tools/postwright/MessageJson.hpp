// The JSON forms in which every tool command prints addresses, groups and dates.
//
//   address  {"displayName", "localPart", "domain", "userAtDomain", "valid", "invalidRawAddress",
//             "mailSploited", "rfc2822", "digest"}   (texts null when nil)
//   group    {"name": text or null, "addresses": [address...]}
//   date     "2024-03-05T09:04:00.000Z"   (ISO 8601, UTC, milliseconds)
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "ToolSupport.hpp"
#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Headers/PWEmailAddress.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Message/FGMessageAbstract.hpp"

namespace postwright::tool {

Json jsonAddress(const std::shared_ptr<PWEmailAddress>& address);  // null for nullptr
Json jsonAddresses(const PWEmailAddressList& addresses);
Json jsonGroup(const std::shared_ptr<PWEmailAddressGroup>& group);  // null for nullptr
Json jsonGroups(const PWEmailAddressGroupList& groups);

// The ISO 8601 UTC text of a date, with milliseconds.
std::string isoDateString(double date);
Json jsonDate(const std::optional<double>& date);  // null for nil
// Everything a header collection answers: "fields" (every field in order of appearance as {"name",
// "raw", "value", "sortHint"}) and the typed views under the accessors' names (null where nil).
Json jsonHeaders(const PWMessageHeaders& headers);
// Every field of a message abstract under its own name: addresses and groups as above, dates as ISO
// 8601, hashes as their string representation, null where the abstract holds nil.
Json jsonAbstract(const FGMessageAbstract& abstract);

// A date given on the command line: milliseconds since 1970, or ISO 8601 ("2024-03-05",
// "2024-03-05T09:04:00", with optional ".SSS" and "Z" or "+01:00"; without a zone it is UTC).
std::optional<double> dateFromArgument(const std::string& text);
// Pins the clock, zone and locale from --now, --tz and --locale for the rest of the command (into
// `pinned`); a usage error status when --now is malformed, else 0.
int pinDateEnvironment(const char* command, const Arguments& arguments,
                       std::optional<DateEnvironment::Override>& pinned);

}  // namespace postwright::tool
