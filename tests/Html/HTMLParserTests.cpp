// Parsing: document structure, parse error codes, fragments, and the limits on hostile input.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Html/HTMLParser.hpp"

using namespace postwright;

namespace {

std::vector<std::string> errorCodes(std::u16string_view html) {
    std::vector<std::string> codes;
    auto document = HTMLDocument::documentWithString(html);
    for (const HTMLParseError& error : document->parseErrors()) {
        codes.push_back(toUTF8(error.code));
    }
    return codes;
}

// The depth of the deepest node under node (node itself is depth 0).
size_t treeDepth(const HTMLNode& node) {
    size_t deepest = 0;
    std::vector<std::pair<const HTMLNode*, size_t>> stack{{&node, 0}};
    while (!stack.empty()) {
        auto [current, depth] = stack.back();
        stack.pop_back();
        deepest = std::max(deepest, depth);
        for (const auto& child : current->childNodes()) stack.emplace_back(child.get(), depth + 1);
    }
    return deepest;
}

std::u16string repeat(std::u16string_view text, size_t count) {
    std::u16string out;
    out.reserve(text.size() * count);
    for (size_t i = 0; i < count; ++i) out += text;
    return out;
}

}  // namespace

TEST(HTMLParser, BuildsTheImpliedDocumentStructure) {
    auto document = HTMLDocument::documentWithString(u"<title>T</title><p>Hello");
    ASSERT_TRUE(document->documentElement());
    EXPECT_EQ(document->documentElement()->tagName(), u"html");
    EXPECT_EQ(toUTF8(document->head()->innerHTML()), "<title>T</title>");
    EXPECT_EQ(toUTF8(document->body()->innerHTML()), "<p>Hello</p>");
    EXPECT_FALSE(document->doctype());
    EXPECT_EQ(document->quirksMode(), HTMLQuirksMode::Quirks);

    auto empty = HTMLDocument::documentWithString(u"");
    EXPECT_TRUE(empty->head());
    EXPECT_TRUE(empty->body());
    EXPECT_FALSE(empty->body()->hasChildNodes());

    auto standard = HTMLDocument::documentWithString(
        u"<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Strict//EN\" "
        u"\"http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd\"><html lang=de><body class=b>x");
    ASSERT_TRUE(standard->doctype());
    EXPECT_EQ(standard->doctype()->name(), u"html");
    EXPECT_EQ(standard->doctype()->publicId(), u"-//W3C//DTD XHTML 1.0 Strict//EN");
    EXPECT_EQ(standard->quirksMode(), HTMLQuirksMode::NoQuirks);
    EXPECT_EQ(standard->documentElement()->attribute(u"lang"), u"de");
    EXPECT_EQ(standard->body()->className(), u"b");

    // Line ends are normalised and NUL characters replaced or dropped as the standard says.
    std::u16string withNul = u"<p>a\r\nb\rc</p><script>x";
    withNul += u'\0';
    withNul += u"</script>";
    auto text = HTMLDocument::documentWithString(withNul);
    EXPECT_EQ(text->querySelector(u"p")->textContent(), u"a\nb\nc");
    EXPECT_EQ(text->querySelector(u"script")->textContent(), u"x\ufffd");
    // Unpaired surrogates in the text are read as U+FFFD.
    std::u16string broken = u"<p>a";
    broken += static_cast<char16_t>(0xD800);
    EXPECT_EQ(HTMLDocument::documentWithString(broken)->querySelector(u"p")->textContent(), u"a\ufffd");
}

TEST(HTMLParser, ParseErrorsCarryTheirStandardCodes) {
    const std::pair<const char16_t*, const char*> cases[] = {
        {u"<a b\"c>", "unexpected-character-in-attribute-name"},
        {u"<a / b>", "unexpected-solidus-in-tag"},
        {u"<a =b>", "unexpected-equals-sign-before-attribute-name"},
        {u"<a b=c\"d>", "unexpected-character-in-unquoted-attribute-value"},
        {u"<a b=>", "missing-attribute-value"},
        {u"<a b=\"1\"c=\"2\">", "missing-whitespace-between-attributes"},
        {u"<a b=1 b=2>", "duplicate-attribute"},
        {u"<a b", "eof-in-tag"},
        {u"<a b=\"x", "eof-in-tag"},
        {u"<", "eof-before-tag-name"},
        {u"</", "eof-before-tag-name"},
        {u"<1>", "invalid-first-character-of-tag-name"},
        {u"</1>", "invalid-first-character-of-tag-name"},
        {u"</>", "missing-end-tag-name"},
        {u"<?xml?>", "unexpected-question-mark-instead-of-tag-name"},
        {u"<!x>", "incorrectly-opened-comment"},
        {u"<![CDATA[x]]>", "cdata-in-html-content"},
        {u"<!-->", "abrupt-closing-of-empty-comment"},
        {u"<!--x", "eof-in-comment"},
        {u"<!--x--!>", "incorrectly-closed-comment"},
        {u"<!--a<!--b-->", "nested-comment"},
        {u"<script><!--x", "eof-in-script-html-comment-like-text"},
        {u"&#qux;", "absence-of-digits-in-numeric-character-reference"},
        {u"&#65", "missing-semicolon-after-character-reference"},
        {u"&amp", "missing-semicolon-after-character-reference"},
        {u"&qux;", "unknown-named-character-reference"},
        {u"&#0;", "null-character-reference"},
        {u"&#x110000;", "character-reference-outside-unicode-range"},
        {u"&#xD800;", "surrogate-character-reference"},
        {u"&#xFFFF;", "noncharacter-character-reference"},
        {u"&#x80;", "control-character-reference"},
        {u"a\u0001b", "control-character-in-input-stream"},
        {u"a\uFFFFb", "noncharacter-in-input-stream"},
        {u"<!DOCTYPE>", "missing-doctype-name"},
        {u"<!DOCTYPEhtml>", "missing-whitespace-before-doctype-name"},
        {u"<!DOCTYPE html foo>", "invalid-character-sequence-after-doctype-name"},
        {u"<!DOCTYPE html PUBLIC>", "missing-doctype-public-identifier"},
        {u"<!DOCTYPE html SYSTEM>", "missing-doctype-system-identifier"},
        {u"<!DOCTYPE html PUBLIC \"foo>", "abrupt-doctype-public-identifier"},
        {u"<!DOCTYPE html SYSTEM \"foo>", "abrupt-doctype-system-identifier"},
        {u"<!DOCTYPE html PUBLIC foo>", "missing-quote-before-doctype-public-identifier"},
        {u"<!DOCTYPE html SYSTEM foo>", "missing-quote-before-doctype-system-identifier"},
        {u"<!DOCTYPE html PUBLIC\"x\">", "missing-whitespace-after-doctype-public-keyword"},
        {u"<!DOCTYPE html SYSTEM\"x\">", "missing-whitespace-after-doctype-system-keyword"},
        {u"<!DOCTYPE html PUBLIC \"a\"\"b\">", "missing-whitespace-between-doctype-public-and-system-identifiers"},
        {u"<!DOCTYPE html SYSTEM \"x\" y>", "unexpected-character-after-doctype-system-identifier"},
        {u"<!DOCTYPE html><!DOCTYPE html>", "unexpected-doctype"},
        {u"<!DOCTYPE html></p>", "unexpected-end-tag"},
        {u"<!DOCTYPE html><table><tr><div>", "unexpected-start-tag"},
        {u"<!DOCTYPE html><div>", "unexpected-eof"},
        {u"<!DOCTYPE html><div/>", "non-void-html-element-start-tag-with-trailing-solidus"},
    };
    for (const auto& [input, code] : cases) EXPECT_THAT(errorCodes(input), testing::Contains(code)) << toUTF8(input);
    EXPECT_THAT(errorCodes(std::u16string(u"<textarea>\0", 11)), testing::Contains("unexpected-null-character"));

    // Each error once, with its position.
    auto document = HTMLDocument::documentWithString(u"<!DOCTYPE html>\n<p>\n  <a b\"c>x</a>");
    ASSERT_EQ(document->parseErrors().size(), 1u);
    EXPECT_EQ(document->parseErrors()[0], (HTMLParseError{u"unexpected-character-in-attribute-name", 3, 7}));
    EXPECT_EQ(errorCodes(u"<!DOCTYPE html><div/></div>"),
              std::vector<std::string>{"non-void-html-element-start-tag-with-trailing-solidus"});
    // The tokenizer's error, then the tree builder's for a doctype that does not name "html".
    EXPECT_EQ(errorCodes(u"<!DOCTYPE>"), (std::vector<std::string>{"missing-doctype-name", "unexpected-doctype"}));
    EXPECT_TRUE(errorCodes(u"<!DOCTYPE html><p>clean</p>").empty());
}

TEST(HTMLParser, ParseErrorsAreCapped) {
    auto document = HTMLDocument::documentWithString(u"<!DOCTYPE html>" + repeat(u"</x>", kHTMLMaxParseErrors * 3));
    EXPECT_EQ(document->parseErrors().size(), kHTMLMaxParseErrors);
}

TEST(HTMLParser, FragmentsParseInContext) {
    auto cell = HTMLElement::elementWithTagName(u"tr");
    std::vector<HTMLParseError> errors{{u"stale", 0, 0}};
    size_t dropped = 99;
    auto fragment = parseHTMLFragment(u"<td>a<td>b</tr>", *cell, &errors, &dropped);
    EXPECT_EQ(toUTF8(fragment->innerHTML()), "<td>a</td><td>b</td>");
    EXPECT_EQ(errors.size(), 1u) << "the stray </tr> (the slot is cleared on entry)";
    EXPECT_EQ(dropped, 0u);
    auto title = HTMLElement::elementWithTagName(u"title");
    EXPECT_EQ(toUTF8(parseHTMLFragment(u"a <b> &amp; c", *title)->textContent()), "a <b> & c");
    auto math = HTMLElement::elementWithTagName(u"math", HTMLNamespace::MathML);
    auto mathFragment = parseHTMLFragment(u"<mi>x</mi>", *math);
    EXPECT_EQ(mathFragment->firstElementChild()->tagNamespace(), HTMLNamespace::MathML);
    for (const auto& child : fragment->childNodes()) EXPECT_EQ(child->parentNode(), fragment);
}

// 100,000 nested start tags of several shapes: each parses without exhausting the stack or taking
// quadratic time, the tree stays within a small multiple of the nesting limit, and the text survives.
TEST(HTMLParser, DeepNestingIsCappedBeforeTheTreeBuilder) {
    constexpr size_t kCount = 100000;
    const std::pair<const char16_t*, const char16_t*> shapes[] = {
        {u"<div>", u""},            {u"<span>", u""},           {u"<b>", u""},
        {u"<div/>", u""},           {u"<table><td>", u""},      {u"<ul><li>", u""},
        {u"<b><div></b>", u""},     {u"<x><div></x>", u""},     {u"<form><div></form>", u""},
        {u"<a><div></a>", u""},     {u"<svg><g>", u""},         {u"<math><mi><div>", u""},
        {u"<font size=1>", u""},    {u"<p><i>x</p>", u""},      {u"<blockquote>", u"</blockquote>"},
        {u"<div><i id=", u">x</div>"},
    };
    for (const auto& [open, close] : shapes) {
        std::u16string text;
        for (size_t i = 0; i < kCount / 4; ++i) {
            text += open;
            if (std::u16string_view(open).ends_with(u"id=")) text += decimalString(static_cast<unsigned>(i % 700));
            text += close;
        }
        text = repeat(text, 4) + u"end";
        auto document = HTMLDocument::documentWithString(text);
        EXPECT_LE(treeDepth(*document), 4 * kHTMLMaxNestingDepth) << toUTF8(open);
        EXPECT_TRUE(document->body()->textContent().ends_with(u"end")) << toUTF8(open);
    }
}

// Formatting elements closed by an enclosing element are reopened (copied) before the next text; with
// ever new attributes that would copy more elements on every round. Past the budget they stay closed.
TEST(HTMLParser, ReopeningFormattingElementsHasABudget) {
    constexpr size_t kRounds = 20000;
    std::u16string text;
    for (size_t i = 0; i < kRounds; ++i) {
        text += u"<div><i id=" + decimalString(static_cast<unsigned>(i % 700)) + u">x</div>";
    }
    auto document = HTMLDocument::documentWithString(text);
    size_t italics = document->getElementsByTagName(u"i").size();
    EXPECT_LE(italics, kRounds + kHTMLMaxReopenedFormattingElements + text.size() / 16);
    EXPECT_GT(document->repairedTagCount(), 0u);
    EXPECT_EQ(document->body()->textContent(), repeat(u"x", kRounds));
    // Ordinary reopening is untouched: the second paragraph's text is bold, as in a browser.
    auto sloppy = HTMLDocument::documentWithString(u"<p><b>one<p>two");
    EXPECT_EQ(toUTF8(sloppy->body()->innerHTML()), "<p><b>one</b></p><p><b>two</b></p>");
    EXPECT_EQ(sloppy->repairedTagCount(), 0u);
}

TEST(HTMLParser, NestingLimitCutsDeepTagsAndTheirEndTags) {
    std::u16string text = repeat(u"<div>", kHTMLMaxNestingDepth + 10) + u"deep" + repeat(u"</div>", kHTMLMaxNestingDepth + 10) +
                          u"<p>after</p>";
    auto document = HTMLDocument::documentWithString(text);
    EXPECT_EQ(document->repairedTagCount(), 2u * 10);  // 10 start tags cut with their end tags
    EXPECT_EQ(document->getElementsByTagName(u"div").size(), kHTMLMaxNestingDepth);
    EXPECT_EQ(document->body()->textContent(), u"deepafter");
    EXPECT_EQ(document->body()->lastElementChild()->tagName(), u"p") << "the cut end tags close nothing early";
    // Raw text stays whole even past the limit.
    std::u16string script = repeat(u"<span>", kHTMLMaxNestingDepth + 5) + u"<script>a<b</script>";
    EXPECT_EQ(HTMLDocument::documentWithString(script)->querySelector(u"script")->textContent(), u"a<b");
    // Ordinary documents with many sibling and sloppy elements lose nothing.
    std::u16string sloppy = repeat(u"<p>para<li>item<td>cell<b>bold</p><font face=x>f</font><table><tr><td>x</table>",
                                   3 * kHTMLMaxNestingDepth);
    EXPECT_EQ(HTMLDocument::documentWithString(sloppy)->repairedTagCount(), 0u);
    std::u16string unclosedFormatting = repeat(u"<p><b>bold</p>", 3 * kHTMLMaxNestingDepth);
    EXPECT_EQ(HTMLDocument::documentWithString(unclosedFormatting)->repairedTagCount(), 0u);
    // Whereas formatting elements reopened between blocks really do nest ever deeper: the limit applies.
    std::u16string reopened = repeat(u"<div><b>bold</div>\n", 2 * kHTMLMaxNestingDepth);
    auto nested = HTMLDocument::documentWithString(reopened);
    EXPECT_GT(nested->repairedTagCount(), 0u);
    EXPECT_LE(treeDepth(*nested), kHTMLMaxNestingDepth + 3);
}
