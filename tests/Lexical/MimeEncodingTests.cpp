#include <gtest/gtest.h>

#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/QuotedPrintable.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
struct WordScan {
    bool ok = false;
    OptString text;
    TextEncoding encoding = 0;
    OptString language;
    bool sploited = false;
    size_t location = 0;
};

WordScan scanWord(std::u16string_view input, unsigned options = 0, bool withResult = true) {
    Scanner scanner = Scanner::emailAddressScannerWithString(input);
    WordScan scan;
    scan.ok = scanner.scanRFC2047EncodedWordIntoString(withResult ? &scan.text : nullptr, options, &scan.encoding,
                                                       &scan.language, &scan.sploited);
    scan.location = scanner.scanLocation();
    return scan;
}
}  // namespace

TEST(QFormDecoding, UnderscoreIsSpaceEscapesAreStrictAndWideCharactersFail) {
    EXPECT_EQ(dataWithQuotedPrintableEncodedString(u"a_b=3Dc=c3=A9"), Data::withString("a b=c\xC3\xA9"));
    EXPECT_EQ(dataWithQuotedPrintableEncodedString(u""), Data());
    EXPECT_EQ(dataWithQuotedPrintableEncodedString(u"caf\u00e9"), Data::withString("caf\xE9"))
        << "characters up to U+00FF stand for their own byte";
    EXPECT_EQ(dataWithQuotedPrintableEncodedString(u"\u0100"), std::nullopt);
    EXPECT_EQ(dataWithQuotedPrintableEncodedString(u"ab=4"), std::nullopt) << "digits must lie inside the text";
    EXPECT_EQ(dataWithQuotedPrintableEncodedString(u"ab="), std::nullopt);
    EXPECT_EQ(dataWithQuotedPrintableEncodedString(u"=G1"), std::nullopt);
    EXPECT_EQ(dataWithQuotedPrintableEncodedString(u"a=\r\nb"), std::nullopt) << "no soft line breaks here";
}

TEST(EncodedWordScanner, DecodesQAndBWordsAndStopsAfterTheWord) {
    WordScan q = scanWord(u"=?UTF-8?q?Gr=C3=BC=C3=9Fe_dich?= rest");
    EXPECT_TRUE(q.ok);
    EXPECT_EQ(q.text, u"Gr\u00fc\u00dfe dich");
    EXPECT_EQ(q.encoding, kUTF8StringEncoding);
    EXPECT_EQ(q.language, std::nullopt);
    EXPECT_FALSE(q.sploited);
    EXPECT_EQ(q.location, 32u);

    WordScan b = scanWord(u"=?iso-8859-1?B?Y2Fm6Q==?=");
    EXPECT_TRUE(b.ok);
    EXPECT_EQ(b.text, u"caf\u00e9");
    EXPECT_EQ(b.encoding, kISOLatin1StringEncoding);

    WordScan language = scanWord(u"=?utf-8*en?Q?hi?=");
    EXPECT_TRUE(language.ok);
    EXPECT_EQ(language.language, u"en");
    EXPECT_EQ(language.encoding, kUTF8StringEncoding);
}

TEST(EncodedWordScanner, FailuresRestoreTheLocation) {
    for (const char16_t* input : {u"plain", u"=?", u"=??Q?a?=", u"=?utf-8Q?a?=", u"=?utf-8?X?a?=", u"=?utf-8?Q?a?",
                                  u"=?utf-8?Q?\?=", u"=?utf-8?QQ?a?=", u"=?utf-8?Q?a=4?=", u"=?utf-8?Q?a b"}) {
        WordScan scan = scanWord(input);
        EXPECT_FALSE(scan.ok) << toUTF8(input);
        EXPECT_EQ(scan.location, 0u) << toUTF8(input);
    }
    WordScan unknown = scanWord(u"=?x-unknown?Q?a?=");
    EXPECT_FALSE(unknown.ok);
    EXPECT_EQ(unknown.encoding, kInvalidEncoding) << "the encoding slot reports the failed resolution";

    WordScan invalidBytes = scanWord(u"=?utf-8?Q?=FF?=");
    EXPECT_FALSE(invalidBytes.ok) << "bytes that are not valid in the charset leave the word undecoded";

    WordScan noResultSlot = scanWord(u"=?utf-8?Q?a?=", 0, false);
    EXPECT_FALSE(noResultSlot.ok) << "the result slot is required";
    EXPECT_EQ(noResultSlot.location, 0u);
}

TEST(EncodedWordScanner, SpacesInTheEncodedTextAreAcceptedThroughTheRetry) {
    WordScan spaced = scanWord(u"=?utf-8?Q?two words?= x");
    EXPECT_TRUE(spaced.ok);
    EXPECT_EQ(spaced.text, u"two words");
    EXPECT_EQ(spaced.location, 21u);
    EXPECT_TRUE(scanWord(u"=?utf-8?Q?two words?=", 1).ok);
    EXPECT_FALSE(scanWord(u"=?utf-8?Q?two words?=", 2).ok) << "only options 0 retries";
}

TEST(EncodedWordScanner, NULBytesAreFlaggedAndShownAsBackslashZero) {
    WordScan b = scanWord(u"=?utf-8?B?YQBi?=");  // "a", NUL, "b"
    EXPECT_TRUE(b.ok);
    EXPECT_TRUE(b.sploited);
    EXPECT_EQ(b.text, u"a\\0b");

    WordScan q = scanWord(u"=?iso-8859-1?Q?x=00=00?=");
    EXPECT_TRUE(q.sploited);
    EXPECT_EQ(q.text, u"x\\0\\0");

    Scanner scanner = Scanner::emailAddressScannerWithString(u"=?utf-8?Q?clean?=");
    OptString text;
    bool sploited = true;
    EXPECT_TRUE(scanner.scanRFC2047EncodedWordIntoString(&text, nullptr, nullptr, &sploited));
    EXPECT_FALSE(sploited) << "the flag is cleared for a clean word";
}

TEST(RawEncodedWordScanner, HandsBackTheWordUndecodedOrRaisesCode6) {
    Scanner ok = Scanner::emailAddressScannerWithString(u"=?utf-8?b?YQ==?= tail");
    OptString raw;
    ErrorRef error;
    EXPECT_TRUE(ok.scanMimeEncodedWordIntoString(&raw, &error));
    EXPECT_EQ(raw, u"=?utf-8?b?YQ==?=");
    EXPECT_EQ(ok.scanLocation(), 16u);
    EXPECT_EQ(error, nullptr);

    Scanner noEquals = Scanner::emailAddressScannerWithString(u"x?utf-8?Q?a?=");
    EXPECT_TRUE(noEquals.scanMimeEncodedWordIntoString(&raw, &error)) << "the first character is not tested";
    EXPECT_EQ(raw, u"x?utf-8?Q?a?=");

    Scanner notAWord = Scanner::emailAddressScannerWithString(u"=x");
    EXPECT_FALSE(notAWord.scanMimeEncodedWordIntoString(&raw, &error));
    EXPECT_EQ(error, nullptr) << "no record when the word does not begin";

    for (const char16_t* input : {u"=?utf-8?X?a?=", u"=?utf-8?QB?a?=", u"=?utf-8?Q?abc", u"=?utf-8"}) {
        Scanner bad = Scanner::emailAddressScannerWithString(input);
        error = nullptr;
        EXPECT_FALSE(bad.scanMimeEncodedWordIntoString(&raw, &error)) << toUTF8(input);
        EXPECT_EQ(bad.scanLocation(), 0u);
        ASSERT_NE(error, nullptr) << toUTF8(input);
        EXPECT_EQ(error->domain, "com.fennelgate.postwright.emailparser");
        EXPECT_EQ(error->code, 6);
        EXPECT_EQ(error->localizedDescription, u"Malformed Mime Data");
        EXPECT_EQ(error->debugDescription, u"Malformed Mime Data in: " + std::u16string(input));
    }
}

TEST(HeaderTextDecoding, JoinsAdjacentWordsAndKeepsOtherText) {
    EXPECT_EQ(decodedMimeEncodedString(u"=?utf-8?Q?a?= =?utf-8?Q?b?=\r\n\t=?utf-8?Q?c?="), u"abc");
    EXPECT_EQ(decodedMimeEncodedString(u"=?utf-8?Q?a?= plain =?utf-8?Q?b?="), u"a plain b");
    EXPECT_EQ(decodedMimeEncodedString(u"Re: =?utf-8?Q?caf=C3=A9?= ok"), u"Re: caf\u00e9 ok");
    EXPECT_EQ(decodedMimeEncodedString(u"no words at all"), u"no words at all");
    EXPECT_EQ(decodedMimeEncodedString(u""), u"");
}

TEST(HeaderTextDecoding, MalformedWordsStayAsWritten) {
    EXPECT_EQ(decodedMimeEncodedString(u"=?x-unknown?Q?a?= b"), u"=?x-unknown?Q?a?= b");
    EXPECT_EQ(decodedMimeEncodedString(u"a =? b"), u"a =? b");
    EXPECT_EQ(decodedMimeEncodedString(u"=?utf-8?Q?broken"), u"=?utf-8?Q?broken");
    EXPECT_EQ(decodedMimeEncodedString(u"=?=?utf-8?Q?x?="), u"=?x") << "a literal \"=?\" then a word";
    EXPECT_EQ(decodedMimeEncodedString(u"=?utf-8?Q?a?= =?bad"), u"a=?bad")
        << "white space after a word is dropped before any \"=?\"";
}

TEST(HeaderTextDecoding, ReportsTheLastDecodedWordAndAnyNULByte) {
    bool sploited = true;
    TextEncoding encoding = 0;
    OptString language = u"stale";
    EXPECT_EQ(decodedMimeEncodedString(u"plain", &sploited, &encoding, &language), u"plain");
    EXPECT_FALSE(sploited);
    EXPECT_EQ(encoding, kInvalidEncoding);
    EXPECT_EQ(language, std::nullopt);

    EXPECT_EQ(
        decodedMimeEncodedString(u"=?utf-8*de?Q?a?= =?iso-8859-2?Q?b?= =?x-bad?Q?c?=", &sploited, &encoding, &language),
        u"ab=?x-bad?Q?c?=");
    EXPECT_EQ(encoding, kISOLatin2StringEncoding);
    EXPECT_EQ(language, std::nullopt) << "the last decoded word had no language";

    EXPECT_EQ(decodedMimeEncodedString(u"=?utf-8?B?AA==?= x =?utf-8*en?Q?y?=", &sploited, &encoding, &language),
              u"\\0 x y");
    EXPECT_TRUE(sploited);
    EXPECT_EQ(language, u"en");
}

TEST(WholeWordDecoding, DecodesBytesAndTextWithTheirSlots) {
    TextEncoding encoding = 0;
    OptString language;
    EXPECT_EQ(dataForMimeEncodedWord(u"=?iso-8859-1*fr?Q?caf=E9?=", &encoding, &language), Data::withString("caf\xE9"));
    EXPECT_EQ(encoding, kISOLatin1StringEncoding);
    EXPECT_EQ(language, u"fr");
    EXPECT_EQ(stringWithMimeEncodedWord(u"=?iso-8859-1?q?caf=E9?=", &encoding, &language), u"caf\u00e9");
    EXPECT_EQ(language, std::nullopt);
    EXPECT_EQ(stringWithMimeEncodedWord(u"=?utf-8?b?w6k=?="), u"\u00e9");
    EXPECT_EQ(stringWithMimeEncodedWord(u"=?utf-8?Q?\?="), u"") << "empty encoded text";

    EXPECT_EQ(stringWithMimeEncodedWord(u"=?utf-8?Q?ab=00cd?="), u"ab") << "Q text ends at a decoded NUL";
    EXPECT_EQ(stringWithMimeEncodedWord(u"=?utf-8?B?YQBi?="), std::u16string(u"a\0b", 3)) << "B text keeps it";
}

TEST(WholeWordDecoding, RejectsWhatIsNotAWholeWord) {
    for (const char16_t* input : {u"", u"=?=", u"=?\?=", u"=?utf-8?Q?=", u"=?utf-8?=", u"?utf-8?Q?a?=", u"=?utf-8?Q?a",
                                  u"=?utf-8?X?a?=", u"=?utf-8?QQa?=", u"=?x-unknown?Q?a?=", u"=?utf-8?Q?=ZZ?="}) {
        EXPECT_EQ(dataForMimeEncodedWord(input), std::nullopt) << toUTF8(input);
        EXPECT_EQ(stringWithMimeEncodedWord(input), std::nullopt) << toUTF8(input);
    }
    EXPECT_EQ(stringWithMimeEncodedWord(u"=?utf-8?Q?=FF?="), std::nullopt) << "bytes invalid in the charset";
}

TEST(QEncoding, EscapesUnsafeBytesAndLeavesSpecialsAlone) {
    TextEncoding used = 0;
    EXPECT_EQ(qEncodedStringWithString(u"a b=c?", kUTF8StringEncoding, &used), u"a_b=3Dc=3F");
    EXPECT_EQ(used, kUTF8StringEncoding);
    EXPECT_EQ(qEncodedStringWithString(u"(x, \"y\")~_\t", kASCIIStringEncoding, &used), u"(x,_\"y\")=7E=5F=09");
    EXPECT_EQ(qEncodedStringWithPreferredEncoding(u"\u00e9", kUTF8StringEncoding, &used), u"=C3=A9");
}

TEST(QEncoding, ChoosesLatin2BeforeUTF8AndFailsOnlyWhenNothingHoldsTheText) {
    TextEncoding used = 0;
    EXPECT_EQ(qEncodedStringWithString(u"\u010d", kASCIIStringEncoding, &used), u"=E8");
    EXPECT_EQ(used, kISOLatin2StringEncoding) << "Latin-2 is tried before UTF-8, by design";
    EXPECT_EQ(qEncodedStringWithString(u"\u20ac", kISOLatin1StringEncoding, &used), u"=E2=82=AC");
    EXPECT_EQ(used, kUTF8StringEncoding);
    EXPECT_EQ(qEncodedStringWithString(u"", kUTF8StringEncoding, &used), u"");

    used = 99;
    EXPECT_EQ(qEncodedStringWithString(std::nullopt, kUTF8StringEncoding, &used), std::nullopt);
    EXPECT_EQ(used, 0u);
    used = 99;
    EXPECT_EQ(qEncodedStringWithString(std::u16string(1, char16_t(0xD800)), kUTF8StringEncoding, &used), std::nullopt)
        << "a lone surrogate fits no encoding";
    EXPECT_EQ(used, 0u);
}

TEST(EncodedWordOutput, WritesOneUnsplitQWordWithTheCharsetName) {
    TextEncoding used = 0;
    EXPECT_EQ(mimeWordWithString(u"Gr\u00fc\u00dfe", kUTF8StringEncoding, &used), u"=?utf-8?Q?Gr=C3=BC=C3=9Fe?=");
    EXPECT_EQ(used, kUTF8StringEncoding);
    EXPECT_EQ(mimeWordWithString(u"Gr\u00fc\u00dfe", kISOLatin1StringEncoding, &used), u"=?iso-8859-1?Q?Gr=FC=DFe?=");
    std::u16string longText(200, u'\u00e9');
    OptString word = mimeWordWithString(longText, kUTF8StringEncoding, &used);
    ASSERT_TRUE(word);
    EXPECT_EQ(word->size(), 200u * 6 + 12) << "never split";
    EXPECT_EQ(stringWithMimeEncodedWord(*word), longText);

    used = 99;
    EXPECT_EQ(mimeWordWithString(std::u16string(1, char16_t(0xDC00)), kUTF8StringEncoding, &used), std::nullopt);
    EXPECT_EQ(used, 0u);
}

TEST(EncodedWordOutput, RoundTripsThroughTheHeaderDecoder) {
    for (const char16_t* text : {u"plain", u"a_b c=d?e", u"\u65e5\u672c\u8a9e", u"\u0161\u0107 x", u"\U0001F600!"}) {
        OptString word = mimeWordWithString(text, kUTF8StringEncoding, nullptr);
        ASSERT_TRUE(word) << toUTF8(text);
        EXPECT_EQ(decodedMimeEncodedString(*word), text) << toUTF8(*word);
    }
}

TEST(EncodedWordOutput, LongTextBecomesWordsThatEachDecodeAndJoinAsOne) {
    std::u16string text;
    for (int i = 0; i < 6; ++i) text += u"\u041f\u0440\u0438\u0432\u0435\u0442, a_b=c? \U0001F600 ";
    std::u16string words = mimeWordsWithString(text, 40);
    std::vector<std::u16string> pieces = componentsSeparatedBy(words, u" ");
    ASSERT_GT(pieces.size(), 4u);
    EXPECT_LE(pieces[0].size(), 40u);
    for (const std::u16string& piece : pieces) {
        EXPECT_LE(piece.size(), kMimeWordMaximumLength);
        EXPECT_TRUE(stringWithMimeEncodedWord(piece)) << "a word never cuts a character: " << toUTF8(piece);
    }
    EXPECT_EQ(decodedMimeEncodedString(words), text);
    EXPECT_EQ(mimeWordsWithString(u"x"), u"=?utf-8?Q?x?=");
    EXPECT_EQ(mimeWordsWithString(u"\u00e9", 3), u"=?utf-8?Q?=C3=A9?=") << "at least one character a word";
}

TEST(IMAPAString, QuotesOnlyTextWithSpecials) {
    EXPECT_EQ(rfc9051AString(u"INBOX"), u"INBOX");
    EXPECT_EQ(rfc9051AString(u""), u"") << "empty text is returned unchanged, by design";
    EXPECT_EQ(rfc9051AString(u"a]b\u00e9"), u"a]b\u00e9");
    EXPECT_EQ(rfc9051AString(u"say \"hi\""), u"\"say \\\"hi\\\"\"");
    EXPECT_EQ(rfc9051AString(u"a\\b"), u"\"a\\\\b\"");
    for (const char16_t* special : {u"(", u")", u"{", u" ", u"\t", u"\x7f", u"%", u"*"}) {
        EXPECT_EQ(rfc9051AString(special), u"\"" + std::u16string(special) + u"\"");
    }
}

TEST(HeaderTextDecoding, EncodedWordCharsetsOfRawBytesAreListedOnce) {
    EXPECT_EQ(encodedWordEncodings("Subject: =?ISO-8859-7?Q?=C1?= =?iso-8859-7*el?B?wQ==?=\r\n"
                                   "From: =?koi8-r?b?8A==?= <a@b>, =?nonsense?Q?x?=, =?utf-8?X?bad?=, =?x"),
              (std::vector<TextEncoding>{encodingForCharSetName(u"iso-8859-7"), encodingForCharSetName(u"koi8-r")}));
    EXPECT_TRUE(encodedWordEncodings("no words =? here").empty());
}
