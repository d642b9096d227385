#include <gtest/gtest.h>

#include <thread>

#include "postwright/Base/Error.hpp"
#include "postwright/Message/FGMessageIdentifier.hpp"
#include "postwright/Message/RFC2822IDHash.hpp"

using namespace postwright;

TEST(FGMessageIdentifier, StringValuesRoundTripThroughThePackedBytes) {
    auto id = FGMessageIdentifier::newWithStringValue(u"LOCAL/0123abcdefghijklmn");
    ASSERT_TRUE(id);
    EXPECT_EQ(id->stringRepresentation(), u"LOCAL/0123abcdefghijklmn");
    EXPECT_EQ(id->accountIdentifier(), u"LOCAL");
    EXPECT_TRUE(id->isValid());

    auto account = FGMessageIdentifier::newWithStringValue(u"abcdefghijkl/----INVALIDMESSAGE");
    EXPECT_EQ(account->stringRepresentation(), u"abcdefghijkl/----INVALIDMESSAGE");
    EXPECT_FALSE(account->isValid());

    auto shortAccount = FGMessageIdentifier::newWithAccountIdentifier(u"abcdefghijk", u"0123abcdefghijklmn");
    EXPECT_EQ(shortAccount->accountIdentifier(), u"AAAAAAAAAAAA") << "an 11-character account gives no account";
    auto shortContent = FGMessageIdentifier::newWithAccountIdentifier(u"abcdefghijkl", u"0123abcdefghijklm");
    EXPECT_EQ(shortContent->contentIdentifier(), u"AAAAAAAAAAAAAAAAAA");
    EXPECT_EQ(shortContent->accountIdentifier(), u"abcdefghijkl") << "the account is still decoded";

    EXPECT_FALSE(FGMessageIdentifier::newWithStringValue(u"no-slash"));
    EXPECT_FALSE(FGMessageIdentifier::newWithStringValue(std::nullopt));
}

TEST(FGMessageIdentifier, HashIsTheSplitMixFinaliserOfEightContentBytes) {
    auto id = FGMessageIdentifier::newWithAccountIdentifier(u"LOCAL", u"0123abcdefghijklmn");
    EXPECT_EQ(id->hash(), 0x63cbdf40f26aa42dull);
}

TEST(FGMessageIdentifier, SentinelsAndTheNilIdentifier) {
    auto nil = FGMessageIdentifier::nilMessageIdentifier();
    EXPECT_FALSE(nil->isValid());
    EXPECT_EQ(nil->contentIdentifier(), u"----INVALIDMESSAGE");
    EXPECT_EQ(nil, FGMessageIdentifier::nilMessageIdentifier()) << "made once";

    auto unavailable = FGMessageIdentifier::unavailableMessageIdentifier();
    EXPECT_TRUE(unavailable->isValid());
    EXPECT_TRUE(unavailable->unavailableContent());
    EXPECT_EQ(unavailable->contentIdentifier(), u"--NOT--AVAILABLE--");

    EXPECT_FALSE(FGMessageIdentifier::validateContentIdentifier(u"----INVALIDMESSAGE"));
    EXPECT_FALSE(FGMessageIdentifier::validateContentIdentifier(u"7556WquxKLyMQyeLqA"));
    EXPECT_TRUE(FGMessageIdentifier::validateContentIdentifier(u"0123abcdefghijklmn"));
}

TEST(FGMessageIdentifier, InterningSharesOneObjectAndEqualityIgnoresFlags) {
    auto first = FGMessageIdentifier::newWithAccountIdentifier(u"LOCAL", u"AAAAbbbbCCCCdddd01");
    auto second = FGMessageIdentifier::newWithAccountIdentifier(u"LOCAL", u"AAAAbbbbCCCCdddd01");
    EXPECT_EQ(first, second);
    EXPECT_TRUE(first->isInterned());

    auto loose = FGMessageIdentifier::newWithAccountIdentifier(u"LOCAL", u"AAAAbbbbCCCCdddd01",
                                                               FGMessageIdentifier::kDoNotIntern);
    EXPECT_NE(loose, first);
    EXPECT_FALSE(loose->isInterned());
    EXPECT_TRUE(loose->isEqual(*first)) << "the interned flag does not take part in equality";
    EXPECT_EQ(FGMessageIdentifier::canonicalIdentifierForIdentifier(loose), first);

    auto other = FGMessageIdentifier::newWithAccountIdentifier(u"zzzzzzzzzzzz", u"AAAAbbbbCCCCdddd01");
    EXPECT_TRUE(other->hasEqualContentIdentifierAs(*first));
    EXPECT_FALSE(other->hasEqualAccountIdentifierAs(*first));

    auto found = FGMessageIdentifier::identifiersForContentIdentifiers({u"AAAAbbbbCCCCdddd01", u"unknown-content-id"});
    EXPECT_EQ(found.size(), 2u) << "one per cached account holding that content";
}

TEST(FGMessageIdentifier, InterningIsSafeAcrossThreads) {
    std::vector<std::shared_ptr<const FGMessageIdentifier>> results(8);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < results.size(); ++i) {
        threads.emplace_back([&results, i] {
            for (int n = 0; n < 200; ++n) {
                results[i] = FGMessageIdentifier::newWithStringValue(u"qqqqqqqqqqqq/threadsafe00000000");
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& result : results) EXPECT_EQ(result, results[0]);
}

TEST(FGMessageIdentifier, CodesAsAccountAndContentText) {
    auto id = FGMessageIdentifier::newWithStringValue(u"LOCAL/0123abcdefghijklmn");
    nlohmann::json coded = id->encodeWithCoder();
    EXPECT_EQ(coded["accountIdentifier"], "LOCAL");
    EXPECT_EQ(coded["contentIdentifier"], "0123abcdefghijklmn");
    EXPECT_EQ(FGMessageIdentifier::initWithCoder(coded), id);
    EXPECT_FALSE(FGMessageIdentifier::initWithCoder({{"accountIdentifier", 1}, {"contentIdentifier", "x"}}));
    EXPECT_FALSE(FGMessageIdentifier::initWithCoder(nlohmann::json::array()));
}

TEST(RFC2822IDHash, DigestsTheTrimmedMessageId) {
    RFC2822IDHash bracketed = RFC2822IDHash::newWithRFC2822MessageIdValue(u" <1234@example.com>\r\n");
    RFC2822IDHash bare = RFC2822IDHash::newWithRFC2822MessageIdValue(u"1234@example.com");
    EXPECT_EQ(bracketed, bare);
    EXPECT_EQ(bare.stringRepresentation(), u"JlczmCq5J81oGon65QJJbQ");
    EXPECT_EQ(RFC2822IDHash::newWithStringRepresentation(bare.stringRepresentation()), bare);
    EXPECT_THROW(RFC2822IDHash::newWithStringRepresentation(u"short"), ProgrammingError);
}

TEST(RFC2822IDHash, ValidatesMessageIdsStrongEnoughToThreadOn) {
    EXPECT_FALSE(RFC2822IDHash::validateRFC2822MessageIdValue(u"<abcdefghijklmnopqr@host>")) << "18 letters";
    EXPECT_TRUE(RFC2822IDHash::validateRFC2822MessageIdValue(u"<abcdefghijklmn1234@host>")) << "18 with 4 digits";
    EXPECT_TRUE(RFC2822IDHash::validateRFC2822MessageIdValue(u"abcdefghijklmnopqrstuvwx@host")) << "24 characters";
    EXPECT_FALSE(RFC2822IDHash::validateRFC2822MessageIdValue(u"abcdefghijklmnopqrstuvwx@host@x")) << "two at-signs";
    EXPECT_FALSE(RFC2822IDHash::validateRFC2822MessageIdValue(u"short1234@host"));
    EXPECT_FALSE(RFC2822IDHash::validateRFC2822MessageIdValue(u"no-at-sign-but-very-long-indeed"));
}
