#include "postwright/Amendments/PWSubjectAmendment.hpp"

#include "Amendments/detail/AmendmentDictionaries.hpp"

namespace postwright {

const PWAmendmentClass& PWSubjectAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWSubjectAmendment", u"Subject",
                                      &PWSubjectAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWSubjectAmendment> PWSubjectAmendment::newWithSubjectTemplate(const OptString& subjectTemplate) {
    std::shared_ptr<PWSubjectAmendment> amendment(new PWSubjectAmendment());
    amendment->subjectTemplate_ = subjectTemplate;
    return amendment;
}

std::shared_ptr<PWMessageAmendment> PWSubjectAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary& dictionary) {
    return newWithSubjectTemplate(detail::stringForKey(dictionary, "template"));
}

PWAmendmentDictionary PWSubjectAmendment::dictionaryRepresentation() const {
    PWAmendmentDictionary dictionary = baseDictionaryRepresentation();
    if (subjectTemplate_) dictionary["template"] = toUTF8(*subjectTemplate_);
    return dictionary;
}

PWAmendmentResultRef PWSubjectAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                          const PWMessageAmendmentContext&, uint64_t,
                                                                          ErrorRef* error) {
    setSlot(error, nullptr);
    if (subjectTemplate_) {
        message.setSubject(replaceAll(*subjectTemplate_, kPWSubjectPlaceholder, message.subject().value_or(u"")));
    }
    return PWAmendmentResult::init();
}

}  // namespace postwright
