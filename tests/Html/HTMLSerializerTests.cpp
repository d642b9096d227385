// The fragment serialisation algorithm: void elements, templates, escaping, raw text, foreign content.
#include <gtest/gtest.h>

#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Html/HTMLSerializer.hpp"

using namespace postwright;

namespace {

// The body's inner HTML after parsing html in the body (not the head), as UTF-8 for readable failures.
std::string bodyHTML(std::u16string_view html) {
    return toUTF8(HTMLDocument::documentWithString(u"<body>" + std::u16string(html))->body()->innerHTML());
}

}  // namespace

TEST(HTMLSerializer, VoidElementsHaveNoEndTagAndNoChildren) {
    EXPECT_EQ(bodyHTML(u"a<br>b<br/>c</br>d"), "a<br>b<br>c<br>d");
    EXPECT_EQ(bodyHTML(u"<img src=x.png alt=''><hr><input type=checkbox checked><wbr>"),
              "<img src=\"x.png\" alt=\"\"><hr><input type=\"checkbox\" checked=\"\"><wbr>");
    // A void element given children through the DOM still serialises without them.
    auto br = HTMLElement::elementWithTagName(u"br");
    br->appendChild(HTMLText::textWithData(u"lost"));
    EXPECT_EQ(toUTF8(br->outerHTML()), "<br>");
    // Only HTML elements are void: a foreign element named like one gets an end tag.
    auto foreign = HTMLElement::elementWithTagName(u"img", HTMLNamespace::SVG);
    EXPECT_EQ(toUTF8(foreign->outerHTML()), "<img></img>");
}

TEST(HTMLSerializer, TemplateWritesItsContents) {
    auto document = HTMLDocument::documentWithString(u"<template id=t><tr><td>cell</td></tr><b>x</b></template>");
    auto templateElement = document->querySelector(u"#t");
    ASSERT_TRUE(templateElement);
    EXPECT_EQ(templateElement->childNodesCount(), 0u) << "the contents are not children";
    EXPECT_EQ(toUTF8(templateElement->outerHTML()), "<template id=\"t\"><tr><td>cell</td></tr><b>x</b></template>");
    EXPECT_EQ(toUTF8(templateElement->innerHTML()), "<tr><td>cell</td></tr><b>x</b>");
    // Nested templates keep their own contents.
    EXPECT_EQ(bodyHTML(u"<template><template><p>in</p></template></template>"),
              "<template><template><p>in</p></template></template>");
}

TEST(HTMLSerializer, AttributeValuesAreQuotedAndEscaped) {
    EXPECT_EQ(bodyHTML(u"<a title='say \"hi\" &amp; go' href=?a=1&b=2>x</a>"),
              "<a title=\"say &quot;hi&quot; &amp; go\" href=\"?a=1&amp;b=2\">x</a>");
    // Angle brackets and no-break spaces are escaped in attribute values too.
    EXPECT_EQ(bodyHTML(u"<p data-x=\"<b>&nbsp;</b>\" class='it&#39;s'>y</p>"),
              "<p data-x=\"&lt;b&gt;&nbsp;&lt;/b&gt;\" class=\"it's\">y</p>");
    // Attributes keep their order; names are lower case for HTML elements.
    EXPECT_EQ(bodyHTML(u"<div Z=1 a=2 ID=3></div>"), "<div z=\"1\" a=\"2\" id=\"3\"></div>");
    auto element = HTMLElement::elementWithTagName(u"span");
    element->setAttribute(u"data-empty", u"");
    element->setAttribute(u"title", u"line\nbreak\ttab");
    EXPECT_EQ(toUTF8(element->outerHTML()), "<span data-empty=\"\" title=\"line\nbreak\ttab\"></span>");
}

TEST(HTMLSerializer, TextIsEscapedExceptInRawTextElements) {
    EXPECT_EQ(bodyHTML(u"1 &lt; 2 &amp;&amp; 3 &gt; 2&nbsp;ok"), "1 &lt; 2 &amp;&amp; 3 &gt; 2&nbsp;ok");
    EXPECT_EQ(bodyHTML(u"<script>if (a < b && c > d) x = \"&amp;\";</script>"),
              "<script>if (a < b && c > d) x = \"&amp;\";</script>");
    EXPECT_EQ(bodyHTML(u"<xmp><b>&amp;</b></xmp><iframe><i>x</i></iframe><noembed>a<b</noembed>"),
              "<xmp><b>&amp;</b></xmp><iframe><i>x</i></iframe><noembed>a<b</noembed>");
    // textarea and title are read as text with entities decoded, so they are written escaped.
    EXPECT_EQ(bodyHTML(u"<textarea><b>&amp;</b></textarea>"), "<textarea>&lt;b&gt;&amp;&lt;/b&gt;</textarea>");
    // noscript is parsed as markup (scripting disabled), so its text is escaped like any other.
    EXPECT_EQ(bodyHTML(u"<noscript>a &amp; <b>b</b></noscript>"), "<noscript>a &amp; <b>b</b></noscript>");
    // Text put into a script through the DOM is written as it is.
    auto script = HTMLElement::elementWithTagName(u"script");
    script->setTextContent(u"a<b");
    EXPECT_EQ(toUTF8(script->outerHTML()), "<script>a<b</script>");
    // A text node on its own is escaped as its parent requires.
    EXPECT_EQ(toUTF8(script->firstChild()->outerHTML()), "a<b");
    EXPECT_EQ(toUTF8(HTMLText::textWithData(u"a<b")->outerHTML()), "a&lt;b");
}

TEST(HTMLSerializer, EntitiesAreDecodedOnceAndWrittenInCanonicalForm) {
    EXPECT_EQ(bodyHTML(u"&eacute;&#233;&#xE9;&copy;&notin;&amp;amp;"), "\u00e9\u00e9\u00e9\u00a9\u2209&amp;amp;");
    // Legacy entities without semicolon, and an ampersand that starts nothing.
    EXPECT_EQ(bodyHTML(u"&copy 2024 &foo; a & b"), "\u00a9 2024 &amp;foo; a &amp; b");
    // In attributes a legacy entity followed by a name character stays as written.
    EXPECT_EQ(bodyHTML(u"<a href=\"?x=1&copy=2\">l</a>"), "<a href=\"?x=1&amp;copy=2\">l</a>");
    EXPECT_EQ(bodyHTML(u"&#0;&#x110000;"), "\ufffd\ufffd");
}

TEST(HTMLSerializer, CommentsDoctypeAndDocuments) {
    auto document = HTMLDocument::documentWithString(u"<!DOCTYPE html><!-- top --><p>x<!--in-->y</p>");
    EXPECT_EQ(toUTF8(document->innerHTML()),
              "<!DOCTYPE html><!-- top --><html><head></head><body><p>x<!--in-->y</p></body></html>");
    EXPECT_EQ(toUTF8(document->outerHTML()), toUTF8(document->innerHTML()));
    EXPECT_EQ(toUTF8(HTMLComment::commentWithData(u" c ")->outerHTML()), "<!-- c -->");
}

TEST(HTMLSerializer, LeadingNewlineOfPreAndTextareaSurvivesARoundTrip) {
    // The parser drops the first line feed after <pre>; the serialiser puts one back when the text starts
    // with a line feed, so a second parse sees the same text.
    std::string once = bodyHTML(u"<pre>\n\nline</pre><textarea>\n\nx</textarea><listing>\n\ny</listing>");
    EXPECT_EQ(once, "<pre>\n\nline</pre><textarea>\n\nx</textarea><listing>\n\ny</listing>");
    EXPECT_EQ(bodyHTML(fromUTF8(once)), once);
    EXPECT_EQ(bodyHTML(u"<pre>\nline</pre>"), "<pre>line</pre>");
}

TEST(HTMLSerializer, ForeignElementsUseTheirAdjustedNames) {
    EXPECT_EQ(bodyHTML(u"<svg viewbox='0 0 10 10'><clippath/><foreignobject><p>x</p></foreignobject>"
                       u"<a xlink:href=#t>l</a></svg><math definitionurl=u><mi>x</mi></math>"),
              "<svg viewBox=\"0 0 10 10\"><clipPath></clipPath><foreignObject><p>x</p></foreignObject>"
              "<a xlink:href=\"#t\">l</a></svg><math definitionURL=\"u\"><mi>x</mi></math>");
    // CDATA in foreign content becomes text, joined with the text around it.
    auto document = HTMLDocument::documentWithString(u"<svg><text>a<![CDATA[<b>]]>c</text></svg>");
    auto text = document->querySelector(u"text");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->childNodesCount(), 1u);
    EXPECT_EQ(toUTF8(text->innerHTML()), "a&lt;b&gt;c");
}

TEST(HTMLSerializer, SerialisationIsStableOnItsOwnOutput) {
    const char16_t* inputs[] = {
        u"<p>a<p>b<div>c</div><table><td>x<tr><td>y</table>",
        u"<b><i>bold italic</b> italic</i> plain",
        u"<ul><li>one<li>two<ul><li>nested</ul></ul><dl><dt>t<dd>d</dl>",
        u"<select><option>a<option selected>b</select><form><input name=q></form>",
        u"<a href=x>one<a href=y>two</a>",
        u"<p><font color=red>text<div>block</div></font></p>",
        u"<table>stray<tr><td>cell</td></tr></table>",
    };
    for (const char16_t* input : inputs) {
        auto first = HTMLDocument::documentWithString(input)->documentElement()->outerHTML();
        auto second = HTMLDocument::documentWithString(first)->documentElement()->outerHTML();
        EXPECT_EQ(toUTF8(second), toUTF8(first)) << toUTF8(input);
    }
}
