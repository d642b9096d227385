#include <gtest/gtest.h>

#include <random>

#include "postwright/Lexical/QuotedPrintable.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;
using postwright::test::bytes;

namespace {
std::optional<Data> decode(std::string_view input, unsigned options = 0, TextEncoding encoding = kUTF8StringEncoding,
                           ErrorRef* error = nullptr) {
    return decodedQuotedPrintableDataWithOptions(Data::withString(input), options, encoding, error);
}

void expectMalformed(const ErrorRef& error) {
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->domain, "ca.ostra.emailParser");
    EXPECT_EQ(error->code, 11);
    EXPECT_EQ(error->localizedDescription, u"");
    EXPECT_EQ(error->debugDescription, std::nullopt);
    EXPECT_EQ(error->underlyingError, nullptr);
}

class HostStrings : public StringTable {
public:
    OptString localizedString(std::u16string_view key, std::u16string_view) override {
        if (key == u"MALFORMED_QUOTED_PRINTABLE_STRING") return u"Nachricht besch\u00e4digt";
        return std::nullopt;
    }
};

std::vector<std::u16string> lines(std::u16string_view text) {
    std::vector<std::u16string> out;
    size_t start = 0;
    while (true) {
        size_t end = text.find(u"\r\n", start);
        out.emplace_back(
            text.substr(start, end == std::u16string_view::npos ? std::u16string_view::npos : end - start));
        if (end == std::u16string_view::npos) return out;
        start = end + 2;
    }
}
}  // namespace

TEST(QuotedPrintableDecoding, SoftLineBreaksWithCRLFOrBareLF) {
    EXPECT_EQ(decode("a=3D=\r\nb"), bytes("a=b"));
    EXPECT_EQ(decode("=C3=\n=A9"), bytes("\xC3\xA9"));
    EXPECT_EQ(decode("=C3=\nA9"), bytes("\xC3"
                                        "A9"))
        << "after a soft break, hex digits are literal text";
    EXPECT_EQ(decode("x=3d=c3=a9"), bytes("x=\xC3\xA9")) << "either case of hex digit";
    EXPECT_EQ(decode("line one\r\nline two\n"), bytes("line one\r\nline two\n")) << "hard breaks kept as written";
    EXPECT_EQ(decode(""), bytes(""));
}

TEST(QuotedPrintableDecoding, MalformedEscapesFailWholeWithCode11) {
    for (std::string_view input : {"abc=", "a=\rb", "a= 4", "=4", "a=G1b", "=\r", "ok=3Dthen=ZZ", "= \r\n"}) {
        ErrorRef error;
        EXPECT_EQ(decode(input, 0, kUTF8StringEncoding, &error), std::nullopt) << input;
        expectMalformed(error);
        EXPECT_EQ(decode(input), std::nullopt) << "without a slot too: " << input;
    }
    ErrorRef untouched;
    EXPECT_TRUE(decode("fine", 0, kUTF8StringEncoding, &untouched));
    EXPECT_EQ(untouched, nullptr);
}

TEST(QuotedPrintableDecoding, TheErrorTextComesFromTheHost) {
    Application::shared().setStrings(std::make_shared<HostStrings>());
    ErrorRef error;
    decode("=", 0, kUTF8StringEncoding, &error);
    Application::shared().setStrings(nullptr);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->localizedDescription, u"Nachricht besch\u00e4digt");
}

TEST(QuotedPrintableDecoding, UnderscoreOptionTouchesOnlyLiteralUnderscores) {
    EXPECT_EQ(decode("a_b=5Fc", kQuotedPrintableUnderscoreIsSpace), bytes("a b_c"));
    EXPECT_EQ(decode("a_b", 0), bytes("a_b"));
}

TEST(QuotedPrintableDecoding, HTMLOptionEscapesOnlyWhatEscapesProduced) {
    EXPECT_EQ(decode("=3Cb=3Ex=3C/b=3E<i>&amp;</i>", kQuotedPrintableEscapeHTML),
              bytes("&lt;b&gt;x&lt;/b&gt;<i>&amp;</i>"));
    EXPECT_EQ(decode("caf=E9 <b>", kQuotedPrintableEscapeHTML, kISOLatin1StringEncoding), bytes("caf\xC3\xA9 <b>"))
        << "escaped bytes are read in the given encoding and written as UTF-8";
    EXPECT_EQ(decode("=C3=\r\n=A9=26", kQuotedPrintableEscapeHTML), bytes("\xC3\xA9&amp;"))
        << "a character split by a soft break stays whole";
    EXPECT_EQ(decode("=C3=A9", kQuotedPrintableEscapeHTML, kASCIIStringEncoding), bytes("\xC3\xA9"))
        << "ASCII is read as UTF-8";
    EXPECT_EQ(decode("x=E9", kQuotedPrintableEscapeHTML | kQuotedPrintableUnderscoreIsSpace, kUTF8StringEncoding),
              bytes("x\xC3\xA9"))
        << "bytes invalid in the encoding fall back to detection";
    EXPECT_EQ(decode("a_=5F", kQuotedPrintableEscapeHTML | kQuotedPrintableUnderscoreIsSpace), bytes("a _"));
}

TEST(QuotedPrintableDecoding, ChainedVariantNeedsItsErrorSlot) {
    ErrorRef error;
    std::optional<ChainedData> chained = decodedQuotedPrintableDispatchDataWithOptions(bytes("a=3Db"), 0, &error);
    ASSERT_TRUE(chained);
    EXPECT_EQ(chained->flatten(), bytes("a=b"));
    EXPECT_EQ(error, nullptr);

    EXPECT_EQ(decodedQuotedPrintableDispatchDataWithOptions(bytes("a=3"), 0, &error), std::nullopt);
    expectMalformed(error);

    try {
        (void)decodedQuotedPrintableDispatchDataWithOptions(bytes("a"), 0, nullptr);
        ADD_FAILURE() << "expected a ProgrammingError";
    } catch (const ProgrammingError& e) {
        EXPECT_STREQ(e.what(), "decodedQuotedPrintableDispatchDataWithOptions requires an error slot");
    }
}

TEST(QuotedPrintableTextDecoding, DecodesWithTheEncodingOrDetectsAndLogs) {
    test::ScopedRecordingLogger log;
    ErrorRef error;
    EXPECT_EQ(decodedQuotedPrintableStringWithEncoding(bytes("caf=E9"), kISOLatin1StringEncoding, 0, &error),
              u"caf\u00e9");
    EXPECT_EQ(decodedQuotedPrintableStringWithEncoding(bytes(""), kUTF8StringEncoding, 0, &error), u"");
    EXPECT_TRUE(log->lines().empty());

    EXPECT_EQ(decodedQuotedPrintableStringWithEncoding(bytes("caf=C3=A9"), kASCIIStringEncoding, 0, &error),
              u"caf\u00e9");
    ASSERT_EQ(log->messages().size(), 1u);
    EXPECT_EQ(log->messages()[0], "Data indicated encoding us-ascii but data was decoded using utf-8");
    EXPECT_EQ(log->lines()[0].first, "");

    EXPECT_EQ(decodedQuotedPrintableStringWithEncoding(bytes("bad=Q"), kUTF8StringEncoding, 0, &error), std::nullopt);
    expectMalformed(error);
}

TEST(QuotedPrintableEncoding, CutsLongLinesWithSoftBreaksOfAtMost76) {
    TextEncoding used = 0;
    std::u16string eighty(80, u'a');
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(eighty, kUTF8StringEncoding, &used),
              std::u16string(75, u'a') + u"=\r\naaaaa");
    EXPECT_EQ(used, kUTF8StringEncoding);
    EXPECT_EQ(kQuotedPrintableLineLength, 76u);

    // An escape that would end past column 75 moves to the next line whole.
    std::u16string text = std::u16string(72, u'x') + u"\u00e9y";
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(text, kISOLatin1StringEncoding, &used),
              std::u16string(72, u'x') + u"=\r\n=E9y");
    text = std::u16string(71, u'x') + u"\u00e9yzw";
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(text, kISOLatin1StringEncoding, &used),
              std::u16string(71, u'x') + u"=E9y=\r\nzw");
}

TEST(QuotedPrintableEncoding, LineBreaksAndTrailingSpaces) {
    TextEncoding used = 0;
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"a b ", kUTF8StringEncoding, &used), u"a b =");
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"one\ntwo\r\n", kUTF8StringEncoding, &used), u"one\r\ntwo\r\n");
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"inner \nlast", kUTF8StringEncoding, &used), u"inner \r\nlast")
        << "only the last line's trailing space is protected";
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"lone\rCR", kUTF8StringEncoding, &used), u"lone\rCR");
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"", kUTF8StringEncoding, &used), u"");
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"\n", kUTF8StringEncoding, &used), u"\r\n");
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"tab\there=!#$@[\\]^`{|}~_", kUTF8StringEncoding, &used),
              u"tab=09here=3D=21=23=24=40=5B=5C=5D=5E=60=7B=7C=7D=7E_");
}

TEST(QuotedPrintableEncoding, ATrailingSpaceMakesOutputTheDecoderRefuses) {
    // The encoder protects the last line's SPACE with a soft break at the very end, and the decoder
    // refuses "=" at the end of input: both are the documented behaviour.
    OptString encoded = quotedPrintableStringForPlainTextBody(u"end ", kUTF8StringEncoding, nullptr);
    ASSERT_TRUE(encoded);
    EXPECT_EQ(decode(toUTF8(*encoded)), std::nullopt);
    EXPECT_EQ(decode(toUTF8(*encoded) + "\r\n"), bytes("end ")) << "as a soft break before more lines it works";
}

TEST(QuotedPrintableEncoding, ChoosesTheEncodingInItsOrder) {
    TextEncoding used = 0;
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"\u00e9", kASCIIStringEncoding, &used), u"=E9");
    EXPECT_EQ(used, kISOLatin2StringEncoding) << "ISO Latin-2 comes before UTF-8";
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"\u20ac", kISOLatin1StringEncoding, &used), u"=E2=82=AC");
    EXPECT_EQ(used, kUTF8StringEncoding);
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(u"\u00e9", kISOLatin1StringEncoding, &used), u"=E9");
    EXPECT_EQ(used, kISOLatin1StringEncoding);
    used = 99;
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(std::u16string(1, char16_t(0xD83D)), kUTF8StringEncoding, &used),
              std::nullopt);
    EXPECT_EQ(used, 0u);
}

TEST(QuotedPrintableEncoding, RandomTextRoundTripsInLinesOfAtMost76) {
    std::mt19937 random(20240305);
    const std::u16string pieces[] = {u" ", u"=", u"\r\n", u"\n", u"\t", u"_", u"a", u"Z", u".", u"\r"};
    for (int round = 0; round < 300; ++round) {
        std::u16string text;
        size_t length = random() % 400;
        while (text.size() < length) {
            switch (random() % 5) {
                case 0:
                    text += pieces[random() % std::size(pieces)];
                    break;
                case 1:
                    text.push_back(static_cast<char16_t>(0x20 + random() % 0x5F));
                    break;
                case 2:
                    text.push_back(static_cast<char16_t>(0xA0 + random() % 0x1E0));
                    break;
                case 3:
                    text.push_back(static_cast<char16_t>(0x3000 + random() % 0xA000));
                    break;
                default: {
                    char32_t astral = 0x10000 + random() % 0x10000;
                    text.push_back(static_cast<char16_t>(0xD800 + ((astral - 0x10000) >> 10)));
                    text.push_back(static_cast<char16_t>(0xDC00 + ((astral - 0x10000) & 0x3FF)));
                }
            }
        }
        if (!text.empty() && text.back() == u' ') text.push_back(u'.');  // see the test above
        TextEncoding preferred = round % 3 == 0 ? kISOLatin1StringEncoding : kUTF8StringEncoding;
        TextEncoding used = 0;
        OptString encoded = quotedPrintableStringForPlainTextBody(text, preferred, &used);
        ASSERT_TRUE(encoded);
        for (const std::u16string& line : lines(*encoded)) {
            ASSERT_LE(line.size(), kQuotedPrintableLineLength) << toUTF8(*encoded);
            ASSERT_EQ(line.find(u'\n'), std::u16string::npos);
        }
        // Line breaks come back as CR LF; a lone CR comes back as it was.
        std::u16string expected;
        for (size_t i = 0; i < text.size(); ++i) {
            if (text[i] == u'\n' && (i == 0 || text[i - 1] != u'\r')) expected.push_back(u'\r');
            expected.push_back(text[i]);
        }
        ErrorRef error;
        OptString decoded =
            decodedQuotedPrintableStringWithEncoding(Data::withString(toUTF8(*encoded)), used, 0, &error);
        ASSERT_EQ(error, nullptr) << toUTF8(*encoded);
        ASSERT_EQ(decoded, expected) << toUTF8(*encoded);
    }
}
