// Message clean-up operations on the HTML document model: what the composer and the delivery amendments
// use to tidy HTML before it is sent.
//
// They decide whether a node is visually empty, whether an element holds nothing but plain text, trim
// empty children at the start and end of an element, give an element's visible characters as comparable
// text, and copy an element under another tag name. Trimming logs each node it removes under the category
// "4904-trimming" of the host's logger.
//
//     trimEmptyChildrenWithOptions(*body, kTrimEmptyAtStart | kTrimEmptyAtEnd | kEmptyBlockWhenChildrenEmpty);
//     bool same = comparableStringContents(*a->cloneNodeDeep()->asElement()) ==
//                 comparableStringContents(*b->cloneNodeDeep()->asElement());
//
// Every walk carries its own stack: any depth is safe.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "postwright/Export.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Html/HTMLElement.hpp"
#include "postwright/Html/HTMLNode.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Option bits of emptiness and trimming.
enum MessageCleanupOptions : unsigned {
    kTrimEmptyAtStart = 2,              // trim empty children at the start
    kTrimEmptyAtEnd = 4,                // trim empty children at the end
    kEmptyLineBreak = 8,                // a "br" element counts as empty
    kEmptyBlockWhenChildrenEmpty = 16,  // a "p" or "div" is empty when all its child nodes are
    kEmptySpanOnlyWithoutText = 32,     // a "span" is empty only when its text content is; without the bit
                                        // every span counts as empty, whatever it holds
};

// The trimming log's category.
inline constexpr const char* kTrimmingLogCategory = "4904-trimming";

// Text: empty when its text trimmed of white space and line ends is empty (options do not matter).
// Comments, document types and other non-elements: empty. Elements, by lower-cased tag name: "br" is
// empty exactly with kEmptyLineBreak; "span" with kEmptySpanOnlyWithoutText exactly when its text content
// is empty, and always without it; "p" and "div" only with kEmptyBlockWhenChildrenEmpty and when every
// child node is empty under the same options; any other element is not empty.
bool isEmptyWithOptions(const HTMLNode& node, unsigned options);

// False as soon as a child element has a formatting tag ("b", "a", "table", "img", ... 32 names) or a
// "style" attribute. A child element other than "br" that has child elements is looked into: each of its
// child nodes must have text-only content in turn (its own children are checked, not its own tag).
// Finally an element receiver that is "img", "video" or "audio" answers false; any other receiver true.
bool hasTextOnlyContent(const HTMLNode& node);

// Removes the empty children (isEmptyWithOptions with the same options) at the start (kTrimEmptyAtStart)
// and at the end (kTrimEmptyAtEnd), logging each with logNodeTrim and the location "start" or "end". A
// child found from both ends is logged twice and removed once. The element itself stays.
void trimEmptyChildrenWithOptions(HTMLElement& element, unsigned options);

// Logs "Trimming node at <location> — (<text>)" under kTrimmingLogCategory. The text is the node's outer
// HTML for an element, its data for a text node, "n/a" for anything else.
void logNodeTrim(const HTMLElement& element, const HTMLNode& node, std::u16string_view location);

// Removes every descendant with the class "orwIconLabel" from the tree (this changes the element: call it
// on a copy to keep the tree), then returns the text content without U+200C, U+200B and white space
// (regular expression "\s"): two elements compare equal when their visible characters are the same.
std::u16string comparableStringContents(HTMLElement& element);

// A new HTML element named tagName with a copy of the element's attributes and children parsed from the
// element's inner HTML.
HTMLElementRef duplicateWithTagName(const HTMLElement& element, std::u16string_view tagName);

// ---- Style sheets of the document head ----
//
// A style sheet is a "style" element or a "link" element whose rel names "stylesheet" (tokens compared
// ignoring case). Only the head's style sheets are touched; those in the body stay.

// Removes every style sheet from the head: plain-text delivery keeps nothing of the composer's styling.
void purgeHeadCSSForPlainContent(HTMLDocument& document);
// Removes the head's style sheets whose id, or one of whose class names, equals an entry of filters (the
// composer's own sheets, marked "local-styles"); the others stay.
void purgeHeadCSSWithFilters(HTMLDocument& document, const std::vector<std::u16string>& filters);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
