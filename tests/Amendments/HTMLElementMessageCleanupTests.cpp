// Message clean-up operations: emptiness, text-only content, trimming, comparable text, copies.
#include <gtest/gtest.h>

#include "postwright/Amendments/HTMLElementMessageCleanup.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {

HTMLElementRef first(std::u16string_view html) {
    auto fragment = HTMLDocumentFragment::documentFragment();
    fragment->setInnerHTML(html);
    return fragment->firstElementChild();
}

bool empty(std::u16string_view html, unsigned options) { return isEmptyWithOptions(*first(html), options); }

}  // namespace

TEST(MessageCleanup, EmptinessFollowsTheOptions) {
    // Text nodes: empty when only white space and line ends remain; options do not matter.
    EXPECT_TRUE(isEmptyWithOptions(*HTMLText::textWithData(u" \n\t\r\u00a0"), 0));
    EXPECT_FALSE(isEmptyWithOptions(*HTMLText::textWithData(u" x "), 0));
    // br: exactly with bit 8.
    EXPECT_TRUE(empty(u"<br>", kEmptyLineBreak));
    EXPECT_FALSE(empty(u"<br>", 0));
    // A paragraph holding only a br: empty with 16 and 8, not with 16 alone.
    EXPECT_TRUE(empty(u"<p><br></p>", kEmptyBlockWhenChildrenEmpty | kEmptyLineBreak));
    EXPECT_FALSE(empty(u"<p><br></p>", kEmptyBlockWhenChildrenEmpty));
    EXPECT_FALSE(empty(u"<p></p>", 0)) << "p and div need bit 16";
    EXPECT_TRUE(empty(u"<div></div>", kEmptyBlockWhenChildrenEmpty));
    EXPECT_TRUE(empty(u"<div><!-- only a comment --></div>", kEmptyBlockWhenChildrenEmpty));
    EXPECT_TRUE(empty(u"<div> <p>\n</p><div><br></div></div>", kEmptyBlockWhenChildrenEmpty | kEmptyLineBreak));
    EXPECT_FALSE(empty(u"<div><p>x</p></div>", kEmptyBlockWhenChildrenEmpty));
    // span: with bit 32 empty exactly when its text content is; without it every span is empty.
    EXPECT_TRUE(empty(u"<span>text</span>", 0));
    EXPECT_FALSE(empty(u"<span>text</span>", kEmptySpanOnlyWithoutText));
    EXPECT_TRUE(empty(u"<span><img></span>", kEmptySpanOnlyWithoutText));
    EXPECT_FALSE(empty(u"<span> </span>", kEmptySpanOnlyWithoutText)) << "text content is not trimmed";
    EXPECT_TRUE(empty(u"<DIV><SPAN>x</SPAN></DIV>", kEmptyBlockWhenChildrenEmpty));
    // Any other element is not empty.
    EXPECT_FALSE(empty(u"<b></b>", 0xFF));
}

TEST(MessageCleanup, TextOnlyContent) {
    EXPECT_FALSE(hasTextOnlyContent(*first(u"<div>a <b>b</b></div>")));
    EXPECT_FALSE(hasTextOnlyContent(*first(u"<div><span style='color:red'>x</span></div>")));
    EXPECT_TRUE(hasTextOnlyContent(*first(u"<div><span>a</span> <span>b</span><br></div>")));
    EXPECT_FALSE(hasTextOnlyContent(*first(u"<div><A href=x>l</A></div>"))) << "tags compare in lower case";
    EXPECT_FALSE(hasTextOnlyContent(*first(u"<img>"))) << "a media receiver, even without children";
    EXPECT_TRUE(hasTextOnlyContent(*first(u"<p></p>")));
    // Grandchildren are examined as receivers: their own children count, their own tag does not.
    EXPECT_FALSE(hasTextOnlyContent(*first(u"<div><span><span><i>x</i></span></span></div>")));
    EXPECT_TRUE(hasTextOnlyContent(*first(u"<div><span><i>x</i> y</span></div>")));
    EXPECT_FALSE(hasTextOnlyContent(*first(u"<div><span><video></video><b>x</b></span></div>")));
    EXPECT_TRUE(hasTextOnlyContent(*HTMLText::textWithData(u"t")));
}

TEST(MessageCleanup, TrimmingRemovesEmptyEndsAndLogsThem) {
    test::ScopedRecordingLogger logger;
    auto body = first(u"<div><p></p><p>text</p><p></p></div>");
    trimEmptyChildrenWithOptions(*body, kTrimEmptyAtStart | kTrimEmptyAtEnd | kEmptyBlockWhenChildrenEmpty);
    EXPECT_EQ(toUTF8(body->innerHTML()), "<p>text</p>");
    auto lines = logger->lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].first, kTrimmingLogCategory);
    EXPECT_EQ(lines[0].second, "Trimming node at start \u2014 (<p></p>)");
    EXPECT_EQ(lines[1].second, "Trimming node at end \u2014 (<p></p>)");

    // Only the ends asked for; text and other nodes log as their text or "n/a".
    auto mixed = first(u"<div> \n<!--c--><b>x</b><br> </div>");
    trimEmptyChildrenWithOptions(*mixed, kTrimEmptyAtStart);
    EXPECT_EQ(toUTF8(mixed->innerHTML()), "<b>x</b><br> ");
    EXPECT_EQ(logger->messages()[2], "Trimming node at start \u2014 ( \n)");
    EXPECT_EQ(logger->messages()[3], "Trimming node at start \u2014 (n/a)");

    // A child found from both ends is logged twice and removed once; the element itself stays.
    auto allEmpty = first(u"<div><br></div>");
    trimEmptyChildrenWithOptions(*allEmpty, kTrimEmptyAtStart | kTrimEmptyAtEnd | kEmptyLineBreak);
    EXPECT_FALSE(allEmpty->hasChildNodes());
    EXPECT_EQ(logger->messages().size(), 6u);
    trimEmptyChildrenWithOptions(*first(u"<div><p></p></div>"), kEmptyBlockWhenChildrenEmpty);
    EXPECT_EQ(logger->messages().size(), 6u) << "no end asked for, nothing trimmed";
}

TEST(MessageCleanup, ComparableTextIgnoresLayoutAndIconLabels) {
    EXPECT_EQ(comparableStringContents(*first(u"<div>a b</div>")),
              comparableStringContents(*first(u"<div>ab\u200b</div>")));
    auto withLabel = first(u"<div><p>re\u200cport\n .pdf</p><span class='x orwIconLabel'>PDF</span></div>");
    EXPECT_EQ(comparableStringContents(*withLabel), u"report.pdf");
    EXPECT_FALSE(withLabel->querySelector(u".orwIconLabel")) << "the labels leave the tree";
}

TEST(MessageCleanup, DuplicateUnderAnotherTag) {
    auto paragraph = first(u"<p class=c data-x='1'>one <b>two</b><br></p>");
    auto division = duplicateWithTagName(*paragraph, u"div");
    EXPECT_EQ(toUTF8(division->outerHTML()), "<div class=\"c\" data-x=\"1\">one <b>two</b><br></div>");
    EXPECT_NE(division->firstChild(), paragraph->firstChild()) << "fresh children";
}

TEST(MessageCleanup, DeepTreesAreWalkedWithoutRecursion) {
    auto root = HTMLElement::elementWithTagName(u"div");
    HTMLElementRef deepest = root;
    for (int i = 0; i < 100000; ++i) deepest = deepest->appendChild(HTMLElement::elementWithTagName(u"div"))->asElement();
    deepest->appendChild(HTMLElement::elementWithTagName(u"span"));
    EXPECT_TRUE(isEmptyWithOptions(*root, kEmptyBlockWhenChildrenEmpty));
    EXPECT_TRUE(hasTextOnlyContent(*root));
    EXPECT_EQ(comparableStringContents(*root), u"");
}

TEST(MessageCleanup, HeadStyleSheetsArePurgedForPlainTextOrByFilter) {
    const std::u16string html =
        u"<html><head><style id=\"local-styles\">a{}</style><style class=\"x local-styles\">b{}</style>"
        u"<style>c{}</style><link rel=\"Alternate StyleSheet\" href=s.css><link rel=\"icon\" href=i.png>"
        u"<link rel=stylesheet class=local-styles-not href=t.css></head><body><style>kept{}</style></body></html>";
    auto filtered = HTMLDocument::documentWithString(html);
    purgeHeadCSSWithFilters(*filtered, {u"local-styles"});
    EXPECT_EQ(filtered->head()->querySelectorAll(u"style").size(), 1u) << "only the composer's own sheets go";
    EXPECT_EQ(filtered->head()->querySelectorAll(u"link").size(), 3u);

    auto plain = HTMLDocument::documentWithString(html);
    purgeHeadCSSForPlainContent(*plain);
    EXPECT_TRUE(plain->head()->querySelectorAll(u"style").empty());
    auto links = plain->head()->querySelectorAll(u"link");
    ASSERT_EQ(links.size(), 1u) << "every style sheet goes, other links stay";
    EXPECT_EQ(links[0]->attribute(u"rel"), u"icon");
    EXPECT_EQ(plain->body()->querySelectorAll(u"style").size(), 1u) << "the body is not the head";
}
