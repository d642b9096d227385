// The plain text of HTML, as the text/plain alternative of a composed message shows it.
#include <gtest/gtest.h>

#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Html/HTMLPlainText.hpp"

using namespace postwright;

namespace {
std::string textOf(std::u16string_view html) {
    auto document = HTMLDocument::documentWithString(html);
    return toUTF8(plainTextOfNode(*document->body()));
}
}  // namespace

TEST(HTMLPlainText, ReadsAsTheRenderedLines) {
    const std::pair<std::u16string, std::string> cases[] = {
        {u"Hello   <b>there</b>\n  friend", "Hello there friend"},
        {u"<p>One</p><p>Two</p>", "One\n\nTwo"},
        {u"<div>One</div><div>Two</div>", "One\nTwo"},
        {u"a<br>b<br><br>c", "a\nb\n\nc"},
        {u"<p>a</p><p></p><div></div><p>b</p>", "a\n\nb"},
        {u"<ul><li>one<li>two<ul><li>deep</ul></ul>", "* one\n* two\n  * deep"},
        {u"<ol><li>first<li>second</ol>", "1. first\n2. second"},
        {u"<table><tr><td>a</td> <td>b</td></tr><tr><td>c</td><td>d</td></tr></table>", "a\tb\nc\td"},
        {u"<pre>  keep\n    this</pre>after", "keep\n    this\nafter"},
        {u"<a href=\"https://example.com/x\">the site</a>, <a href=\"mailto:a@b.example\">a@b.example</a>",
         "the site <https://example.com/x>, a@b.example"},
        {u"<style>p{}</style><script>x()</script><p>shown<img src=a.png alt=pic></p>", "shown"},
        {u"a&nbsp;&nbsp;b \u00e9", "a  b \xC3\xA9"},
    };
    for (const auto& [html, expected] : cases) {
        EXPECT_EQ(textOf(html), expected) << toUTF8(html);
    }
}

TEST(HTMLPlainText, DeepTreesAreWalkedWithoutRecursion) {
    std::u16string html;
    for (int i = 0; i < 100000; ++i) html += u"<span>";
    html += u"deep";
    auto document = HTMLDocument::documentWithString(html);
    EXPECT_EQ(plainTextOfNode(*document->body()), u"deep");
}
