#include "MessageJson.hpp"

#include <algorithm>
#include <cstdlib>

#include "postwright/Lexical/DateFormat.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"

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

namespace postwright::tool {

namespace {
template <typename T, typename Convert>
Json jsonOptionalList(const std::optional<std::vector<T>>& list, Convert convert) {
    if (!list) return nullptr;
    Json array = Json::array();
    for (const T& item : *list) array.push_back(convert(item));
    return array;
}

Json jsonTexts(const std::optional<std::vector<std::u16string>>& texts) {
    return jsonOptionalList(texts, [](const std::u16string& text) { return jsonText(text); });
}

Json addresses(const std::optional<PWEmailAddressList>& list) { return list ? jsonAddresses(*list) : Json(nullptr); }

Json groups(const std::optional<PWEmailAddressGroupList>& list) { return list ? jsonGroups(*list) : Json(nullptr); }

Json jsonHashes(const std::optional<std::vector<RFC2822IDHash>>& hashes) {
    return jsonOptionalList(hashes, [](const RFC2822IDHash& hash) { return jsonText(hash.stringRepresentation()); });
}
}  // namespace

int pinDateEnvironment(const char* command, const Arguments& arguments,
                       std::optional<DateEnvironment::Override>& pinned) {
    std::optional<double> now;
    if (std::optional<std::string> given = arguments.value("now")) {
        now = dateFromArgument(*given);
        if (!now) return usageError(command, "--now needs milliseconds or an ISO 8601 date, not \"" + *given + "\"");
    }
    pinned.emplace(now, arguments.value("tz"), arguments.value("locale"));
    return 0;
}

Json jsonHeaders(const PWMessageHeaders& headers) {
    Json result = Json::object();
    std::vector<PWMessageHeaderEntryRef> entries = headers.headerEntryDictionary().allEntries();
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto& a, const auto& b) { return a->sortHint() < b->sortHint(); });
    Json fields = Json::array();
    for (const PWMessageHeaderEntryRef& entry : entries) {
        OptString raw = entry->value();
        OptString value;
        if (raw) value = removeCharacters(decodedMimeEncodedString(*raw), u"\r\n");
        fields.push_back({{"name", jsonText(entry->fieldName())},
                          {"raw", jsonText(raw)},
                          {"value", jsonText(value)},
                          {"sortHint", entry->sortHint()}});
    }
    result["fields"] = fields;
    result["subject"] = jsonText(headers.subject());
    result["from"] = addresses(headers.from());
    result["sender"] = addresses(headers.sender());
    result["recipients"] = groups(headers.recipients());
    result["ccRecipients"] = groups(headers.ccRecipients());
    result["bccRecipients"] = groups(headers.bccRecipients());
    result["replyToRecipients"] = groups(headers.replyToRecipients());
    result["dateSent"] = jsonDate(headers.dateSent());
    result["dateReceived"] = jsonDate(headers.dateReceived());
    Json sent = Json::array();
    for (double date : headers.candidateSentDates()) sent.push_back(jsonDate(date));
    result["candidateSentDates"] = sent;
    Json received = Json::array();
    for (double date : headers.possibleReceivedDates()) received.push_back(jsonDate(date));
    result["possibleReceivedDates"] = received;
    result["headerID"] = jsonText(headers.headerID());
    result["inReplyToIds"] = jsonTexts(headers.inReplyToIds());
    result["references"] = jsonTexts(headers.references());
    std::optional<ParameterDictionary> type = headers.contentTypeInfo();
    result["contentType"] = type ? jsonParameters(*type) : Json(nullptr);
    std::optional<ParameterDictionary> disposition = headers.contentDispositionInfo();
    result["contentDisposition"] = disposition ? jsonParameters(*disposition) : Json(nullptr);
    result["contentIdentifier"] = jsonText(headers.contentIdentifier());
    result["headerIDDigest"] = jsonText(headers.headerIDDigest());
    result["inReplyToDigests"] = jsonTexts(headers.inReplyToDigests());
    std::optional<RFC2822IDHash> hash = headers.messageIdRFC2822Hash();
    result["messageIdRFC2822Hash"] = hash ? jsonText(hash->stringRepresentation()) : Json(nullptr);
    result["inReplytoRFC2822Hashes"] = jsonHashes(headers.inReplytoRFC2822Hashes());
    result["referenceRFC2822Hashes"] = jsonHashes(headers.referenceRFC2822Hashes());
    return result;
}

Json jsonAbstract(const FGMessageAbstract& abstract) {
    Json result = Json::object();
    result["contentIdentifier"] = jsonText(abstract.contentIdentifier());
    result["subject"] = jsonText(abstract.subject());
    result["from"] = addresses(abstract.from());
    result["sender"] = addresses(abstract.sender());
    result["recipients"] = groups(abstract.recipients());
    result["ccRecipients"] = groups(abstract.ccRecipients());
    result["bccRecipients"] = groups(abstract.bccRecipients());
    result["inferredBccRecipients"] = groups(abstract.inferredBccRecipients());
    result["replyToRecipients"] = groups(abstract.replyToRecipients());
    result["dateSent"] = jsonDate(abstract.dateSent());
    result["dateReceived"] = jsonDate(abstract.dateReceived());
    result["headerID"] = jsonText(abstract.headerID());
    result["inReplyToIds"] = jsonTexts(abstract.inReplyToIds());
    result["references"] = jsonTexts(abstract.references());
    result["headerIDDigest"] = jsonText(abstract.headerIDDigest());
    result["inReplyToDigests"] = jsonTexts(abstract.inReplyToDigests());
    result["referenceDigests"] = jsonTexts(abstract.referenceDigests());
    std::optional<RFC2822IDHash> hash = abstract.messageIdRFC2822Hash();
    result["messageIdRFC2822Hash"] = hash ? jsonText(hash->stringRepresentation()) : Json(nullptr);
    result["inReplytoRFC2822Hashes"] = jsonHashes(abstract.inReplytoRFC2822Hashes());
    result["referenceRFC2822Hashes"] = jsonHashes(abstract.referenceRFC2822Hashes());
    result["messageSize"] = abstract.messageSize();
    result["numberOfAttachments"] = abstract.numberOfAttachments();
    result["encryptionFlags"] = abstract.encryptionFlags();
    result["encryptionMethod"] = abstract.encryptionMethod();
    result["snippet"] = jsonText(abstract.snippet());
    return result;
}

}  // namespace postwright::tool
