#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {
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
    EXPECT_EQ(entries[0]->sortHint(), 0u);
    EXPECT_EQ(entries[1]->sortHint(), 2u) << "sort hints count the fields in order";
    EXPECT_FALSE(headers->firstHeaderForKey(u"Cc"));
    EXPECT_TRUE(headers->headersForKey(u"Cc").empty());
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
    EXPECT_EQ(entry->capitalizedHeaderName(), u"Message-Id");
    EXPECT_EQ(entry->copy(), entry) << "an immutable entry is its own copy";
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
    EXPECT_EQ(PWMessageHeaders::digestForMessageIdValue(u"<1234@example.com>"), u"Smxjem1DcTVKODFv");
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
    EXPECT_FALSE(emlx->legacyKeyfolioIdentifier());
    EXPECT_FALSE(PWMessageHeaders::headersFromRFC2822MessageAtPath((dir / "missing.eml").string()));
    std::filesystem::remove_all(dir);
}

TEST(PWMessageHeaders, ParsesHugeBlocksInLinearTime) {
    std::string block;
    const std::string padding(70, 'x');
    for (int i = 0; i < 100000; ++i) block += "Received: from host" + std::to_string(i) + " " + padding + "\r\n";
    block += "Subject: " + std::string(1 << 20, 'x') + "\r\n\r\n";
    auto headers = parse(block);
    EXPECT_GT(block.size(), size_t(10) << 20) << "a 10 MB block of 100,000 fields and one field of 1 MB";
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
    auto cc = headers->ccRecipients();
    ASSERT_TRUE(cc) << "a broken mailbox does not spoil the group list";
    EXPECT_FALSE(headers->bccRecipients());

    auto type = headers->contentType();
    ASSERT_TRUE(type);
    EXPECT_EQ(type->mimeType(), u"text/plain");
    EXPECT_EQ(headers->contentTypeInfo()->text(u"charset"), u"UTF-8");
    EXPECT_EQ(headers->contentDisposition()->dispositionType, u"attachment");
    EXPECT_FALSE(parse("Content-Type: /\r\n\r\n")->contentType()) << "a malformed value gives nothing";
}
