#include <gtest/gtest.h>

#include <random>

#include "postwright/Headers/PWMutableMessageHeaders.hpp"

using namespace postwright;

namespace {
std::u16string fold(std::u16string_view name, std::u16string value, unsigned options = 2,
                    const std::vector<std::u16string>* delimiters = nullptr) {
    auto entry = PWMutableMessageHeaderEntry::newWithFieldName(std::u16string(name), std::move(value), kDerivedSortHint);
    return entry->foldedHeaderWithOption(options, delimiters).value_or(u"<nil>");
}

std::vector<std::u16string> linesOf(std::u16string_view text) {
    return componentsSeparatedBy(text, u"\r\n");
}
}  // namespace

TEST(HeaderFolding, BreaksAtWhiteSpaceBelowTheLineLimit) {
    std::u16string value;
    for (int i = 0; i < 30; ++i) value += u"word" + decimalString(i) + u" ";
    std::u16string folded = fold(u"subject", value);  // line lengths are the property test's
    EXPECT_EQ(folded.substr(0, 9), u"Subject: ") << "the name is written capitalised";
    EXPECT_EQ(linesOf(folded)[1][0], u' ');
    EXPECT_EQ(replaceAll(folded, u"\r\n", u""), u"Subject: " + value) << "unfolding restores the value";
    EXPECT_EQ(linesOf(fold(u"subject", value, 8 | 2))[1][0], u'\t') << "option 8 continues with TAB";
    EXPECT_EQ(fold(u"subject", value, 4).find(u'\r'), std::u16string::npos) << "option 4 ends lines in LF";
    EXPECT_EQ(fold(u"x", u"short value"), u"X: short value");
}

TEST(HeaderFolding, ExtraDelimitersBreakLinesWithoutWhiteSpace) {
    std::u16string value;
    while (value.size() < 200) value += u"alpha,beta,";
    std::vector<std::u16string> comma = {u","};
    std::u16string folded = fold(u"subject", value, 2, &comma);
    auto lines = linesOf(folded);
    ASSERT_GT(lines.size(), 3u);
    EXPECT_EQ(lines[0], u"Subject:") << "the space after the colon is the first break opportunity";
    EXPECT_EQ(lines[1].back(), u',') << "the delimiter stays at the end of its piece";
    for (const auto& line : lines) EXPECT_LE(line.size(), 79u);
    auto plain = linesOf(fold(u"subject", value));
    ASSERT_EQ(plain.size(), 2u) << "without delimiters the value itself has no break opportunity";
    EXPECT_EQ(plain[1], u" " + value);
}

TEST(HeaderFolding, LineBreaksAndNonASCIIBecomeEncodedWordsAndNeverInjectAField) {
    std::u16string folded = fold(u"subject", u"Hello\r\nBcc: victim@example.com");
    EXPECT_NE(folded.find(u"=?utf-8?Q?"), std::u16string::npos);
    auto parsed = PWMessageHeaders::headersFromData(Data::withString(toUTF8(folded) + "\r\n\r\n"));
    EXPECT_EQ(parsed->headerEntryDictionary().size(), 1u) << "no Bcc field can be injected";

    EXPECT_EQ(fold(u"subject", u"Caf\u00e9"), u"Subject: =?utf-8?Q?Caf=C3=A9?=");
    for (const char16_t* name : {u"X\r\nBcc", u"X Y", u"X:Y", u"", u"X-\u00e9"}) {
        EXPECT_EQ(fold(name, u"value"), u"<nil>") << "not a field name: not written";
    }
}

TEST(HeaderFolding, LongEncodedValuesFoldAsSeveralWordsAndLinesAreEncodedOneByOne) {
    std::u16string value;
    for (int i = 0; i < 12; ++i) value += u"\u00e9t\u00e9 \u65e5\u672c ";
    value = fgTrim(value);
    std::u16string folded = fold(u"subject", value);
    auto lines = linesOf(folded);
    ASSERT_GT(lines.size(), 2u);
    EXPECT_EQ(lines[0].substr(0, 19), u"Subject: =?utf-8?Q?") << "the first word fits beside the name";
    for (const auto& line : lines) {
        EXPECT_LE(line.size(), 79u) << toUTF8(line);
        EXPECT_TRUE(line.find(u"?=") != std::u16string::npos && line.rfind(u"?=") == line.size() - 2)
            << "every line holds whole words: " << toUTF8(line);
    }
    auto parsed = PWMessageHeaders::headersFromData(Data::withString(toUTF8(folded) + "\r\n\r\n"));
    EXPECT_EQ(parsed->firstHeaderForKey(u"Subject"), value);

    // Each line of a value with line breaks is its own run of words, never one word cut by a fold.
    for (const auto& line : linesOf(fold(u"x-note", u"line one\r\nInjected: yes\r\n\r\nlast"))) {
        EXPECT_EQ(line.back(), u'=') << toUTF8(line);
    }
    EXPECT_EQ(fold(u"subject", std::u16string(1, char16_t(0xDC00))), u"<nil>") << "a lone surrogate cannot be written";
}

TEST(HeaderFolding, PropertyFoldedFieldsParseBackToTheirValue) {
    std::mt19937 random(2024);
    const std::u16string alphabet = u"abcdefghijklmnopqrstuvwxyz0123456789.,;:<>@()\"'-_=?!";
    for (int round = 0; round < 300; ++round) {
        bool nonASCII = round % 3 == 1;
        bool lineBreaks = round % 3 == 2;
        std::u16string value;
        size_t length = 1 + random() % 400;
        while (value.size() < length) {
            unsigned pick = random() % 20;
            if (pick < 3) {
                value.push_back(u' ');
            } else if (nonASCII && pick == 3) {
                value.push_back(static_cast<char16_t>(0xC0 + random() % 0x200));
            } else if (lineBreaks && pick == 4) {
                value += u"\r\n";
            } else {
                value.push_back(alphabet[random() % alphabet.size()]);
            }
        }
        value = fgTrim(value);
        if (value.empty()) continue;
        std::u16string folded = fold(u"x-test", value);
        auto lines = linesOf(folded);
        for (size_t i = 0; i < lines.size(); ++i) {
            if (i > 0) {
                ASSERT_TRUE(!lines[i].empty() && (lines[i][0] == u' ' || lines[i][0] == u'\t')) << toUTF8(folded);
            }
            bool breakable = lines[i].find(u' ', 1) != std::u16string::npos;
            if (breakable && lines[i].size() > 79) ADD_FAILURE() << "line too long: " << toUTF8(lines[i]);
        }
        auto parsed = PWMessageHeaders::headersFromData(Data::withString(toUTF8(folded) + "\r\n\r\n"));
        ASSERT_EQ(parsed->headerEntryDictionary().size(), 1u) << toUTF8(folded);
        if (!lineBreaks) {
            // Without line breaks the value reads back exactly, encoded words decoded.
            EXPECT_EQ(parsed->firstHeaderForKey(u"X-Test"), value) << toUTF8(folded);
        }
    }
}

TEST(HeaderFolding, ParsedFieldsAreWrittenAsReceivedAndSetOnesByHintThenName) {
    auto parsed =
        PWMessageHeaders::headersFromData(Data::withString("SUBJECT: a long\r\n\tfolded value\r\nx-custom: 1\r\n\r\n"));
    EXPECT_EQ(parsed->foldedHeaderString(), u"SUBJECT: a long\r\n\tfolded value\r\nx-custom: 1");

    auto headers = PWMutableMessageHeaders::init();
    headers->setHeader(u"3", u"X-Zulu");
    headers->setHeader(u"2", u"x-alpha");
    headers->setHeader(u"text/plain", u"Content-Type");
    headers->setHeader(u"a@b", u"From");
    headers->setHeader(u"hi", u"Subject");
    EXPECT_EQ(headers->foldedHeaderString(),
              u"From: a@b\r\nSubject: hi\r\nX-Alpha: 2\r\nX-Zulu: 3\r\nContent-Type: text/plain");
    EXPECT_EQ(headers->foldedHeaderStringWithOptions(4).find(u'\r'), std::u16string::npos);
}

TEST(ParameterOutput, ANameTooLongForAnySegmentKeepsItsValueInOnePiece) {
    std::u16string name(140, u'n');
    EXPECT_EQ(PWMessageHeaders::foldedStringForParameterName(name, u"r"), name + u"=r");
    EXPECT_EQ(PWMessageHeaders::foldedStringForParameterName(name, std::u16string(500, u'v')),
              name + u"=" + std::u16string(500, u'v'));
    EXPECT_EQ(PWMessageHeaders::foldedStringForParameterName(name, u"\u00e9"), name + u"*=utf-8''%C3%A9");
}

TEST(ParameterOutput, PlainQuotedAndExtendedForms) {
    EXPECT_EQ(PWMessageHeaders::foldedStringForParameterName(u"charset", u"utf-8"), u"charset=utf-8");
    EXPECT_EQ(PWMessageHeaders::foldedStringForParameterName(u"filename", u"my file.pdf"), u"filename=\"my file.pdf\"");
    EXPECT_EQ(PWMessageHeaders::foldedStringForParameterName(u"filename", u"\u00e9t\u00e9.pdf"),
              u"filename*=utf-8''%C3%A9t%C3%A9.pdf");
    EXPECT_EQ(PWMessageHeaders::foldedStringForParameterName(u"title", u"\u00a3 rates", u"en"),
              u"title*=utf-8'en'%C2%A3%20rates");

    std::u16string longName(100, u'\u00e9');
    std::u16string folded = PWMessageHeaders::foldedStringForParameterName(u"filename", longName);
    std::vector<std::u16string> segments = componentsSeparatedBy(folded, u";\r\n ");
    ASSERT_GT(segments.size(), 2u);
    std::u16string joined;
    for (size_t i = 0; i < segments.size(); ++i) {
        std::u16string prefix = u"filename*" + decimalString(i) + u"*=";
        ASSERT_EQ(segments[i].substr(0, prefix.size()), prefix);
        std::u16string text = segments[i].substr(prefix.size());
        if (i == 0) text = text.substr(7);  // utf-8''
        EXPECT_EQ(text.size() % 3, 0u) << "no percent triplet is split";
        joined += text;
    }
    EXPECT_EQ(joined.size(), 600u);

    std::u16string plain = PWMessageHeaders::foldedStringForParameterName(u"name", std::u16string(150, u'a'));
    EXPECT_EQ(plain.substr(0, 8), u"name*0=a");
    EXPECT_NE(plain.find(u";\r\n name*1="), std::u16string::npos);
    std::u16string spaced = std::u16string(64, u'a') + u" b";
    EXPECT_NE(PWMessageHeaders::foldedStringForParameterName(u"name", spaced).find(u"name*0=\""), std::u16string::npos)
        << "quoting makes the budget two smaller";
}

TEST(QEncodedHeader, WordsStayBelowTheLimit) {
    TextEncoding used = kNoEncoding;
    OptString header = PWMessageHeaders::mimeEncodedHeaderForKey(
        u"subject", std::u16string(60, u'\u00e9') + u" = signs ==", kUTF8StringEncoding, &used);
    ASSERT_TRUE(header);
    EXPECT_EQ(used, kUTF8StringEncoding);
    auto lines = linesOf(*header);
    EXPECT_EQ(lines[0].substr(0, 19), u"Subject: =?utf-8?Q?");
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_LE(lines[i].size(), 75u);
        EXPECT_EQ(lines[i].substr(lines[i].size() - 2), u"?=");
        if (i) {
            EXPECT_EQ(lines[i].substr(0, 11), u" =?utf-8?Q?");
        }
        EXPECT_NE(lines[i][lines[i].size() - 3], u'=') << "an escape is never cut";
    }
    EXPECT_EQ(PWMessageHeaders::mimeEncodedHeaderForKey(std::nullopt, u"plain", kASCIIStringEncoding, &used), u"plain")
        << "ASCII without a key is written bare";
}
