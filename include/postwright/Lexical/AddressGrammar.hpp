// AddressGrammar: the RFC 2822 address grammar (section 3.4) and the option bits it passes on.
//
// The grammar itself is a set of Scanner operations (Scanner.hpp, section "Addresses"): addr-spec,
// angle-addr, name-addr, the mailbox with its invalid fallback, mailbox lists, groups and address lists.
// It is forgiving by design: when a mailbox cannot be read, the text up to the next comma becomes an
// invalid PWEmailAddress that keeps that text, so that one broken recipient does not cost the others.
//
//     Scanner scanner = Scanner::emailAddressScannerWithString(u"Ann <ann@example.com>, Team: bo@example.org;");
//     std::vector<std::shared_ptr<PWEmailAddressGroup>> groups;
//     scanner.scanRFC2822AddressListIntoPWEmailAddressGroups(&groups, kAddressOptionBuiltUpPhrases, nullptr);
//     // groups: an unnamed group holding Ann, then "Team" holding bo
//
// Errors use the domain "com.fennelgate.postwright.emailparser" (EmailParserError.hpp); the grammar adds
// code 4 for a missing ">" and code 5 for an addr-spec without "@" or domain.
#pragma once

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Address options: one bit word passed through every grammar operation and on to the PWEmailAddress
// initialisers (bits the grammar does not use are handed on unchanged).
// Validate the parts: a valid address needs a local part and a domain of two or more labels.
inline constexpr unsigned kAddressOptionValidate = 1;
// Decoded display names and local parts are checked for header-injection tricks (mail-sploits).
inline constexpr unsigned kAddressOptionDetectMailSploits = 2;
// Phrases (display names, group names) come back built up: words unquoted, comments reduced to a SPACE.
// Without it they come back as their raw source text, trimmed.
inline constexpr unsigned kAddressOptionBuiltUpPhrases = 4;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
