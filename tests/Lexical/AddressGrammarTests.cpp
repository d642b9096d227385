#include <gtest/gtest.h>

#include "Lexical/ScannerTestSupport.hpp"
#include "postwright/Headers/PWEmailAddress.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"
#include "postwright/Lexical/AddressGrammar.hpp"
#include "postwright/Lexical/EmailParserError.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
Scanner scan(std::u16string_view text) {
    return Scanner::emailAddressScannerWithString(text);
}

void expectError(const ErrorRef& error, long code, std::u16string_view input) {
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->domain, "com.fennelgate.postwright.emailparser");
    EXPECT_EQ(error->code, code);
    if (code == 4) {
        EXPECT_EQ(error->localizedDescription, u"Unclosed Angular Bracket Error");
        EXPECT_EQ(error->debugDescription, u"Unclosed Angular Bracket Error in: " + std::u16string(input));
    } else if (code == 5) {
        EXPECT_EQ(error->localizedDescription, u"Malformed Email Address Spec");
        EXPECT_EQ(error->debugDescription, u"Malformed Email Address Spec: " + std::u16string(input));
    }
}

// A record the grammar must leave alone, to tell "untouched" from "cleared".
ErrorRef sentinel() {
    return makeError("test", 99, u"untouched");
}

struct Mailbox {
    bool ok = false;
    OptString displayName, localName, domain, invalid;
    size_t location = 0;
    ErrorRef error;
};

Mailbox mailbox(std::u16string_view text, unsigned options = 4, bool withInvalidSlot = true) {
    Scanner s = scan(text);
    Mailbox m;
    m.invalid = u"stale";
    m.error = sentinel();
    m.ok = s.scanRFC2822EmailAddressIntoDisplayName(&m.displayName, &m.localName, &m.domain,
                                                    withInvalidSlot ? &m.invalid : nullptr, options, &m.error);
    m.location = s.scanLocation();
    return m;
}

std::vector<std::u16string> describe(const PWEmailAddressGroupList& groups) {
    std::vector<std::u16string> out;
    for (const auto& group : groups) {
        std::u16string line = group->groupName() ? *group->groupName() + u":" : u"-:";
        for (const auto& address : group->addresses()) {
            line += u" " +
                    (address->valid() ? *address->userAtDomain() : u"!" + address->invalidRawAddress().value_or(u""));
        }
        out.push_back(line);
    }
    return out;
}

PWEmailAddressGroupList addressList(std::u16string_view text, unsigned options = 4, bool* ok = nullptr,
                                    ErrorRef* error = nullptr, size_t* location = nullptr) {
    Scanner s = scan(text);
    PWEmailAddressGroupList groups;
    bool result = s.scanRFC2822AddressListIntoPWEmailAddressGroups(&groups, options, error);
    if (ok) *ok = result;
    if (location) *location = s.scanLocation();
    return groups;
}
}  // namespace

TEST(AddrSpec, ReadsLocalPartAndDomainOrRaisesCodeFive) {
    Scanner s = scan(u"\"j q\"@[1.2.3.4] rest");
    OptString local = u"x", domain;
    ErrorRef error;
    EXPECT_TRUE(s.scanAddrSpecIntoLocalName(&local, &domain, &error));
    EXPECT_EQ(local, u"\"j q\"");
    EXPECT_EQ(domain, u"1.2.3.4");
    EXPECT_EQ(error, nullptr);

    for (std::u16string_view text : {u"jqp example.com", u"jqp@", u"jqp@(unclosed"}) {
        Scanner bad = scan(text);
        local = u"stale";
        EXPECT_FALSE(bad.scanAddrSpecIntoLocalName(&local, &domain, &error)) << toUTF8(text);
        EXPECT_EQ(local, std::nullopt) << "the local part is cleared";
        EXPECT_EQ(bad.scanLocation(), 0u);
        expectError(error, 5, text);
    }

    Scanner noLocal = scan(u"@example.com");
    error = sentinel();
    EXPECT_FALSE(noLocal.scanAddrSpecIntoLocalName(&local, &domain, &error));
    EXPECT_EQ(error, nullptr) << "no local part: no new error, and the local part's dot-atom cleared the slot";

    Scanner dotted = scan(u"a@b.[1.2.3.4]");
    EXPECT_TRUE(dotted.scanAddrSpecIntoLocalName(&local, &domain, &error))
        << "the domain's dot-atom stops after its dot and a literal follows";
    EXPECT_EQ(domain, u"1.2.3.4");
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, 10) << "the refused trailing dot stays in the slot";
}

TEST(AngleAddr, NeedsTheClosingBracketAndClearsItsSlotOnSuccess) {
    OptString local, domain;
    ErrorRef error = sentinel();
    Scanner good = scan(u" (c) <jqp@example.com> (c) x");
    EXPECT_TRUE(good.scanAngularAddrSpecIntoLocalName(&local, &domain, &error));
    EXPECT_EQ(good.remainder(), u"x");
    EXPECT_EQ(error, nullptr);

    Scanner open = scan(u"<jqp@example.com, next");
    EXPECT_FALSE(open.scanAngularAddrSpecIntoLocalName(&local, &domain, &error));
    expectError(error, 4, u"<jqp@example.com, next");
    EXPECT_EQ(open.scanLocation(), 0u);

    error = sentinel();
    EXPECT_FALSE(scan(u"<no-at-sign>").scanAngularAddrSpecIntoLocalName(&local, &domain, &error));
    EXPECT_EQ(error, nullptr) << "a failed addr-spec clears the slot; its code 5 is not passed on";
    error = sentinel();
    EXPECT_FALSE(scan(u"jqp@example.com").scanAngularAddrSpecIntoLocalName(&local, &domain, &error));
    EXPECT_EQ(error->code, 99) << "no \"<\": nothing raised";

    OptString phrase;
    Scanner angular = scan(u"<Joe (x) Q. Public>");
    EXPECT_TRUE(angular.scanAngularPhraseIntoString(&phrase, nullptr));
    EXPECT_EQ(phrase, u"Joe Q. Public") << "built up: the comment and the white space around it are one SPACE";
}

TEST(NameAddr, DisplayNamesRawOrBuiltUpAndTheInvalidSlotOnFailure) {
    const std::u16string text = u"Joe (the man) \"Q.\" Public <jqp@example.com>";
    OptString name, local, domain, invalid;
    Scanner raw = scan(text);
    EXPECT_TRUE(raw.scanNameAddrIntoDisplayName(&name, &local, &domain, &invalid, 0, nullptr));
    EXPECT_EQ(name, u"Joe (the man) \"Q.\" Public") << "options 0: the raw phrase, trimmed";
    EXPECT_EQ(local, u"jqp");
    EXPECT_EQ(domain, u"example.com");

    Scanner built = scan(text);
    EXPECT_TRUE(built.scanNameAddrIntoDisplayName(&name, &local, &domain, &invalid, 4, nullptr));
    EXPECT_EQ(name, u"JoeQ.Public")
        << "bit 4: quotes go; the quoted word takes the comment and white space around it with it";
    Scanner defaults = scan(text);
    EXPECT_TRUE(defaults.scanDisplayName(&name, nullptr));
    EXPECT_EQ(name, u"JoeQ.Public ") << "the form without options builds up, and does not trim";

    Scanner broken = scan(u"Joe Public <jqp@example.com");
    EXPECT_FALSE(broken.scanNameAddrIntoDisplayName(&name, &local, &domain, &invalid, 0, nullptr));
    EXPECT_EQ(invalid, u"Joe Public");
    EXPECT_EQ(broken.scanLocation(), 0u);
}

TEST(MailboxFallback, AnUnreadableMailboxBecomesInvalidTextUpToTheNextComma) {
    Mailbox bare = mailbox(u"jqp@example.com, x");
    EXPECT_TRUE(bare.ok);
    EXPECT_EQ(bare.displayName, std::nullopt);
    EXPECT_EQ(bare.invalid, std::nullopt) << "a bare addr-spec is valid: the invalid slot is cleared";
    EXPECT_EQ(bare.error, nullptr);

    Mailbox named = mailbox(u"Joe <jqp@example.com>");
    EXPECT_EQ(named.displayName, u"Joe");
    EXPECT_EQ(named.error, nullptr) << "a successful name-addr clears the slot";

    Mailbox unclosed = mailbox(u"Joe <jqp@example.com, Ann <ann@example.com>");
    EXPECT_TRUE(unclosed.ok);
    EXPECT_EQ(unclosed.invalid, u"Joe ") << "the built-up phrase, as read";
    EXPECT_EQ(unclosed.location, 20u) << "just before the comma";
    EXPECT_EQ(unclosed.error->code, 99) << "the fallback leaves the error slot alone";

    Mailbox noComma = mailbox(u"Joe Public @ nowhere");
    EXPECT_EQ(noComma.invalid, u"Joe Public ");
    EXPECT_EQ(noComma.location, 11u) << "no comma: back to just after the phrase";

    Mailbox noPhrase = mailbox(u"@@ junk, next");
    EXPECT_EQ(noPhrase.invalid, u"@@ junk");
    EXPECT_EQ(noPhrase.location, 7u);
    EXPECT_EQ(mailbox(u"<<<").invalid, u"<<<") << "without a comma, all the remaining text";

    for (std::u16string_view text : {u"; rest", u", rest", u""}) {
        Mailbox stuck = mailbox(text);
        EXPECT_FALSE(stuck.ok) << toUTF8(text);
        EXPECT_EQ(stuck.location, 0u);
    }
    EXPECT_FALSE(mailbox(u"Joe <jqp@example.com", 4, false).ok) << "no invalid slot, no fallback";
}

TEST(ScanPWEmailAddress, BuildsAddressesDecodingWordsAndMarkingSploits) {
    std::shared_ptr<PWEmailAddress> address;
    Scanner invalid = scan(u"Joe <jqp@example.com , next");
    EXPECT_TRUE(invalid.scanPWEmailAddress(&address, 4, nullptr));
    EXPECT_FALSE(address->valid());
    EXPECT_EQ(address->invalidRawAddress(), u"Joe <jqp@example.com ") << "the raw source text, not the phrase";

    Scanner encoded = scan(u"=?utf-8?Q?J=C3=B6rg?= <j@example.com>");
    EXPECT_TRUE(encoded.scanPWEmailAddress(&address, 4, nullptr));
    EXPECT_EQ(address->addressComment(), u"J\u00f6rg");
    EXPECT_FALSE(address->isMailSploited());

    const std::u16string lineBreak = u"=?utf-8?Q?Bank=0AFrom=3A_x?= <a@example.com>";
    Scanner unmarked = scan(lineBreak);
    EXPECT_TRUE(unmarked.scanPWEmailAddress(&address, 4, nullptr));
    EXPECT_FALSE(address->isMailSploited()) << "only option bit 2 checks";
    EXPECT_EQ(address->addressComment(), u"Bank\\nFrom: x") << "the line break is sanitised away in any case";
    Scanner marked = scan(lineBreak);
    EXPECT_TRUE(marked.scanPWEmailAddress(&address, 6, nullptr));
    EXPECT_TRUE(address->isMailSploited());
    Scanner nul = scan(u"=?utf-8?B?YQBi?= <a@example.com>");
    EXPECT_TRUE(nul.scanPWEmailAddress(&address, 2, nullptr));
    EXPECT_TRUE(address->isMailSploited()) << "a NUL smuggled in an encoded word";

    Scanner atGroupEnd = scan(u";");
    address = PWEmailAddress::initWithRawAddress(u"x@example.com");
    EXPECT_FALSE(atGroupEnd.scanPWEmailAddress(&address, 4, nullptr));
    EXPECT_EQ(address, nullptr);
}

TEST(MailboxList, CommasAreOptionalAndGroupNamesEndTheList) {
    Scanner s = scan(u" a@example.com b@example.org,, Team: c@example.net;");
    PWEmailAddressList list;
    EXPECT_TRUE(s.scanRFC2822MailboxList(&list, 4, nullptr));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[1]->userAtDomain(), u"b@example.org");
    EXPECT_EQ(s.remainder(), u", Team: c@example.net;") << "the second comma stops the list";

    Scanner beforeGroup = scan(u"a@example.com, Team: c@example.net;");
    EXPECT_TRUE(beforeGroup.scanRFC2822MailboxList(&list, 4, nullptr));
    EXPECT_EQ(list.size(), 1u);
    EXPECT_EQ(beforeGroup.remainder(), u"Team: c@example.net;");
    Scanner group = scan(u"Team: c@example.net;");
    EXPECT_FALSE(group.scanRFC2822MailboxList(&list, 4, nullptr));
    EXPECT_TRUE(list.empty());

    OptString name;
    Scanner groupName = scan(u"\"The Team\" (x): rest");
    EXPECT_TRUE(groupName.scanRFC2822EmailGroupIntoGroupName(&name, 4, nullptr));
    EXPECT_EQ(name, u"The Team");
    EXPECT_EQ(groupName.remainder(), u"rest");
    EXPECT_TRUE(scan(u"Team :x").scanRFC2822EmailGroupIntoGroupName(&name, 0, nullptr))
        << "white space before the colon belongs to the phrase";
    EXPECT_FALSE(scan(u"Team; x").scanRFC2822EmailGroupIntoGroupName(&name, 0, nullptr));
}

TEST(AddressList, EveryAddressEndsUpInAGroup) {
    EXPECT_EQ(describe(addressList(u"Team: a@example.com, b@example.org;")),
              std::vector<std::u16string>{u"Team: a@example.com b@example.org"});
    EXPECT_EQ(describe(addressList(u"undisclosed-recipients:;")),
              std::vector<std::u16string>{u"undisclosed-recipients:"});
    EXPECT_EQ(
        describe(addressList(u"a@example.com, b@example.org, Team: c@example.net; d@example.com")),
        (std::vector<std::u16string>{u"-: a@example.com b@example.org", u"Team: c@example.net", u"-: d@example.com"}));
    EXPECT_EQ(describe(addressList(u"Team: c@example.net, Other: d@example.com")),
              (std::vector<std::u16string>{u"Team: c@example.net", u"Other: d@example.com"}))
        << "a missing \";\" is tolerated";
    EXPECT_EQ(describe(addressList(u"Joe <jqp@example.com, Ann <ann@example.org>, x@example.com")),
              (std::vector<std::u16string>{u"-: !Joe <jqp@example.com ann@example.org x@example.com"}))
        << "one broken mailbox, the others still read";

    bool ok = true;
    EXPECT_TRUE(addressList(u"", 4, &ok).empty());
    EXPECT_FALSE(ok) << "at the end: no list";

    ErrorRef error;
    size_t location = 99;
    const std::u16string unclosed = u"a@example.com, \"Joe <jqp@example.com>";
    EXPECT_TRUE(addressList(unclosed, 4, &ok, &error, &location).empty());
    EXPECT_FALSE(ok) << "an error record from a phrase fails the whole list";
    EXPECT_EQ(location, 0u);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, 3);
    EXPECT_EQ(error->debugDescription, u"QuotedString was not closed in: " + unclosed);
    addressList(unclosed, 4, &ok, nullptr);
    EXPECT_FALSE(ok) << "the outcome does not depend on the caller's slot";
}

TEST(AddressList, GroupNamesAreFoundBehindQuotesCommentsAndEncodedWords) {
    // Group names are looked for before every mailbox; quoted strings and comments may hide a colon or an
    // angle bracket, and must not be mistaken for the end of a phrase.
    EXPECT_EQ(describe(addressList(u"\"Team <A>\" (the: one) Crew: c@example.net; \"x: y\" <d@example.com>")),
              (std::vector<std::u16string>{u"Team <A>Crew: c@example.net", u"-: d@example.com"}));
    EXPECT_EQ(describe(addressList(u"=?utf-8?Q?Gr=C3=BCppe?=: a@example.com;")),
              (std::vector<std::u16string>{u"=?utf-8?Q?Gr=C3=BCppe?=: a@example.com"}));
    EXPECT_EQ(describe(addressList(u"(unclosed <a@example.com>")).size(), 1u) << "no group, still read";

    // A quoted string with text that quoted strings may not hold is an error wherever it stands.
    bool ok = true;
    ErrorRef error;
    addressList(u"a@example.com, \"J\u20ACrgen\" <j@example.com>", 4, &ok, &error);
    bool okAfterGroup = true;
    ErrorRef errorAfterGroup;
    addressList(u"T: a@example.com;, \"J\u20ACrgen\" <j@example.com>", 4, &okAfterGroup, &errorAfterGroup);
    EXPECT_EQ(ok, okAfterGroup);
    EXPECT_EQ(error == nullptr, errorAfterGroup == nullptr);
}

// A group name asked for without a slot is decided from the characters where that is safe (atoms, dots and
// blanks before the colon); it must end where reading the name ends, with the same outcome.
TEST(AddressList, GroupNamesReadTheSameWithoutASlot) {
    const std::u16string inputs[] = {u"Team . A\t: a@b;", u"Te\r\n am: a@b;", u"\"Te: am\" x: a@b;", u"T (c: d) x: a@b",
                                     u"T \"unclosed: a@b", u"x\\: a@b",         u".T: a@b",           u"T <a@b>: x"};
    test::expectSameWithoutResultSlot(inputs, {0u, 4u}, [](Scanner& s, OptString* name, unsigned options, ErrorRef* e) {
        return s.scanRFC2822EmailGroupIntoGroupName(name, options, e);
    });
    Scanner plain = scan(u"Team . A\t: a@b;");
    ASSERT_TRUE(plain.scanRFC2822EmailGroupIntoGroupName(nullptr, 4, nullptr));
    EXPECT_EQ(plain.currentCharacter(), u'a') << "after the colon and the white space behind it";
}

TEST(AddressGrammarRobustness, HostileInputNeverCrashesOrHangs) {
    std::u16string longPhrase(100 * 1024, u'a');
    for (size_t i = 7; i < longPhrase.size(); i += 8) longPhrase[i] = u' ';
    bool ok = false;
    auto groups = addressList(longPhrase + u" <x@example.com>, y@example.org", 4, &ok);
    EXPECT_EQ(describe(groups).size(), 1u);
    ASSERT_EQ(groups[0]->addresses().size(), 2u);
    EXPECT_EQ(groups[0]->addresses()[0]->addressComment(), fgTrim(longPhrase));

    std::u16string nested(100000, u'(');
    groups = addressList(nested + u"x@example.com", 4, &ok);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_FALSE(groups[0]->addresses()[0]->valid()) << "a comment nested past the limit is unclosed";
    groups = addressList(nested + std::u16string(100000, u')') + u"x@example.com", 4, &ok);
    EXPECT_TRUE(ok);

    // White space before each nested "(" once made the comment scanner try every nested comment twice,
    // doubling the work per level: 2^256 steps for this text.
    std::u16string spacedNesting;
    for (int i = 0; i < 300; ++i) spacedNesting += u"(x, ";
    OptString comment;
    EXPECT_FALSE(scan(spacedNesting).scanRFC2822CommentIntoString(&comment, nullptr));
    groups = addressList(spacedNesting, 4, &ok);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0]->addresses().size(), 300u) << "each unreadable mailbox kept as invalid text";

    std::u16string quotes;
    for (int i = 0; i < 20000; ++i) quotes += u"\"a <b@c.d>, ";
    addressList(quotes, 4, &ok);
    addressList(std::u16string(50000, u'"'), 4, &ok);
    std::u16string broken;
    for (int i = 0; i < 20000; ++i) broken += u"a@b.[1, <x@y, a@, @, ";
    addressList(broken, 4, &ok);
    std::u16string garbage;
    for (int i = 0; i < 70000; ++i) garbage.push_back(static_cast<char16_t>((i * 7919) % 0x250));
    addressList(garbage, 0, &ok);
    SUCCEED();
}
