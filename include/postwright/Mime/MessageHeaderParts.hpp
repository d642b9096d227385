// The two message/* parts of the general registry that carry header blocks as their body: the delivery
// status of a report (RFC 3464, "message/delivery-status") and the returned headers of an
// internationalised report (RFC 6533, "message/global-headers"). A report container renders them first.
//
//     if (part->isMemberOfClass(PWMessageDeliveryStatusMimePart::mimeClass())) ...
#pragma once

#include "postwright/Export.hpp"
#include "postwright/Mime/PWMimePart.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Shared presentation of the two kinds: the body as text in a block that keeps its line breaks.
class PWMessageHeaderBlockMimePart : public PWMimePart {
public:
    // The body with its transfer encoding undone, read with the part's encoding (detected when the bytes
    // are not valid in it), trimmed.
    OptString plainContent() const override;
    std::u16string htmlFragmentForContext(int context, unsigned options,
                                          std::vector<PWMimePartRef>* relatedAttachments) const override;

protected:
    PWMessageHeaderBlockMimePart() = default;
};

// The delivery status of a report (message/delivery-status, RFC 3464).
class PWMessageDeliveryStatusMimePart : public PWMessageHeaderBlockMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWMessageDeliveryStatusMimePart() = default;
};

// The returned headers of an internationalised report (message/global-headers, RFC 6533).
class PWMessageGlobalHeadersMimePart : public PWMessageHeaderBlockMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWMessageGlobalHeadersMimePart() = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
