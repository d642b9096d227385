// PWFragmentMimePartAmendment ("FragmentMimeParts", hint 26): in delivery context 4, rebuilds the message's
// MIME tree from its HTML and attachments (FGBaseMutableMessage::updateMimePartsWithContext with update type
// 0), cutting the body around attachments that stand between pieces of content. The context's userInfo
// entry "deliveryAccountIsExchange" (a boolean) says whether the account is an Exchange one.
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Rebuilds the MIME tree for delivery, cut around the attachments the HTML shows.
class PWFragmentMimePartAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }
    static std::shared_ptr<PWFragmentMimePartAmendment> init();
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    int64_t applicationOrderHint() const override { return 26; }
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWFragmentMimePartAmendment() = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
