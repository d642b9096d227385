// The parsed form of a CSS selector list and the matcher that queries use.
//
// A complex selector is matched from its last compound to its first. The matcher remembers, per compound
// and element, whether the element matched and whether any ancestor matched, so a query over a whole tree
// visits each (compound, element) pair once however deep the tree: no descendant combinator turns into a
// walk over all ancestors for every element.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "postwright/Html/CSSSelector.hpp"

namespace postwright {

class HTMLElement;

struct CSSAttributeSelector {
    enum class Operator { Exists, Equals, Includes, DashMatch, Prefix, Suffix, Substring };
    std::u16string name;  // ASCII lower case
    Operator op = Operator::Exists;
    std::u16string value;
    bool ignoreCase = false;
};

struct CSSCompoundSelector {
    std::optional<std::u16string> type;  // ASCII lower case; nullopt for "*" or no type
    bool universal = false;              // written as "*"
    std::vector<std::u16string> ids;
    std::vector<std::u16string> classes;
    std::vector<CSSAttributeSelector> attributes;
};

enum class CSSCombinator { Descendant, Child };

struct CSSComplexSelector {
    std::vector<CSSCompoundSelector> compounds;
    std::vector<CSSCombinator> combinators;  // combinators[i] stands between compounds[i] and compounds[i + 1]
};

struct CSSSelector::Parsed {
    std::vector<CSSComplexSelector> selectors;
};

bool compoundMatchesElement(const CSSCompoundSelector& compound, const HTMLElement& element);

class POSTWRIGHT_INTERNAL CSSSelectorMatcher {
public:
    explicit CSSSelectorMatcher(const CSSSelector& selector) : parsed_(*selector.parsed_) {}

    bool matches(const HTMLElement& element);

private:
    struct Memo {
        std::unordered_map<const HTMLElement*, bool> matched;           // matchesAt(index, element)
        std::unordered_map<const HTMLElement*, bool> selfOrAncestor;  // element or an ancestor matches
    };

    bool matchesAt(size_t selector, size_t index, const HTMLElement& element);
    bool someAncestorMatches(size_t selector, size_t index, const HTMLElement& element);
    Memo& memo(size_t selector, size_t index);

    const CSSSelector::Parsed& parsed_;
    std::vector<std::vector<Memo>> memos_;
};

}  // namespace postwright
