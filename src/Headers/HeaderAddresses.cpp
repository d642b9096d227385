// The typed views of a header block that other units parse: addresses and groups (RFC 2822 section 3.4),
// Content-Type (RFC 2045) and Content-Disposition (RFC 2183).
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {
// Every address that From and Sender hand out must have a digest: the address layer never makes one
// without (a broken contract otherwise).
void checkDigests(const std::optional<PWEmailAddressList>& addresses, const OptString& rawValue) {
    if (!addresses) return;
    for (const auto& address : *addresses) {
        if (!address || !address->digest()) {
            throw ProgrammingError(toUTF8(formatString(u"Invalid address for header %@", {rawValue})));
        }
    }
}
}  // namespace

std::optional<PWEmailAddressList> PWMessageHeaders::emailAddressesForHeaderKey(std::u16string_view key) const {
    OptString value = firstHeaderForKey(key, false);
    if (!value) return std::nullopt;
    return PWEmailAddress::emailAddressesFromHeaderValue(value);
}

std::optional<PWEmailAddressGroupList> PWMessageHeaders::emailAddressGroupsForHeaderKey(std::u16string_view key) const {
    OptString value = firstHeaderForKey(key, false);
    if (!value) return std::nullopt;
    return PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(value);
}

std::optional<PWEmailAddressList> PWMessageHeaders::from() const {
    std::optional<PWEmailAddressList> addresses = emailAddressesForHeaderKey(PWMessageHeaderFromKey);
    checkDigests(addresses, firstHeaderForKey(PWMessageHeaderFromKey, false));
    if (!addresses || addresses->empty()) return std::nullopt;
    return addresses;
}

std::optional<PWEmailAddressList> PWMessageHeaders::sender() const {
    std::optional<PWEmailAddressList> addresses = emailAddressesForHeaderKey(PWMessageHeaderSenderKey);
    checkDigests(addresses, firstHeaderForKey(PWMessageHeaderSenderKey, false));
    return addresses;
}

std::optional<PWEmailAddressGroupList> PWMessageHeaders::recipients() const {
    return emailAddressGroupsForHeaderKey(PWMessageHeaderToKey);
}

std::optional<PWEmailAddressGroupList> PWMessageHeaders::ccRecipients() const {
    return emailAddressGroupsForHeaderKey(PWMessageHeaderCcKey);
}

std::optional<PWEmailAddressGroupList> PWMessageHeaders::bccRecipients() const {
    return emailAddressGroupsForHeaderKey(PWMessageHeaderBccKey);
}

std::optional<PWEmailAddressGroupList> PWMessageHeaders::replyToRecipients() const {
    return emailAddressGroupsForHeaderKey(PWMessageHeaderReplyToKey);
}

std::optional<ParameterDictionary> PWMessageHeaders::contentTypeInfo() const {
    OptString value = firstHeaderForKey(u"Content-Type", false);
    if (!value) return std::nullopt;
    Scanner scanner = Scanner::emailAddressScannerWithString(*value);
    ParameterDictionary info;
    if (!scanner.scanRFC1341ContentTypeHeaderIntoDictionary(&info, nullptr)) return std::nullopt;
    return info;
}

std::optional<ParameterDictionary> PWMessageHeaders::contentDispositionInfo() const {
    OptString value = firstHeaderForKey(u"Content-Disposition", false);
    if (!value) return std::nullopt;
    Scanner scanner = Scanner::emailAddressScannerWithString(*value);
    ParameterDictionary info;
    if (!scanner.scanRFC2183ContentDispositionHeaderIntoDictionary(&info, nullptr)) return std::nullopt;
    return info;
}

std::optional<PWContentType> PWMessageHeaders::contentType() const {
    std::optional<ParameterDictionary> info = contentTypeInfo();
    if (!info) return std::nullopt;
    return PWContentType::newWithContentTypeInfo(*info);
}

std::optional<PWContentDisposition> PWMessageHeaders::contentDisposition() const {
    std::optional<ParameterDictionary> info = contentDispositionInfo();
    if (!info) return std::nullopt;
    return PWContentDisposition::newWithDispositionInfo(*info);
}

}  // namespace postwright
