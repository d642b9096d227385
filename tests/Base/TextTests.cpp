#include <gtest/gtest.h>

#include "postwright/Base/Format.hpp"
#include "postwright/Base/Text.hpp"

using namespace postwright;

TEST(Text, ConvertsBetweenUTF8AndUTF16Leniently) {
    std::u16string text = u"Gr\u00fc\u00dfe \U0001F600";
    EXPECT_EQ(fromUTF8(toUTF8(text)), text);
    EXPECT_EQ(toUTF8(u"a\xD800" u"b"), "a\xEF\xBF\xBD" "b") << "an unpaired surrogate becomes U+FFFD";
    EXPECT_EQ(fromUTF8("a\xFF" "b"), u"a\uFFFDb");
    EXPECT_EQ(toUTF8(OptString()), "(null)");
}

TEST(Text, TrimsWhiteSpaceAndLineBreaks) {
    EXPECT_EQ(fgTrim(u" \t\r\n a b \u00a0\r\n"), u"a b");
    EXPECT_EQ(trimWhitespace(u" \ta\r\n"), u"a\r\n") << "line breaks are not white space";
    EXPECT_EQ(trimCharacters(u"<<id@host> ", u"<> "), u"id@host");
    EXPECT_EQ(fgTrim(u""), u"");
}

TEST(Text, MapsCaseOverAllOfUnicode) {
    EXPECT_EQ(uppercase(u"stra\u00dfe"), u"STRASSE");
    EXPECT_EQ(lowercase(u"\u00c9T\u00c9"), u"\u00e9t\u00e9");
    EXPECT_TRUE(equalsIgnoringCase(u"Content-Type", u"CONTENT-TYPE"));
    EXPECT_TRUE(equalsIgnoringCase(u"\u00c9t\u00e9", u"\u00e9T\u00c9"));
    EXPECT_FALSE(equalsIgnoringCase(u"Subject", u"Subjects"));
    EXPECT_LT(compareIgnoringCase(u"cc", u"From"), 0);
    EXPECT_EQ(findIgnoringCase(u"abc=?UTF-8?q?", u"=?utf-8"), 3u);
    EXPECT_TRUE(equalsIgnoringCaseAndDiacritics(u"Jos\u00e9", u"JOSE"));
    EXPECT_FALSE(equalsIgnoringCaseAndDiacritics(u"Jos\u00e9", u"Josef"));
}

TEST(Text, WritesMailTexts) {
    EXPECT_EQ(capitalizedHeaderKey(u"message-ID"), u"Message-Id");
    EXPECT_EQ(quotedString(u"a \"b\" \\c"), u"\"a \\\"b\\\" \\\\c\"");
    EXPECT_EQ(stringByEscapingForHTMLContent(u"<a href=\"x\">&</a>"), u"&lt;a href=\"x\"&gt;&amp;&lt;/a&gt;");
    EXPECT_EQ(stringByEscapingForHTMLAttribute(u"\"<"), u"&quot;&lt;");
    EXPECT_EQ(stringByNormalizingLineEndsToCRLF(u"a\nb\rc\r\nd\n\r"), u"a\r\nb\r\nc\r\nd\r\n\r\n");
    EXPECT_EQ(pathExtension(u"dir.d/report.final.PDF"), u"PDF");
    EXPECT_EQ(pathExtension(u".profile"), u"");
    EXPECT_EQ(pathExtension(u"name."), u"");
}

TEST(Text, SplitsAndJoins) {
    EXPECT_EQ(componentsSeparatedBy(u"a/b//c", u"/"), (std::vector<std::u16string>{u"a", u"b", u"", u"c"}));
    EXPECT_EQ(componentsJoinedBy({u"a", u"b"}, u", "), u"a, b");
    EXPECT_EQ(replaceAll(u"a b  c", u" ", u"_"), u"a_b__c");
    EXPECT_EQ(replaceAllIgnoringCase(u"x=0D=0ay", u"=0a", u"\n"), u"x=0D\ny");
    EXPECT_EQ(removeCharacters(u"a\r\nb", u"\r\n"), u"ab");
}

TEST(Format, FillsTheSystemsFixedFormats) {
    EXPECT_EQ(formatString(u"%@ <%@>", {u"Ann", OptString(u"ann@example.org")}), u"Ann <ann@example.org>");
    EXPECT_EQ(formatString(u"<%@>", {OptString()}), u"<(null)>") << "nil prints as the platform's nil marker";
    EXPECT_EQ(formatString(u"%04lu%@", {7ul, u"abc"}), u"0007abc");
    EXPECT_EQ(formatString(u"=%02X", {0x0Au}), u"=0A");
    EXPECT_EQ(formatString(u"%ld bytes, %d%%", {-5l, 3}), u"-5 bytes, 3%");
    EXPECT_EQ(formatString(u" weight: %0.1f", {3.0}), u" weight: 3.0");
}
