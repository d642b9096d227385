#include "postwright/Amendments/PWRemoveBCCAmendment.hpp"

#include "postwright/Amendments/AmendmentError.hpp"

namespace postwright {

const PWAmendmentClass& PWRemoveBCCAmendment::amendmentClass() {
    // No identifier of its own: the base's.
    static const PWAmendmentClass cls{u"PWRemoveBCCAmendment", PWMessageAmendment::amendmentClass().identifier,
                                      &PWRemoveBCCAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWRemoveBCCAmendment> PWRemoveBCCAmendment::init() {
    return std::shared_ptr<PWRemoveBCCAmendment>(new PWRemoveBCCAmendment());
}

std::shared_ptr<PWMessageAmendment> PWRemoveBCCAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary&) {
    return init();
}

PWAmendmentResultRef PWRemoveBCCAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                            const PWMessageAmendmentContext& context,
                                                                            uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    if (context.contextType() == kPWAmendmentContextStripBcc) {
        message.headers()->removeHeaderForKey(PWMessageHeaderBccKey);
    }
    if (!messageIsWellFormed(message)) setSlot(error, preparedMessageMalformedError(description()));
    return PWAmendmentResult::init();
}

}  // namespace postwright
