#include "postwright/Amendments/PWDateSentAmendment.hpp"

#include "Amendments/detail/AmendmentDictionaries.hpp"
#include "postwright/Amendments/AmendmentError.hpp"
#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Lexical/DateFormat.hpp"

namespace postwright {

const PWAmendmentClass& PWDateSentAmendment::amendmentClass() {
    // No identifier of its own: the base's.
    static const PWAmendmentClass cls{u"PWDateSentAmendment", PWMessageAmendment::amendmentClass().identifier,
                                      &PWDateSentAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWDateSentAmendment> PWDateSentAmendment::init() {
    return newWithDate(DateEnvironment::now());
}

std::shared_ptr<PWDateSentAmendment> PWDateSentAmendment::newWithDate(std::optional<double> date) {
    std::shared_ptr<PWDateSentAmendment> amendment(new PWDateSentAmendment());
    amendment->date_ = date;
    return amendment;
}

std::shared_ptr<PWMessageAmendment> PWDateSentAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary& dictionary) {
    OptString text = detail::stringForKey(dictionary, "date");
    return newWithDate(text ? RFC2822dateFormatter().dateFromString(*text) : std::nullopt);
}

PWAmendmentDictionary PWDateSentAmendment::dictionaryRepresentation() const {
    PWAmendmentDictionary dictionary = baseDictionaryRepresentation();
    if (date_) dictionary["date"] = toUTF8(rfc2822Date(*date_));
    return dictionary;
}

PWAmendmentResultRef PWDateSentAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                           const PWMessageAmendmentContext& context,
                                                                           uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    uint64_t type = context.contextType();
    bool stamps = type == kPWAmendmentContextDefault || type == kPWAmendmentContextStripBcc ||
                  type == kPWAmendmentContextDelivery;
    if (stamps && date_) message.setDateSent(*date_);
    if (!messageIsWellFormed(message)) setSlot(error, dateSentMalformedError(description()));
    return PWAmendmentResult::init();
}

}  // namespace postwright
