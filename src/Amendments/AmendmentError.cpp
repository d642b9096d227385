#include "postwright/Amendments/AmendmentError.hpp"

#include "postwright/Base/Host.hpp"

namespace postwright {

namespace {
ErrorRef malformed(std::u16string_view key, std::u16string_view fallback, const char* infoKey,
                   std::u16string_view infoValue) {
    return makeError(PWMessageAmendmentErrorDomain, kPWAmendmentErrorMalformed, localizedString(key, fallback),
                     std::nullopt, nullptr, {{infoKey, std::u16string(infoValue)}});
}
}  // namespace

ErrorRef amendedMessageMalformedError(std::u16string_view amendmentsApplied) {
    return malformed(u"FGPostwrightError:AmendedMessage Malformed", u"Amended Message is Malformed",
                     "amendmentsApplied", u"Amendments applied: " + std::u16string(amendmentsApplied));
}

ErrorRef incompleteAmendmentError() {
    return makeError(PWMessageAmendmentErrorDomain, kPWAmendmentErrorMalformed, u"Amendment was incomplete");
}

ErrorRef dateSentMalformedError(std::u16string_view amendmentApplied) {
    return malformed(u"FGPostwrightError:DateSentAmendment Malformed Result",
                     u"Setting Date amendment result is malformed", "amendmentApplied", amendmentApplied);
}

ErrorRef plainTextMalformedError(std::u16string_view amendmentApplied) {
    return malformed(u"FGPostwrightError:MakePlainTextAmendment Malformed Result", u"Plain Text Message is Malformed",
                     "amendmentApplied", amendmentApplied);
}

ErrorRef preparedMessageMalformedError(std::u16string_view amendmentApplied) {
    return malformed(u"FGPostwrightError:PrepareDeliveryAmendment Malformed Result", u"Prepared Message is Malformed",
                     "amendmentApplied", amendmentApplied);
}

ErrorRef signatureModifierMissingError() {
    return makeError(PWMessageAmendmentErrorDomain, kPWAmendmentErrorSignatureModifierMissing,
                     u"The signatureModifier property on PWSignatureAmendment is nil");
}

}  // namespace postwright
