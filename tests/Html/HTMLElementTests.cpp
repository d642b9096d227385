// Elements: attributes, ids and classes, inner HTML in context, templates.
#include <gtest/gtest.h>

#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLDocument.hpp"

using namespace postwright;

TEST(HTMLElement, AttributesKeepOrderAndIgnoreCaseForHTML) {
    auto element = HTMLElement::elementWithTagName(u"DIV");
    element->setAttribute(u"B", u"1");
    element->setAttribute(u"a", u"2");
    element->setAttribute(u"onClick", u"3");
    element->setAttribute(u"b", u"changed");  // an existing attribute keeps its place, whatever the case
    EXPECT_EQ(element->attribute(u"ONCLICK"), u"3");
    EXPECT_TRUE(element->hasAttribute(u"A"));
    EXPECT_FALSE(element->attribute(u"missing"));
    element->removeAttribute(u"A");
    element->removeAttribute(u"missing");
    EXPECT_EQ(toUTF8(element->outerHTML()), "<div b=\"changed\" onclick=\"3\"></div>");

    // Foreign elements keep the case they were given.
    auto svg = HTMLElement::elementWithTagName(u"linearGradient", HTMLNamespace::SVG);
    svg->setAttribute(u"gradientUnits", u"userSpaceOnUse");
    EXPECT_EQ(svg->tagName(), u"linearGradient");
    EXPECT_TRUE(svg->hasAttribute(u"gradientUnits"));
    EXPECT_FALSE(svg->hasAttribute(u"gradientunits"));
}

TEST(HTMLElement, IdsAndClasses) {
    auto document = HTMLDocument::documentWithString(u"<p id=x class='  one\ttwo\n one  '>t</p><p>u</p>");
    auto first = document->querySelector(u"p");
    EXPECT_EQ(first->className(), u"  one\ttwo\n one  ");
    EXPECT_EQ(first->classList(), (std::vector<std::u16string>{u"one", u"two", u"one"}));
    EXPECT_TRUE(first->hasClass(u"two"));
    EXPECT_FALSE(first->hasClass(u"tw"));
    EXPECT_FALSE(first->hasClass(u""));
    auto second = document->querySelectorAll(u"p")[1];
    EXPECT_TRUE(second->classList().empty());
    second->setElementId(u"");
    EXPECT_TRUE(second->hasAttribute(u"id")) << "an empty id is still an attribute";
    second->setClassName(u"a b");
    EXPECT_EQ(toUTF8(second->outerHTML()), "<p id=\"\" class=\"a b\">u</p>");
}

TEST(HTMLElement, InnerHTMLParsesInTheElementsContext) {
    auto table = HTMLElement::elementWithTagName(u"table");
    table->setInnerHTML(u"<tr><td>x</td></tr>");
    EXPECT_EQ(toUTF8(table->innerHTML()), "<tbody><tr><td>x</td></tr></tbody>");

    auto style = HTMLElement::elementWithTagName(u"style");
    style->setInnerHTML(u"a > b { }");
    EXPECT_EQ(toUTF8(style->outerHTML()), "<style>a > b { }</style>");

    auto custom = HTMLElement::elementWithTagName(u"x-widget");
    custom->setInnerHTML(u"<td>cell</td>text");
    EXPECT_EQ(toUTF8(custom->innerHTML()), "celltext") << "an unknown context behaves as a div";
    custom->setInnerHTML(u"");
    EXPECT_FALSE(custom->hasChildNodes());

    auto svg = HTMLElement::elementWithTagName(u"svg", HTMLNamespace::SVG);
    svg->setInnerHTML(u"<lineargradient/><text>t</text>");
    ASSERT_EQ(svg->childNodesCount(), 2u);
    EXPECT_EQ(svg->firstElementChild()->tagName(), u"linearGradient");
    EXPECT_EQ(svg->firstElementChild()->tagNamespace(), HTMLNamespace::SVG);

    auto templateElement = HTMLElement::elementWithTagName(u"template");
    templateElement->setInnerHTML(u"<td>c</td>");
    EXPECT_FALSE(templateElement->hasChildNodes());
    EXPECT_EQ(toUTF8(templateElement->innerHTML()), "<td>c</td>");
}
