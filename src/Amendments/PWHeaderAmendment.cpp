#include "postwright/Amendments/PWHeaderAmendment.hpp"

#include "Amendments/detail/AmendmentDictionaries.hpp"
#include "postwright/Amendments/AmendmentError.hpp"

namespace postwright {

const PWAmendmentClass& PWHeaderAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWHeaderAmendment", u"Header",
                                      &PWHeaderAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWHeaderAmendment> PWHeaderAmendment::initWithHeaderKey(const OptString& headerKey,
                                                                        const OptString& headerValue) {
    std::shared_ptr<PWHeaderAmendment> amendment(new PWHeaderAmendment());
    amendment->headerKey_ = headerKey;
    amendment->headerValue_ = headerValue;
    return amendment;
}

std::shared_ptr<PWHeaderAmendment> PWHeaderAmendment::initWithHeaderEntry(const PWMessageHeaderEntry& entry) {
    return initWithHeaderKey(entry.fieldName(), entry.value());
}

std::shared_ptr<PWMessageAmendment> PWHeaderAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary& dictionary) {
    return initWithHeaderKey(detail::stringForKey(dictionary, "headerKey"),
                             detail::stringForKey(dictionary, "headerValue"));
}

PWAmendmentDictionary PWHeaderAmendment::dictionaryRepresentation() const {
    PWAmendmentDictionary dictionary = baseDictionaryRepresentation();
    if (headerKey_) dictionary["headerKey"] = toUTF8(*headerKey_);
    if (headerValue_) dictionary["headerValue"] = toUTF8(*headerValue_);
    return dictionary;
}

PWAmendmentResultRef PWHeaderAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                         const PWMessageAmendmentContext&, uint64_t,
                                                                         ErrorRef* error) {
    setSlot(error, nullptr);
    if (headerKey_ && !headerKey_->empty() && headerValue_ && !headerValue_->empty()) {
        // Straight into the collection: the message's contents see it at once (they share it once generated).
        message.headers()->setHeader(*headerValue_, *headerKey_);
    } else {
        setSlot(error, incompleteAmendmentError());
    }
    return PWAmendmentResult::init();
}

}  // namespace postwright
