// The whole message as an HTML document for the host's web view, and as the plain text a reader sees.
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Message/PWMessageContents.hpp"
#include "postwright/Mime/MimeConstants.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"

namespace postwright {

namespace {
// The text of a part as a reader sees it: the plain alternative of an alternative container, the texts of
// the children of other containers, the text of HTML without its markup; attachments give none. The tree
// is at most 64 levels deep, so the recursion is bounded.
OptString readerText(const PWMimePartRef& part, const RenderMonitor* monitor) {
    if (monitor && monitor->isCancelled()) return std::nullopt;
    if (auto alternative = std::dynamic_pointer_cast<PWMultipartAlternativeMimePart>(part)) {
        PWMimePartRef chosen = alternative->mimePartWithContext(kMimeDisplayContextPlainText);
        if (!chosen) chosen = alternative->mimePartWithContext(kMimeDisplayContextRich);
        return chosen ? readerText(chosen, monitor) : std::nullopt;
    }
    if (part->hasSubParts()) {
        std::vector<std::u16string> texts;
        for (const PWMimePartRef& child : part->subParts()) {
            OptString text = readerText(child, monitor);
            if (text && !text->empty()) texts.push_back(*text);
        }
        if (texts.empty()) return std::nullopt;
        return componentsJoinedBy(texts, u"\n\n");
    }
    if (part->isKindOfClass(PWMimeAttachment::mimeClass())) return std::nullopt;
    if (part->isKindOfClass(PWTextHtmlMimePart::mimeClass())) {
        OptString html = part->htmlContent();
        if (!html) return std::nullopt;
        auto document = HTMLDocument::documentWithString(*html);
        return document->body() ? fgTrim(document->body()->textContent()) : std::u16string();
    }
    return part->plainContent();
}

std::u16string page(std::u16string_view fragment) {
    return u"<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n</head>\n<body>\n" + std::u16string(fragment) +
           u"\n</body>\n</html>\n";
}
}  // namespace

OptString PWMessageContents::plainText() const {
    PWMimePartRef root = rootMimePart();
    return root ? readerText(root, nullptr) : std::nullopt;
}

std::u16string PWMessageContents::htmlDocumentWithContext(int context, const RenderMonitor* monitor,
                                                          std::vector<PWMimePartRef>* attachments) const {
    PWMimePartRef root = rootMimePart();
    if (!root) return htmlEnvelopeWithContents(u"");
    if (context == kMessageDisplayPlainText || root->shouldDisplayAsPlainText()) {
        setSlot(attachments, root->attachments());
        return htmlEnvelopeWithContents(stringByEscapingForHTMLContent(readerText(root, monitor).value_or(u"")));
    }
    std::vector<PWMimePartRef> related;
    std::u16string fragment = root->htmlFragmentForContext(context, 0, &related);
    setSlot(attachments, related);
    return page(fragment);
}

}  // namespace postwright
