#include <gtest/gtest.h>

#include "postwright/Base/Digest.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"
#include "postwright/Headers/PWRecipientList.hpp"
#include "postwright/Headers/PWTokenSearchEmailAddress.hpp"

using namespace postwright;
using Json = nlohmann::ordered_json;

namespace {
std::shared_ptr<PWEmailAddress> raw(std::u16string_view text) {
    return PWEmailAddress::initWithRawAddress(text);
}

PWEmailAddressGroupList groups(std::u16string_view value) {
    auto parsed = PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(std::u16string(value));
    return parsed.value_or(PWEmailAddressGroupList{});
}

std::vector<std::u16string> userAtDomains(const PWEmailAddressList& addresses) {
    std::vector<std::u16string> out;
    for (const auto& address : addresses) out.push_back(address->userAtDomain().value_or(u"(invalid)"));
    return out;
}
}  // namespace

TEST(PWEmailAddressGroup, HeaderValuesGiveNamedAndNamelessGroups) {
    auto named = groups(u"Team: Ann <ann@example.com>, bo@example.org;");
    ASSERT_EQ(named.size(), 1u);
    EXPECT_EQ(named[0]->groupName(), u"Team");
    EXPECT_EQ(userAtDomains(named[0]->addresses()),
              (std::vector<std::u16string>{u"ann@example.com", u"bo@example.org"}));
    EXPECT_EQ(named[0]->rfc2822Representation(), u"Team:Ann <ann@example.com>, bo@example.org;");

    auto plain = groups(u"ann@example.com, bo@example.org");
    ASSERT_EQ(plain.size(), 1u);
    EXPECT_EQ(plain[0]->groupName(), std::nullopt);
    EXPECT_EQ(plain[0]->rfc2822Representation(), u"ann@example.com,bo@example.org") << "a bare comma between members";
    EXPECT_EQ(PWEmailAddressGroup::rfc2822RepresentationForAddressGroups({plain[0], named[0]}),
              u"ann@example.com,bo@example.org,Team:Ann <ann@example.com>, bo@example.org;");
    EXPECT_EQ(PWEmailAddressGroup::newWithGroupName(std::nullopt, {})->rfc2822Representation(), std::nullopt);
    EXPECT_EQ(PWEmailAddressGroup::newWithGroupName(u"Empty", {})->rfc2822Representation(), u"Empty:;");
    EXPECT_EQ(PWEmailAddressGroup::rfc2822RepresentationForAddressGroups({}), std::nullopt);

    EXPECT_EQ(PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(std::nullopt), std::nullopt);
    EXPECT_EQ(PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(u"\"unclosed <a@example.com>"), std::nullopt);
    EXPECT_EQ(named[0]->digest(), shortSHAHashString(u"Team:Ann <ann@example.com>, bo@example.org;"));

    // A name read raw from folded text keeps its line break, but its written form cannot start a new line.
    auto folded = PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(u"Big\r\n Team: a@example.com;", 0);
    ASSERT_TRUE(folded && folded->size() == 1);
    EXPECT_EQ((*folded)[0]->groupName(), u"Big\r\n Team");
    EXPECT_EQ((*folded)[0]->rfc2822Representation(), u"Big\\r\\n Team:a@example.com;");
}

TEST(PWEmailAddressGroup, MembershipAndUniqueness) {
    auto team = PWEmailAddressGroup::newWithGroupName(u"Team", {raw(u"Ann <Ann@Example.com>"), raw(u"bo@example.org")});
    EXPECT_TRUE(team->containsAddress(raw(u"Other Name <Ann@Example.com>")));
    EXPECT_FALSE(team->containsAddress(raw(u"ann@example.com"))) << "userAtDomain compares exactly";
    EXPECT_FALSE(team->addUniqueAddresses({raw(u"ANN@EXAMPLE.COM")})) << "upper-cased, it is already a member";
    EXPECT_EQ(team->addresses().size(), 2u);
    EXPECT_TRUE(team->addUniqueAddresses({raw(u"cy@example.net"), raw(u"CY@example.net"), raw(u"bo@example.org")}));
    EXPECT_EQ(userAtDomains(team->addresses()),
              (std::vector<std::u16string>{u"Ann@Example.com", u"bo@example.org", u"cy@example.net"}));

    auto first = PWEmailAddressGroup::newWithGroupName(std::nullopt, {raw(u"a@example.com"), raw(u"broken <x")});
    auto second = PWEmailAddressGroup::newWithGroupName(u"G", {raw(u"A@EXAMPLE.com"), raw(u"b@example.com")});
    EXPECT_EQ(userAtDomains(PWEmailAddressGroup::uniqueEmailAddressesFromGroupList({first, second})),
              (std::vector<std::u16string>{u"a@example.com", u"b@example.com"}))
        << "equal addresses once, invalid ones dropped";
}

TEST(PWEmailAddressGroup, EqualityAndDictionaryForms) {
    auto a = PWEmailAddressGroup::newWithGroupName(u"Team", {raw(u"Ann <ann@example.com>")});
    auto b = PWEmailAddressGroup::addressGroupWithGroupName(u"Team", {raw(u"Ann <ANN@example.com>")});
    EXPECT_TRUE(a->isEqual(b.get()));
    b->setGroupName(u"team");
    EXPECT_FALSE(a->isEqual(b.get()));
    EXPECT_FALSE(a->isEqual(PWEmailAddressGroup::newWithGroupName(u"Team", {}).get()));
    EXPECT_FALSE(a->isEqual(nullptr));

    Json dictionary = a->dictionaryRepresentation();
    EXPECT_EQ(dictionary.dump(),
              R"({"type":"group","groupName":"Team","addresses":[{"type":"address","addressComment":"Ann",)"
              R"("userName":"ann","domain":"example.com"}]})");
    EXPECT_TRUE(PWEmailAddressGroup::initWithDictionaryRepresentation(dictionary)->isEqual(a.get()));
    dictionary["addresses"].push_back(Json{{"type", "address"}, {"userName", "no-domain"}});
    dictionary["groupName"] = 7;
    auto back = PWEmailAddressGroup::initWithDictionaryRepresentation(dictionary);
    EXPECT_EQ(back->addresses().size(), 1u) << "entries without userName and domain are dropped";
    EXPECT_EQ(back->groupName(), std::nullopt) << "a name that is not a string is ignored";
    EXPECT_EQ(PWEmailAddressGroup::initWithDictionaryRepresentation(Json{{"type", "address"}}), nullptr);
}

TEST(PWRecipientList, AllRecipientsOnceInToCcBccOrder) {
    auto to = groups(u"ann@example.com, Team: bo@example.org, ann@example.com;");
    auto cc = groups(u"BO@example.org, cy@example.net, broken <x");
    auto bcc = groups(u"dee@example.com, cy@example.net");
    auto list = PWRecipientList::initWithRecipients(to, cc, bcc);
    EXPECT_EQ(
        userAtDomains(list->allRecipientAddresses()),
        (std::vector<std::u16string>{u"ann@example.com", u"bo@example.org", u"cy@example.net", u"dee@example.com"}));
    EXPECT_EQ(list->ccRecipients().size(), 1u);
}

TEST(PWTokenSearchEmailAddress, WeightsScoresAndTheCompletionLine) {
    auto hit = PWTokenSearchEmailAddress::initWithAddressComment(u"Ann Lee", u"Ann", u"Example.com");
    hit->setAgeScore(10);
    hit->setAddressScore(5);
    hit->setTypeScore(2);
    hit->setCountScore(1);
    // The default weights are the single-precision 0.3, 0.2, 0.1 and 0.4, widened.
    EXPECT_EQ(hit->weightedScore(), 10 * double(0.3f) + 5 * double(0.2f) + 2 * double(0.1f) + 1 * double(0.4f));
    const std::u16string description = hit->description();
    EXPECT_TRUE(hasSuffix(description, u"> Ann Lee <Ann@Example.com> weight: 4.6 (ag:10 t:2 ad:5 c:1)"))
        << toUTF8(description);

    auto line = hit->searchDisplayStringWithPrefix(u"LE");
    EXPECT_EQ(line.text, u"Ann Lee <ann@example.com>");
    ASSERT_TRUE(line.matchedPrefix);
    EXPECT_EQ(line.matchedPrefix->location, 4u) << "at the start of a word, ignoring case";
    EXPECT_FALSE(hit->searchDisplayStringWithPrefix(u"nn").matchedPrefix);

    auto contact = std::make_shared<Contact>(Contact{
        u"C-1", u"Ann Lee", u"Annie", {{u"E-1", u"work", u"ann@work.example"}, {u"E-2", u"home", u"Ann@Example.com"}}});
    hit->updateFromContact(contact, u"E-2");
    EXPECT_EQ(hit->searchDisplayStringWithPrefix(u"an").text, u"Ann Lee (Annie) <Ann@Example.com>");
    hit->updateFromContact(contact, u"E-9");
    EXPECT_EQ(hit->searchDisplayStringWithPrefix(u"").text, u"Ann Lee (Annie) <ann@example.com>")
        << "no matching value: the base address";

    auto copied =
        PWTokenSearchEmailAddress::initWithEmailAddress(*PWEmailAddress::initWithRawAddress(u"x@example.org"));
    EXPECT_EQ(copied->searchDisplayStringWithPrefix(u"x").text, u"x@example.org");
}
