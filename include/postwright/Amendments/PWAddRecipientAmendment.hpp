// PWAddRecipientAmendment ("AddRecipient", hint 10): adds addresses to the To, Cc or Bcc of a message.
//
// The addresses join the first group of the chosen field (those already in it are skipped; when none is
// new, nothing is written at all). The field is then written back holding only that group: further groups
// of the field are dropped. A message without the field gets one unnamed group of the addresses.
//
//     auto add = PWAddRecipientAmendment::initWithRecipients({address}, kPWRecipientTypeCc);
//     // dictionary form: {"amendmentType": "AddRecipient", "addresses": ["Ann <ann@example.com>"], "recipientType": 4}
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"
#include "postwright/Headers/PWEmailAddress.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The recipient types the amendment understands; any other value makes it do nothing.
enum PWRecipientType : int64_t {
    kPWRecipientTypeTo = 3,
    kPWRecipientTypeCc = 4,
    kPWRecipientTypeBcc = 5,
};

// Adds addresses to the first group of To, Cc or Bcc.
class PWAddRecipientAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    static std::shared_ptr<PWAddRecipientAmendment> initWithRecipients(PWEmailAddressList recipients,
                                                                       int64_t recipientType);
    // Every string of "addresses" read as a raw address (unusable ones skipped), and "recipientType".
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    const PWEmailAddressList& recipients() const noexcept { return recipients_; }
    int64_t recipientType() const noexcept { return recipientType_; }

    // The base keys, "addresses" (each address's RFC 2822 form) and "recipientType".
    PWAmendmentDictionary dictionaryRepresentation() const override;
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWAddRecipientAmendment() = default;
    PWEmailAddressList recipients_;
    int64_t recipientType_ = 0;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
