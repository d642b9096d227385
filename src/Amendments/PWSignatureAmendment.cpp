#include "postwright/Amendments/PWSignatureAmendment.hpp"

#include <mutex>

#include "Amendments/detail/AmendmentDictionaries.hpp"
#include "postwright/Amendments/AmendmentError.hpp"

namespace postwright {

namespace {
struct ModifierSlot {
    std::mutex mutex;
    std::shared_ptr<PWSignatureModifier> modifier;
};

ModifierSlot& modifierSlot() {
    static ModifierSlot* slot = new ModifierSlot();
    return *slot;
}
}  // namespace

const PWAmendmentClass& PWSignatureAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWSignatureAmendment", u"Signature",
                                      &PWSignatureAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWSignatureAmendment> PWSignatureAmendment::newWithSignatureIdentifier(
    const OptString& signatureIdentifier) {
    std::shared_ptr<PWSignatureAmendment> amendment(new PWSignatureAmendment());
    amendment->signatureIdentifier_ = signatureIdentifier;
    return amendment;
}

std::shared_ptr<PWMessageAmendment> PWSignatureAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary& dictionary) {
    return newWithSignatureIdentifier(detail::stringForKey(dictionary, "signatureIdentifier"));
}

std::shared_ptr<PWSignatureModifier> PWSignatureAmendment::signatureModifier() {
    std::lock_guard lock(modifierSlot().mutex);
    return modifierSlot().modifier;
}

void PWSignatureAmendment::setSignatureModifier(std::shared_ptr<PWSignatureModifier> modifier) {
    std::lock_guard lock(modifierSlot().mutex);
    modifierSlot().modifier = std::move(modifier);
}

PWAmendmentDictionary PWSignatureAmendment::dictionaryRepresentation() const {
    PWAmendmentDictionary dictionary = baseDictionaryRepresentation();
    if (signatureIdentifier_) dictionary["signatureIdentifier"] = toUTF8(*signatureIdentifier_);
    return dictionary;
}

PWAmendmentResultRef PWSignatureAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                            const PWMessageAmendmentContext& context,
                                                                            uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    std::shared_ptr<PWSignatureModifier> modifier = signatureModifier();
    if (!modifier) {
        setSlot(error, signatureModifierMissingError());
        return PWAmendmentResult::init();
    }
    uint64_t type = context.contextType();
    if (type == kPWAmendmentContextSignature || type == kPWAmendmentContextDelivery) {
        modifier->updateMessage(message, signatureIdentifier_);
    }
    return PWAmendmentResult::init();
}

}  // namespace postwright
