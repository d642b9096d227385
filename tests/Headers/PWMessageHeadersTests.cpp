#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Base/Regex.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {
constexpr double kMarch5 = 1709629440000.0;  // 2024-03-05T09:04:00Z
std::shared_ptr<PWMessageHeaders> parse(std::string_view block) {
    return PWMessageHeaders::headersFromData(Data::withString(block));
}
}  // namespace

TEST(PWMessageHeaders, KeepsDuplicatesInOrderUnderOneCaseInsensitiveKey) {
    auto headers = parse("subject: a\r\n b\r\nFrom: x@y\r\nSUBJECT: c\r\n\r\nbody");
    ASSERT_TRUE(headers);
    auto entries = headers->entriesForKey(u"Subject");
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0]->fieldName(), u"subject") << "the name keeps the case it was written in";
    EXPECT_EQ(entries[1]->fieldName(), u"SUBJECT");
    EXPECT_EQ(headers->firstHeaderForKey(u"Subject"), u"a b") << "the single lookup unfolds";
    EXPECT_EQ(headers->headersForKey(u"subject"), (std::vector<std::u16string>{u"a\r\n b", u"c"}))
        << "the multi-value lookup keeps the folds";
    EXPECT_EQ(entries[1]->sortHint(), 2u) << "sort hints count the fields in order";
    EXPECT_FALSE(headers->firstHeaderForKey(u"Cc"));
    EXPECT_EQ(headers->preferredEncoding(), kASCIIStringEncoding);
    EXPECT_EQ(headers->datasource(), HeaderDataSource::MessageData);
}

TEST(PWMessageHeaders, MalformedLinesAreDroppedOrSpoilTheBlock) {
    auto lenient = parse("A: 1\r\n--boundary: x\r\nno colon here\r\n(comment line\r\nB: 2\r\n\r\n");
    EXPECT_EQ(lenient->firstHeaderForKey(u"A"), u"1");
    EXPECT_EQ(lenient->firstHeaderForKey(u"B"), u"2") << "a line starting with '(' is dropped, not fatal";
    EXPECT_FALSE(lenient->firstHeaderForKey(u"--boundary"));
    EXPECT_EQ(lenient->entriesForKey(u"B")[0]->sortHint(), 1u) << "dropped lines use up no number";

    auto spoiled = parse("A: 1\r\n: no name\r\nB: 2\r\n\r\n");
    ASSERT_TRUE(spoiled);
    EXPECT_TRUE(spoiled->empty()) << "a line without a field name empties the collection";

    ErrorRef error;
    EXPECT_FALSE(PWMessageHeaders::headersFromData(Data(), &error));
    EXPECT_EQ(error, nullptr);
}

TEST(PWMessageHeaders, DecodesHeaderBytesWithDetection) {
    auto latin1 = parse("Subject: caf\xE9 cr\xE8me\r\n\r\n");
    EXPECT_EQ(latin1->subject(), u"caf\u00e9 cr\u00e8me");
    EXPECT_NE(latin1->preferredEncoding(), kASCIIStringEncoding);
    auto encoded = parse("Subject:  =?utf-8?Q?Gr=C3=BC=C3=9Fe?= =?utf-8?Q?_aus?=\r\n\tBerlin \r\n\r\n");
    EXPECT_EQ(encoded->subject(), u"Gr\u00fc\u00dfe aus\tBerlin");
    EXPECT_EQ(encoded->firstHeaderForKey(u"subject", false), u"=?utf-8?Q?Gr=C3=BC=C3=9Fe?= =?utf-8?Q?_aus?=\tBerlin");
    // Raw 8-bit text of a block is read with the charsets its encoded words name as hints.
    auto russian = parse("From: =?koi8-r?B?8MXU0s/X?= <p@example.com>\r\nSubject: \xF3\xD0\xC1\xD3\xC9\xC2\xCF\r\n\r\n");
    EXPECT_EQ(russian->subject(), u"\u0421\u043f\u0430\u0441\u0438\u0431\u043e");
    // Raw ISO-2022-JP is 7-bit but no ASCII: its escape sequences are read, not shown.
    auto japanese = parse("Subject: \x1b$B2q5D\x1b(B\r\n\r\n");
    EXPECT_EQ(japanese->subject(), u"\u4f1a\u8b70");
}

TEST(PWMessageHeaders, SortRanks) {
    EXPECT_EQ(sortHintForHeaderKey(u"X-Spam"), 47u);
    EXPECT_EQ(sortHintForHeaderKey(u"Content-Language"), 67u);
    EXPECT_EQ(sortHintForHeaderKey(u"Content-Type"), 61u);
    EXPECT_EQ(sortHintForHeaderKey(u"Subject"), 6u);
    EXPECT_EQ(sortHintForHeaderKey(u"Resent-Cc"), 23u);
    EXPECT_EQ(sortHintForHeaderKey(u"Keywords"), 100u);
    EXPECT_EQ(sortHintForHeaderKey(u"X-Keyfolio"), 46u);
    auto entry = PWMessageHeaderEntry::newWithFieldName(u"message-id", u"<x>", kDerivedSortHint);
    EXPECT_EQ(entry->sortHint(), 7u);
    EXPECT_EQ(entry->dictionaryKey(), u"MESSAGE-ID");
}

TEST(PWMessageHeaders, MessageIdentifiersAndDigests) {
    auto headers = parse(
        "Message-Id: <1234@example.com>\r\n"
        "In-Reply-To: <abcdefghij1234567890@host> <joe@example.org>, <abcdefghij1234567890@host>\r\n"
        "To: Joe <joe@example.org>\r\n"
        "References: <short@x> <abcdefghijklmnopqrstuvwxyz@y>\r\n\r\n");
    EXPECT_EQ(headers->headerID(), u"1234@example.com");
    EXPECT_EQ(headers->inReplyToIds(), std::vector<std::u16string>{u"<abcdefghij1234567890@host>"})
        << "duplicates once, addresses of To removed";
    EXPECT_EQ(headers->references(), std::vector<std::u16string>{u"<abcdefghijklmnopqrstuvwxyz@y>"})
        << "weak identifiers dropped when there are several";
    EXPECT_EQ(headers->headerIDDigest(), u"Smxjem1DcTVKODFv");
    EXPECT_EQ(headers->messageIdRFC2822Hash(), RFC2822IDHash::newWithRFC2822MessageIdValue(u"1234@example.com"));
    ASSERT_TRUE(headers->referenceRFC2822Hashes());
    EXPECT_EQ(headers->referenceRFC2822Hashes()->size(), 1u);

    auto single = parse("In-Reply-To: <weak@x>\r\n\r\n");
    EXPECT_EQ(single->inReplyToIds(), std::vector<std::u16string>{u"<weak@x>"}) << "one identifier is not validated";
    EXPECT_FALSE(parse("Subject: x\r\n\r\n")->inReplyToIds());
}

TEST(PWMessageHeaders, FindsOneFieldInRawBytes) {
    Data block = Data::withString("From: a@b\r\nSubject: first\r\n  second\r\nX-Y: z\r\n\r\nBody: no\r\n");
    EXPECT_EQ(PWMessageHeaders::valueForHeaderField(u"subject", block), u"first  second");
    EXPECT_EQ(PWMessageHeaders::valueForHeaderField(u"X-Y", block), u"z");
    EXPECT_FALSE(PWMessageHeaders::valueForHeaderField(u"Body", block)) << "the search stops at the blank line";
    EXPECT_EQ(PWMessageHeaders::valueForHeaderField(u"Last", Data::withString("Last: v")), u"v")
        << "a last line without CR LF still ends the loop";
}

TEST(PWMessageHeaders, BuildsFromADictionaryAndFromFiles) {
    auto built = PWMessageHeaders::initWithHeaderDictionary({{u"To", {u"a@b", u"c@d"}}, {u"Subject", {u"hi"}}});
    auto to = built->entriesForKey(u"to");
    ASSERT_EQ(to.size(), 2u);
    EXPECT_EQ(to[1]->sortHint(), 1u);
    EXPECT_EQ(built->entriesForKey(u"subject")[0]->sortHint(), 2u) << "one counter across the enumeration";
    EXPECT_TRUE(to[0]->isMutable());
    EXPECT_EQ(built->datasource(), HeaderDataSource::InMemory);

    auto dir = std::filesystem::temp_directory_path() / "postwright-headers-test";
    std::filesystem::create_directories(dir);
    std::string message = "Subject: from a file\n\nbody\n";
    std::ofstream(dir / "a.eml") << message;
    std::ofstream(dir / "a.emlx") << message.size() << "\n" << message << "<?xml version=\"1.0\"?><plist/>";
    auto plain = PWMessageHeaders::headersFromRFC2822MessageAtPath((dir / "a.eml").string());
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->subject(), u"from a file");
    EXPECT_EQ(plain->datasource(), HeaderDataSource::MessageFile);
    auto emlx = PWMessageHeaders::headersFromEmlxFileAtPath((dir / "a.emlx").string());
    ASSERT_TRUE(emlx);
    EXPECT_EQ(emlx->subject(), u"from a file");
    EXPECT_FALSE(PWMessageHeaders::headersFromRFC2822MessageAtPath((dir / "missing.eml").string()));
    std::filesystem::remove_all(dir);
}

TEST(PWMessageHeaders, ParsesHugeBlocksInLinearTime) {
    std::string block;
    const std::string padding(70, 'x');
    for (int i = 0; i < 100000; ++i) block += "Received: from host" + std::to_string(i) + " " + padding + "\r\n";
    block += "Subject: " + std::string(1 << 20, 'x') + "\r\n\r\n";
    auto headers = parse(block);  // 10 MB: 100,000 fields and one field of 1 MB
    EXPECT_EQ(headers->headersForKey(u"received", false).size(), 100000u);
    EXPECT_EQ(headers->subject()->size(), size_t(1) << 20);
}

TEST(PWMessageHeaders, AddressAndContentTypeViews) {
    auto headers = parse(
        "From: =?utf-8?Q?J=C3=B6rg?= <jorg@example.com>, ann@example.org\r\n"
        "To: Team: a@x.org, b@x.org;, c@y.org\r\n"
        "Cc: broken <unclosed, d@z.org\r\n"
        "Content-Type: TEXT/Plain; Charset=\"UTF-8\"\r\n"
        "Content-Disposition: attachment; filename=a.txt\r\n\r\n");
    auto from = headers->from();
    ASSERT_TRUE(from);
    ASSERT_EQ(from->size(), 2u);
    EXPECT_EQ((*from)[0]->addressComment(), u"J\u00f6rg") << "display names are decoded";
    EXPECT_FALSE(headers->sender());
    auto to = headers->recipients();
    ASSERT_TRUE(to);
    ASSERT_EQ(to->size(), 2u);
    EXPECT_EQ((*to)[0]->groupName(), u"Team");
    EXPECT_EQ((*to)[1]->addresses().size(), 1u);
    EXPECT_TRUE(headers->ccRecipients()) << "a broken mailbox does not spoil the group list";
    EXPECT_FALSE(headers->bccRecipients());

    auto type = headers->contentType();
    ASSERT_TRUE(type);
    EXPECT_EQ(type->mimeType(), u"text/plain");
    EXPECT_EQ(headers->contentTypeInfo()->text(u"charset"), u"UTF-8");
    EXPECT_EQ(headers->contentDisposition()->dispositionType, u"attachment");
    EXPECT_FALSE(parse("Content-Type: /\r\n\r\n")->contentType()) << "a malformed value gives nothing";
}

TEST(HeaderDates, ConformantDatesReadStrictlyAndMissingOnesFallBackToEachOther) {
    DateEnvironment::Override pinned(kMarch5 + 86400000.0, "UTC", "en_US");
    auto headers = parse(
        "Received: from a by b; Tue, 5 Mar 2024 10:05:00 +0100\r\n"
        "Received: from c by d;\r\n\tTue, 5 Mar 2024 10:04:30 +0100\r\n"
        "Date: Tue, 5 Mar 2024 10:04:00 +0100\r\n\r\n");
    EXPECT_EQ(headers->candidateSentDates(), std::vector<double>{kMarch5});
    EXPECT_EQ(headers->possibleReceivedDates(), (std::vector<double>{kMarch5 + 60000, kMarch5 + 30000}))
        << "folded Received fields are unfolded before the last ';'";
    EXPECT_EQ(headers->dateSent(), kMarch5);
    EXPECT_EQ(headers->dateReceived(), kMarch5 + 60000);

    auto receivedOnly = parse("Received: by x; Tue, 5 Mar 2024 09:05:00 +0000\r\n\r\n");
    EXPECT_TRUE(receivedOnly->candidateSentDates().empty());
    EXPECT_EQ(receivedOnly->dateSent(), kMarch5 + 60000) << "no sent candidate: the first received date";
    auto sentOnly = parse("Date: Tue, 5 Mar 2024 09:04:00 +0000\r\nReceived: no date here\r\n\r\n");
    EXPECT_EQ(sentOnly->dateReceived(), kMarch5) << "no received date: the sent date";
    auto none = parse("Subject: x\r\nDate: \r\n\r\n");
    EXPECT_FALSE(none->dateSent());
    EXPECT_FALSE(none->dateReceived());
}

TEST(HeaderDates, TolerantCandidatesAreCheckedAgainstReceivedDates) {
    DateEnvironment::Override pinned(1600000000000.0, "UTC", "en_US");  // 2020-09-13
    auto headers = parse(
        "Received: by x; Sat, 7 Mar 2020 12:00:00 +0000\r\n"
        "Date: 3/4/2020 at 10:00\r\n\r\n");
    std::vector<double> candidates = headers->candidateSentDates();
    ASSERT_EQ(candidates.size(), 2u) << "3 April and 4 March";
    EXPECT_GT(candidates[0], candidates[1]);
    EXPECT_EQ(headers->dateSent(), candidates[1]) << "the first candidate not later than the received date";
}

TEST(ContentIdentifier, HeadersWithoutSeedFieldsGiveTheNilIdentifier) {
    auto headers = parse("X-Other: 1\r\n\r\n");
    EXPECT_EQ(headers->_contentIdentifierSeed(),
              u"NO_RECIPIENTS|NO_CC_RECIPIENTS|NO_BCC_RECIPIENTS|NO_FROM|NO_SUBJECT|NO_MESSAGE_ID|NO_DATE");
    EXPECT_EQ(headers->contentIdentifier(), u"7556WquxKLyMQyeLqA");
}

TEST(ContentIdentifier, IsFourDigitsAndFourteenBase64CharactersStableUnderWhiteSpace) {
    auto a = parse("From: Joe <joe@example.com>\r\nTo: ann@example.org\r\nSubject: Lunch  plans\r\n"
                   "Date: Tue, 5 Mar 2024 10:04:00 +0100\r\nMessage-Id: <x@y>\r\n\r\n");
    auto b = parse("From: Joe\r\n <joe@example.com>\r\nTo:   ann@example.org\r\nSubject: Lunch plans\r\n"
                   "Date: Tue, 5 Mar 2024\r\n\t10:04:00 +0100\r\nMessage-Id: <x@y>\r\n\r\n");
    std::u16string id = a->contentIdentifier();
    EXPECT_TRUE(Regex(u"[0-9]{4}[A-Za-z0-9_-]{14}").matchesEntirely(id)) << toUTF8(id);
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
    auto headers = parse("Subject: one\r\n\r\n")->mutableCopy();
    std::u16string first = headers->contentIdentifier();
    EXPECT_FALSE(headers->mutated());
    headers->setHeader(u"two", u"Subject");
    EXPECT_TRUE(headers->mutated());
    EXPECT_NE(headers->contentIdentifier(), first);
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
