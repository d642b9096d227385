// FGContentReplacement: the rule engine that strips or rewrites editor-only markup before a message leaves
// the composer.
//
// A rule is a plain record: a kind, the query it looks for, and for two kinds a replacement id or an
// attribute name. A list of rules is applied in order to one element or document fragment (usually a
// document's body) and everything beneath it; each rule sees the tree as the earlier rules left it. The
// lists belong to their users (the delivery clean-up list is in PrepareDeliveryReplacements.hpp).
//
//     std::vector<FGContentReplacement> rules = {FGContentReplacement::removeID(u"FGMessageContent"),
//                                                FGContentReplacement::removeAttribute(u"contenteditable")};
//     FGContentReplacement::updateElementOrFragment(*document->body(), rules);
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class HTMLNode;

// One clean-up rule: what it looks for (query) and what it does to it (type).
struct FGContentReplacement {
    // The rule kinds. Any other value of type is skipped when a list is applied.
    enum Kind : uint64_t {
        kRemoveID = 0,         // query is an id: the element's "id" attribute goes, the element stays
        kReplaceID = 1,        // query is an id: the id becomes replacement (an empty one removes the attribute)
        kRemoveQuery = 2,      // query is CSS selector text: the matched elements leave the tree with their contents
        kRemoveClass = 3,      // query is a class name: removed as text from the class attribute, see below
        kRemoveAttribute = 4,  // query is CSS selector text: the attribute named by attribute is removed
    };

    uint64_t type = kRemoveID;
    std::u16string query;
    std::u16string replacement;  // kind 1 only
    std::u16string attribute;    // kind 4 only

    static FGContentReplacement removeID(std::u16string_view elementId);
    static FGContentReplacement replaceID(std::u16string_view elementId, std::u16string_view newElementId);
    static FGContentReplacement removeQuery(std::u16string_view selectorText);
    static FGContentReplacement removeClass(std::u16string_view className);
    static FGContentReplacement removeAttribute(std::u16string_view attribute, std::u16string_view selectorText);
    // Kind 4 with the selector "[attribute]": every element that carries the attribute.
    static FGContentReplacement removeAttribute(std::u16string_view attribute);

    // Applies the rules in list order to the descendants of root (an element or a document fragment; root
    // itself is never matched). For each rule the matching elements are collected first, then changed in
    // tree order, so a removal rule also removes matches nested inside other matches.
    //
    // Kinds 0 and 1 find elements by their exact id, kind 3 by a class of their class list, kinds 2 and 4 by
    // the selector. Kind 3 works on the class attribute as text: every occurrence of the name is deleted,
    // then the text is trimmed of white space and line breaks and stored back, so removing "abc" from
    // "abc abcd" leaves "d", and an attribute can end up empty (it is kept). Selector text that does not
    // parse matches nothing; the rule is skipped and a log line says so.
    static void updateElementOrFragment(HTMLNode& root, const std::vector<FGContentReplacement>& replacementList);

    bool operator==(const FGContentReplacement&) const = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
