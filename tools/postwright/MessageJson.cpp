#include "MessageJson.hpp"

#include <cstdlib>

#include "postwright/Lexical/DateFormat.hpp"

namespace postwright::tool {

Json jsonAddress(const std::shared_ptr<PWEmailAddress>& address) {
    if (!address) return nullptr;
    Json object = Json::object();
    object["displayName"] = jsonText(address->addressComment());
    object["localPart"] = jsonText(address->userName());
    object["domain"] = jsonText(address->domain());
    object["userAtDomain"] = jsonText(address->userAtDomain());
    object["valid"] = address->valid();
    object["invalidRawAddress"] = jsonText(address->invalidRawAddress());
    object["mailSploited"] = address->isMailSploited();
    object["rfc2822"] = jsonText(address->rfc2822Representation());
    object["digest"] = jsonText(address->digest());
    return object;
}

Json jsonAddresses(const PWEmailAddressList& addresses) {
    Json array = Json::array();
    for (const auto& address : addresses) array.push_back(jsonAddress(address));
    return array;
}

Json jsonGroup(const std::shared_ptr<PWEmailAddressGroup>& group) {
    if (!group) return nullptr;
    Json object = Json::object();
    object["name"] = jsonText(group->groupName());
    object["addresses"] = jsonAddresses(group->addresses());
    return object;
}

Json jsonGroups(const PWEmailAddressGroupList& groups) {
    Json array = Json::array();
    for (const auto& group : groups) array.push_back(jsonGroup(group));
    return array;
}

std::string isoDateString(double date) {
    thread_local DateFormatter formatter("en_US_POSIX", u"yyyy-MM-dd'T'HH:mm:ss.SSS'Z'", std::string("UTC"));
    return toUTF8(formatter.stringFromDate(date));
}

Json jsonDate(const std::optional<double>& date) {
    if (!date) return nullptr;
    return isoDateString(*date);
}

std::optional<double> dateFromArgument(const std::string& text) {
    if (!text.empty() && text.find_first_not_of("-0123456789.") == std::string::npos) {
        char* end = nullptr;
        double milliseconds = std::strtod(text.c_str(), &end);
        if (end && *end == 0) return milliseconds;
    }
    static constexpr const char16_t* kPatterns[] = {u"yyyy-MM-dd'T'HH:mm:ss.SSSXXX",
                                                    u"yyyy-MM-dd'T'HH:mm:ssXXX",
                                                    u"yyyy-MM-dd'T'HH:mm:ss.SSS",
                                                    u"yyyy-MM-dd'T'HH:mm:ss",
                                                    u"yyyy-MM-dd'T'HH:mmXXX",
                                                    u"yyyy-MM-dd'T'HH:mm",
                                                    u"yyyy-MM-dd"};
    DateFormatter formatter("en_US_POSIX", u"", std::string("UTC"));
    std::u16string input = fromUTF8(text);
    for (const char16_t* pattern : kPatterns) {
        formatter.setPattern(pattern);
        if (std::optional<double> date = formatter.dateFromString(input)) return date;
    }
    return std::nullopt;
}

}  // namespace postwright::tool
