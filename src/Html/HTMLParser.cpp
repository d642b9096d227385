#include "postwright/Html/HTMLParser.hpp"

#include <gumbo.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Html/detail/GumboErrors.hpp"
#include "Html/detail/HTMLTreeBuilder.hpp"
#include "Html/detail/NestingLimiter.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Html/HTMLElement.hpp"

namespace postwright {

namespace {

// All of gumbo's memory for one parse. gumbo releases a tree by recursing over it, one call per level, so
// the tree is never handed back to gumbo: the arena is dropped as a whole once the library's own tree is
// built. Freed blocks are not reused; gumbo's allocations during a parse are linear in the input.
class GumboArena {
public:
    GumboArena() = default;
    GumboArena(const GumboArena&) = delete;
    GumboArena& operator=(const GumboArena&) = delete;

    GumboOptions options() {
        GumboOptions options = kGumboDefaultOptions;
        options.allocator = &GumboArena::allocate;
        options.deallocator = &GumboArena::deallocate;
        options.userdata = this;
        options.max_errors = static_cast<int>(kHTMLMaxParseErrors);
        return options;
    }

private:
    static constexpr size_t kAlignment = alignof(std::max_align_t);
    static constexpr size_t kFirstBlock = 64 * 1024;
    static constexpr size_t kLargestBlock = 4 * 1024 * 1024;

    static void* allocate(void* userdata, size_t size) { return static_cast<GumboArena*>(userdata)->take(size); }
    static void deallocate(void*, void*) {}

    void* take(size_t size) {
        size = (std::max<size_t>(size, 1) + kAlignment - 1) & ~(kAlignment - 1);
        if (size > remaining_) {
            if (size > nextBlock_ / 4) {  // large requests get a block of their own
                blocks_.push_back(std::make_unique<std::max_align_t[]>(size / kAlignment));
                return blocks_.back().get();
            }
            blocks_.push_back(std::make_unique<std::max_align_t[]>(nextBlock_ / kAlignment));
            cursor_ = reinterpret_cast<char*>(blocks_.back().get());
            remaining_ = nextBlock_;
            nextBlock_ = std::min(nextBlock_ * 2, kLargestBlock);
        }
        void* result = cursor_;
        cursor_ += size;
        remaining_ -= size;
        return result;
    }

    std::vector<std::unique_ptr<std::max_align_t[]>> blocks_;
    char* cursor_ = nullptr;
    size_t remaining_ = 0;
    size_t nextBlock_ = kFirstBlock;
};

std::u16string fromPiece(const char* text) { return text ? fromUTF8(text) : std::u16string(); }

std::u16string asciiLowercase(std::string_view text) {
    std::u16string lower;
    lower.reserve(text.size());
    for (char c : text) lower += static_cast<char16_t>(c >= 'A' && c <= 'Z' ? c + 32 : static_cast<unsigned char>(c));
    return lower;
}

HTMLNamespace namespaceOf(GumboNamespaceEnum ns) {
    switch (ns) {
        case GUMBO_NAMESPACE_SVG: return HTMLNamespace::SVG;
        case GUMBO_NAMESPACE_MATHML: return HTMLNamespace::MathML;
        default: return HTMLNamespace::HTML;
    }
}

// The element's local name: gumbo names the tags it knows in lower case; others come from the source text.
// SVG names get their standard case ("foreignObject", "clipPath").
std::u16string elementName(const GumboElement& element) {
    GumboStringPiece original = element.original_tag;
    if (original.data && original.length > 0) gumbo_tag_from_original_text(&original);
    std::string_view written;
    if (element.tag != GUMBO_TAG_UNKNOWN) {
        written = gumbo_normalized_tagname(element.tag);
    } else if (original.data && original.length > 0) {
        written = std::string_view(original.data, original.length);
    }
    if (element.tag_namespace == GUMBO_NAMESPACE_SVG) {
        GumboStringPiece name{written.data(), written.size()};
        if (const char* adjusted = gumbo_normalize_svg_tagname(&name)) return fromUTF8(adjusted);
    }
    if (written.empty()) return u"unknown";
    return asciiLowercase(written);
}

std::vector<HTMLAttribute> elementAttributes(const GumboElement& element) {
    std::vector<HTMLAttribute> attributes;
    attributes.reserve(element.attributes.length);
    for (unsigned i = 0; i < element.attributes.length; ++i) {
        const auto* attribute = static_cast<const GumboAttribute*>(element.attributes.data[i]);
        std::u16string name = fromPiece(attribute->name);
        switch (attribute->attr_namespace) {
            case GUMBO_ATTR_NAMESPACE_XLINK: name = u"xlink:" + name; break;
            case GUMBO_ATTR_NAMESPACE_XML: name = u"xml:" + name; break;
            case GUMBO_ATTR_NAMESPACE_XMLNS:
                if (name != u"xmlns") name = u"xmlns:" + name;
                break;
            case GUMBO_ATTR_NAMESPACE_NONE: break;
        }
        attributes.push_back({std::move(name), fromPiece(attribute->value)});
    }
    return attributes;
}

const GumboVector& childrenOf(const GumboNode& node) {
    return node.type == GUMBO_NODE_DOCUMENT ? node.v.document.children : node.v.element.children;
}

// Builds the library's nodes for the children of source under target, with an explicit stack.
void convertChildren(const GumboNode& source, HTMLNode& target) {
    std::vector<std::pair<const GumboNode*, HTMLNode*>> pending{{&source, &target}};
    while (!pending.empty()) {
        auto [from, into] = pending.back();
        pending.pop_back();
        const GumboVector& children = childrenOf(*from);
        for (unsigned i = 0; i < children.length; ++i) {
            const auto* child = static_cast<const GumboNode*>(children.data[i]);
            switch (child->type) {
                case GUMBO_NODE_TEXT:
                case GUMBO_NODE_WHITESPACE:
                case GUMBO_NODE_CDATA: {
                    // Adjacent text (text beside a CDATA section) is one text node, as the DOM has it.
                    std::u16string text = fromPiece(child->v.text.text);
                    HTMLNodeRef last = into->lastChild();
                    if (last && last->isText()) {
                        static_cast<HTMLText&>(*last).appendData(text);
                    } else {
                        HTMLTreeBuilder::appendChild(*into, std::make_shared<HTMLText>(std::move(text)));
                    }
                    break;
                }
                case GUMBO_NODE_COMMENT:
                    HTMLTreeBuilder::appendChild(*into, std::make_shared<HTMLComment>(fromPiece(child->v.text.text)));
                    break;
                case GUMBO_NODE_ELEMENT:
                case GUMBO_NODE_TEMPLATE: {
                    const GumboElement& element = child->v.element;
                    HTMLElementRef created = HTMLElement::elementWithTagName(
                        elementName(element), elementAttributes(element), namespaceOf(element.tag_namespace));
                    HTMLNode* contents = created.get();
                    if (auto content = created->templateContent()) contents = content.get();
                    if (element.children.length > 0) pending.emplace_back(child, contents);
                    HTMLTreeBuilder::appendChild(*into, std::move(created));
                    break;
                }
                case GUMBO_NODE_DOCUMENT:
                    break;
            }
        }
    }
}

HTMLQuirksMode quirksModeOf(GumboQuirksModeEnum mode) {
    switch (mode) {
        case GUMBO_DOCTYPE_QUIRKS: return HTMLQuirksMode::Quirks;
        case GUMBO_DOCTYPE_LIMITED_QUIRKS: return HTMLQuirksMode::LimitedQuirks;
        default: return HTMLQuirksMode::NoQuirks;
    }
}

// The text gumbo reads: UTF-8, cut by the nesting limit where needed.
struct PreparedInput {
    std::string utf8;
    std::string limited;
    size_t droppedTags = 0;
    std::string_view text() const { return droppedTags ? std::string_view(limited) : std::string_view(utf8); }
};

PreparedInput prepare(std::u16string_view html, const detail::NestingContext& context) {
    PreparedInput input;
    input.utf8 = toUTF8(html);
    input.droppedTags = detail::limitNesting(input.utf8, kHTMLMaxNestingDepth, context, input.limited);
    return input;
}

}  // namespace

std::shared_ptr<HTMLDocument> parseHTMLDocument(std::u16string_view html) {
    PreparedInput input = prepare(html, {});
    std::string_view text = input.text();
    GumboArena arena;
    GumboOptions options = arena.options();
    GumboOutput* output = gumbo_parse_with_options(&options, text.data(), text.size());
    auto document = std::make_shared<HTMLDocument>();
    const GumboDocument& source = output->document->v.document;
    if (source.has_doctype) {
        HTMLTreeBuilder::appendChild(*document, HTMLDocumentType::documentTypeWithName(
                                                    fromPiece(source.name), fromPiece(source.public_identifier),
                                                    fromPiece(source.system_identifier)));
    }
    convertChildren(*output->document, *document);
    HTMLTreeBuilder::setParseResult(*document, detail::collectParseErrors(*output, text),
                                    quirksModeOf(source.doc_type_quirks_mode), input.droppedTags);
    return document;
}

std::shared_ptr<HTMLDocumentFragment> parseHTMLFragment(std::u16string_view html, const HTMLElement& context,
                                                        std::vector<HTMLParseError>* errors, size_t* droppedTagCount) {
    setSlot(errors, std::vector<HTMLParseError>());
    std::string contextName = toUTF8(context.tagName());
    GumboNamespaceEnum ns = context.tagNamespace() == HTMLNamespace::SVG      ? GUMBO_NAMESPACE_SVG
                            : context.tagNamespace() == HTMLNamespace::MathML ? GUMBO_NAMESPACE_MATHML
                                                                              : GUMBO_NAMESPACE_HTML;
    GumboTag tag = gumbo_tagn_enum(contextName.data(), static_cast<unsigned>(contextName.size()));
    if (tag == GUMBO_TAG_UNKNOWN) {
        tag = ns == GUMBO_NAMESPACE_SVG ? GUMBO_TAG_SVG : ns == GUMBO_NAMESPACE_MATHML ? GUMBO_TAG_MATH : GUMBO_TAG_DIV;
    }
    detail::NestingContext nesting;
    nesting.tagName = std::string(gumbo_normalized_tagname(tag));
    for (char& c : nesting.tagName) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    nesting.foreign = ns != GUMBO_NAMESPACE_HTML;
    nesting.mathML = ns == GUMBO_NAMESPACE_MATHML;
    PreparedInput input = prepare(html, nesting);
    std::string_view text = input.text();
    GumboArena arena;
    GumboOptions options = arena.options();
    options.fragment_context = tag;
    options.fragment_namespace = ns;
    GumboOutput* output = gumbo_parse_with_options(&options, text.data(), text.size());
    auto fragment = std::make_shared<HTMLDocumentFragment>();
    // The fragment's nodes are the children of the html element the fragment algorithm builds.
    if (output->root) convertChildren(*output->root, *fragment);
    if (errors) *errors = detail::collectParseErrors(*output, text);
    setSlot(droppedTagCount, input.droppedTags);
    return fragment;
}

}  // namespace postwright
