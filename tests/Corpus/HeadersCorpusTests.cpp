// Every real message of the corpus through the header collection, and the content identifiers of a few
// of them frozen: identifiers are persisted by hosts, so a change here must be deliberate.
#include <gtest/gtest.h>

#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

TEST(HeadersCorpus, EveryMessageParsesAndAnswersEveryQuestion) {
    auto files = test::corpusFiles("messages");
    auto mboxes = test::corpusFiles("mbox");
    files.insert(files.end(), mboxes.begin(), mboxes.end());
    ASSERT_GT(files.size(), 300u) << "the corpus must be beside the project";
    test::ScopedRecordingLogger quiet;
    for (const auto& path : files) {
        SCOPED_TRACE(path.string());
        std::optional<Data> data = Data::mapFile(path.string());
        ASSERT_TRUE(data);
        ErrorRef error;
        auto headers = PWMessageHeaders::headersFromData(*data, &error);
        if (data->empty()) {
            EXPECT_FALSE(headers);
            continue;
        }
        ASSERT_TRUE(headers);
        EXPECT_EQ(error, nullptr);
        std::u16string identifier = headers->contentIdentifier();
        if (!headers->firstHeaderForKey(u"X-Fennelgate-Id") && !headers->firstHeaderForKey(u"X-Orwin-Composer-Id")) {
            EXPECT_EQ(identifier.size(), 18u);
        }
        (void)headers->subject();
        (void)headers->inReplyToIds();
        (void)headers->references();
        (void)headers->dateSent();
        (void)headers->dateReceived();
        (void)headers->foldedHeaderString();
        EXPECT_EQ(headers->mutableCopy()->contentIdentifier(), identifier);
    }
}

TEST(HeadersCorpus, ContentIdentifiersAreFrozen) {
    const std::pair<const char*, const char16_t*> golden[] = {
        {"cpython/msg_02.eml", u"9977SHDmogjkU85Dfs"},
        {"gmime/rfc2060.eml", u"6279be6z2VpYRmzc_9"},
        {"gmime/empty0.eml", u"9178tTC-jq3EnP6mVI"},
        {"mikel-mail/rfc6532__utf8_headers.eml", u"5029P1Wgk3vbcPueU0"},
        {"mikel-mail/error_emails__invalid_subject_characters.eml", u"0292d5LWONLY2pY2e0"},
        {"mikel-mail/attachment_emails__attachment_pdf.eml", u"1309-rE2EY2dKb4K-S"},
        {"mikel-mail/attachment_emails__attachment_pdf_lf.eml", u"1309-rE2EY2dKb4K-S"},
        {"mailparser/examples__nodemailer.eml", u"2428dh5KUKM3mKr8fF"},
        {"mail-parser/legacy__015.eml", u"2796Wmm5GPfGGylcOH"},
    };
    for (const auto& [file, identifier] : golden) {
        SCOPED_TRACE(file);
        std::optional<Data> data = Data::mapFile((test::corpusDirectory() / "messages" / file).string());
        ASSERT_TRUE(data);
        auto headers = PWMessageHeaders::headersFromData(*data);
        ASSERT_TRUE(headers);
        EXPECT_EQ(headers->contentIdentifier(), identifier);
    }
}
