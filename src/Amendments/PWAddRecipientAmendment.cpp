#include "postwright/Amendments/PWAddRecipientAmendment.hpp"

#include "postwright/Headers/PWEmailAddressGroup.hpp"

namespace postwright {

const PWAmendmentClass& PWAddRecipientAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWAddRecipientAmendment", u"AddRecipient",
                                      &PWAddRecipientAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWAddRecipientAmendment> PWAddRecipientAmendment::initWithRecipients(PWEmailAddressList recipients,
                                                                                     int64_t recipientType) {
    std::shared_ptr<PWAddRecipientAmendment> amendment(new PWAddRecipientAmendment());
    amendment->recipients_ = std::move(recipients);
    amendment->recipientType_ = recipientType;
    return amendment;
}

std::shared_ptr<PWMessageAmendment> PWAddRecipientAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary& dictionary) {
    PWEmailAddressList recipients;
    int64_t type = 0;
    if (dictionary.is_object()) {
        if (auto addresses = dictionary.find("addresses"); addresses != dictionary.end() && addresses->is_array()) {
            for (const auto& text : *addresses) {
                if (!text.is_string()) continue;
                auto address = PWEmailAddress::emailAddressWithRawAddress(fromUTF8(text.get<std::string>()));
                if (address && address->valid()) recipients.push_back(address);
            }
        }
        if (auto found = dictionary.find("recipientType"); found != dictionary.end() && found->is_number_integer()) {
            type = found->get<int64_t>();
        }
    }
    return initWithRecipients(std::move(recipients), type);
}

PWAmendmentDictionary PWAddRecipientAmendment::dictionaryRepresentation() const {
    PWAmendmentDictionary dictionary = baseDictionaryRepresentation();
    PWAmendmentDictionary addresses = PWAmendmentDictionary::array();
    for (const auto& address : recipients_) {
        if (OptString form = address ? address->rfc2822Representation() : std::nullopt)
            addresses.push_back(toUTF8(*form));
    }
    dictionary["addresses"] = std::move(addresses);
    dictionary["recipientType"] = recipientType_;
    return dictionary;
}

PWAmendmentResultRef PWAddRecipientAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                               const PWMessageAmendmentContext&,
                                                                               uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    std::optional<PWEmailAddressGroupList> groups;
    switch (recipientType_) {
        case kPWRecipientTypeTo:
            groups = message.recipients();
            break;
        case kPWRecipientTypeCc:
            groups = message.ccRecipients();
            break;
        case kPWRecipientTypeBcc:
            groups = message.bccRecipients();
            break;
        default:
            return PWAmendmentResult::init();
    }
    PWEmailAddressGroupList written;
    if (groups && !groups->empty() && groups->front()) {
        std::shared_ptr<PWEmailAddressGroup> first = groups->front();
        if (!first->addUniqueAddresses(recipients_)) return PWAmendmentResult::init();
        written = {first};  // the other groups of the field are dropped by this write
    } else {
        written = {PWEmailAddressGroup::addressGroupWithGroupName(std::nullopt, recipients_)};
    }
    switch (recipientType_) {
        case kPWRecipientTypeTo:
            message.setRecipients(written);
            break;
        case kPWRecipientTypeCc:
            message.setCcRecipients(written);
            break;
        default:
            message.setBccRecipients(written);
            break;
    }
    return PWAmendmentResult::init();
}

}  // namespace postwright
