// PWSignatureAmendment ("Signature", hint 10): has the host insert or replace the user's signature, in
// context types 3 and 4.
//
// The signature itself belongs to the host: it installs a signature modifier for the whole process, which
// the amendment calls with the message and its signature identifier. Without a modifier the amendment
// fails in every context (code 10, "The signatureModifier property on PWSignatureAmendment is nil").
//
//     PWSignatureAmendment::setSignatureModifier(std::make_shared<MySignatures>());
//     auto signature = PWSignatureAmendment::newWithSignatureIdentifier(u"work");
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The host's signature service.
class PWSignatureModifier {
public:
    virtual ~PWSignatureModifier() = default;
    virtual void updateMessage(FGBaseMutableMessage& message, const OptString& signatureIdentifier) = 0;
};

// Has the host's signature modifier insert the user's signature.
class PWSignatureAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    static std::shared_ptr<PWSignatureAmendment> newWithSignatureIdentifier(const OptString& signatureIdentifier);
    // "signatureIdentifier".
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    // The process's signature modifier (nullptr: none). Safe to call from any thread.
    static std::shared_ptr<PWSignatureModifier> signatureModifier();
    static void setSignatureModifier(std::shared_ptr<PWSignatureModifier> modifier);

    const OptString& signatureIdentifier() const noexcept { return signatureIdentifier_; }
    PWAmendmentDictionary dictionaryRepresentation() const override;
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWSignatureAmendment() = default;
    OptString signatureIdentifier_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
