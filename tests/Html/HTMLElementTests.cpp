// Elements: attributes, ids and classes, inner HTML in context, templates.
#include <gtest/gtest.h>

#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLDocument.hpp"

using namespace postwright;

TEST(HTMLElement, AttributesKeepOrderAndIgnoreCaseForHTML) {
    auto element = HTMLElement::elementWithTagName(u"DIV");
    EXPECT_EQ(element->tagName(), u"div");
    element->setAttribute(u"B", u"1");
    element->setAttribute(u"a", u"2");
    element->setAttribute(u"onClick", u"3");
    element->setAttribute(u"b", u"changed");  // an existing attribute keeps its place
    ASSERT_EQ(element->attributes().size(), 3u);
    EXPECT_EQ(element->attributes()[0], (HTMLAttribute{u"b", u"changed"}));
    EXPECT_EQ(element->attributes()[2].name, u"onclick");
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
    EXPECT_EQ(first->elementId(), u"x");
    EXPECT_EQ(first->className(), u"  one\ttwo\n one  ");
    EXPECT_EQ(first->classList(), (std::vector<std::u16string>{u"one", u"two", u"one"}));
    EXPECT_TRUE(first->hasClass(u"two"));
    EXPECT_FALSE(first->hasClass(u"tw"));
    EXPECT_FALSE(first->hasClass(u""));
    auto second = document->querySelectorAll(u"p")[1];
    EXPECT_EQ(second->elementId(), u"");
    EXPECT_EQ(second->className(), u"");
    EXPECT_TRUE(second->classList().empty());
    second->setElementId(u"");
    EXPECT_TRUE(second->hasAttribute(u"id")) << "an empty id is still an attribute";
    second->setClassName(u"a b");
    EXPECT_EQ(toUTF8(second->outerHTML()), "<p id=\"\" class=\"a b\">u</p>");
}

TEST(HTMLElement, InnerHTMLParsesInTheElementsContext) {
    auto row = HTMLElement::elementWithTagName(u"tr");
    row->setInnerHTML(u"<td>a</td><td>b");
    EXPECT_EQ(toUTF8(row->innerHTML()), "<td>a</td><td>b</td>");

    auto table = HTMLElement::elementWithTagName(u"table");
    table->setInnerHTML(u"<tr><td>x</td></tr>");
    EXPECT_EQ(toUTF8(table->innerHTML()), "<tbody><tr><td>x</td></tr></tbody>");

    auto area = HTMLElement::elementWithTagName(u"textarea");
    area->setInnerHTML(u"<b>not markup</b>");
    EXPECT_EQ(area->childNodesCount(), 1u);
    EXPECT_EQ(area->textContent(), u"<b>not markup</b>");

    auto style = HTMLElement::elementWithTagName(u"style");
    style->setInnerHTML(u"a > b { }");
    EXPECT_EQ(toUTF8(style->outerHTML()), "<style>a > b { }</style>");

    auto division = HTMLElement::elementWithTagName(u"div");
    division->setInnerHTML(u"<p>one<p>two");
    EXPECT_EQ(toUTF8(division->innerHTML()), "<p>one</p><p>two</p>");
    division->setInnerHTML(u"");
    EXPECT_FALSE(division->hasChildNodes());

    auto custom = HTMLElement::elementWithTagName(u"x-widget");
    custom->setInnerHTML(u"<td>cell</td>text");
    EXPECT_EQ(toUTF8(custom->innerHTML()), "celltext") << "an unknown context behaves as a div";

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

TEST(HTMLElement, OuterHTMLOfNestedContent) {
    auto document = HTMLDocument::documentWithString(u"<div id=d><span>a</span>b<br>c</div>");
    auto division = document->querySelector(u"#d");
    EXPECT_EQ(toUTF8(division->outerHTML()), "<div id=\"d\"><span>a</span>b<br>c</div>");
    EXPECT_EQ(toUTF8(division->innerHTML()), "<span>a</span>b<br>c");
    EXPECT_EQ(toUTF8(document->body()->outerHTML()), "<body><div id=\"d\"><span>a</span>b<br>c</div></body>");
}
