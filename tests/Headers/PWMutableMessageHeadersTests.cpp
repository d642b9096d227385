#include <gtest/gtest.h>

#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Headers/PWMutableMessageHeaders.hpp"

using namespace postwright;

namespace {
std::shared_ptr<PWMutableMessageHeaders> parseMutable(std::string_view block) {
    return PWMessageHeaders::headersFromData(Data::withString(block))->mutableCopy();
}
}  // namespace

TEST(PWMutableMessageHeaders, SettingAFieldKeepsItsNameAndPlaceOrTakesItsRankWhenRepeated) {
    auto original = PWMessageHeaders::headersFromData(Data::withString("From: a@b\r\nSUBJECT: old\r\nTo: c@d\r\n\r\n"));
    auto headers = original->mutableCopy();
    EXPECT_FALSE(headers->mutated()) << "a fresh mutable copy is not mutated";
    headers->setHeader(u"new value", u"subject");
    auto entries = headers->entriesForKey(u"Subject");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0]->fieldName(), u"SUBJECT");
    EXPECT_EQ(entries[0]->sortHint(), 1u);
    EXPECT_TRUE(entries[0]->isMutable());
    EXPECT_EQ(headers->foldedHeaderString(), u"From: a@b\r\nSubject: new value\r\nTo: c@d")
        << "a changed field is folded afresh, with the canonical name";
    EXPECT_TRUE(headers->mutated());
    EXPECT_EQ(original->subject(), u"old") << "edits do not reach the collection copied from";

    auto repeated = parseMutable("Subject: a\r\nSubject: b\r\n\r\n");
    repeated->setHeader(u"c", u"subject");
    EXPECT_EQ(repeated->headersForKey(u"subject"), std::vector<std::u16string>{u"c"});
    EXPECT_EQ(repeated->entriesForKey(u"Subject")[0]->sortHint(), 6u) << "the rank of the name, not a place";
}

TEST(PWMutableMessageHeaders, NoValueRemovesAndObserversAreTold) {
    auto headers = parseMutable("Subject: a\r\nX-Y: z\r\n\r\n");
    std::vector<bool> notifications;
    size_t token = headers->addObserver([&](bool prior) { notifications.push_back(prior); });
    headers->setHeader(std::nullopt, u"subject");
    EXPECT_FALSE(headers->firstHeaderForKey(u"Subject"));
    EXPECT_EQ(notifications, (std::vector<bool>{true, false}));
    EXPECT_FALSE(headers->removeHeaderForKey(u"Subject")) << "removing an absent field changes nothing";
    EXPECT_EQ(notifications.size(), 2u);
    headers->removeObserver(token);
    headers->setHeader(u"1", u"x-y");
    EXPECT_EQ(notifications.size(), 2u);
}

TEST(PWMutableMessageHeaders, TypedSetters) {
    auto headers = PWMutableMessageHeaders::init();
    headers->setHeaderID(u"<abc@host>");
    EXPECT_EQ(headers->firstHeaderForKey(u"Message-Id"), u"<abc@host>") << "angle brackets are not doubled";
    headers->setInReplyToIds({u"a@b", u" <c@d>\r\n"});
    EXPECT_EQ(headers->firstHeaderForKey(u"In-Reply-To"), u"<a@b>, <c@d>");
    headers->setReferences({});
    EXPECT_FALSE(headers->firstHeaderForKey(u"References"));
    headers->setSubject(u"  plain subject\r\n ");
    EXPECT_EQ(headers->firstHeaderForKey(u"Subject", false), u"plain subject");
    headers->setSubject(u"Caf\u00e9");
    EXPECT_EQ(headers->firstHeaderForKey(u"Subject", false), u"=?utf-8?Q?Caf=C3=A9?=")
        << "without a preferred encoding, UTF-8";
    EXPECT_EQ(headers->subject(), u"Caf\u00e9");
    std::u16string longSubject;
    for (int i = 0; i < 20; ++i) longSubject += u"\u65e5\u672c\u8a9e ";
    longSubject = fgTrim(longSubject);
    headers->setSubject(longSubject);
    for (const std::u16string& line : componentsSeparatedBy(headers->foldedHeaderString(), u"\r\n")) {
        EXPECT_LE(line.size(), 79u) << "a long subject is several words that fold: " << toUTF8(line);
    }
    EXPECT_EQ(headers->subject(), longSubject);
    headers->setSubject(std::nullopt);
    EXPECT_FALSE(headers->firstHeaderForKey(u"Subject"));
}

TEST(PWMutableMessageHeaders, MergingTakesFieldsAfterTheExistingOnes) {
    auto headers = parseMutable("From: mine@x\r\nSubject: s\r\n\r\n");
    auto other = PWMessageHeaders::headersFromData(Data::withString("From: theirs@y\r\nX-Extra: 1\r\n\r\n"));
    bool notified = false;
    headers->addObserver([&](bool) { notified = true; });
    std::u16string before = headers->contentIdentifier();
    headers->addEntriesFromHeaders(*other);
    EXPECT_EQ(headers->firstHeaderForKey(u"From"), u"theirs@y") << "merging replaces fields of the same name";
    EXPECT_EQ(headers->entriesForKey(u"From")[0]->sortHint(), 2u);
    EXPECT_EQ(headers->entriesForKey(u"X-Extra")[0]->sortHint(), 3u);
    EXPECT_FALSE(notified);
    EXPECT_FALSE(headers->mutated()) << "merging does not clear the content identifier";
    EXPECT_EQ(headers->contentIdentifier(), before);
}

TEST(PWMutableMessageHeaders, AddressAndDateSetters) {
    auto headers = PWMutableMessageHeaders::init();
    PWEmailAddressList two = {PWEmailAddress::initWithAddressComment(u"Ann Smith", u"ann@example.org"),
                              PWEmailAddress::initWithAddressComment(std::nullopt, u"Bob@Example.org")};
    headers->setRecipients(two);
    EXPECT_EQ(headers->firstHeaderForKey(u"To"), u"\"Ann Smith\" <ann@example.org>,bob@example.org")
        << "recipients are joined by a bare comma, addresses lower-cased";
    headers->setFrom(two);
    EXPECT_EQ(headers->firstHeaderForKey(u"From"), u"\"Ann Smith\" <ann@example.org>, bob@example.org")
        << "From is joined by comma and space";
    headers->setRecipients(PWEmailAddressList{});
    EXPECT_FALSE(headers->firstHeaderForKey(u"To")) << "an empty list removes the field";
    auto groups = PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(u"Team: a@x.org, b@x.org;");
    headers->setCcRecipients(*groups);
    EXPECT_EQ(headers->firstHeaderForKey(u"Cc"), u"Team:a@x.org, b@x.org;") << "groups are accepted too";

    DateEnvironment::Override pinned(std::nullopt, "Europe/Berlin");
    headers->setDateSent(1709629440000.0);
    EXPECT_EQ(headers->firstHeaderForKey(u"Date"), u"Tue, 5 Mar 2024 10:04:00 +0100");
}
