// The parse kinds of the address grammar: addr-spec, mailbox, mailbox-list, group, address-list and the
// header-value reader of e-mail addresses.
#include "MessageJson.hpp"
#include "ParseKinds.hpp"

namespace postwright::tool {

namespace {
ParseOutcome runAddrSpec(ParseRequest& r) {
    OptString local, domain;
    bool ok = r.scanner.scanAddrSpecIntoLocalName(&local, &domain, r.errorSlot);
    Json value = nullptr;
    if (ok) value = Json{{"localPart", jsonText(local)}, {"domain", jsonText(domain)}};
    return {ok, value};
}

ParseOutcome runMailbox(ParseRequest& r) {
    std::shared_ptr<PWEmailAddress> address;
    bool ok = r.scanner.scanPWEmailAddress(&address, r.options, r.errorSlot);
    return {ok, jsonAddress(address)};
}

ParseOutcome runMailboxList(ParseRequest& r) {
    PWEmailAddressList list;
    bool ok = r.scanner.scanRFC2822MailboxList(&list, r.options, r.errorSlot);
    return {ok, jsonAddresses(list)};
}

ParseOutcome runGroup(ParseRequest& r) {
    OptString name;
    PWEmailAddressList list;
    bool ok = r.scanner.scanRFC2822EmailGroupIntoGroupName(&name, &list, r.options, r.errorSlot);
    Json value = nullptr;
    if (ok) value = jsonGroup(PWEmailAddressGroup::newWithGroupName(name, list));
    return {ok, value};
}

ParseOutcome runAddressList(ParseRequest& r) {
    PWEmailAddressGroupList groups;
    bool ok = r.scanner.scanRFC2822AddressListIntoPWEmailAddressGroups(&groups, r.options, r.errorSlot);
    return {ok, ok ? jsonGroups(groups) : Json(nullptr)};
}

ParseOutcome runAddresses(ParseRequest& r) {
    unsigned options = r.optionsGiven ? r.options : 2;
    std::optional<PWEmailAddressList> addresses =
        PWEmailAddress::emailAddressesFromHeaderValue(r.scanner.string(), options);
    return {addresses.has_value(), addresses ? jsonAddresses(*addresses) : Json(nullptr)};
}
}  // namespace

void addAddressParseKinds(std::vector<ParseKind>& kinds) {
    kinds.insert(kinds.end(),
                 {
                     {"addr-spec", "local-part \"@\" domain; value {localPart, domain}", runAddrSpec},
                     {"mailbox", "one mailbox as an address object (invalid fallback included)", runMailbox},
                     {"mailbox-list", "mailboxes up to a group name; an array of address objects", runMailboxList},
                     {"group", "name \":\" mailboxes \";\"; value {name, addresses}", runGroup},
                     {"address-list", "groups and mailboxes; an array of {name, addresses}", runAddressList},
                     {"addresses", "a header value's addresses (--options default 2), or null", runAddresses},
                 });
}

}  // namespace postwright::tool
