// CSSSelector: parsed CSS selectors and their matching against elements.
//
// The supported grammar is the part of Selectors Level 4 that mail clean-up uses:
//
//   selector list    complex ["," complex]*
//   complex          compound [combinator compound]*      combinators: " " (descendant), ">" (child)
//   compound         [type | "*"] [#id | .class | [attribute]]*
//   attribute        [name] [name=value] [name~=value] [name|=value] [name^=value] [name$=value]
//                    [name*=value], value an identifier or a quoted string, optionally followed by the
//                    flag "i" (compare the value ignoring ASCII case) or "s"
//
// Identifiers may use CSS escapes ("\31 0", "\.") and any non-ASCII character. Type selectors and
// attribute names compare ignoring ASCII case, as for HTML documents; ids, classes and attribute values
// compare exactly. Sibling combinators, pseudo-classes, pseudo-elements and namespace prefixes are not
// supported: such text is invalid. Invalid text never matches anything: selectorWithString gives nullptr
// and, when asked, an error of domain kHTMLErrorDomain, code HTMLErrorCode::InvalidSelector.
//
// Matching a combinator looks at the element's ancestors, which may lie outside the node a query starts
// from, as in the DOM's querySelectorAll.
//
//     auto selector = CSSSelector::selectorWithString(u"div.note > a[href^=\"https:\"]");
//     for (auto& link : document->elementsMatchingSelector(*selector)) ...
//
// A selector is immutable after parsing and may be shared by threads.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class HTMLElement;

// Selectors longer than this many compound selectors are rejected as invalid.
inline constexpr size_t kCSSMaxCompoundSelectors = 64;

// A parsed selector list, matched against elements and used to query trees.
class CSSSelector {
public:
    // Parses selector text; nullptr (and the error, when a slot is given; the slot is cleared on entry)
    // when the text is not a supported selector.
    static std::shared_ptr<const CSSSelector> selectorWithString(std::u16string_view text,
                                                                 ErrorRef* error = nullptr);
    // Elements whose id attribute equals elementId exactly (any characters; no CSS parsing).
    static std::shared_ptr<const CSSSelector> idSelector(std::u16string_view elementId);
    // Elements whose class list holds className exactly (any characters; no CSS parsing).
    static std::shared_ptr<const CSSSelector> classSelector(std::u16string_view className);

    ~CSSSelector();
    CSSSelector(const CSSSelector&) = delete;
    CSSSelector& operator=(const CSSSelector&) = delete;

    // True when the element matches any selector of the list.
    bool matchesElement(const HTMLElement& element) const;

    // The selector in a normalised text form, e.g. "div.note > a[href^=\"https:\"]".
    std::u16string text() const;

    struct Parsed;  // the parsed selector list (private to the implementation)

private:
    explicit CSSSelector(std::unique_ptr<Parsed> parsed);
    friend class CSSSelectorMatcher;

    std::unique_ptr<Parsed> parsed_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
