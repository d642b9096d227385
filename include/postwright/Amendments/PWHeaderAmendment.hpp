// PWHeaderAmendment ("Header", hint 10): sets one header field of a message, replacing every earlier value
// of that name. Without a key or a value it changes nothing and reports "Amendment was incomplete".
//
//     auto header = PWHeaderAmendment::initWithHeaderKey(u"X-Rule", u"newsletter");
//     // dictionary form: {"amendmentType": "Header", "headerKey": "X-Rule", "headerValue": "newsletter"}
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"
#include "postwright/Headers/PWMessageHeaderEntry.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Sets one header field.
class PWHeaderAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    static std::shared_ptr<PWHeaderAmendment> initWithHeaderKey(const OptString& headerKey,
                                                                const OptString& headerValue);
    // The entry's field name and value.
    static std::shared_ptr<PWHeaderAmendment> initWithHeaderEntry(const PWMessageHeaderEntry& entry);
    // "headerKey" and "headerValue" (strings; anything else counts as missing).
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    const OptString& headerKey() const noexcept { return headerKey_; }
    const OptString& headerValue() const noexcept { return headerValue_; }

    PWAmendmentDictionary dictionaryRepresentation() const override;
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWHeaderAmendment() = default;
    OptString headerKey_;
    OptString headerValue_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
