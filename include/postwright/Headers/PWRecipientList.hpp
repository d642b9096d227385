// PWRecipientList: the To, Cc and Bcc groups of a message, and its distinct recipients.
//
//     auto list = PWRecipientList::initWithRecipients(toGroups, ccGroups, bccGroups);
//     for (const auto& address : list->allRecipientAddresses()) ...   // each valid recipient once
//
// A recipient list is immutable.
#pragma once

#include <memory>

#include "postwright/Export.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWMessageContents;
class FGPostwrightMessage;

// The To, Cc and Bcc address groups of a message, and its distinct recipients.
class PWRecipientList {
    struct Passkey {
        explicit Passkey() = default;
    };

public:
    PWRecipientList(Passkey, PWEmailAddressGroupList to, PWEmailAddressGroupList cc, PWEmailAddressGroupList bcc)
        : toRecipients_(std::move(to)), ccRecipients_(std::move(cc)), bccRecipients_(std::move(bcc)) {}

    static std::shared_ptr<PWRecipientList> initWithRecipients(PWEmailAddressGroupList toRecipients,
                                                               PWEmailAddressGroupList ccRecipients,
                                                               PWEmailAddressGroupList bccRecipients);

    // The To, Cc and Bcc groups of message contents, or of a message object (from its abstract).
    static std::shared_ptr<PWRecipientList> initWithRecipientsInContents(const PWMessageContents& contents);
    static std::shared_ptr<PWRecipientList> initWithRecipientsInMessage(const FGPostwrightMessage& message);

    const PWEmailAddressGroupList& toRecipients() const { return toRecipients_; }
    const PWEmailAddressGroupList& ccRecipients() const { return ccRecipients_; }
    const PWEmailAddressGroupList& bccRecipients() const { return bccRecipients_; }

    // The valid distinct addresses of To, then those of Cc and of Bcc not already listed (by isEqual), in
    // that order: an address in both To and Cc is listed once, at its To position.
    PWEmailAddressList allRecipientAddresses() const;

private:
    PWEmailAddressGroupList toRecipients_;
    PWEmailAddressGroupList ccRecipients_;
    PWEmailAddressGroupList bccRecipients_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
