#include "postwright/Html/HTMLDocument.hpp"

#include "postwright/Html/HTMLParser.hpp"

namespace postwright {

std::shared_ptr<HTMLDocument> HTMLDocument::documentWithString(std::u16string_view html) {
    return parseHTMLDocument(html);
}

std::shared_ptr<HTMLDocument> HTMLDocument::document() { return std::make_shared<HTMLDocument>(); }

HTMLElementRef HTMLDocument::documentElement() const { return firstElementChild(); }

HTMLElementRef HTMLDocument::documentElementChildNamed(std::u16string_view name) const {
    HTMLElementRef root = documentElement();
    if (!root) return nullptr;
    for (const HTMLNodeRef& child : root->childNodes()) {
        if (!child->isElement()) continue;
        auto element = std::static_pointer_cast<HTMLElement>(child);
        if (element->isHTMLElementNamed(name)) return element;
    }
    return nullptr;
}

HTMLElementRef HTMLDocument::head() const { return documentElementChildNamed(u"head"); }
HTMLElementRef HTMLDocument::body() const { return documentElementChildNamed(u"body"); }

std::shared_ptr<HTMLDocumentType> HTMLDocument::doctype() const {
    for (const HTMLNodeRef& child : childNodes()) {
        if (child->isDocumentType()) return std::static_pointer_cast<HTMLDocumentType>(child);
    }
    return nullptr;
}

HTMLElementRef HTMLDocument::createElement(std::u16string_view tagName) const {
    return HTMLElement::elementWithTagName(tagName);
}

std::shared_ptr<HTMLText> HTMLDocument::createTextNode(std::u16string data) const {
    return HTMLText::textWithData(std::move(data));
}

std::shared_ptr<HTMLComment> HTMLDocument::createComment(std::u16string data) const {
    return HTMLComment::commentWithData(std::move(data));
}

std::shared_ptr<HTMLDocumentFragment> HTMLDocument::createDocumentFragment() const {
    return HTMLDocumentFragment::documentFragment();
}

HTMLNodeRef HTMLDocument::cloneWithoutChildren() const {
    auto copy = std::make_shared<HTMLDocument>();
    copy->parseErrors_ = parseErrors_;
    copy->quirksMode_ = quirksMode_;
    copy->droppedTagCount_ = droppedTagCount_;
    return copy;
}

}  // namespace postwright
