// PWBodyAmendment ("Body", hint 10): wraps the body in a template whose "{{body}}" stands for it.
//
// The plain text becomes the template with every placeholder replaced by the text. The HTML changes only
// when the template holds exactly one placeholder: the text before it goes into a new "div" before the
// body's first child (or into the empty body), the text after it into a "div" at the end; the template's
// pieces are text, never markup. The template is deliberately not written into the dictionary form.
//
//     auto greeting = PWBodyAmendment::newWithBodyTemplate(u"Hi,\n{{body}}\nBye");
#pragma once

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr std::u16string_view kPWBodyPlaceholder = u"{{body}}";

// Wraps the plain text and the HTML in a template around "{{body}}".
class PWBodyAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    static std::shared_ptr<PWBodyAmendment> newWithBodyTemplate(const OptString& bodyTemplate);
    // A body amendment without a template: the dictionary form never holds one.
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    const OptString& bodyTemplate() const noexcept { return bodyTemplate_; }
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWBodyAmendment() = default;
    OptString bodyTemplate_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
