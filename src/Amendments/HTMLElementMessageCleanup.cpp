#include "postwright/Amendments/HTMLElementMessageCleanup.hpp"

#include <array>
#include <vector>

#include "postwright/Base/Host.hpp"
#include "postwright/Base/Regex.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Html/CSSSelector.hpp"

namespace postwright {

namespace {

template <size_t N>
bool isOneOf(std::u16string_view name, const std::array<std::u16string_view, N>& names) {
    for (std::u16string_view candidate : names) {
        if (candidate == name) return true;
    }
    return false;
}

// Tags that make content more than plain text.
bool isFormattingTag(std::u16string_view name) {
    static constexpr std::array<std::u16string_view, 32> kFormatting = {
        u"b",   u"strong", u"i",     u"em",   u"h1",     u"h2",   u"h3",   u"h4",    u"h5",  u"h6", u"pre",
        u"mark", u"small", u"big",   u"del",  u"s",      u"ins",  u"u",    u"sub",   u"sup", u"dfn", u"a",
        u"center", u"font", u"style", u"li",  u"ul",     u"ol",   u"table", u"img",  u"video", u"audio"};
    return isOneOf(name, kFormatting);
}

bool isMediaTag(std::u16string_view name) {
    static constexpr std::array<std::u16string_view, 3> kMedia = {u"img", u"video", u"audio"};
    return isOneOf(name, kMedia);
}

}  // namespace

bool isEmptyWithOptions(const HTMLNode& node, unsigned options) {
    // A p or div is empty when all its children are: the children join the walk, and the answer is the
    // conjunction over every node visited.
    std::vector<const HTMLNode*> pending{&node};
    while (!pending.empty()) {
        const HTMLNode& current = *pending.back();
        pending.pop_back();
        if (current.isText()) {
            if (!fgTrim(static_cast<const HTMLText&>(current).data()).empty()) return false;
            continue;
        }
        if (!current.isElement()) continue;
        std::u16string tag = lowercase(static_cast<const HTMLElement&>(current).tagName());
        if (tag == u"br") {
            if (!(options & kEmptyLineBreak)) return false;
        } else if (tag == u"span") {
            if ((options & kEmptySpanOnlyWithoutText) && !current.textContent().empty()) return false;
        } else if (tag == u"p" || tag == u"div") {
            if (!(options & kEmptyBlockWhenChildrenEmpty)) return false;
            for (const HTMLNodeRef& child : current.childNodes()) pending.push_back(child.get());
        } else {
            return false;
        }
    }
    return true;
}

bool hasTextOnlyContent(const HTMLNode& node) {
    // Each receiver examined: its child elements must not be formatting or styled, children with element
    // children of their own send their child nodes to be examined as receivers, and a media receiver fails.
    std::vector<const HTMLNode*> receivers{&node};
    while (!receivers.empty()) {
        const HTMLNode& receiver = *receivers.back();
        receivers.pop_back();
        for (const HTMLNodeRef& child : receiver.childNodes()) {
            if (!child->isElement()) continue;
            const auto& element = static_cast<const HTMLElement&>(*child);
            std::u16string tag = lowercase(element.tagName());
            if (isFormattingTag(tag) || element.hasAttribute(u"style")) return false;
            if (tag != u"br" && element.childElementCount() > 0) {
                for (const HTMLNodeRef& grandchild : element.childNodes()) receivers.push_back(grandchild.get());
            }
        }
        if (receiver.isElement() && isMediaTag(lowercase(static_cast<const HTMLElement&>(receiver).tagName()))) {
            return false;
        }
    }
    return true;
}

void trimEmptyChildrenWithOptions(HTMLElement& element, unsigned options) {
    std::vector<HTMLNodeRef> children = element.childNodes();
    std::vector<bool> marked(children.size(), false);
    if (options & kTrimEmptyAtStart) {
        for (size_t i = 0; i < children.size() && isEmptyWithOptions(*children[i], options); ++i) {
            logNodeTrim(element, *children[i], u"start");
            marked[i] = true;
        }
    }
    if (options & kTrimEmptyAtEnd) {
        for (size_t i = children.size(); i-- > 0 && isEmptyWithOptions(*children[i], options);) {
            logNodeTrim(element, *children[i], u"end");
            marked[i] = true;
        }
    }
    for (size_t i = 0; i < children.size(); ++i) {
        if (marked[i]) element.removeChild(children[i]);
    }
}

void logNodeTrim(const HTMLElement&, const HTMLNode& node, std::u16string_view location) {
    std::u16string text = node.isElement() ? node.outerHTML()
                          : node.isText()  ? static_cast<const HTMLText&>(node).data()
                                           : std::u16string(u"n/a");
    std::u16string line = u"Trimming node at ";
    line += location;
    line += u" \u2014 (";
    line += text;
    line += u")";
    logForCategory(kTrimmingLogCategory, line);
}

std::u16string comparableStringContents(HTMLElement& element) {
    static const auto iconLabel = CSSSelector::classSelector(u"orwIconLabel");
    for (const HTMLElementRef& label : element.elementsMatchingSelector(*iconLabel)) label->removeFromParent();
    static const Regex whitespace(u"\\s");
    return whitespace.replaceAll(removeCharacters(element.textContent(), u"\u200C\u200B"), u"");
}

HTMLElementRef duplicateWithTagName(const HTMLElement& element, std::u16string_view tagName) {
    HTMLElementRef copy = HTMLElement::elementWithTagName(tagName, element.attributes());
    copy->setInnerHTML(element.innerHTML());
    return copy;
}

// ---- Style sheets of the document head ----------------------------------------------------------------------

namespace {
bool isStyleSheet(const HTMLElement& element) {
    if (element.isHTMLElementNamed(u"style")) return true;
    if (!element.isHTMLElementNamed(u"link")) return false;
    // rel is a set of tokens separated by ASCII white space.
    std::u16string rel = lowercase(element.attribute(u"rel").value_or(u""));
    for (char16_t& c : rel) {
        if (c == u'\t' || c == u'\r' || c == u'\n' || c == u'\f') c = u' ';
    }
    for (const std::u16string& token : componentsSeparatedBy(rel, u" ")) {
        if (token == u"stylesheet") return true;
    }
    return false;
}

template <typename Test>
void removeHeadStyleSheets(HTMLDocument& document, Test shouldRemove) {
    HTMLElementRef head = document.head();
    if (!head) return;
    for (const HTMLElementRef& element : head->querySelectorAll(u"style, link")) {
        if (isStyleSheet(*element) && shouldRemove(*element)) element->removeFromParent();
    }
}
}  // namespace

void purgeHeadCSSForPlainContent(HTMLDocument& document) {
    removeHeadStyleSheets(document, [](const HTMLElement&) { return true; });
}

void purgeHeadCSSWithFilters(HTMLDocument& document, const std::vector<std::u16string>& filters) {
    removeHeadStyleSheets(document, [&](const HTMLElement& element) {
        std::u16string id = element.elementId();
        for (const std::u16string& filter : filters) {
            if (!id.empty() && id == filter) return true;
            if (element.hasClass(filter)) return true;
        }
        return false;
    });
}

}  // namespace postwright
