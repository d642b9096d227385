#include "postwright/Html/HTMLSerializer.hpp"

#include <array>
#include <string_view>
#include <vector>

#include "postwright/Html/HTMLElement.hpp"
#include "postwright/Html/HTMLNode.hpp"

namespace postwright {

namespace {

template <size_t N>
bool isOneOf(std::u16string_view name, const std::array<std::u16string_view, N>& names) {
    for (std::u16string_view candidate : names) {
        if (candidate == name) return true;
    }
    return false;
}

// Elements that have no end tag and never children in the serialisation.
bool isVoidElement(const HTMLElement& element) {
    static constexpr std::array<std::u16string_view, 18> kVoid = {
        u"area", u"base", u"basefont", u"bgsound", u"br",    u"col",   u"embed", u"frame", u"hr",
        u"img",  u"input", u"keygen",  u"link",    u"meta", u"param", u"source", u"track", u"wbr"};
    return element.tagNamespace() == HTMLNamespace::HTML && isOneOf(element.tagName(), kVoid);
}

// Elements whose text children are written without escaping (the parser reads them as raw text).
bool isRawTextContainer(const HTMLNode* node) {
    static constexpr std::array<std::u16string_view, 7> kRawText = {
        u"style", u"script", u"xmp", u"iframe", u"noembed", u"noframes", u"plaintext"};
    if (!node || !node->isElement()) return false;
    const auto& element = static_cast<const HTMLElement&>(*node);
    return element.tagNamespace() == HTMLNamespace::HTML && isOneOf(element.tagName(), kRawText);
}

// Elements after whose start tag the parser drops one leading line feed.
bool dropsLeadingNewline(const HTMLElement& element) {
    static constexpr std::array<std::u16string_view, 3> kNames = {u"pre", u"textarea", u"listing"};
    return element.tagNamespace() == HTMLNamespace::HTML && isOneOf(element.tagName(), kNames);
}

void appendEscaped(std::u16string& out, std::u16string_view text, bool attributeMode) {
    size_t plainStart = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        std::u16string_view replacement;
        switch (text[i]) {
            case u'&': replacement = u"&amp;"; break;
            case u'\u00A0': replacement = u"&nbsp;"; break;
            case u'<': replacement = u"&lt;"; break;
            case u'>': replacement = u"&gt;"; break;
            case u'"':
                if (attributeMode) replacement = u"&quot;";
                break;
            default:
                break;
        }
        if (replacement.empty()) continue;
        out.append(text.substr(plainStart, i - plainStart));
        out.append(replacement);
        plainStart = i + 1;
    }
    out.append(text.substr(plainStart));
}

void appendStartTag(std::u16string& out, const HTMLElement& element) {
    out += u'<';
    out += element.tagName();
    for (const HTMLAttribute& attribute : element.attributes()) {
        out += u' ';
        out += attribute.name;
        out += u"=\"";
        appendEscaped(out, attribute.value, true);
        out += u'"';
    }
    out += u'>';
}

// The nodes a container serialises: a template's contents, anything else's children.
const std::vector<HTMLNodeRef>& serializedChildren(const HTMLNode& node) {
    if (node.isElement()) {
        if (auto content = static_cast<const HTMLElement&>(node).templateContent()) return content->childNodes();
    }
    return node.childNodes();
}

// One open container during the walk: the nodes still to write and the element to close afterwards.
struct Frame {
    const HTMLNode* container;  // the parent of the nodes in [next, end)
    const HTMLNodeRef* next;
    const HTMLNodeRef* end;
    const HTMLElement* closing;  // nullptr for the outermost range
};

void serializeRange(std::u16string& out, const HTMLNode* container, const HTMLNodeRef* begin,
                    const HTMLNodeRef* end) {
    std::vector<Frame> stack{{container, begin, end, nullptr}};
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.end) {
            if (frame.closing) {
                out += u"</";
                out += frame.closing->tagName();
                out += u'>';
            }
            stack.pop_back();
            continue;
        }
        const HTMLNode& node = **frame.next++;
        const HTMLNode* parent = frame.container;
        switch (node.nodeType()) {
            case HTMLNodeType::Element: {
                const auto& element = static_cast<const HTMLElement&>(node);
                appendStartTag(out, element);
                if (isVoidElement(element)) break;
                const std::vector<HTMLNodeRef>& children = serializedChildren(element);
                if (dropsLeadingNewline(element) && !children.empty() && children.front()->isText()) {
                    const std::u16string& data = static_cast<const HTMLText&>(*children.front()).data();
                    if (!data.empty() && data.front() == u'\n') out += u'\n';
                }
                stack.push_back({&element, children.data(), children.data() + children.size(), &element});
                break;
            }
            case HTMLNodeType::Text: {
                const std::u16string& data = static_cast<const HTMLText&>(node).data();
                if (isRawTextContainer(parent)) {
                    out += data;
                } else {
                    appendEscaped(out, data, false);
                }
                break;
            }
            case HTMLNodeType::Comment:
                out += u"<!--";
                out += static_cast<const HTMLComment&>(node).data();
                out += u"-->";
                break;
            case HTMLNodeType::DocumentType:
                out += u"<!DOCTYPE ";
                out += static_cast<const HTMLDocumentType&>(node).name();
                out += u'>';
                break;
            case HTMLNodeType::Document:
            case HTMLNodeType::DocumentFragment: {
                // Not a child anywhere in a well-formed tree; written as its children.
                const std::vector<HTMLNodeRef>& children = node.childNodes();
                stack.push_back({&node, children.data(), children.data() + children.size(), nullptr});
                break;
            }
        }
    }
}

}  // namespace

std::u16string serializeHTMLChildren(const HTMLNode& node) {
    std::u16string out;
    const std::vector<HTMLNodeRef>& children = serializedChildren(node);
    serializeRange(out, &node, children.data(), children.data() + children.size());
    return out;
}

std::u16string serializeHTMLNode(const HTMLNode& node) {
    if (node.isDocument() || node.isDocumentFragment()) return serializeHTMLChildren(node);
    std::u16string out;
    HTMLNodeRef self = std::const_pointer_cast<HTMLNode>(node.shared_from_this());
    HTMLNodeRef parent = node.parentNode();
    serializeRange(out, parent.get(), &self, &self + 1);
    return out;
}

}  // namespace postwright
