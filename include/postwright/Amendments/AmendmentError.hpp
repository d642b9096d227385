// The amendments' error vocabulary: the domain (spelt "Amendement", as hosts already match on it), its
// codes, and the records the driver and the amendments report. Descriptions are looked up in the host's
// string tables by key, with the English text as the fallback.
//
//     ErrorRef error;
//     if (!PWMessageAmendment::contentsByApplyingAmendments(list, message, &error) && error &&
//         error->domain == PWMessageAmendmentErrorDomain && error->code == kPWAmendmentErrorMalformed) ...
#pragma once

#include <string>

#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr const char* PWMessageAmendmentErrorDomain = "com.fennelgate.MessageAmendementError";

enum PWMessageAmendmentErrorCode : long {
    kPWAmendmentErrorMalformed = 1,                  // a malformed result, or an incomplete amendment
    kPWAmendmentErrorSignatureModifierMissing = 10,  // the signature amendment has no modifier to call
};

// The driver's record: the amended message is not well formed. "amendmentsApplied" holds
// "Amendments applied: " followed by the list in the order it ran.
ErrorRef amendedMessageMalformedError(std::u16string_view amendmentsApplied);
// The header amendment's record: "Amendment was incomplete" (no key or no value).
ErrorRef incompleteAmendmentError();
// The records of the amendments that check the message after their change, each with "amendmentApplied"
// (the amendment's description).
ErrorRef dateSentMalformedError(std::u16string_view amendmentApplied);
ErrorRef plainTextMalformedError(std::u16string_view amendmentApplied);
ErrorRef preparedMessageMalformedError(std::u16string_view amendmentApplied);
// The signature amendment's record: "The signatureModifier property on PWSignatureAmendment is nil".
ErrorRef signatureModifierMissingError();

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
