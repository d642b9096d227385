// PWMakePlainTextAmendment ("DeliverPlainText", hint 20): asks for plain-text delivery (the message's
// forcePlainText) in delivery context 4; in every context it then checks the message ("Plain Text Message
// is Malformed", code 1).
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Asks for plain-text delivery.
class PWMakePlainTextAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    static std::shared_ptr<PWMakePlainTextAmendment> init();
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    int64_t applicationOrderHint() const override { return 20; }
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWMakePlainTextAmendment() = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
