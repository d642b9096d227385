// CSS selectors: every supported form, the matching rules, and the failures of unsupported text.
#include <gtest/gtest.h>

#include "postwright/Base/Text.hpp"
#include "postwright/Html/CSSSelector.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Html/HTMLErrors.hpp"

using namespace postwright;

namespace {

const char16_t* kPage =
    u"<div id=main class='note wide'>"
    u"<p id=p1 class=note lang=en-US data-x='alpha beta' title=Hello>one</p>"
    u"<p id=p2 lang=en data-x=gamma title=HELLO>two <a href='https://example.com/a.pdf' rel=nofollow>link</a></p>"
    u"<section><p id=p3 lang=fr class='wide'>three</p><span id=s1 class='a-b'>four</span></section>"
    u"</div>"
    u"<p id=p4 data-empty=''>five</p>"
    u"<FGSignatureContainer id=sig class=none-signature>sig</FGSignatureContainer>";

// The ids of the matches of selector text on kPage, space-separated, in document order.
std::string ids(std::u16string_view selector) {
    static auto document = HTMLDocument::documentWithString(kPage);
    std::string out;
    for (const auto& element : document->querySelectorAll(selector)) {
        if (!out.empty()) out += ' ';
        out += toUTF8(element->elementId());
    }
    return out;
}

}  // namespace

TEST(CSSSelector, TypeUniversalIdAndClass) {
    EXPECT_EQ(ids(u"p"), "p1 p2 p3 p4");
    EXPECT_EQ(ids(u"P"), "p1 p2 p3 p4") << "type selectors ignore case";
    EXPECT_EQ(ids(u"section *"), "p3 s1");
    EXPECT_EQ(ids(u"#p2"), "p2");
    EXPECT_EQ(ids(u"#P2"), "") << "ids compare exactly";
    EXPECT_EQ(ids(u".note"), "main p1");
    EXPECT_EQ(ids(u".no"), "") << "a class is a whole token";
    EXPECT_EQ(ids(u".a-b"), "s1");
    EXPECT_EQ(ids(u"FGSignatureContainer.none-signature"), "sig");
}

TEST(CSSSelector, AttributeOperators) {
    EXPECT_EQ(ids(u"[lang]"), "p1 p2 p3");
    EXPECT_EQ(ids(u"[LANG]"), "p1 p2 p3") << "attribute names ignore case";
    EXPECT_EQ(ids(u"[lang=en]"), "p2");
    EXPECT_EQ(ids(u"[lang='en-US']"), "p1");
    EXPECT_EQ(ids(u"[lang|=en]"), "p1 p2");
    EXPECT_EQ(ids(u"[data-x~=beta]"), "p1");
    EXPECT_EQ(ids(u"[data-x~=bet]"), "");
    EXPECT_EQ(ids(u"[data-x~='alpha beta']"), "") << "~= never matches a value with white space";
    EXPECT_EQ(ids(u"[data-x^=al]"), "p1");
    EXPECT_EQ(ids(u"[data-x$=mma]"), "p2");
    EXPECT_EQ(ids(u"[data-x*=\"ha b\"]"), "p1");
    EXPECT_EQ(ids(u"[title=hello]"), "");
    EXPECT_EQ(ids(u"[title=hello i]"), "p1 p2") << "the i flag ignores ASCII case in the value";
    EXPECT_EQ(ids(u"[title=Hello s]"), "p1");
    EXPECT_EQ(ids(u"[data-empty='']"), "p4");
    EXPECT_EQ(ids(u"[data-empty^='']"), "") << "empty prefix, suffix and substring values match nothing";
    EXPECT_EQ(ids(u"[data-x*='']"), "");
    EXPECT_EQ(ids(u"[ lang = fr ]"), "p3") << "white space inside brackets";
    auto document = HTMLDocument::documentWithString(kPage);
    EXPECT_EQ(document->querySelectorAll(u"a[href$=\".pdf\"][rel~=nofollow]").size(), 1u);
}

TEST(CSSSelector, CompoundsCombinatorsAndLists) {
    EXPECT_EQ(ids(u"p.note#p1[lang]"), "p1");
    EXPECT_EQ(ids(u"p.note.wide"), "");
    EXPECT_EQ(ids(u"div p"), "p1 p2 p3");
    EXPECT_EQ(ids(u"div > p"), "p1 p2");
    EXPECT_EQ(ids(u"div>p"), "p1 p2");
    EXPECT_EQ(ids(u"#main section > p"), "p3");
    EXPECT_EQ(ids(u"body > p"), "p4");
    EXPECT_EQ(ids(u"html div > p.note"), "p1");
    EXPECT_EQ(ids(u"#p4, #p1 ,.wide"), "main p1 p3 p4") << "a list matches in document order, once each";
    EXPECT_EQ(ids(u"  p#p2  "), "p2");
}

TEST(CSSSelector, ChildAndDescendantCombinatorsBacktrack) {
    // "a > b c" must try every b ancestor, not only the nearest one.
    auto document = HTMLDocument::documentWithString(
        u"<div class=a><div class=b><div class=x><div class=b><span id=t></span></div></div></div></div>");
    EXPECT_EQ(document->querySelectorAll(u".a > .b span").size(), 1u);
    EXPECT_EQ(document->querySelectorAll(u".a > .x span").size(), 0u);
    EXPECT_EQ(document->querySelectorAll(u".a .b > .x > .b > span").size(), 1u);
    // Matching looks at ancestors outside the element a query starts from.
    auto inner = document->querySelector(u".x");
    EXPECT_EQ(inner->querySelectorAll(u".a span").size(), 1u);
    EXPECT_EQ(inner->querySelectorAll(u".x").size(), 0u) << "the starting element is not a candidate";
}

TEST(CSSSelector, EscapesAndUnusualNames) {
    auto document = HTMLDocument::documentWithString(
        u"<p id='1st' class='a.b c:d \u00e9t\u00e9'>x</p><p id='-x'>y</p><p data-v='a\"b'>z</p>");
    EXPECT_EQ(document->querySelectorAll(u"#\\31 st").size(), 1u);
    EXPECT_EQ(document->querySelectorAll(u"#\\000031st").size(), 1u);
    EXPECT_EQ(document->querySelectorAll(u".a\\.b").size(), 1u);
    EXPECT_EQ(document->querySelectorAll(u".c\\:d").size(), 1u);
    EXPECT_EQ(document->querySelectorAll(u".\u00e9t\u00e9").size(), 1u);
    EXPECT_EQ(document->querySelectorAll(u"#-x").size(), 1u);
    EXPECT_EQ(document->querySelectorAll(u"[data-v='a\"b']").size(), 1u);
    EXPECT_EQ(document->querySelectorAll(u"[data-v=\"a\\\"b\"]").size(), 1u);
}

TEST(CSSSelector, InvalidTextFailsClearly) {
    const char16_t* invalid[] = {u"",        u"   ",       u"p:hover",  u"p::before", u"a + b",   u"a ~ b",
                                 u"svg|rect", u"[lang",     u"[lang=]",  u"[=x]",      u"#",       u".",
                                 u"p,",      u",p",        u"p >",      u"> p",       u"p > > a", u"[a='x]",
                                 u"#1st",    u"p[a=b c]",  u"p{}",      u"\\",        u"[a=\"\n\"]"};
    for (const char16_t* text : invalid) {
        ErrorRef error;
        EXPECT_FALSE(CSSSelector::selectorWithString(text, &error)) << toUTF8(text);
        ASSERT_TRUE(error) << toUTF8(text);
        EXPECT_EQ(error->domain, kHTMLErrorDomain);
        EXPECT_EQ(error->code, static_cast<long>(HTMLErrorCode::InvalidSelector));
        EXPECT_EQ(error->localizedDescription, u"Invalid CSS selector");
    }
    ErrorRef error;
    CSSSelector::selectorWithString(u"p:first-child", &error);
    EXPECT_EQ(error->debugDescription, u"p:first-child: pseudo-classes are not supported");
    // The slot is cleared on success, and the queries match nothing on invalid text.
    EXPECT_TRUE(CSSSelector::selectorWithString(u"p", &error));
    EXPECT_FALSE(error);
    auto document = HTMLDocument::documentWithString(kPage);
    EXPECT_TRUE(document->querySelectorAll(u"p:hover").empty());
    EXPECT_FALSE(document->querySelector(u"[lang"));
    // Very long selectors are refused rather than matched.
    std::u16string longSelector = u"p";
    for (size_t i = 0; i < kCSSMaxCompoundSelectors; ++i) longSelector += u" p";
    EXPECT_FALSE(CSSSelector::selectorWithString(longSelector));
}

TEST(CSSSelector, IdAndClassBuildersTakeAnyText) {
    auto document =
        HTMLDocument::documentWithString(u"<p id='a b.c' class='x.y  z'>1</p><p id=FGEditingContainer>2</p>");
    EXPECT_EQ(document->elementsMatchingSelector(*CSSSelector::idSelector(u"a b.c")).size(), 1u);
    EXPECT_EQ(document->elementsMatchingSelector(*CSSSelector::idSelector(u"FGEditingContainer")).size(), 1u);
    EXPECT_EQ(document->elementsMatchingSelector(*CSSSelector::idSelector(u"fgeditingcontainer")).size(), 0u);
    EXPECT_EQ(document->elementsMatchingSelector(*CSSSelector::classSelector(u"x.y")).size(), 1u);
    EXPECT_EQ(document->elementsMatchingSelector(*CSSSelector::classSelector(u"z")).size(), 1u);
    EXPECT_EQ(document->elementsMatchingSelector(*CSSSelector::classSelector(u"")).size(), 0u);
    EXPECT_EQ(document->elementsMatchingSelector(*CSSSelector::classSelector(u"x.y  z")).size(), 0u);
}

TEST(CSSSelector, TextFormRoundTrips) {
    const char16_t* texts[] = {u"div.note > a[href^=\"https:\"]", u"#main section > p", u"*", u"p, .a, #b",
                               u"[title=\"x\" i]",            u"#\\31 st",          u".a\\.b"};
    for (const char16_t* text : texts) {
        auto selector = CSSSelector::selectorWithString(text);
        ASSERT_TRUE(selector) << toUTF8(text);
        auto again = CSSSelector::selectorWithString(selector->text());
        ASSERT_TRUE(again) << toUTF8(selector->text());
        EXPECT_EQ(again->text(), selector->text());
    }
    EXPECT_EQ(CSSSelector::selectorWithString(u"DIV.x>P  ,  *")->text(), u"div.x > p, *");
}
