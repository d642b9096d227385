// The nesting limit applied to HTML text before the tree builder sees it.
//
// gumbo builds its tree without a depth limit, and several of its tree-construction steps walk the whole
// stack of open elements (scope checks, and every parse error copies the stack). On text nested 100,000
// deep that is quadratic time and memory. This scan follows the tree builder's main rules on a model of
// the open elements: start and end tags, implied end tags (p, li, dd, dt, table parts, options, headings,
// nested a and nobr, buttons), formatting elements that the tree builder reopens after an enclosing
// element closed (with the three-of-a-kind limit), the adoption agency's furthest-block case (which leaves
// elements open), markers, raw-text elements and foreign content with its integration points and breakout
// tags. When uncertain the model keeps elements open, so its depth errs high. A non-void start tag that
// would open deeper than the limit is cut from the text, and so is its end tag; the text between stays.
//
// The model is an estimate, not a second tree builder: the real tree may be deeper by the elements the
// tree builder implies or clones (a small multiple of the limit at worst). Whatever gumbo returns, the
// library's own traversals carry their own stacks.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace postwright::detail {

struct NestingContext {
    std::string tagName;  // the fragment context element, lower case; empty for a whole document
    bool foreign = false; // the context is an SVG or MathML element
    bool mathML = false;  // the context is a MathML element
};

// Returns the number of tags cut. When it is not zero, limited holds the text without them; otherwise
// limited is left empty and the text can be parsed as it is.
size_t limitNesting(std::string_view html, size_t maxDepth, const NestingContext& context, std::string& limited);

}  // namespace postwright::detail
