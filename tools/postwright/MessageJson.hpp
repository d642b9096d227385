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
#include "postwright/Headers/PWEmailAddress.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"

namespace postwright::tool {

Json jsonAddress(const std::shared_ptr<PWEmailAddress>& address);  // null for nullptr
Json jsonAddresses(const PWEmailAddressList& addresses);
Json jsonGroup(const std::shared_ptr<PWEmailAddressGroup>& group);  // null for nullptr
Json jsonGroups(const PWEmailAddressGroupList& groups);

// The ISO 8601 UTC text of a date, with milliseconds.
std::string isoDateString(double date);
Json jsonDate(const std::optional<double>& date);  // null for nil
// A date given on the command line: milliseconds since 1970, or ISO 8601 ("2024-03-05",
// "2024-03-05T09:04:00", with optional ".SSS" and "Z" or "+01:00"; without a zone it is UTC).
std::optional<double> dateFromArgument(const std::string& text);

}  // namespace postwright::tool
