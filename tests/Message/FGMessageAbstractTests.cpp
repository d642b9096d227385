#include <gtest/gtest.h>

#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Headers/PWRecipientList.hpp"
#include "postwright/Message/FGPostwrightMessage.hpp"
#include "postwright/Message/PWMBoxMessageContents.hpp"

using namespace postwright;

namespace {
std::shared_ptr<FGMessageAbstract> abstractOf(std::string_view message) {
    return FGMessageAbstract::newWithMessageContents(PWMessageContents::initWithHeaderAndBodyData(Data::withString(message)));
}

std::vector<std::u16string> userAtDomains(const std::optional<PWEmailAddressGroupList>& groups) {
    std::vector<std::u16string> out;
    if (!groups) return out;
    for (const auto& group : *groups) {
        for (const auto& address : group->addresses()) out.push_back(address->userAtDomain().value_or(u""));
    }
    return out;
}
}  // namespace

TEST(FGMessageAbstract, SenderFromAndSubject) {
    auto twoFrom = abstractOf("From: a@x.org, b@x.org\r\nSubject: folded\r\n subject\r\n\r\nbody");
    ASSERT_EQ(twoFrom->from()->size(), 2u);
    ASSERT_EQ(twoFrom->sender()->size(), 1u);
    EXPECT_EQ((*twoFrom->sender())[0]->userAtDomain(), u"a@x.org") << "without Sender, the first From";
    EXPECT_EQ(twoFrom->subject(), u"folded subject") << "no carriage return survives";
    auto withSender = abstractOf("From: a@x.org\r\nSender: s@x.org\r\n\r\n");
    EXPECT_EQ((*withSender->sender())[0]->userAtDomain(), u"s@x.org");
}

TEST(FGMessageAbstract, InferredBlindRecipients) {
    auto named = abstractOf("To: me@x.org\r\nDelivered-To: ME@x.org\r\n\r\n");
    EXPECT_FALSE(named->inferredBccRecipients()) << "Delivered-To naming a To address (any case)";
    auto blind = abstractOf(
        "To: a@x.org\r\nBcc: b@x.org\r\nDelivered-To: me@x.org\r\nDelivered-To: me@x.org\r\nResent-To: r@x.org\r\n"
        "Delivered-To: r@x.org\r\n\r\n");
    EXPECT_EQ(userAtDomains(blind->inferredBccRecipients()), (std::vector<std::u16string>{u"b@x.org", u"me@x.org"}))
        << "the Bcc groups, then one unnamed group with each inferred address once";
    EXPECT_FALSE(blind->copy()->inferredBccRecipients()) << "a copy does not carry the inferred recipients";
    EXPECT_TRUE(blind->copy()->recipients());
}

TEST(FGMessageAbstract, MboxEnvelopeFillsMissingSenderAndDate) {
    DateEnvironment::Override pinned(1800000000000.0, "UTC", "en_US");
    auto abstract = abstractOf("From env@example.com Mon Jan  1 00:00:00 2024\nSubject: no from, no date\n\nx\n");
    ASSERT_TRUE(abstract->from());
    EXPECT_EQ((*abstract->from())[0]->userAtDomain(), u"env@example.com");
    EXPECT_EQ(abstract->dateReceived(), 1704067200000.0);
    EXPECT_FALSE(abstract->dateSent());
    auto dated = abstractOf("From env@example.com Mon Jan  1 00:00:00 2024\nDate: Tue, 5 Mar 2024 10:04:00 +0100\n\nx\n");
    EXPECT_EQ(dated->dateReceived(), 1709629440000.0) << "a valid sent date blocks the envelope date";
}

TEST(FGPostwrightMessage, AnswersFromTheAbstractAndTheCachedContents) {
    Data bytes = Data::withString("From: a@x.org\r\nTo: b@x.org\r\nCc: c@x.org\r\nSubject: s\r\n\r\nbody");
    auto cached = FGPostwrightMessage::initWithRFC2822Data(bytes, true);
    EXPECT_TRUE(cached->rootMimePart());
    auto uncached = FGPostwrightMessage::initWithRFC2822Data(bytes, false);
    EXPECT_FALSE(uncached->messageContents());
    EXPECT_EQ(uncached->subject(), u"s") << "answered by the abstract without the contents";
    auto broken = FGPostwrightMessage::initWithRFC2822Data(Data(), true);
    EXPECT_EQ(broken->messageSize(), 0u);
    EXPECT_FALSE(broken->subject());

    auto list = PWRecipientList::initWithRecipientsInMessage(*uncached);
    EXPECT_EQ(list->allRecipientAddresses().size(), 2u);
    auto fromContents = PWRecipientList::initWithRecipientsInContents(*cached->messageContents());
    EXPECT_EQ(fromContents->allRecipientAddresses().size(), 2u);
}
