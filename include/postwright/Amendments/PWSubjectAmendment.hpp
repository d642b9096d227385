// PWSubjectAmendment ("Subject", hint 10): rewrites the subject from a template, every "{{subject}}" in it
// standing for the current subject (the empty text when the message has none). A template without the
// placeholder replaces the subject outright.
//
//     auto forward = PWSubjectAmendment::newWithSubjectTemplate(u"Fwd: {{subject}}");
//     // dictionary form: {"amendmentType": "Subject", "template": "Fwd: {{subject}}"}
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr std::u16string_view kPWSubjectPlaceholder = u"{{subject}}";

// Rewrites the subject from a template around "{{subject}}".
class PWSubjectAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    static std::shared_ptr<PWSubjectAmendment> newWithSubjectTemplate(const OptString& subjectTemplate);
    // "template".
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    const OptString& subjectTemplate() const noexcept { return subjectTemplate_; }

    PWAmendmentDictionary dictionaryRepresentation() const override;
    // Without a template the subject is left as it is.
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWSubjectAmendment() = default;
    OptString subjectTemplate_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
