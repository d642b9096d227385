#include <gtest/gtest.h>

#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;


namespace {
std::shared_ptr<PWMessageHeaders> parse(std::string_view block) {
    return PWMessageHeaders::headersFromData(Data::withString(block));
}
}  // namespace

TEST(ContentIdentifier, HeadersWithoutSeedFieldsGiveTheNilIdentifier) {
    auto headers = parse("X-Other: 1\r\n\r\n");
    EXPECT_EQ(headers->_contentIdentifierSeed(),
              u"NO_RECIPIENTS|NO_CC_RECIPIENTS|NO_BCC_RECIPIENTS|NO_FROM|NO_SUBJECT|NO_MESSAGE_ID|NO_DATE");
    EXPECT_EQ(headers->contentIdentifier(), u"7556WquxKLyMQyeLqA");
    EXPECT_EQ(headers->postmarkIdentifier(), u"7556WquxKLyMQyeLqA");
}

TEST(ContentIdentifier, IsFourDigitsAndFourteenBase64CharactersStableUnderWhiteSpace) {
    auto a = parse("From: Joe <joe@example.com>\r\nTo: ann@example.org\r\nSubject: Lunch  plans\r\n"
                   "Date: Tue, 5 Mar 2024 10:04:00 +0100\r\nMessage-Id: <x@y>\r\n\r\n");
    auto b = parse("From: Joe\r\n <joe@example.com>\r\nTo:   ann@example.org\r\nSubject: Lunch plans\r\n"
                   "Date: Tue, 5 Mar 2024\r\n\t10:04:00 +0100\r\nMessage-Id: <x@y>\r\n\r\n");
    std::u16string id = a->contentIdentifier();
    ASSERT_EQ(id.size(), 18u);
    for (size_t i = 0; i < 4; ++i) EXPECT_TRUE(id[i] >= u'0' && id[i] <= u'9');
    for (size_t i = 4; i < 18; ++i) {
        EXPECT_TRUE(std::u16string_view(u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_").find(id[i]) !=
                    std::u16string_view::npos);
    }
    EXPECT_EQ(b->contentIdentifier(), id) << "white space inside seed fields does not matter";
    auto c = parse("From: Joe <joe@example.com>\r\nTo: ann@example.org\r\nSubject: Lunch plans!\r\n\r\n");
    EXPECT_NE(c->contentIdentifier(), id);
}

TEST(ContentIdentifier, TheGMTVariantNormalisesTheDate) {
    auto berlin = parse("Subject: s\r\nDate: Tue, 5 Mar 2024 10:04:00 +0100\r\n\r\n");
    auto london = parse("Subject: s\r\nDate: Tue, 5 Mar 2024 09:04:00 +0000\r\n\r\n");
    EXPECT_NE(berlin->contentIdentifier(), london->contentIdentifier());
    EXPECT_EQ(berlin->_generateContentIdentifierConvertingDateToGMT(true),
              london->_generateContentIdentifierConvertingDateToGMT(true));
    EXPECT_NE(berlin->_contentIdentifierSeedConvertingDateToGMT(true).find(u"Tue,5Mar202409:04:00+0000"),
              std::u16string::npos);
}

TEST(ContentIdentifier, ExplicitIdentifierHeadersWin) {
    EXPECT_EQ(parse("X-Fennelgate-Id: ACCOUNT12345/0123abcdefghijklmn\r\nSubject: x\r\n\r\n")->contentIdentifier(),
              u"0123abcdefghijklmn");
    EXPECT_EQ(parse("X-Fennelgate-Id: 0123abcdefghijklmn\r\n\r\n")->contentIdentifier(), u"0123abcdefghijklmn");
    EXPECT_EQ(parse("X-Fennelgate-Id: A/B\r\nX-Orwin-Composer-Id: composer00000001\r\n\r\n")->contentIdentifier(),
              u"composer00000001");
}

TEST(ContentIdentifier, FollowsEditsOfAMutableCollection) {
    auto headers = PWMessageHeaders::headersFromData(Data::withString("Subject: one\r\n\r\n"))->mutableCopy();
    std::u16string first = headers->contentIdentifier();
    EXPECT_FALSE(headers->mutated());
    headers->setHeader(u"two", u"Subject");
    EXPECT_TRUE(headers->mutated());
    std::u16string second = headers->contentIdentifier();
    EXPECT_NE(second, first);
    EXPECT_FALSE(headers->mutated()) << "computing the identifier clears the flag";
}

TEST(ContentIdentifier, SubjectUsesTheLegacyDecoder) {
    test::ScopedRecordingLogger logger;
    EXPECT_EQ(PWMessageHeaders::legacy_decodeMimeEncodedSubject(u"=?utf-8?Q?Gr=C3=BC?= =?utf-8?Q?=C3=9Fe?= x"),
              u"Gr\u00fc\u00dfe x") << "adjacent words join their bytes";
    EXPECT_EQ(PWMessageHeaders::legacy_decodeMimeEncodedSubject(u"a =?x-unknown?Q?b?= c"), u"a =?x-unknown?Q?b?= c");
    EXPECT_EQ(PWMessageHeaders::legacy_decodeMimeEncodedSubject(u"=? broken"), u"=? broken");
    EXPECT_EQ(PWMessageHeaders::hashForCompoundedHeaderValueString(u"", kUTF8StringEncoding), std::nullopt);
    EXPECT_EQ(logger->messages(), (std::vector<std::string>{"problem decoding MimeString: =?x-unknown?Q?b?=",
                                                            "problem parsing MimeEncodedWord: =? broken"}));
}
