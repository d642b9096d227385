#include "Message/detail/ComposedParts.hpp"

#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Mime/MimeConstants.hpp"

namespace postwright::detail {

namespace {
PWMimePartRef copyForNewTree(const PWMimePartRef& part, bool isMutable) {
    Data bytes = part->mimeNSData();
    if (part->contentTransferEncoding() != std::u16string(kMimeTransferEncodingBinary)) {
        bytes = dataByNormalizingLineEndsToCRLF(bytes);
    }
    return PWMimePart::newMimePartWithRFC2822Data(bytes, part->identifier(), isMutable, nullptr);
}

bool startsWithIgnoringASCIICase(std::u16string_view text, size_t at, std::u16string_view prefix) {
    if (text.size() - at < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        char16_t c = text[at + i];
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + (u'a' - u'A'));
        if (c != prefix[i]) return false;
    }
    return true;
}
}  // namespace

PWMimePartRef partForNewTree(const PWMimePartRef& part) {
    if (part->isMutable() && !part->parent()) return part;
    return copyForNewTree(part, false);
}

PWMimePartRef mutableCopyForNewTree(const PWMimePartRef& part) {
    return copyForNewTree(part, true);
}

std::shared_ptr<PWTextHtmlMimePart> htmlPartWithComposerHTML(std::u16string_view html) {
    std::u16string text;
    text.reserve(html.size());
    for (size_t i = 0; i < html.size();) {
        if ((html[i] == u'x' || html[i] == u'X') && startsWithIgnoringASCIICase(html, i, FGWebViewContentIdSchemeKey)) {
            text += u"cid:";
            i += FGWebViewContentIdSchemeKey.size();
        } else {
            text += html[i++];
        }
    }
    return PWTextHtmlMimePart::initMutableWithHtmlString(text, kUTF8StringEncoding,
                                                         std::u16string(kMimeTransferEncodingQuotedPrintable));
}

}  // namespace postwright::detail
