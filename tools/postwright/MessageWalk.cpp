#include "MessageWalk.hpp"

#include <vector>

#include "postwright/Mime/PWMimeAttachment.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"
#include "postwright/Mime/PWTextMimePart.hpp"

namespace postwright::tool {

void forEachPart(const PWMimePartRef& root, const std::function<void(const PWMimePartRef&)>& visit) {
    if (!root) return;
    std::vector<PWMimePartRef> stack{root};
    while (!stack.empty()) {
        PWMimePartRef part = std::move(stack.back());
        stack.pop_back();
        visit(part);
        std::vector<PWMimePartRef> children = part->subParts();
        for (auto child = children.rbegin(); child != children.rend(); ++child) stack.push_back(*child);
    }
}

size_t decodeLeaf(const PWMimePartRef& part) {
    if (auto attachment = std::dynamic_pointer_cast<PWMimeAttachment>(part)) {
        std::optional<Data> bytes = attachment->decodedAttachmentData();
        return bytes ? bytes->length() : 0;
    }
    if (part->isKindOfClass(PWTextHtmlMimePart::mimeClass())) {
        OptString html = part->htmlContent();
        return html ? html->size() : 0;
    }
    if (part->isKindOfClass(PWTextMimePart::mimeClass())) {
        OptString text = part->plainContent();
        return text ? text->size() : 0;
    }
    return part->transferDecodedData().length();
}

}  // namespace postwright::tool
