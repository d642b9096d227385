// Recipient lists of whole messages: the To, Cc and Bcc groups of contents or of a message object.
#include "postwright/Headers/PWRecipientList.hpp"
#include "postwright/Message/FGPostwrightMessage.hpp"

namespace postwright {

std::shared_ptr<PWRecipientList> PWRecipientList::initWithRecipientsInContents(const PWMessageContents& contents) {
    PWMessageHeadersRef headers = contents.headers();
    if (!headers) return initWithRecipients({}, {}, {});
    return initWithRecipients(headers->recipients().value_or(PWEmailAddressGroupList()),
                              headers->ccRecipients().value_or(PWEmailAddressGroupList()),
                              headers->bccRecipients().value_or(PWEmailAddressGroupList()));
}

std::shared_ptr<PWRecipientList> PWRecipientList::initWithRecipientsInMessage(const FGPostwrightMessage& message) {
    return initWithRecipients(message.recipients().value_or(PWEmailAddressGroupList()),
                              message.ccRecipients().value_or(PWEmailAddressGroupList()),
                              message.bccRecipients().value_or(PWEmailAddressGroupList()));
}

}  // namespace postwright
