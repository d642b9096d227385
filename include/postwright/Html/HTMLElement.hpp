// HTMLElement: an element of the HTML document model, with its attributes and class names.
//
// An element has a tag name, a namespace (HTML, or SVG and MathML for foreign content), and attributes in
// insertion order. HTML elements keep their tag and attribute names in lower case and look attribute names
// up case-insensitively, as the HTML parser does; foreign elements keep the case the parser gave them
// ("foreignObject", "viewBox"). A <template> element keeps its contents in a separate document fragment
// (templateContent): they are serialised and cloned with the element but are not its children, so queries
// do not see them.
//
//     auto link = HTMLElement::elementWithTagName(u"a");
//     link->setAttribute(u"href", u"https://example.com/");
//     link->setTextContent(u"example");           // <a href="https://example.com/">example</a>
//
// Threads: as every node, an element is used by one thread at a time (see HTMLNode.hpp).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Export.hpp"
#include "postwright/Html/HTMLNode.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

enum class HTMLNamespace { HTML, SVG, MathML };

// One attribute. Namespaced attributes of foreign elements keep their prefixed name ("xlink:href").
struct HTMLAttribute {
    std::u16string name;
    std::u16string value;
    bool operator==(const HTMLAttribute&) const = default;
};

// An element: tag name, namespace, attributes in insertion order and class names.
class HTMLElement : public HTMLNode {
    struct ConstructionKey {
        explicit ConstructionKey() = default;
    };

public:
    // A new element without parent. An HTML tag name is lower-cased; a foreign one is kept as given.
    static HTMLElementRef elementWithTagName(std::u16string_view tagName, HTMLNamespace ns = HTMLNamespace::HTML);
    static HTMLElementRef elementWithTagName(std::u16string_view tagName, std::vector<HTMLAttribute> attributes,
                                             HTMLNamespace ns = HTMLNamespace::HTML);

    // Use elementWithTagName: it also gives a template element its contents.
    HTMLElement(ConstructionKey, std::u16string tagName, HTMLNamespace ns)
        : HTMLNode(HTMLNodeType::Element), tagName_(std::move(tagName)), namespace_(ns) {}

    // The local name: lower case for HTML elements ("div"), as adjusted by the parser for foreign ones.
    const std::u16string& tagName() const noexcept { return tagName_; }
    HTMLNamespace tagNamespace() const noexcept { return namespace_; }
    // True for an HTML element whose tag name is name (name given in lower case).
    bool isHTMLElementNamed(std::u16string_view name) const noexcept {
        return namespace_ == HTMLNamespace::HTML && tagName_ == name;
    }

    // ---- Attributes ----
    //
    // Names are matched exactly after lower-casing the given name for an HTML element (so "onClick" finds
    // "onclick"); setAttribute stores a new HTML attribute name in lower case.

    const std::vector<HTMLAttribute>& attributes() const noexcept { return attributes_; }
    // Replaces every attribute (names are taken as given).
    void setAttributes(std::vector<HTMLAttribute> attributes) { attributes_ = std::move(attributes); }
    // The value, nullopt when the element has no such attribute.
    std::optional<std::u16string> attribute(std::u16string_view name) const;
    bool hasAttribute(std::u16string_view name) const { return findAttribute(name) != nullptr; }
    // Sets the value; a new attribute goes after the existing ones, an existing one keeps its place.
    void setAttribute(std::u16string_view name, std::u16string_view value);
    // Removes the attribute; no effect when there is none.
    void removeAttribute(std::u16string_view name);

    // The "id" attribute, empty when there is none. setElementId stores the value as given (an empty
    // value is an empty "id" attribute).
    std::u16string elementId() const;
    void setElementId(std::u16string_view elementId) { setAttribute(u"id", elementId); }

    // The "class" attribute as text, empty when there is none.
    std::u16string className() const;
    void setClassName(std::u16string_view className) { setAttribute(u"class", className); }
    // The class attribute split at ASCII white space, empty tokens dropped, in order.
    std::vector<std::u16string> classList() const;
    bool hasClass(std::u16string_view name) const;

    // ---- Markup ----

    // Replaces the children (the contents of a template) by the nodes parsed from html in this element's
    // context: "<td>" parses as a cell inside a "tr", text inside "textarea" stays text, and so on.
    void setInnerHTML(std::u16string_view html);

    // The contents of a template element; nullptr for every other element.
    std::shared_ptr<HTMLDocumentFragment> templateContent() const { return templateContent_; }

protected:
    HTMLNodeRef cloneWithoutChildren() const override;
    void releaseOwnedSubtrees(std::vector<HTMLNodeRef>& released) override;
    void appendOwnedSubtrees(const HTMLNode& copy,
                             std::vector<std::pair<const HTMLNode*, HTMLNode*>>& pending) const override;

private:
    const HTMLAttribute* findAttribute(std::u16string_view name) const;
    HTMLAttribute* findAttribute(std::u16string_view name) {
        return const_cast<HTMLAttribute*>(static_cast<const HTMLElement*>(this)->findAttribute(name));
    }

    std::u16string tagName_;
    HTMLNamespace namespace_;
    std::vector<HTMLAttribute> attributes_;
    std::shared_ptr<HTMLDocumentFragment> templateContent_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
