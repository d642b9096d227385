// Content replacement rules and the delivery clean-up list.
#include <gtest/gtest.h>

#include "postwright/Amendments/FGContentReplacement.hpp"
#include "postwright/Amendments/PrepareDeliveryReplacements.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {

using R = FGContentReplacement;

// The inner HTML of a fragment of html after applying the rules to it.
std::string cleaned(std::u16string_view html, const std::vector<FGContentReplacement>& rules) {
    auto fragment = HTMLDocumentFragment::documentFragment();
    fragment->setInnerHTML(html);
    R::updateElementOrFragment(*fragment, rules);
    return toUTF8(fragment->innerHTML());
}

}  // namespace

TEST(FGContentReplacement, IdRules) {
    // Kind 0 removes the id, never the element.
    EXPECT_EQ(cleaned(u"<div id=FGMessageContent class=c>text</div>", {R::removeID(u"FGMessageContent")}),
              "<div class=\"c\">text</div>");
    EXPECT_EQ(cleaned(u"<p id=keep>x</p>", {R::removeID(u"missing")}), "<p id=\"keep\">x</p>");
    EXPECT_EQ(cleaned(u"<p id=a>1</p><p id=a>2</p>", {R::removeID(u"a")}), "<p>1</p><p>2</p>");
    // Kind 1 renames; an empty new id removes the attribute.
    EXPECT_EQ(cleaned(u"<div id=old>x</div>", {R::replaceID(u"old", u"")}), "<div>x</div>");
    // A later rule sees the renamed element.
    EXPECT_EQ(cleaned(u"<div id=FGSignatureContainer title=t>s</div>",
                      {R::replaceID(u"FGSignatureContainer", u"fg-sig-container"),
                       R::removeAttribute(u"title", u"div#fg-sig-container")}),
              "<div id=\"fg-sig-container\">s</div>");
}

TEST(FGContentReplacement, QueryRemovesMatchesWithTheirContents) {
    EXPECT_EQ(cleaned(u"a<span id=fg-replace-cursor-position>|</span>b<div class=floatingLock><i>x</i></div>c",
                      {R::removeQuery(u"span#fg-replace-cursor-position"), R::removeQuery(u"div.floatingLock")}),
              "abc");
    // Nested matches are collected first, so removing the outer one first does no harm.
    EXPECT_EQ(cleaned(u"<div class=x>1<div class=x>2</div></div><p>3</p>", {R::removeQuery(u".x")}), "<p>3</p>");
    // The root itself is never matched.
    auto document = HTMLDocument::documentWithString(u"<body class=x><p class=x>in</p>");
    R::updateElementOrFragment(*document->body(), {R::removeQuery(u".x")});
    EXPECT_EQ(toUTF8(document->body()->outerHTML()), "<body class=\"x\"></body>");
}

TEST(FGContentReplacement, ClassAndAttributeRemoval) {
    // Class removal edits the class text; the attribute stays even when it ends up empty.
    EXPECT_EQ(cleaned(u"<p class='abc abcd'>x</p>", {R::removeClass(u"abc")}), "<p class=\"d\">x</p>");
    EXPECT_EQ(cleaned(u"<p class=only>x</p>", {R::removeClass(u"only")}), "<p class=\"\">x</p>")
        << "the empty class attribute is kept";
    EXPECT_EQ(cleaned(u"<p class=' a  b '>x</p>", {R::removeClass(u"b")}), "<p class=\"a\">x</p>");
    // Only elements that have the class as a token are touched.
    EXPECT_EQ(cleaned(u"<p class=abcd>x</p>", {R::removeClass(u"abc")}), "<p class=\"abcd\">x</p>");
    EXPECT_EQ(cleaned(u"<p class=x>y</p>", {R::removeClass(u"")}), "<p class=\"x\">y</p>");
    // Attribute removal without a selector looks for the attribute at any depth.
    EXPECT_EQ(R::removeAttribute(u"contenteditable"),
              (R{R::kRemoveAttribute, u"[contenteditable]", u"", u"contenteditable"}));
    EXPECT_EQ(cleaned(u"<div contenteditable=true><p><span contenteditable>x</span></p></div>",
                      {R::removeAttribute(u"contenteditable")}),
              "<div><p><span>x</span></p></div>");
    // Attribute names in rules match the lower-case names of HTML attributes.
    EXPECT_EQ(cleaned(u"<img displayInlineThumbnailSize=1 src=x>", {R::removeAttribute(u"displayInlineThumbnailSize")}),
              "<img src=\"x\">");
    EXPECT_EQ(cleaned(u"<br class=fg-editing-enabler><br class=other>",
                      {R::removeAttribute(u"class", u"br.fg-editing-enabler")}),
              "<br><br class=\"other\">");
}

TEST(FGContentReplacement, UnknownKindsAndInvalidSelectorsAreSkipped) {
    test::ScopedRecordingLogger logger;
    std::vector<R> rules = {R{7, u"x", u"", u""}, R::removeQuery(u"p:hover"), R::removeID(u"a")};
    EXPECT_EQ(cleaned(u"<p id=a>x</p>", rules), "<p>x</p>");
    ASSERT_EQ(logger->messages().size(), 1u);
    EXPECT_EQ(logger->messages()[0], "FGContentReplacement: skipping a rule with invalid selector \"p:hover\"");
}

TEST(PrepareDeliveryReplacements, HoldsTheThirtySevenRulesInOrder) {
    const auto& rules = prepareDeliveryReplacements();
    ASSERT_EQ(rules.size(), 37u);
    EXPECT_EQ(&rules, &prepareDeliveryReplacements()) << "built once, then shared";
    EXPECT_EQ(rules[0], R::removeID(u"FGMessageContent"));
    EXPECT_EQ(rules[3], R::removeQuery(u"FGSignatureContainer.none-signature"));
    EXPECT_EQ(rules[4], R::replaceID(u"FGSignatureContainer", u"fg-sig-container"));
    EXPECT_EQ(rules[9], R::removeAttribute(u"title", u"div#fg-sig-container"));
    EXPECT_EQ(rules[10], R::removeAttribute(u"contenteditable"));
    EXPECT_EQ(rules[21], R::removeAttribute(u"inlineFileAttachmentFormat"));
    EXPECT_EQ(rules[22], R::removeClass(u"orwInlineAttachment"));
    EXPECT_EQ(rules[36], R::removeClass(u"orwAttachmentText"));
}

TEST(PrepareDeliveryReplacements, CleansAComposedBody) {
    std::string result = cleaned(
        u"<div id=FGMessageContent contenteditable=true spellcheck=true>"
        u"<p id=ORWContent class=fg-line-end-blank>Hello<br class=fg-editing-enabler>"
        u"<span id=fg-replace-cursor-position></span></p>"
        u"<span class='orwInlineAttachment orwInlineAttachmentImage' orw-object-id=7 orw-style=s>img</span>"
        u"<span class=orwInlineAttachmentIcon>icon</span>"
        u"<fgsignaturecontainer class=none-signature>none</fgsignaturecontainer>"
        u"<div id=FGSignatureContainer title=Signature ondrop=x>-- sig</div>"
        u"<div class=floatingLock>lock</div></div>",
        prepareDeliveryReplacements());
    EXPECT_EQ(result,
              "<div><p>Hello<br></p><span class=\"Image\">img</span><span class=\"\">icon</span>"
              "<div id=\"fg-sig-container\">-- sig</div></div>");
}
