#include "postwright/Amendments/PWPlaceholderExpansionAmendment.hpp"

namespace postwright {

const PWAmendmentClass& PWPlaceholderExpansionAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWPlaceholderExpansionAmendment", u"PlaceholderExpansion",
                                      &PWPlaceholderExpansionAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWPlaceholderExpansionAmendment> PWPlaceholderExpansionAmendment::init() {
    return std::shared_ptr<PWPlaceholderExpansionAmendment>(new PWPlaceholderExpansionAmendment());
}

std::shared_ptr<PWMessageAmendment> PWPlaceholderExpansionAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary&) {
    return init();
}

PWAmendmentResultRef PWPlaceholderExpansionAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage&,
                                                                                       const PWMessageAmendmentContext&,
                                                                                       uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    return PWAmendmentResult::init();
}

const PWAmendmentClass& PWUploadAttachmentAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWUploadAttachmentAmendment", u"UploadAttachment",
                                      &PWUploadAttachmentAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWUploadAttachmentAmendment> PWUploadAttachmentAmendment::init() {
    return std::shared_ptr<PWUploadAttachmentAmendment>(new PWUploadAttachmentAmendment());
}

std::shared_ptr<PWMessageAmendment> PWUploadAttachmentAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary&) {
    return init();
}

PWAmendmentResultRef PWUploadAttachmentAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage&,
                                                                                   const PWMessageAmendmentContext&,
                                                                                   uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    return PWAmendmentResult::init();
}

}  // namespace postwright
