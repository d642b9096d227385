#include "postwright/Amendments/PWMakePlainTextAmendment.hpp"

#include "postwright/Amendments/AmendmentError.hpp"

namespace postwright {

const PWAmendmentClass& PWMakePlainTextAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWMakePlainTextAmendment", u"DeliverPlainText",
                                      &PWMakePlainTextAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWMakePlainTextAmendment> PWMakePlainTextAmendment::init() {
    return std::shared_ptr<PWMakePlainTextAmendment>(new PWMakePlainTextAmendment());
}

std::shared_ptr<PWMessageAmendment> PWMakePlainTextAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary&) {
    return init();
}

PWAmendmentResultRef PWMakePlainTextAmendment::resultByApplyingToMutableMessage(
    FGBaseMutableMessage& message, const PWMessageAmendmentContext& context, uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    if (context.contextType() == kPWAmendmentContextDelivery) message.setForcePlainText(true);
    if (!messageIsWellFormed(message)) setSlot(error, plainTextMalformedError(description()));
    return PWAmendmentResult::init();
}

}  // namespace postwright
