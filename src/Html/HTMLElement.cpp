#include "postwright/Html/HTMLElement.hpp"

#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLParser.hpp"

namespace postwright {

namespace {

bool isASCIIWhitespace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\f' || c == u'\r'; }

std::u16string asciiLowercase(std::u16string_view text) {
    std::u16string lower(text);
    for (char16_t& c : lower) {
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
    }
    return lower;
}

bool hasASCIIUppercase(std::u16string_view text) {
    for (char16_t c : text) {
        if (c >= u'A' && c <= u'Z') return true;
    }
    return false;
}

}  // namespace

HTMLElementRef HTMLElement::elementWithTagName(std::u16string_view tagName, HTMLNamespace ns) {
    std::u16string name = ns == HTMLNamespace::HTML ? asciiLowercase(tagName) : std::u16string(tagName);
    auto element = std::make_shared<HTMLElement>(ConstructionKey{}, std::move(name), ns);
    if (element->isHTMLElementNamed(u"template")) {
        element->templateContent_ = std::make_shared<HTMLDocumentFragment>();
        element->templateContent_->host_ = element;
    }
    return element;
}

HTMLElementRef HTMLElement::elementWithTagName(std::u16string_view tagName, std::vector<HTMLAttribute> attributes,
                                               HTMLNamespace ns) {
    HTMLElementRef element = elementWithTagName(tagName, ns);
    element->attributes_ = std::move(attributes);
    return element;
}

// ---- Attributes ----

const HTMLAttribute* HTMLElement::findAttribute(std::u16string_view name) const {
    // HTML attribute names are stored in lower case; only a name with capitals needs converting.
    std::u16string lowered;
    if (namespace_ == HTMLNamespace::HTML && hasASCIIUppercase(name)) {
        lowered = asciiLowercase(name);
        name = lowered;
    }
    for (const HTMLAttribute& attribute : attributes_) {
        if (attribute.name == name) return &attribute;
    }
    return nullptr;
}

std::optional<std::u16string> HTMLElement::attribute(std::u16string_view name) const {
    const HTMLAttribute* found = findAttribute(name);
    return found ? std::optional<std::u16string>(found->value) : std::nullopt;
}

void HTMLElement::setAttribute(std::u16string_view name, std::u16string_view value) {
    if (HTMLAttribute* found = findAttribute(name)) {
        found->value = value;
        return;
    }
    std::u16string stored = namespace_ == HTMLNamespace::HTML ? asciiLowercase(name) : std::u16string(name);
    attributes_.push_back({std::move(stored), std::u16string(value)});
}

void HTMLElement::removeAttribute(std::u16string_view name) {
    const HTMLAttribute* found = findAttribute(name);
    if (found) attributes_.erase(attributes_.begin() + (found - attributes_.data()));
}

std::u16string HTMLElement::elementId() const { return attribute(u"id").value_or(std::u16string()); }

std::u16string HTMLElement::className() const { return attribute(u"class").value_or(std::u16string()); }

std::vector<std::u16string> HTMLElement::classList() const {
    std::vector<std::u16string> classes;
    const HTMLAttribute* found = findAttribute(u"class");
    if (!found) return classes;
    const std::u16string& text = found->value;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && isASCIIWhitespace(text[i])) ++i;
        size_t start = i;
        while (i < text.size() && !isASCIIWhitespace(text[i])) ++i;
        if (i > start) classes.emplace_back(text.substr(start, i - start));
    }
    return classes;
}

bool HTMLElement::hasClass(std::u16string_view name) const {
    const HTMLAttribute* found = findAttribute(u"class");
    if (!found || name.empty()) return false;
    std::u16string_view text = found->value;
    for (size_t at = text.find(name); at != std::u16string_view::npos; at = text.find(name, at + 1)) {
        bool startsToken = at == 0 || isASCIIWhitespace(text[at - 1]);
        size_t end = at + name.size();
        bool endsToken = end == text.size() || isASCIIWhitespace(text[end]);
        if (startsToken && endsToken) return true;
    }
    return false;
}

// ---- Markup ----

void HTMLElement::setInnerHTML(std::u16string_view html) {
    auto fragment = parseHTMLFragment(html, *this);
    HTMLNode& target = templateContent_ ? static_cast<HTMLNode&>(*templateContent_) : *this;
    target.removeAllChildNodes();
    target.appendChild(fragment);
}

// ---- Copies and release ----

HTMLNodeRef HTMLElement::cloneWithoutChildren() const {
    return elementWithTagName(tagName_, attributes_, namespace_);
}

void HTMLElement::releaseOwnedSubtrees(std::vector<HTMLNodeRef>& released) {
    if (templateContent_) released.push_back(std::move(templateContent_));
}

void HTMLElement::appendOwnedSubtrees(const HTMLNode& copy,
                                      std::vector<std::pair<const HTMLNode*, HTMLNode*>>& pending) const {
    const auto& copiedElement = static_cast<const HTMLElement&>(copy);
    if (templateContent_ && copiedElement.templateContent_ && templateContent_->hasChildNodes()) {
        pending.emplace_back(templateContent_.get(), copiedElement.templateContent_.get());
    }
}

}  // namespace postwright
