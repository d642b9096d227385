#include "postwright/Mime/MessageHeaderParts.hpp"

#include "postwright/Mime/PWTextMimePart.hpp"

namespace postwright {

const PWMimeClass& PWMessageDeliveryStatusMimePart::mimeClass() {
    static const PWMimeClass descriptor{
        u"PWMessageDeliveryStatusMimePart", &PWMimePart::mimeClass(),
        []() -> PWMimePartRef { return PWMimePartRef(new PWMessageDeliveryStatusMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWMessageGlobalHeadersMimePart::mimeClass() {
    static const PWMimeClass descriptor{
        u"PWMessageGlobalHeadersMimePart", &PWMimePart::mimeClass(),
        []() -> PWMimePartRef { return PWMimePartRef(new PWMessageGlobalHeadersMimePart()); }};
    return descriptor;
}

OptString PWMessageHeaderBlockMimePart::plainContent() const {
    Data body = transferDecodedData();
    if (body.empty()) return std::nullopt;
    OptString text = decodeTextBody(body, stringEncoding(), this);
    if (!text) return std::nullopt;
    return fgTrim(*text);
}

std::u16string PWMessageHeaderBlockMimePart::htmlFragmentForContext(int, unsigned, std::vector<PWMimePartRef>*) const {
    OptString text = plainContent();
    if (!text || text->empty()) return {};
    return u"<div style=\"white-space: pre-wrap\">" + stringByEscapingForHTMLContent(*text) + u"</div>";
}

}  // namespace postwright
