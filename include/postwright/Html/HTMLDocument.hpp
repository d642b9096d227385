// HTMLDocument: a parsed HTML document, the root of the document model.
//
// A document parsed from text always has a document element ("html") with a "head" and a "body", as the
// HTML parser builds them; it keeps the parse errors the parser reported and its quirks mode. New nodes
// for the document are made with the create operations (they start without a parent).
//
//     auto document = HTMLDocument::documentWithString(u"<title>x</title><p>Hello");
//     std::u16string body = document->body()->innerHTML();        // u"<p>Hello</p>"
//     std::u16string html = document->documentElement()->outerHTML();
//
// Threads: a document and its nodes are used by one thread at a time (see HTMLNode.hpp).
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Export.hpp"
#include "postwright/Html/HTMLElement.hpp"
#include "postwright/Html/HTMLNode.hpp"
#include "postwright/Html/HTMLParser.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class HTMLDocumentType;
class HTMLText;
class HTMLComment;

enum class HTMLQuirksMode { NoQuirks, Quirks, LimitedQuirks };

// A parsed HTML document: the root of the tree, with its parse errors and quirks mode.
class HTMLDocument : public HTMLNode {
public:
    // Parses html as a whole document (see HTMLParser.hpp).
    static std::shared_ptr<HTMLDocument> documentWithString(std::u16string_view html);
    // An empty document, without any child.
    static std::shared_ptr<HTMLDocument> document();

    HTMLDocument() : HTMLNode(HTMLNodeType::Document) {}

    // The root element ("html"), nullptr when the document has none.
    HTMLElementRef documentElement() const;
    // The first "head" or "body" child of the document element, nullptr when there is none.
    HTMLElementRef head() const;
    HTMLElementRef body() const;
    std::shared_ptr<HTMLDocumentType> doctype() const;

    const std::vector<HTMLParseError>& parseErrors() const noexcept { return parseErrors_; }
    HTMLQuirksMode quirksMode() const noexcept { return quirksMode_; }
    // Tags the parser's limits cut from the text or inserted into it (see HTMLParser.hpp); 0 for ordinary
    // input.
    size_t repairedTagCount() const noexcept { return repairedTagCount_; }

    HTMLElementRef createElement(std::u16string_view tagName) const;
    std::shared_ptr<HTMLText> createTextNode(std::u16string data) const;
    std::shared_ptr<HTMLComment> createComment(std::u16string data) const;
    std::shared_ptr<HTMLDocumentFragment> createDocumentFragment() const;

protected:
    HTMLNodeRef cloneWithoutChildren() const override;

private:
    friend class HTMLTreeBuilder;

    HTMLElementRef documentElementChildNamed(std::u16string_view name) const;

    std::vector<HTMLParseError> parseErrors_;
    HTMLQuirksMode quirksMode_ = HTMLQuirksMode::NoQuirks;
    size_t repairedTagCount_ = 0;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
