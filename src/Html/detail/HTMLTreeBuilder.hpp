// Private access to the document model for the code that builds trees in bulk (the parser bridge):
// linking a child without the checks and moves of the public insert operations, and storing what the
// parser learnt about a document.
#pragma once

#include <utility>
#include <vector>

#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Html/HTMLNode.hpp"

namespace postwright {

class POSTWRIGHT_INTERNAL HTMLTreeBuilder {
public:
    // Appends child, which must have no parent, to parent's children.
    static void appendChild(HTMLNode& parent, HTMLNodeRef child) {
        child->parent_ = parent.weak_from_this();
        parent.children_.push_back(std::move(child));
    }
    static std::vector<HTMLNodeRef>& childNodes(HTMLNode& parent) { return parent.children_; }

    static void setParseResult(HTMLDocument& document, std::vector<HTMLParseError> errors, HTMLQuirksMode quirksMode,
                               size_t repairedTagCount) {
        document.parseErrors_ = std::move(errors);
        document.quirksMode_ = quirksMode;
        document.repairedTagCount_ = repairedTagCount;
    }
};

}  // namespace postwright
