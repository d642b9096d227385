#include <gtest/gtest.h>

#include <algorithm>
#include <type_traits>
#include <unordered_set>

#include "postwright/Base/AddressBook.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Headers/PWEmailAddress.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;
using Json = nlohmann::ordered_json;

static_assert(!std::is_copy_constructible_v<PWEmailAddress>, "addresses have identity: copy() makes a new one");

namespace {
std::shared_ptr<PWEmailAddress> address(const OptString& comment, const OptString& user, const OptString& domain,
                                        unsigned options = 1) {
    return PWEmailAddress::initWithAddressComment(comment, user, domain, options);
}

// An address book that answers from a fixed list of contacts and records what it was asked.
class FakeAddressBook : public AddressBook {
public:
    ContactsAuthorizationStatus status = ContactsAuthorizationStatus::Authorized;
    std::vector<std::shared_ptr<const Contact>> contacts;
    ErrorRef fetchError;
    std::vector<std::u16string> lookups;

    ContactsAuthorizationStatus authorizationStatus() override { return status; }
    std::shared_ptr<const Contact> contactWithIdentifier(std::u16string_view identifier, ErrorRef*) override {
        lookups.push_back(u"id:" + std::u16string(identifier));
        for (const auto& contact : contacts) {
            if (contact->identifier == identifier) return contact;
        }
        return nullptr;
    }
    std::vector<std::shared_ptr<const Contact>> contactsMatchingEmailAddress(std::u16string_view emailAddress,
                                                                             ErrorRef* error) override {
        lookups.push_back(u"email:" + std::u16string(emailAddress));
        if (fetchError) {
            setSlot(error, fetchError);
            return {};
        }
        std::vector<std::shared_ptr<const Contact>> found;
        for (const auto& contact : contacts) {
            const auto& values = contact->emailAddresses;
            auto matches = [&](const auto& value) { return equalsIgnoringCase(value.value, emailAddress); };
            if (std::any_of(values.begin(), values.end(), matches)) found.push_back(contact);
        }
        return found;
    }
};

std::shared_ptr<Contact> annContact() {
    return std::make_shared<Contact>(Contact{u"C-ANN",
                                             u"Ann Example",
                                             u"Annie",
                                             {{u"E-WORK", u"work", u"ann@work.example"},
                                              {u"E-HOME", u"home", u"Ann@Home.example"},
                                              {u"E-HOME2", u"other", u"Ann@Home.example"}}});
}

// Installs the fake book for the lifetime of the object.
struct ScopedAddressBook {
    std::shared_ptr<FakeAddressBook> book = std::make_shared<FakeAddressBook>();
    ScopedAddressBook() { Application::shared().setAddressBook(book); }
    ~ScopedAddressBook() { Application::shared().setAddressBook(nullptr); }
};
}  // namespace

TEST(PWEmailAddressConstruction, SanitisesPartsAndValidatesTheDomain) {
    auto crlf = address(u"  Ann\r\nBcc: x  ", u" ann ", u"example.com");
    EXPECT_TRUE(crlf->valid());
    EXPECT_EQ(crlf->addressComment(), u"Ann\\r\\nBcc: x") << "trimmed, and the line break written out";
    EXPECT_EQ(crlf->userName(), u"ann");

    auto host = address(std::nullopt, u"root", u"localhost");
    EXPECT_FALSE(host->valid());
    EXPECT_EQ(host->invalidRawAddress(), u"root@localhost");
    EXPECT_EQ(host->userName(), std::nullopt);
    EXPECT_EQ(address(u"Root", u"root", u"localhost")->invalidRawAddress(), u"Root <root@localhost>");
    EXPECT_EQ(address(u"Root", u"root", u"")->invalidRawAddress(), u"Root <root>") << "no \"@\" without a domain";
    EXPECT_EQ(address(u"", std::nullopt, u"example.com")->invalidRawAddress(), u"@example.com");

    EXPECT_TRUE(address(std::nullopt, u"a", u"Mail-1.EXAMPLE.co.UK")->valid());
    EXPECT_FALSE(address(std::nullopt, u"a", u"example.c0m")->valid());
    EXPECT_FALSE(address(std::nullopt, u"a", u"exa_mple.com")->valid());
    EXPECT_FALSE(address(std::nullopt, u"", u"example.com")->valid());
    auto unvalidated = address(std::nullopt, u"root", u"localhost", 0);
    EXPECT_TRUE(unvalidated->valid()) << "without option bit 1 any parts are kept";
    EXPECT_EQ(unvalidated->userAtDomain(), u"root@localhost");

    auto split = PWEmailAddress::initWithAddressComment(u"Ann", u"ann@example.com@x");
    EXPECT_EQ(split->domain(), std::nullopt) << "split at the first \"@\": \"example.com@x\" fails validation";
    EXPECT_EQ(split->invalidRawAddress(), u"Ann <ann@example.com@x>");
    EXPECT_EQ(PWEmailAddress::initWithAddressComment(std::nullopt, u"nobody")->invalidRawAddress(), u"nobody");
}

TEST(PWEmailAddressConstruction, RawCommentedAndInvalidTexts) {
    auto raw = PWEmailAddress::initWithRawAddress(u"\"Example, Ann\" <Ann@Example.com>");
    EXPECT_TRUE(raw->valid());
    EXPECT_EQ(raw->addressComment(), u"Example, Ann");
    EXPECT_EQ(raw->userAtDomain(), u"Ann@Example.com");

    auto broken = PWEmailAddress::initWithRawAddress(u"Ann <ann@example.com");
    EXPECT_FALSE(broken->valid());
    EXPECT_EQ(broken->invalidRawAddress(), u"Ann <ann@example.com") << "the whole raw text";
    EXPECT_EQ(PWEmailAddress::initWithRawAddress(u"")->invalidRawAddress(), u"");
    EXPECT_FALSE(PWEmailAddress::initWithRawAddress(u"")->valid());
    EXPECT_EQ(PWEmailAddress::initWithRawAddress(u"=?utf-8?Q?J=C3=B6rg?= <j@example.com>")->addressComment(),
              u"=?utf-8?Q?J=C3=B6rg?=")
        << "raw addresses are not decoded";

    auto commented = PWEmailAddress::initWithCommentedAddress(u"Root <root@localhost>");
    EXPECT_EQ(commented->addressComment(), u"Root");
    EXPECT_EQ(commented->domain(), u"localhost") << "no validation";
    EXPECT_EQ(PWEmailAddress::initWithCommentedAddress(u"Root <root@localhost")->userName(), std::nullopt);

    auto invalid = PWEmailAddress::initWithInvalidRawAddress(u"  not an address ");
    EXPECT_EQ(invalid->invalidRawAddress(), u"  not an address ");
    EXPECT_NE(invalid->description().find(u"> (INVALID)   not an address "), std::u16string::npos);
}

TEST(PWEmailAddressForms, DerivedFormsAndTheRFC2822Output) {
    auto ann = address(u"Ann", u"Ann.Lee", u"Example.COM");
    EXPECT_EQ(ann->userAtDomain(), u"Ann.Lee@Example.COM") << "case kept";
    EXPECT_EQ(ann->baseAddress(), u"ann.lee@example.com");
    EXPECT_EQ(ann->displayName(), u"Ann");
    EXPECT_EQ(ann->displayAddress(), u"Ann <Ann.Lee@Example.COM>");
    EXPECT_EQ(ann->invertedDisplayAddress(), u"Ann.Lee@Example.COM (Ann)");
    EXPECT_EQ(ann->rfc2822Representation(), u"Ann <ann.lee@example.com>") << "the address part is lower-cased";

    EXPECT_EQ(address(u"Lee, Ann", u"a", u"example.com")->rfc2822Representation(), u"\"Lee, Ann\" <a@example.com>");
    EXPECT_EQ(address(u"Ann \"the\" Lee", u"a", u"example.com")->rfc2822Representation(),
              u"\"Ann \\\"the\\\" Lee\" <a@example.com>");
    EXPECT_EQ(address(u"J\u00f6rg M\u00fcller", u"j", u"example.com")->rfc2822Representation(),
              u"=?iso-8859-1?Q?J=F6rg_M=FCller?= <j@example.com>");
    EXPECT_EQ(address(u"\u5f20\u4f1f", u"z", u"example.com")->rfc2822Representation(),
              u"=?utf-8?Q?=E5=BC=A0=E4=BC=9F?= <z@example.com>")
        << "not Latin 1: the next encoding that holds the text";
    EXPECT_EQ(address(u"", u"a", u"example.com")->rfc2822Representation(), u"a@example.com");
    EXPECT_EQ(address(std::nullopt, u"A", u"Example.com")->rfc2822Representation(), u"a@example.com");

    auto bare = address(std::nullopt, u"a", u"example.com");
    EXPECT_EQ(bare->displayName(), u"a@example.com");
    EXPECT_EQ(bare->displayAddress(), u"a@example.com");
    EXPECT_EQ(bare->digest(), shortSHAHashString(u"a@example.com"));
    auto invalid = PWEmailAddress::initWithInvalidRawAddress(u"junk");
    EXPECT_EQ(invalid->rfc2822Representation(), std::nullopt);
    EXPECT_EQ(invalid->displayAddress(), std::nullopt);
    EXPECT_EQ(invalid->digest(), shortSHAHashString(u"junk")) << "the digest falls back to the raw text";

    EXPECT_EQ(PWEmailAddress::rfc2822RepresentationForAddresses({ann, invalid, bare}),
              u"Ann <ann.lee@example.com>, a@example.com");
    EXPECT_EQ(PWEmailAddress::rfc2822RepresentationForAddresses({invalid}), std::nullopt);
}

TEST(PWEmailAddressForms, DisplayNamesReadBackAsWritten) {
    // Line breaks are kept as the two characters "\r" and "\n" by every address part, so that is what
    // comes back; everything else comes back as given.
    const std::pair<std::u16string, std::u16string> names[] = {
        {u"Smith\\Jones", u"Smith\\Jones"},
        {u"Say \"hi\"", u"Say \"hi\""},
        {u"\\\"", u"\\\""},
        {u"Doe, John", u"Doe, John"},
        {u"Zo\u00eb, \"the\" \\ one", u"Zo\u00eb, \"the\" \\ one"},
        {u"\u674e\u5c0f\u9f99 (Bruce)", u"\u674e\u5c0f\u9f99 (Bruce)"},
        {u"Ann\r\nLee", u"Ann\\r\\nLee"},
    };
    for (const auto& [name, expected] : names) {
        SCOPED_TRACE(toUTF8(name));
        OptString written = address(name, u"user", u"example.com")->rfc2822Representation();
        ASSERT_TRUE(written);
        EXPECT_EQ(written->find_first_of(u"\r\n"), std::u16string::npos);
        std::optional<PWEmailAddressList> read = PWEmailAddress::emailAddressesFromHeaderValue(*written);
        ASSERT_TRUE(read && read->size() == 1);
        EXPECT_EQ(read->front()->addressComment(), expected);
        EXPECT_EQ(read->front()->userAtDomain(), u"user@example.com");
    }
    EXPECT_EQ(address(u"Smith\\Jones", u"a", u"example.com")->rfc2822Representation(),
              u"\"Smith\\\\Jones\" <a@example.com>");
}

TEST(PWEmailAddressIdentity, EqualAddressesHashEquallyAndInternToOneObject) {
    auto a = address(u"Ann", u"Ann", u"Example.com");
    auto b = address(u"Ann", u"ann", u"EXAMPLE.com");
    EXPECT_TRUE(a->isEqual(b.get()));
    EXPECT_EQ(a->hash(), b->hash()) << "the hash uses the lower-cased base address, as equality does";
    EXPECT_FALSE(a->isEqual(address(u"ann", u"ann", u"example.com").get())) << "comments compare exactly";
    EXPECT_FALSE(a->isEqual(address(std::nullopt, u"ann", u"example.com").get()));
    EXPECT_FALSE(a->isEqual(nullptr));

    auto junk1 = PWEmailAddress::initWithInvalidRawAddress(u"junk");
    auto junk2 = PWEmailAddress::initWithInvalidRawAddress(u"junk");
    EXPECT_TRUE(junk1->isEqual(junk2.get()));
    EXPECT_FALSE(junk1->isEqual(PWEmailAddress::initWithInvalidRawAddress(u"Junk").get()));
    auto commentOnly = address(u"Ann", std::nullopt, std::nullopt, 0);
    EXPECT_TRUE(commentOnly->isEqual(address(u"Ann", u"", u"", 0).get()))
        << "no userAtDomain on either side, but comments: base addresses both nil, comments equal";

    std::unordered_set<std::shared_ptr<PWEmailAddress>, PWEmailAddressHash, PWEmailAddressEqual> set{a, b, junk1,
                                                                                                     junk2};
    EXPECT_EQ(set.size(), 2u) << "invalid addresses hash and compare by their raw text";

    auto canonical = PWEmailAddress::canonicalEmailAddressForEmailAddress(a);
    EXPECT_EQ(PWEmailAddress::canonicalEmailAddressForEmailAddress(b), canonical) << "one object per address";
}

TEST(PWEmailAddressIdentity, EquivalenceIgnoresCaseAndDiacritics) {
    auto a = address(u"J\u00f6rg", u"j", u"example.com");
    EXPECT_TRUE(a->isEquivalentToAddress(address(u"JORG", u"J", u"EXAMPLE.com").get())) << "display addresses";
    EXPECT_TRUE(a->isEquivalentToAddress(address(u"Someone", u"J", u"example.COM").get())) << "base addresses";
    EXPECT_FALSE(a->isEquivalentToAddress(PWEmailAddress::initWithRawAddress(u"jorg <nowhere").get()))
        << "an invalid address has no comment to compare";
    EXPECT_TRUE(PWEmailAddress::initWithInvalidRawAddress(u"Caf\u00e9")
                    ->isEquivalentToAddress(PWEmailAddress::initWithInvalidRawAddress(u"CAFE").get()));
    EXPECT_TRUE(a->isEquivalentToAddress(address(u"jorg", std::nullopt, std::nullopt, 0).get())) << "comments";
    EXPECT_FALSE(a->isEquivalentToAddress(address(u"Ann", u"x", u"example.org").get()));
    EXPECT_FALSE(a->isEquivalentToAddress(nullptr));
}

TEST(PWEmailAddressIdentity, CopyKeepsEveryField) {
    auto original = address(u"Ann", u"ann", u"example.com");
    original->updateFromContact(annContact(), u"E-WORK");
    original->setAuxiliaryInfo(42, "rank");
    original->setFlags(6);
    original->setPersistenceId(77);
    original->setIsMailSploited(true);
    auto copy = original->copy();
    EXPECT_NE(copy, original);
    EXPECT_TRUE(copy->isEqual(original.get()));
    EXPECT_EQ(copy->contact(), original->contact());
    EXPECT_EQ(copy->emailIdentifier(), u"E-WORK");
    EXPECT_EQ(copy->auxiliaryInfo(), (Json{{"rank", 42}}));
    EXPECT_EQ(copy->flags(), 6u);
    EXPECT_EQ(copy->persistenceId(), 77);
    EXPECT_TRUE(copy->isMailSploited());

    copy->setAuxiliaryInfo(nullptr, "rank");
    EXPECT_EQ(copy->auxiliaryInfo(), Json::object()) << "a null value removes the key";
    EXPECT_EQ(original->auxiliaryInfo(), (Json{{"rank", 42}})) << "the copy's caller data is its own";
}

TEST(PWEmailAddressDictionary, KeysInOrderAndBack) {
    auto ann = address(u"Ann", u"ann", u"example.com");
    EXPECT_EQ(ann->dictionaryRepresentation().dump(),
              R"({"type":"address","addressComment":"Ann","userName":"ann","domain":"example.com"})");
    ann->updateFromContact(annContact(), u"E-WORK");
    EXPECT_EQ(ann->dictionaryRepresentation().dump(),
              R"({"type":"address","contactName":"Ann Example","contactIdentifier":"C-ANN","addressComment":"Ann",)"
              R"("userName":"ann","domain":"example.com","emailIdentifier":"E-WORK"})");

    auto back = PWEmailAddress::initWithDictionaryRepresentation(ann->dictionaryRepresentation());
    EXPECT_TRUE(back->isEqual(ann.get()));
    EXPECT_EQ(back->contact(), nullptr) << "no address book: the parts are used";

    ScopedAddressBook scoped;
    scoped.book->contacts = {annContact()};
    Json dictionary = {{"type", "address"},
                       {"contactIdentifier", "C-ANN"},
                       {"emailIdentifier", "E-HOME"},
                       {"addressComment", "  Annie  "}};
    auto linked = PWEmailAddress::initWithDictionaryRepresentation(dictionary);
    ASSERT_NE(linked->contact(), nullptr);
    EXPECT_EQ(linked->userAtDomain(), u"Ann@Home.example");
    EXPECT_EQ(linked->addressComment(), u"Annie") << "the trimmed comment replaces the contact's name";
    EXPECT_EQ(linked->emailIdentifier(), u"E-HOME");

    scoped.book->status = ContactsAuthorizationStatus::Limited;
    dictionary["userName"] = "x";
    dictionary["domain"] = "example.org";
    EXPECT_EQ(PWEmailAddress::initWithDictionaryRepresentation(dictionary)->contact(), nullptr)
        << "without full access the parts are used";
    EXPECT_TRUE(PWEmailAddress::initWithDictionaryRepresentation(Json::array())->invalidRawAddress().has_value());
}

TEST(PWEmailAddressPasteboard, ConvertsOverItsTwoTypes) {
    EXPECT_EQ(PWEmailAddress::readableTypesForPasteboard(),
              (std::vector<std::string>{"com.fennelgate.PWEmailAddressPasteboardType", kPasteboardTypePlainString}));
    EXPECT_EQ(PWEmailAddress::readingOptionsForType(ORWPasteboardTypeEmailAddress),
              PasteboardReadingOptions::AsPropertyList);
    EXPECT_EQ(PWEmailAddress::readingOptionsForType(kPasteboardTypePlainString), PasteboardReadingOptions::AsString);

    auto ann = address(u"Ann Lee", u"ann", u"example.com");
    Json plain = ann->pasteboardPropertyListForType(kPasteboardTypePlainString);
    EXPECT_EQ(plain, "\"Ann Lee\" <ann@example.com>");
    EXPECT_TRUE(PWEmailAddress::initWithPasteboardPropertyList(plain, kPasteboardTypePlainString)->isEqual(ann.get()));
}

TEST(PWEmailAddressHeaderValues, OneUnreadableMailboxSpoilsTheList) {
    auto two =
        PWEmailAddress::emailAddressesFromHeaderValue(u"Ann <ann@example.com>,\r\n =?utf-8?B?SsO2cmc=?= <j@x.org>");
    ASSERT_TRUE(two);
    ASSERT_EQ(two->size(), 2u);
    EXPECT_EQ((*two)[1]->addressComment(), u"J\u00f6rg");

    auto invalid = PWEmailAddress::emailAddressesFromHeaderValue(u"Ann <ann@example.com, bo@example.org");
    ASSERT_TRUE(invalid);
    ASSERT_EQ(invalid->size(), 2u);
    EXPECT_EQ((*invalid)[0]->invalidRawAddress(), u"Ann") << "the invalid text itself: options 2 keep the raw phrase";
    EXPECT_EQ(PWEmailAddress::emailAddressesFromHeaderValue(u"a@example.com b@example.com")->size(), 1u)
        << "no comma: reading stops";
    EXPECT_EQ(PWEmailAddress::emailAddressesFromHeaderValue(std::nullopt), std::nullopt);

    test::ScopedRecordingLogger log;
    EXPECT_EQ(PWEmailAddress::emailAddressesFromHeaderValue(u"a@example.com, ;b@example.com"), std::nullopt);
    EXPECT_EQ(log->messages(), std::vector<std::string>{"\n\t\ta@example.com, ;b@example.com\n\t\t\t\tERROR: (null)"});

    // Which option bits mark an address is the scanner's test; here that the default options include the check.
    auto sploit = PWEmailAddress::emailAddressesFromHeaderValue(u"=?utf-8?Q?Ann=0D=0ABcc=3A_x?= <a@example.com>");
    EXPECT_TRUE((*sploit)[0]->isMailSploited());
}

TEST(PWEmailAddressContacts, LinkingGoesThroughTheHostsAddressBook) {
    auto ann = address(std::nullopt, u"Ann", u"Home.example");
    ann->loadContact();
    EXPECT_EQ(ann->contact(), nullptr) << "no address book installed: nothing happens";

    ScopedAddressBook scoped;
    scoped.book->contacts = {annContact()};
    scoped.book->status = ContactsAuthorizationStatus::Denied;
    ann->loadContact();
    EXPECT_EQ(ann->contact(), nullptr);
    EXPECT_TRUE(scoped.book->lookups.empty());

    scoped.book->status = ContactsAuthorizationStatus::Authorized;
    EXPECT_NE(ann->contactLoadIfNoneFound(true), nullptr);
    EXPECT_EQ(ann->contactName(), u"Ann Example");
    EXPECT_EQ(ann->emailIdentifier(), u"E-HOME2") << "the last value equal to userAtDomain";
    ann->loadContact();
    EXPECT_EQ(scoped.book->lookups.size(), 1u) << "a linked address does not look again";

    auto lower = address(std::nullopt, u"ann", u"home.example");
    lower->loadContact();
    EXPECT_NE(lower->contact(), nullptr);
    EXPECT_EQ(lower->emailIdentifier(), std::nullopt) << "values are compared exactly";

    auto other = std::make_shared<Contact>(Contact{u"C-OTHER"});
    lower->setContact(other);
    EXPECT_EQ(lower->contact()->identifier, u"C-ANN") << "setContact links only when none is linked";
    lower->updateFromContact(other, u"E-1");
    EXPECT_EQ(lower->contact()->identifier, u"C-OTHER");
    EXPECT_NE(lower->description().find(u"ContactID:C-OTHER"), std::u16string::npos);

    test::ScopedRecordingLogger log;
    scoped.book->fetchError = makeError("contacts", 3, u"Store unavailable");
    auto failed = address(std::nullopt, u"bo", u"example.com");
    failed->loadContact();
    EXPECT_EQ(failed->contact(), nullptr);
    EXPECT_EQ(log->messages(),
              std::vector<std::string>{"There was an error retrieving a contact [bo@example.com] : contacts error 3: "
                                       "Store unavailable"});
}

TEST(PWEmailAddressContacts, AddressesFromContactsPickTheirEmailValue) {
    test::ScopedRecordingLogger log;
    auto work = PWEmailAddress::initWithContact(annContact(), std::nullopt);
    ASSERT_NE(work, nullptr);
    EXPECT_EQ(work->displayAddress(), u"Ann Example <ann@work.example>") << "no identifier: the first non-empty value";
    EXPECT_EQ(work->emailIdentifier(), u"E-WORK");
    EXPECT_EQ(work->contact()->identifier, u"C-ANN");
    auto home = PWEmailAddress::initWithContact(annContact(), u"E-HOME");
    EXPECT_EQ(home->userAtDomain(), u"Ann@Home.example");
    EXPECT_EQ(log->messages()[0], "[INIT 👤] PWEMailAddress with Contact C-ANN for Identifier: (null) (3 addresses)");
    EXPECT_EQ(log->messages()[1], "👤 Contact email E-WORK: ann@work.example");

    EXPECT_EQ(PWEmailAddress::initWithContact(annContact(), u"E-NONE"), nullptr);
    EXPECT_EQ(log->messages().back(), "[INIT 👤] Found no valid addresses for contact: C-ANN");
    EXPECT_EQ(PWEmailAddress::initWithContact(std::make_shared<Contact>(Contact{u"C-EMPTY"}), std::nullopt), nullptr);
    EXPECT_EQ(log->messages().back(), "[INIT 👤] Contact has No Email addresses: C-EMPTY");

    ScopedAddressBook scoped;
    scoped.book->contacts = {annContact()};
    auto partial = std::make_shared<Contact>(*annContact());
    partial->hasDescriptorKeys = false;
    partial->fullName.reset();
    auto refetched = PWEmailAddress::initWithContact(partial, std::nullopt);
    EXPECT_EQ(refetched->addressComment(), u"Ann Example") << "fetched again with the keys the library reads";
    EXPECT_EQ(scoped.book->lookups, std::vector<std::u16string>{u"id:C-ANN"});
}
