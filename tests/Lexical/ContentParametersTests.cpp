#include <gtest/gtest.h>

#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
struct Parsed {
    bool ok = false;
    ParameterDictionary info;
    size_t location = 0;
};

Parsed contentType(std::u16string_view value) {
    Scanner scanner = Scanner::emailAddressScannerWithString(value);
    Parsed parsed;
    parsed.ok = scanner.scanRFC1341ContentTypeHeaderIntoDictionary(&parsed.info, nullptr);
    parsed.location = scanner.scanLocation();
    return parsed;
}

Parsed disposition(std::u16string_view value) {
    Scanner scanner = Scanner::emailAddressScannerWithString(value);
    Parsed parsed;
    parsed.ok = scanner.scanRFC2183ContentDispositionHeaderIntoDictionary(&parsed.info, nullptr);
    parsed.location = scanner.scanLocation();
    return parsed;
}
}  // namespace

TEST(ContentTypeParser, TypeSubtypeAndParameters) {
    std::u16string value = u"TEXT/Plain; Charset=\"UTF-8\"; format=Flowed";
    Parsed parsed = contentType(value);
    ASSERT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.info.keys(),
              (std::vector<std::u16string>{u"@type", u"@subtype", u"@fulltype", u"charset", u"format"}));
    EXPECT_EQ(parsed.info.text(kContentTypeKeyType), u"text");
    EXPECT_EQ(parsed.info.text(kContentTypeKeySubtype), u"plain");
    EXPECT_EQ(parsed.info.text(kContentTypeKeyFullType), u"text/plain");
    EXPECT_EQ(parsed.info.text(u"charset"), u"UTF-8") << "names are lower-cased, values kept";
    EXPECT_EQ(parsed.info.text(u"format"), u"Flowed");
    EXPECT_EQ(parsed.location, value.size());

    Parsed multipart = contentType(u" multipart/mixed;\r\n boundary=\"----=_Part_0\"");
    ASSERT_TRUE(multipart.ok);
    EXPECT_EQ(multipart.info.text(kContentTypeKeyBoundary), u"----=_Part_0");
}

TEST(ContentTypeParser, MajorTypesKnownExtendedAndUnknown) {
    Parsed txt = contentType(u"txt/plain");
    EXPECT_EQ(txt.info.text(u"@type"), u"txt") << "txt is a major type of its own";
    Parsed extended = contentType(u"X-Foo/Bar");
    EXPECT_EQ(extended.info.text(u"@type"), u"x-foo");
    EXPECT_EQ(extended.info.text(u"@fulltype"), u"foo/bar") << "made from the text after x-";
    Parsed unknown = contentType(u"foo/bar");
    ASSERT_TRUE(unknown.ok);
    EXPECT_EQ(unknown.info.text(u"@type"), u"application");
    EXPECT_EQ(unknown.info.text(u"@fulltype"), u"(null)/bar") << "the unknown type's text is not kept";
    Parsed noType = contentType(u"/bar");
    ASSERT_TRUE(noType.ok);
    EXPECT_FALSE(noType.info.contains(u"@type"));
    EXPECT_EQ(noType.info.text(u"@subtype"), u"bar");
}

TEST(ContentTypeParser, RFC2231SectionsCharsetsAndPercentEscapes) {
    Parsed joined = contentType(u"application/x-foo; name*0*=utf-8''%C3%A9t%C3%A9; name*1=.pdf");
    ASSERT_TRUE(joined.ok);
    EXPECT_EQ(joined.info.text(u"name"), u"\u00e9t\u00e9.pdf");
    EXPECT_FALSE(joined.info.contains(u"name*"));

    Parsed latin = contentType(u"text/plain; title*=iso-8859-1'en'%A3%20rates");
    EXPECT_EQ(latin.info.text(u"title"), u"\u00a3 rates");

    Parsed quotedAfterEncoded = contentType(u"text/plain; title*0*=iso-8859-1''%A3; title*1=\" \u00e9\"");
    EXPECT_EQ(quotedAfterEncoded.info.text(u"title"), u"\u00a3 \u00e9") << "decoded with the first section's charset";

    Parsed outOfOrder = contentType(u"text/plain; a*2=c; a*0=a; a*1=x; a*1=b; a*10=z");
    EXPECT_EQ(outOfOrder.info.text(u"a"), u"abcz") << "numeric order, later duplicates win";

    Parsed encodedWord = contentType(u"image/png; name=\"=?utf-8?B?w6k=?=.png\"");
    EXPECT_EQ(encodedWord.info.text(u"name"), u"\u00e9.png");
    Parsed splitWord = contentType(u"image/png; name*0=\"=?utf-8?Q?caf\"; name*1=\"=C3=A9?=\"");
    EXPECT_EQ(splitWord.info.text(u"name"), u"caf\u00e9") << "a word split over sections is decoded after joining";
}

TEST(ContentTypeParser, ParametersThatCannotBeJoined) {
    Parsed emptyCharset = contentType(u"text/plain; name*=''abc");
    ASSERT_TRUE(emptyCharset.ok);
    EXPECT_FALSE(emptyCharset.info.contains(u"name"));
    const SectionMap* sections = emptyCharset.info.sections(u"name*");
    ASSERT_NE(sections, nullptr) << "an empty declared charset does not resolve when joining";
    EXPECT_EQ(*sections, (SectionMap{{0, Data::withString("abc")}}));

    Parsed invalidBytes = contentType(u"text/plain; name*=utf-8''%FF%FE; x=y");
    ASSERT_TRUE(invalidBytes.ok);
    EXPECT_FALSE(invalidBytes.info.contains(u"name"));
    EXPECT_FALSE(invalidBytes.info.contains(u"name*"));
    EXPECT_EQ(invalidBytes.info.text(u"x"), u"y");

    EXPECT_FALSE(contentType(u"text/plain; name*=x-unknown''abc").ok)
        << "with an unknown charset the value stays unread and the next step fails on it";
}

TEST(ContentTypeParser, SeparatorsAndFailures) {
    EXPECT_TRUE(contentType(u"text/plain;").ok);
    EXPECT_TRUE(contentType(u"text/plain;; a=b").ok);
    EXPECT_TRUE(contentType(u"text/plain; name*=utf-8''a%20b\r\n ; x=y").ok) << "an encoded value may end at CRLF";
    for (const char16_t* bad :
         {u"", u"text", u"text/", u"textual/plain", u"x-foo", u"text/plain charset=x", u"text/plain; charset",
          u"text/plain; charset=", u"text/plain; charset=\u00e9", u"text/plain; name*=utf-8''a b",
          u"text/plain; a*=utf-8''%4", u"text/plain ", u"text/plain; charset=us-ascii (comment)"}) {
        Scanner scanner = Scanner::emailAddressScannerWithString(bad);
        ParameterDictionary info{{u"untouched", u"yes"}};
        ErrorRef error = makeError("untouched", 1, u"");
        EXPECT_FALSE(scanner.scanRFC1341ContentTypeHeaderIntoDictionary(&info, &error)) << toUTF8(bad);
        EXPECT_EQ(scanner.scanLocation(), 0u) << toUTF8(bad);
        EXPECT_EQ(info, (ParameterDictionary{{u"untouched", u"yes"}})) << toUTF8(bad);
        EXPECT_EQ(error->domain, "untouched") << "the error slot is never written";
    }
}

TEST(ContentTypeParser, WithoutAResultSlotOnlyTheScanHappens) {
    Scanner scanner = Scanner::emailAddressScannerWithString(u"text/plain; name*=''abc");
    EXPECT_TRUE(scanner.scanRFC1341ContentTypeHeaderIntoDictionary(nullptr, nullptr));
    EXPECT_TRUE(scanner.isAtEnd());
}

TEST(ContentDispositionParser, TypesAndTheirQuirks) {
    Parsed empty = disposition(u"");
    ASSERT_TRUE(empty.ok);
    EXPECT_EQ(empty.info, (ParameterDictionary{{u"@type", u"attachment"}}));
    EXPECT_EQ(disposition(u"INLINE ").info.text(u"@type"), u"inline");
    EXPECT_EQ(disposition(u"x-Custom; a=b").info.text(u"@type"), u"x-Custom") << "x- types are not lower-cased";
    EXPECT_FALSE(disposition(u"form-data; name=\"field\"").ok) << "an unknown type is left for the loop to fail on";
    EXPECT_FALSE(disposition(u"form-data").ok);
    EXPECT_FALSE(disposition(u"x-;a=b").ok);

    Scanner scanner = Scanner::emailAddressScannerWithString(u"inline");
    ErrorRef error = makeError("stale", 1, u"");
    EXPECT_TRUE(scanner.scanRFC2183ContentDispositionHeaderIntoDictionary(nullptr, &error));
    EXPECT_EQ(error, nullptr) << "the disposition clears its error slot";
}

TEST(ContentDispositionParser, SizeDatesAndFileNames) {
    Parsed parsed = disposition(
        u"attachment; filename=\"r\u00e9sum\u00e9.pdf\"; size=-1234;\r\n creation-date=\"Wed, 12 Feb 1997 16:29:51 "
        u"-0500\"; "
        u"filename*1=x");
    ASSERT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.info.keys(), (std::vector<std::u16string>{u"@type", u"filename", u"size", u"creation-date"}));
    EXPECT_EQ(parsed.info.text(u"filename"), u"r\u00e9sum\u00e9.pdfx");
    EXPECT_EQ(parsed.info.integer(u"size"), -1234);
    EXPECT_EQ(parsed.info.text(u"creation-date"), u"Wed, 12 Feb 1997 16:29:51 -0500");

    EXPECT_FALSE(disposition(u"attachment; read-date=Wed, 12 Feb 1997").ok) << "dates must be quoted";
    EXPECT_FALSE(disposition(u"attachment; sizeable=1").ok) << "names are matched as prefixes";
    Parsed missingValue = disposition(u"attachment; filename=a; name=");
    ASSERT_TRUE(missingValue.ok) << "a missing value ends the list with what was read";
    EXPECT_EQ(missingValue.info.text(u"filename"), u"a");
    EXPECT_FALSE(missingValue.info.contains(u"name"));

    // Literal characters of an encoded value are written in the charset for a content type, as ASCII
    // for a disposition.
    EXPECT_EQ(contentType(u"text/plain; name*=utf-16''a").info.text(u"name"), u"a");
    Parsed asASCII = disposition(u"attachment; filename*=utf-16''a");
    ASSERT_TRUE(asASCII.ok);
    EXPECT_EQ(asASCII.info, (ParameterDictionary{{u"@type", u"attachment"}})) << "one byte is no UTF-16 text";
}

TEST(PercentEscapes, Ahex2intComputesWithoutValidating) {
    EXPECT_EQ(ahex2int(u'c', u'3'), 0xC3);
    EXPECT_EQ(ahex2int(u'z', u'z'), 11 * 16 + 11);
}

TEST(ContentParsersStayLinear, HugeValuesAndEndlessContinuations) {
    std::u16string huge(1 << 20, u'a');
    Parsed quoted = contentType(u"text/plain; name=\"" + huge + u"\"");
    ASSERT_TRUE(quoted.ok);
    EXPECT_EQ(quoted.info.text(u"name")->size(), huge.size());
    EXPECT_TRUE(contentType(u"text/plain; name=" + huge).ok);
    std::u16string escaped;
    for (int i = 0; i < (1 << 18); ++i) escaped += u"%41";
    Parsed percent = contentType(u"text/plain; name*=utf-8''" + escaped);
    ASSERT_TRUE(percent.ok);
    EXPECT_EQ(percent.info.text(u"name")->size(), size_t(1) << 18);
    Parsed noPrefix = contentType(u"text/plain; name*=" + huge);
    ASSERT_TRUE(noPrefix.ok) << "the charset runs to the end, and nothing is left to fail on";
    EXPECT_FALSE(noPrefix.info.contains(u"name"));

    std::u16string sections = u"text/plain";
    for (int i = 99999; i >= 0; --i) sections += u"; n*" + decimalString(i) + u"=x";
    Parsed continued = contentType(sections);
    ASSERT_TRUE(continued.ok);
    EXPECT_EQ(continued.info.text(u"n")->size(), 100000u);

    std::u16string names = u"attachment";
    for (int i = 0; i < 100000; ++i) names += u"; p" + decimalString(i) + u"=\"v\"";
    Parsed many = disposition(names);
    ASSERT_TRUE(many.ok);
    EXPECT_EQ(many.info.size(), 100001u);
    EXPECT_EQ(many.info.text(u"p99999"), u"v");

    std::u16string semicolons = u"text/plain" + std::u16string(100000, u';');
    EXPECT_TRUE(contentType(semicolons).ok);
}
