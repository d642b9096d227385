#include "postwright/Amendments/PWFragmentMimePartAmendment.hpp"

#include "postwright/Base/Format.hpp"

namespace postwright {

namespace {
// The boolean value of a userInfo entry, read as the host's dictionaries give it: true, a non-zero number,
// or text that begins like "YES", "true" or a non-zero digit.
bool booleanValue(const nlohmann::json& value) {
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number()) return value.get<double>() != 0;
    if (!value.is_string()) return false;
    std::string text = value.get<std::string>();
    size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string::npos) return false;
    char first = text[start];
    return first == 'Y' || first == 'y' || first == 'T' || first == 't' || (first >= '1' && first <= '9');
}
}  // namespace

const PWAmendmentClass& PWFragmentMimePartAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWFragmentMimePartAmendment", u"FragmentMimeParts",
                                      &PWFragmentMimePartAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWFragmentMimePartAmendment> PWFragmentMimePartAmendment::init() {
    return std::shared_ptr<PWFragmentMimePartAmendment>(new PWFragmentMimePartAmendment());
}

std::shared_ptr<PWMessageAmendment> PWFragmentMimePartAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary&) {
    return init();
}

PWAmendmentResultRef PWFragmentMimePartAmendment::resultByApplyingToMutableMessage(
    FGBaseMutableMessage& message, const PWMessageAmendmentContext& context, uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    if (context.contextType() != kPWAmendmentContextDelivery) return PWAmendmentResult::init();
    nlohmann::json info = context.userInfo();
    bool exchange = info.is_object() && info.contains("deliveryAccountIsExchange") &&
                    booleanValue(info["deliveryAccountIsExchange"]);
    message.updateMimePartsWithContext(FGMimeUpdateContext::initWithType(0, exchange));
    context.log(formatString(u"[Amendment %@] updated MimePartsForDelivery", {context.identifier()}));
    return PWAmendmentResult::init();
}

}  // namespace postwright
