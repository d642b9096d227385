#include "postwright/Amendments/PWApplyFormatAmendment.hpp"

namespace postwright {

const PWAmendmentClass& PWApplyFormatAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWApplyFormatAmendment", u"ApplyFormat",
                                      &PWApplyFormatAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWApplyFormatAmendment> PWApplyFormatAmendment::initWithCSSDict(const PWAmendmentDictionary&, bool) {
    throw ProgrammingError("This class should not be used and will be deprecated soon.");
}

std::shared_ptr<PWMessageAmendment> PWApplyFormatAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary& dictionary) {
    std::shared_ptr<PWApplyFormatAmendment> amendment(new PWApplyFormatAmendment());
    if (dictionary.is_object()) {
        if (auto content = dictionary.find("content"); content != dictionary.end() && content->is_object()) {
            amendment->cssDictionary_ = *content;
        }
        if (auto prevent = dictionary.find("preventAutoPlainText");
            prevent != dictionary.end() && prevent->is_boolean()) {
            amendment->preventAutoConvertToPlainText_ = prevent->get<bool>();
        }
    }
    return amendment;
}

PWAmendmentDictionary PWApplyFormatAmendment::dictionaryRepresentation() const {
    PWAmendmentDictionary dictionary = baseDictionaryRepresentation();
    if (cssDictionary_.is_object()) dictionary["content"] = cssDictionary_;
    dictionary["preventAutoPlainText"] = preventAutoConvertToPlainText_;
    return dictionary;
}

PWAmendmentResultRef PWApplyFormatAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage&,
                                                                              const PWMessageAmendmentContext&,
                                                                              uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    return PWAmendmentResult::init();
}

}  // namespace postwright
