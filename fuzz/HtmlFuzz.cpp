// The HTML layer over arbitrary text: parsing documents and fragments, serialisation, selectors (fixed
// ones and the input's first line as selector text), deep copies, and the delivery clean-up.
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Amendments/FGContentReplacement.hpp"
#include "postwright/Amendments/HTMLElementMessageCleanup.hpp"
#include "postwright/Amendments/PrepareDeliveryReplacements.hpp"
#include "postwright/Html/CSSSelector.hpp"
#include "postwright/Html/HTMLDocument.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    auto document = HTMLDocument::documentWithString(text);
    auto body = document->body();
    if (!body || !document->documentElement()) __builtin_trap();
    std::u16string serialised = document->innerHTML();

    // A copy serialises exactly like the original.
    auto copy = document->cloneNodeDeep();
    if (copy->innerHTML() != serialised) __builtin_trap();

    // Reparsing the serialisation never fails either.
    HTMLDocument::documentWithString(serialised);

    for (const char16_t* selector : {u"*", u"p", u"div > span", u"body *", u"[id]", u".a, #b", u"a[href^=\"http\"]",
                                     u"table td", u"[class~=x][title|=en]", u"svg *"}) {
        for (const auto& element : document->querySelectorAll(selector)) {
            if (!element->parentNode()) __builtin_trap();
        }
    }
    std::u16string firstLine = text.substr(0, std::min(text.find(u'\n'), size_t{200}));
    if (auto selector = CSSSelector::selectorWithString(firstLine)) {
        document->elementsMatchingSelector(*selector);
        CSSSelector::selectorWithString(selector->text());
    }

    // Fragments in a few contexts.
    for (const char16_t* context : {u"div", u"tr", u"template", u"textarea", u"select"}) {
        HTMLElement::elementWithTagName(context)->setInnerHTML(text.substr(0, 4096));
    }
    HTMLElement::elementWithTagName(u"svg", HTMLNamespace::SVG)->setInnerHTML(text.substr(0, 4096));

    // Clean-up on the copy's body and the original's.
    auto copiedBody = std::static_pointer_cast<HTMLDocument>(copy)->body();
    FGContentReplacement::updateElementOrFragment(*copiedBody, prepareDeliveryReplacements());
    copiedBody->innerHTML();
    isEmptyWithOptions(*body, 0xFF);
    hasTextOnlyContent(*body);
    trimEmptyChildrenWithOptions(*body, kTrimEmptyAtStart | kTrimEmptyAtEnd | kEmptyBlockWhenChildrenEmpty);
    comparableStringContents(*body);
    duplicateWithTagName(*body, u"div");
    return 0;
}
