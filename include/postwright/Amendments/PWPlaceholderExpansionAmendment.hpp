// PWPlaceholderExpansionAmendment ("PlaceholderExpansion", hint 10) and PWUploadAttachmentAmendment
// ("UploadAttachment", hint 10): kept so that stored amendment lists keep their meaning; both are inert
// (they clear the error and return an empty result).
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A stored placeholder-expansion amendment, kept readable and inert.
class PWPlaceholderExpansionAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }
    static std::shared_ptr<PWPlaceholderExpansionAmendment> init();
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWPlaceholderExpansionAmendment() = default;
};

// A stored attachment-upload amendment, kept readable and inert.
class PWUploadAttachmentAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }
    static std::shared_ptr<PWUploadAttachmentAmendment> init();
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWUploadAttachmentAmendment() = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
