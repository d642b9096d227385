// PWEmailAddressGroup: one entry of an address list, a named group with its members
// ("Team: ann@example.com, bo@example.org;") or a nameless run of plain mailboxes.
//
//     auto groups = PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(u"a@example.com, Team: b@example.org;");
//     // (*groups)[0]: no name, a@example.com; (*groups)[1]: "Team", b@example.org
//     (*groups)[1]->rfc2822Representation();   // "Team:b@example.org;"
//
// The name and the members may be replaced (the address grammar builds groups this way); every field is
// guarded by the group's own lock.
#pragma once

#include <nlohmann/json.hpp>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "postwright/Export.hpp"
#include "postwright/Headers/PWEmailAddress.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWEmailAddressGroup;
using PWEmailAddressGroupList = std::vector<std::shared_ptr<PWEmailAddressGroup>>;

// One entry of an address list: a named group with its members, or a nameless run of mailboxes.
class PWEmailAddressGroup {
    struct Passkey {
        explicit Passkey() = default;
    };

public:
    explicit PWEmailAddressGroup(Passkey) {}
    PWEmailAddressGroup(const PWEmailAddressGroup&) = delete;
    PWEmailAddressGroup& operator=(const PWEmailAddressGroup&) = delete;

    static std::shared_ptr<PWEmailAddressGroup> newWithGroupName(const OptString& groupName,
                                                                 PWEmailAddressList addresses);
    static std::shared_ptr<PWEmailAddressGroup> addressGroupWithGroupName(const OptString& groupName,
                                                                          PWEmailAddressList addresses) {
        return newWithGroupName(groupName, std::move(addresses));
    }
    // The groups of a header value (an RFC 2822 address list); nullopt for nil text or when the list cannot
    // be read. The default options are 4 (phrases built up), the default of raw addresses.
    static std::optional<PWEmailAddressGroupList> emailAddressGroupsFromHeaderValue(const OptString& value,
                                                                                    unsigned options = 4);
    // The reverse of dictionaryRepresentation: only "type" = "group" is accepted (nullptr otherwise); a
    // string "groupName" and, from an array "addresses", every dictionary with both "userName" and
    // "domain" are taken.
    static std::shared_ptr<PWEmailAddressGroup> initWithDictionaryRepresentation(
        const nlohmann::ordered_json& dictionary);

    OptString groupName() const;
    void setGroupName(const OptString& groupName);
    PWEmailAddressList addresses() const;
    void setAddresses(PWEmailAddressList addresses);
    nlohmann::ordered_json auxiliaryInfo() const;
    // Sets one key of the caller data; a null value removes the key.
    void setAuxiliaryInfo(const nlohmann::ordered_json& value, const std::string& key);

    // Without a name: the members' RFC 2822 forms joined with "," (nullopt when there are none). With one:
    // "Name:" then the forms separated by ", " then ";".
    OptString rfc2822Representation() const;
    // Each group's form (nils dropped) joined with ","; nullopt when none.
    static OptString rfc2822RepresentationForAddressGroups(const PWEmailAddressGroupList& groups);
    // Every member of every group in order, each only once (by isEqual), then only the valid ones.
    static PWEmailAddressList uniqueEmailAddressesFromGroupList(const PWEmailAddressGroupList& groups);

    // Whether a member has the same userAtDomain (exact text; two missing ones count as the same).
    bool containsAddress(const std::shared_ptr<PWEmailAddress>& address) const;
    // Appends each address whose upper-cased userAtDomain no member has yet; true when any was added.
    bool addUniqueAddresses(const PWEmailAddressList& addresses);

    // The same object, or equal names (or both nil) and pairwise equal members.
    bool isEqual(const PWEmailAddressGroup* other) const;
    // The short hash of the RFC 2822 form.
    OptString digest() const;
    // "<PWEmailAddressGroup: 0x...> " and the RFC 2822 form.
    std::u16string description() const;
    // "type" = "group", "groupName" (left out when nil), "addresses" = the members' dictionary forms.
    nlohmann::ordered_json dictionaryRepresentation() const;

private:
    mutable std::mutex mutex_;
    OptString groupName_;
    PWEmailAddressList addresses_;
    nlohmann::ordered_json auxiliaryInfo_ = nlohmann::ordered_json::object();
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
