// PWRemoveBCCAmendment (hint 30): removes the Bcc header, in context type 2 only.
//
// Like the date-sent amendment it answers "NoAmendment" and is never registered. In every context it
// then checks the message, reporting malformed contents with the prepare-delivery texts ("Prepared Message
// is Malformed", code 1).
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Removes the Bcc header in context 2.
class PWRemoveBCCAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    static std::shared_ptr<PWRemoveBCCAmendment> init();
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    int64_t applicationOrderHint() const override { return 30; }
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWRemoveBCCAmendment() = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
