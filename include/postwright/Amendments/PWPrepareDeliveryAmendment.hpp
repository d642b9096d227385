// PWPrepareDeliveryAmendment ("PrepareDelivery", hint 25): turns a message being edited into the message
// that goes on the wire, in delivery context 4.
//
// It stamps the sent date, strips the composer's private headers ("X-Fennelgate-Id", "X-Orwin-Composer-Id",
// "X-Orwin-Composer-Sending-Account-Id", "X-Orwin-Composer-Send-As-Plain-Text",
// "X-Orwin-Local-Mutable-Message-Id", "X-Unsent"), drops a Sender that repeats From exactly, writes the
// X-Mailer, gives the message its final Message-Id ("<COMPOSER-ID@FROM-DOMAIN>"; "(null)" stands for a
// missing domain), and cleans the HTML: the editor's link scheme "orw-http" becomes "http", every paragraph
// becomes a "div" without class (the first one marked "fg-note", a br added after a last element other than
// br, images and placeholders left as they are), and the delivery clean-up list strips the editor's
// attributes, classes and decorations. In every context it then checks the message ("Prepared Message is
// Malformed", code 1). Each step is logged to the context's logger under the context's identifier.
//
//     auto prepare = PWPrepareDeliveryAmendment::initWithXMailer(u"Postwright 0.2");
//     // dictionary form: {"amendmentType": "PrepareDelivery", "xmailer": "Postwright 0.2"}
#pragma once

#include "postwright/Amendments/FGContentReplacement.hpp"
#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Turns a message being edited into the message that goes on the wire.
class PWPrepareDeliveryAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    // The value trimmed of white space and cut before its first line break; kept only when something is left.
    static std::shared_ptr<PWPrepareDeliveryAmendment> initWithXMailer(const OptString& xMailer);
    // "xmailer", when it is a string.
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);
    // The delivery clean-up list (PrepareDeliveryReplacements.hpp).
    static const std::vector<FGContentReplacement>& replacements();

    const OptString& xMailerHeaderValue() const noexcept { return xMailerHeaderValue_; }
    int64_t applicationOrderHint() const override { return 25; }
    PWAmendmentDictionary dictionaryRepresentation() const override;
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWPrepareDeliveryAmendment() = default;
    // False, changing nothing, for a message without HTML.
    bool cleanUpHTML(FGBaseMutableMessage& message) const;
    OptString xMailerHeaderValue_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
