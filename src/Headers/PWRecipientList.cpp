#include "postwright/Headers/PWRecipientList.hpp"

#include <unordered_set>

namespace postwright {

std::shared_ptr<PWRecipientList> PWRecipientList::initWithRecipients(PWEmailAddressGroupList toRecipients,
                                                                     PWEmailAddressGroupList ccRecipients,
                                                                     PWEmailAddressGroupList bccRecipients) {
    return std::make_shared<PWRecipientList>(Passkey(), std::move(toRecipients), std::move(ccRecipients),
                                             std::move(bccRecipients));
}

PWEmailAddressList PWRecipientList::allRecipientAddresses() const {
    std::unordered_set<std::shared_ptr<PWEmailAddress>, PWEmailAddressHash, PWEmailAddressEqual> listed;
    PWEmailAddressList all;
    for (const PWEmailAddressGroupList* groups : {&toRecipients_, &ccRecipients_, &bccRecipients_}) {
        for (auto& address : PWEmailAddressGroup::uniqueEmailAddressesFromGroupList(*groups)) {
            if (listed.insert(address).second) all.push_back(std::move(address));
        }
    }
    return all;
}

}  // namespace postwright
