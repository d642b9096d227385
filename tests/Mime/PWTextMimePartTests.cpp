// Text parts: decoding by transfer encoding and charset with their fallbacks, the HTML of a text/html part,
// and the builders of composed text.
#include <gtest/gtest.h>

#include "Mime/MimeTestSupport.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;
using postwright::test::parsePart;

namespace {
OptString plainOf(std::string_view headers, std::string_view body) {
    return parsePart(std::string(headers) + "\r\n\r\n" + std::string(body))->plainContent();
}

OptString htmlOf(std::string_view headers, std::string_view body) {
    return parsePart("Content-Type: text/html" + std::string(headers) + "\r\n\r\n" + std::string(body))->htmlContent();
}
}  // namespace

TEST(TextPartDecoding, PlainTextByTransferEncodingAndCharset) {
    // No transfer encoding and no charset: Windows-1252 bytes are found by detection.
    EXPECT_EQ(plainOf("Content-Type: text/plain", "\x93quoted\x94 caf\xE9 \x80"), u"\u201cquoted\u201d caf\u00e9 \u20ac");
    // A declared charset is used when the bytes are valid in it.
    EXPECT_EQ(plainOf("Content-Type: text/plain; charset=iso-8859-2", "\xB1"), u"\u0105");
    // Quoted-printable keeps the blank lines at both ends; base64 trims them.
    EXPECT_EQ(plainOf("Content-Type: text/plain\r\nContent-Transfer-Encoding: quoted-printable", "\r\nGr=C3=BC=C3=9Fe\r\n\r\n"),
              u"\r\nGr\u00fc\u00dfe\r\n\r\n");
    EXPECT_EQ(plainOf("Content-Type: text/plain\r\nContent-Transfer-Encoding: Base64", "DQpoaQ0KDQo="), u"hi");
    EXPECT_EQ(plainOf("Content-Type: text/plain; charset=us-ascii\r\nContent-Transfer-Encoding: 7bit", "  a b  \r\n"),
              u"a b");
    // 8bit: the declared charset, else detection preferring it.
    EXPECT_EQ(plainOf("Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 8bit",
                      "Un caf\xE9 cr\xE8me, tr\xE8s chaud, s'il vous pla\xEEt."),
              u"Un caf\u00e9 cr\u00e8me, tr\u00e8s chaud, s'il vous pla\u00eet.");
    EXPECT_EQ(plainOf("Content-Type: text/plain; charset=koi8-r\r\nContent-Transfer-Encoding: binary", "\xF0\xD2\xC9"),
              u"\u041f\u0440\u0438");
    // A 7bit body mislabelled as ASCII still reads, by detection.
    EXPECT_EQ(plainOf("Content-Type: text/plain; charset=us-ascii\r\nContent-Transfer-Encoding: 7bit", "caf\xC3\xA9"),
              u"caf\u00e9");
    // Another text subtype is read with the part's encoding, without transfer decoding.
    EXPECT_EQ(plainOf("Content-Type: text/html; charset=utf-8", " <p>caf\xC3\xA9</p> "), u"<p>caf\u00e9</p>");
    EXPECT_EQ(plainOf("Content-Type: text/plain", ""), std::nullopt) << "no body, no text";
    EXPECT_EQ(plainOf("Content-Type: text/plain\r\nContent-Transfer-Encoding: quoted-printable", "bad =ZZ escape"),
              std::nullopt);
}

TEST(TextPartDecoding, HtmlKeepsItsMarkupAndFallsBackThroughMetaCharsetAndDetection) {
    test::ScopedRecordingLogger log;
    EXPECT_EQ(htmlOf("; charset=us-ascii\r\nContent-Transfer-Encoding: 7bit", "<p>a &amp; b</p>"), u"<p>a &amp; b</p>");
    EXPECT_EQ(htmlOf("\r\nContent-Transfer-Encoding: quoted-printable", "<p>=3Cb=3E</p>"), u"<p><b></p>");
    EXPECT_EQ(htmlOf("\r\nContent-Transfer-Encoding: quoted-printable", "<p>a =ZZ b</p>"),
              u"&lt;p&gt;a =ZZ b&lt;/p&gt;")
        << "a malformed escape shows the raw body as text";
    EXPECT_EQ(htmlOf("; charset=utf-8\r\nContent-Transfer-Encoding: base64", "PHA+Y2Fmw6k8L3A+"), u"<p>caf\u00e9</p>");

    // No charset parameter, bytes that are not UTF-8, and a meta element naming ISO 8859-2.
    std::string latin2 =
        "<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=iso-8859-2\"></head>"
        "<body>\xB1\xB6</body></html>";
    OptString html = htmlOf("", latin2);
    ASSERT_TRUE(html);
    EXPECT_NE(html->find(u"<body>\u0105\u015b</body>"), std::u16string::npos);
    EXPECT_TRUE(log->messages().empty()) << "the meta element settled it";

    // Neither the charset nor a meta element: detection, and the log line says which encoding worked.
    html = htmlOf("\r\nContent-Transfer-Encoding: 8bit", "<p>\x93quoted\x94 caf\xE9</p>");
    EXPECT_EQ(html, u"<p>\u201cquoted\u201d caf\u00e9</p>");
    ASSERT_EQ(log->messages().size(), 1u);
    EXPECT_EQ(log->messages()[0], "No transfer encoding provided and utf8 didn't work -- but 12 did");
    EXPECT_EQ(htmlOf("", ""), std::nullopt);
}

TEST(TextPartPresentation, FragmentsOfTextAndHtml) {
    PWMimePartRef plain = parsePart("Content-Type: text/plain\r\n\r\n<tag> & line\r\nnext");
    EXPECT_EQ(plain->htmlFragmentForContext(kMimeDisplayContextRich, 0, nullptr),
              u"<div style=\"white-space: pre-wrap\">&lt;tag&gt; &amp; line\r\nnext</div>");
    EXPECT_TRUE(plain->shouldDisplayAsPlainText());

    PWMimePartRef html = parsePart(
        "Content-Type: text/html\r\n\r\n<html><head><title>t</title></head><body><img src=\" cid:a%40b\">"
        "<a href=\"https://example.com/cid:x\">x</a><td background=\"Cid:bg\"></td></body></html>");
    std::u16string fragment = html->htmlFragmentForContext(kMimeDisplayContextRich, 0, nullptr);
    EXPECT_EQ(html->htmlFragmentForContext(kMimeDisplayContextPlainText, 0, nullptr), fragment)
        << "the same whatever the context";
    EXPECT_NE(fragment.find(u"<img src=\"x-postwright-cid:a%40b\">"), std::u16string::npos) << toUTF8(fragment);
    EXPECT_NE(fragment.find(u"href=\"https://example.com/cid:x\""), std::u16string::npos) << "only URLs that are cid:";
    EXPECT_EQ(fragment.find(u"<title>"), std::u16string::npos) << "the body only";
    EXPECT_FALSE(html->shouldDisplayAsPlainText());
}

TEST(TextPartBuilders, ComposedTextWithEachTransferEncoding) {
    auto quoted = PWTextMimePart::initMutableWithPlainText(u"Gr\u00fc\u00dfe\nline two\n", kISOLatin1StringEncoding,
                                                           u"quoted-printable");
    EXPECT_EQ(quoted->charset(), u"iso-8859-1");
    EXPECT_EQ(quoted->contentData(), "Gr=FC=DFe\r\nline two\r\n") << "line ends made CR LF";
    EXPECT_EQ(quoted->plainContent(), u"Gr\u00fc\u00dfe\r\nline two\r\n");
    EXPECT_EQ(quoted->headers()->firstHeaderForKey(u"Content-Transfer-Encoding"), u"quoted-printable");

    // The encoder moves on when the preferred encoding cannot hold the text, and the charset says so.
    auto eightBit = PWTextMimePart::initMutableWithPlainText(u"5 \u20ac", kASCIIStringEncoding, u"8bit");
    EXPECT_EQ(eightBit->charset(), u"utf-8");
    EXPECT_EQ(eightBit->contentData(), "5 \xE2\x82\xAC");
    auto base64 = PWTextMimePart::initMutableWithPlainText(u"caf\u00e9", kUTF8StringEncoding, u"base64");
    EXPECT_EQ(base64->contentData(), "Y2Fmw6k=");
    EXPECT_EQ(base64->plainContent(), u"caf\u00e9");

    auto html = PWTextHtmlMimePart::initMutableWithHtmlString(u"<p>caf\u00e9</p>", kUTF8StringEncoding, u"quoted-printable");
    PWMimePartRef parsed = PWMimePart::newMimePartWithRFC2822Data(html->mimeNSData(), u"0");
    EXPECT_TRUE(parsed->isMemberOfClass(PWTextHtmlMimePart::mimeClass()));
    EXPECT_EQ(parsed->htmlContent(), u"<p>caf\u00e9</p>");
}

TEST(TextPartDecoding, UnlabelledTextIsReadWithTheHintsOfItsMessage) {
    // "Καλό" in windows-1253 also reads as Arabic windows-1256 text; the message says which it is.
    const std::string greek = "\xCA\xE1\xEB\xFC";
    PWMimePartRef alone = parsePart("Content-Type: text/plain\r\n\r\n" + greek);
    PWMimePartRef subjectHint = parsePart("Subject: =?windows-1253?B?yuHr/A==?=\r\nContent-Type: text/plain\r\n\r\n" + greek);
    EXPECT_EQ(subjectHint->encodingHints().message, std::vector<TextEncoding>{kWindowsCP1253StringEncoding});
    EXPECT_EQ(subjectHint->plainContent(), u"\u039a\u03b1\u03bb\u03cc");

    // Another part's charset is a hint; the part's own (failing) charset is the declared one.
    PWMimePartRef mixed = parsePart(
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/html; charset=iso-8859-7\r\n\r\n"
        "<p>x</p>\r\n--b\r\nContent-Type: text/plain; charset=us-ascii\r\nContent-Transfer-Encoding: 8bit\r\n\r\n" +
        greek + "\r\n--b--\r\n");
    PWMimePartRef plain = mixed->subParts().at(1);
    EncodingHints hints = plain->encodingHints();
    EXPECT_EQ(hints.declared, kASCIIStringEncoding);
    EXPECT_EQ(hints.message, std::vector<TextEncoding>{encodingForCharSetName(u"iso-8859-7")});
    EXPECT_EQ(plain->plainContent(), u"\u039a\u03b1\u03bb\u03cc");

    // A hint never makes an implausible reading: Greek hints do not turn Polish into Greek.
    PWMimePartRef polish = parsePart("Subject: =?windows-1253?B?yuHr/A==?=\r\nContent-Type: text/plain\r\n\r\n"
                                     "Dzi\xEAkuj\xEA za spotkanie w \xB6rod\xEA.");
    EXPECT_EQ(polish->plainContent(), u"Dzi\u0119kuj\u0119 za spotkanie w \u015brod\u0119.");
    EXPECT_TRUE(alone->plainContent().has_value());
}
