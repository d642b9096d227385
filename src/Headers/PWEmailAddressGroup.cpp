#include "postwright/Headers/PWEmailAddressGroup.hpp"

#include <unordered_set>

#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {
using Json = nlohmann::ordered_json;

std::vector<std::u16string> rfc2822Forms(const PWEmailAddressList& addresses) {
    std::vector<std::u16string> forms;
    for (const auto& address : addresses) {
        if (!address) continue;
        if (OptString form = address->rfc2822Representation()) forms.push_back(std::move(*form));
    }
    return forms;
}
}  // namespace

std::shared_ptr<PWEmailAddressGroup> PWEmailAddressGroup::newWithGroupName(const OptString& groupName,
                                                                           PWEmailAddressList addresses) {
    auto group = std::make_shared<PWEmailAddressGroup>(Passkey());
    group->groupName_ = groupName;
    group->addresses_ = std::move(addresses);
    return group;
}

std::optional<PWEmailAddressGroupList> PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(const OptString& value,
                                                                                              unsigned options) {
    if (!value) return std::nullopt;
    Scanner scanner = Scanner::emailAddressScannerWithString(*value);
    scanner.setCaseSensitive(false);
    PWEmailAddressGroupList groups;
    if (!scanner.scanRFC2822AddressListIntoPWEmailAddressGroups(&groups, options, nullptr)) return std::nullopt;
    return groups;
}

std::shared_ptr<PWEmailAddressGroup> PWEmailAddressGroup::initWithDictionaryRepresentation(const Json& dictionary) {
    if (!dictionary.is_object()) return nullptr;
    auto type = dictionary.find("type");
    if (type == dictionary.end() || !type->is_string() || type->get<std::string>() != "group") return nullptr;
    OptString name;
    if (auto found = dictionary.find("groupName"); found != dictionary.end() && found->is_string()) {
        name = fromUTF8(found->get<std::string>());
    }
    PWEmailAddressList members;
    if (auto found = dictionary.find("addresses"); found != dictionary.end() && found->is_array()) {
        for (const Json& entry : *found) {
            if (entry.is_object() && entry.contains("userName") && entry.contains("domain")) {
                members.push_back(PWEmailAddress::initWithDictionaryRepresentation(entry));
            }
        }
    }
    return newWithGroupName(name, std::move(members));
}

OptString PWEmailAddressGroup::groupName() const {
    std::lock_guard lock(mutex_);
    return groupName_;
}

void PWEmailAddressGroup::setGroupName(const OptString& groupName) {
    std::lock_guard lock(mutex_);
    groupName_ = groupName;
}

PWEmailAddressList PWEmailAddressGroup::addresses() const {
    std::lock_guard lock(mutex_);
    return addresses_;
}

void PWEmailAddressGroup::setAddresses(PWEmailAddressList addresses) {
    std::lock_guard lock(mutex_);
    addresses_ = std::move(addresses);
}

Json PWEmailAddressGroup::auxiliaryInfo() const {
    std::lock_guard lock(mutex_);
    return auxiliaryInfo_;
}

void PWEmailAddressGroup::setAuxiliaryInfo(const Json& value, const std::string& key) {
    std::lock_guard lock(mutex_);
    Json updated = auxiliaryInfo_.is_object() ? auxiliaryInfo_ : Json::object();
    if (value.is_null()) {
        updated.erase(key);
    } else {
        updated[key] = value;
    }
    auxiliaryInfo_ = std::move(updated);
}

OptString PWEmailAddressGroup::rfc2822Representation() const {
    OptString name = groupName();
    std::vector<std::u16string> forms = rfc2822Forms(addresses());
    if (!name || name->empty()) {
        if (forms.empty()) return std::nullopt;
        return componentsJoinedBy(forms, u",");
    }
    // The name is written as address parts are kept, so a name read from folded text cannot start a new
    // header line.
    return escapingLineBreaks(*name) + u":" + componentsJoinedBy(forms, u", ") + u";";
}

OptString PWEmailAddressGroup::rfc2822RepresentationForAddressGroups(const PWEmailAddressGroupList& groups) {
    std::vector<std::u16string> forms;
    for (const auto& group : groups) {
        if (!group) continue;
        if (OptString form = group->rfc2822Representation()) forms.push_back(std::move(*form));
    }
    if (forms.empty()) return std::nullopt;
    return componentsJoinedBy(forms, u",");
}

PWEmailAddressList PWEmailAddressGroup::uniqueEmailAddressesFromGroupList(const PWEmailAddressGroupList& groups) {
    std::unordered_set<std::shared_ptr<PWEmailAddress>, PWEmailAddressHash, PWEmailAddressEqual> seen;
    PWEmailAddressList unique;
    for (const auto& group : groups) {
        if (!group) continue;
        for (const auto& address : group->addresses()) {
            if (address && seen.insert(address).second) unique.push_back(address);
        }
    }
    PWEmailAddressList valid;
    for (auto& address : unique) {
        if (address->valid()) valid.push_back(std::move(address));
    }
    return valid;
}

bool PWEmailAddressGroup::containsAddress(const std::shared_ptr<PWEmailAddress>& address) const {
    if (!address) return false;
    OptString wanted = address->userAtDomain();
    for (const auto& member : addresses()) {
        if (member && member->userAtDomain() == wanted) return true;
    }
    return false;
}

bool PWEmailAddressGroup::addUniqueAddresses(const PWEmailAddressList& addresses) {
    std::lock_guard lock(mutex_);
    std::unordered_set<std::u16string> present;
    for (const auto& member : addresses_) {
        if (!member) continue;
        if (OptString address = member->userAtDomain()) present.insert(uppercase(*address));
    }
    PWEmailAddressList longer = addresses_;
    bool added = false;
    for (const auto& address : addresses) {
        if (!address) continue;
        OptString key = address->userAtDomain();
        if (key && !present.insert(uppercase(*key)).second) continue;
        longer.push_back(address);
        added = true;
    }
    if (added) addresses_ = std::move(longer);
    return added;
}

bool PWEmailAddressGroup::isEqual(const PWEmailAddressGroup* other) const {
    if (other == this) return true;
    if (!other) return false;
    if (groupName() != other->groupName()) return false;
    PWEmailAddressList mine = addresses(), theirs = other->addresses();
    if (mine.size() != theirs.size()) return false;
    for (size_t i = 0; i < mine.size(); ++i) {
        if (mine[i] != theirs[i] && (!mine[i] || !mine[i]->isEqual(theirs[i].get()))) return false;
    }
    return true;
}

OptString PWEmailAddressGroup::digest() const {
    OptString form = rfc2822Representation();
    if (!form) return std::nullopt;
    return shortSHAHashString(*form);
}

std::u16string PWEmailAddressGroup::description() const {
    return formatString(u"<PWEmailAddressGroup: %p> %@", {static_cast<const void*>(this), rfc2822Representation()});
}

Json PWEmailAddressGroup::dictionaryRepresentation() const {
    Json dictionary = Json::object();
    dictionary["type"] = "group";
    if (OptString name = groupName()) dictionary["groupName"] = toUTF8(*name);
    Json members = Json::array();
    for (const auto& address : addresses()) {
        if (address) members.push_back(address->dictionaryRepresentation());
    }
    dictionary["addresses"] = std::move(members);
    return dictionary;
}

}  // namespace postwright
