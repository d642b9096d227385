#include "postwright/Amendments/FGContentReplacement.hpp"

#include "postwright/Base/Host.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Html/CSSSelector.hpp"
#include "postwright/Html/HTMLElement.hpp"

namespace postwright {

namespace {

FGContentReplacement rule(uint64_t type, std::u16string_view query, std::u16string_view replacement = {},
                          std::u16string_view attribute = {}) {
    return FGContentReplacement{type, std::u16string(query), std::u16string(replacement), std::u16string(attribute)};
}

// Sets the id, and removes the attribute again when the new id is empty.
void setOrRemoveElementId(HTMLElement& element, std::u16string_view elementId) {
    element.setElementId(elementId);
    if (element.elementId().empty()) element.removeAttribute(u"id");
}

std::shared_ptr<const CSSSelector> selectorFor(const FGContentReplacement& replacement) {
    switch (replacement.type) {
        case FGContentReplacement::kRemoveID:
        case FGContentReplacement::kReplaceID:
            return CSSSelector::idSelector(replacement.query);
        case FGContentReplacement::kRemoveClass:
            return CSSSelector::classSelector(replacement.query);
        case FGContentReplacement::kRemoveQuery:
        case FGContentReplacement::kRemoveAttribute: {
            auto selector = CSSSelector::selectorWithString(replacement.query);
            if (!selector) {
                logMessage(u"FGContentReplacement: skipping a rule with invalid selector \"" + replacement.query +
                           u"\"");
            }
            return selector;
        }
        default:
            return nullptr;
    }
}

void apply(const FGContentReplacement& replacement, HTMLElement& element) {
    switch (replacement.type) {
        case FGContentReplacement::kRemoveID:
            setOrRemoveElementId(element, u"");
            break;
        case FGContentReplacement::kReplaceID:
            setOrRemoveElementId(element, replacement.replacement);
            break;
        case FGContentReplacement::kRemoveQuery:
            element.removeFromParent();
            break;
        case FGContentReplacement::kRemoveClass:
            element.setClassName(fgTrim(replaceAll(element.className(), replacement.query, u"")));
            break;
        case FGContentReplacement::kRemoveAttribute:
            element.removeAttribute(replacement.attribute);
            break;
        default:
            break;
    }
}

}  // namespace

FGContentReplacement FGContentReplacement::removeID(std::u16string_view elementId) {
    return rule(kRemoveID, elementId);
}

FGContentReplacement FGContentReplacement::replaceID(std::u16string_view elementId, std::u16string_view newElementId) {
    return rule(kReplaceID, elementId, newElementId);
}

FGContentReplacement FGContentReplacement::removeQuery(std::u16string_view selectorText) {
    return rule(kRemoveQuery, selectorText);
}

FGContentReplacement FGContentReplacement::removeClass(std::u16string_view className) {
    return rule(kRemoveClass, className);
}

FGContentReplacement FGContentReplacement::removeAttribute(std::u16string_view attribute,
                                                           std::u16string_view selectorText) {
    return rule(kRemoveAttribute, selectorText, {}, attribute);
}

FGContentReplacement FGContentReplacement::removeAttribute(std::u16string_view attribute) {
    return removeAttribute(attribute, u"[" + std::u16string(attribute) + u"]");
}

void FGContentReplacement::updateElementOrFragment(HTMLNode& root,
                                                   const std::vector<FGContentReplacement>& replacementList) {
    for (const FGContentReplacement& replacement : replacementList) {
        auto selector = selectorFor(replacement);
        if (!selector) continue;
        for (const HTMLElementRef& element : root.elementsMatchingSelector(*selector)) apply(replacement, *element);
    }
}

}  // namespace postwright
