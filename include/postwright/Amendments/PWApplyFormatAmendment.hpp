// PWApplyFormatAmendment ("ApplyFormat", hint 24): kept so that stored amendment lists keep their meaning;
// it changes nothing. Making one from settings is a broken contract (ProgrammingError "This class should
// not be used and will be deprecated soon."); stored ones are still read and written.
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A stored formatting amendment, kept readable and inert.
class PWApplyFormatAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    // Always throws (see above).
    [[noreturn]] static std::shared_ptr<PWApplyFormatAmendment> initWithCSSDict(const PWAmendmentDictionary& css,
                                                                                bool preventAutoPlainText);
    // "content" (taken only when it is a dictionary) and "preventAutoPlainText" (a boolean).
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    const PWAmendmentDictionary& cssDictionary() const noexcept { return cssDictionary_; }
    bool preventAutoConvertToPlainText() const noexcept { return preventAutoConvertToPlainText_; }

    int64_t applicationOrderHint() const override { return 24; }
    PWAmendmentDictionary dictionaryRepresentation() const override;
    // Inert: clears the error and returns an empty result.
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWApplyFormatAmendment() = default;
    PWAmendmentDictionary cssDictionary_;  // null when none was given
    bool preventAutoConvertToPlainText_ = false;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
