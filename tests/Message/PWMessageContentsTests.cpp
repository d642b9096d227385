#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <vector>

#include "postwright/Lexical/DateFormat.hpp"
#include "postwright/Message/FGMessageIdentifier.hpp"
#include "postwright/Message/PWMBoxMessageContents.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {
const char kAlternative[] =
    "From: Joe <joe@example.com>\r\nTo: ann@example.org\r\nSubject: Hi\r\nMessage-Id: <1234567890abcdefghijk@x>\r\n"
    "In-Reply-To: <abcdefghij1234567890@y>\r\nMIME-Version: 1.0\r\n"
    "Content-Type: multipart/alternative; boundary=\"b\"\r\n\r\n"
    "--b\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nHello <there>\r\n"
    "--b\r\nContent-Type: text/html; charset=utf-8\r\n\r\n<p>Hello <b>there</b></p>\r\n"
    "--b--\r\n";

const char kSigned[] =
    "From: a@b.org\r\nSubject: s\r\nContent-Type: multipart/signed; protocol=\"application/pgp-signature\"; "
    "micalg=pgp-sha512; boundary=\"s\"\r\n\r\n"
    "--s\r\nContent-Type: text/plain\r\n\r\nsigned text\r\n"
    "--s\r\nContent-Type: application/pgp-signature; name=signature.asc\r\n\r\nSIG\r\n--s--\r\n";
}  // namespace

TEST(PWMessageContents, ParsesLazilyAndAnswersFromItsViews) {
    auto contents = PWMessageContents::initWithHeaderAndBodyData(Data::withString(kAlternative));
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->contentIdentifier().size(), 18u);
    EXPECT_EQ(contents->headers()->subject(), u"Hi");
    EXPECT_EQ(contents->headers(), contents->headers()) << "parsed once and kept";
    EXPECT_EQ(contents->rootMimePart(), contents->rootMimePart());
    EXPECT_EQ(contents->size(), sizeof kAlternative - 1);
    EXPECT_EQ(contents->headersInReplyTos(), std::vector<std::u16string>{u"<abcdefghij1234567890@y>"});
    EXPECT_EQ(contents->plainText(), u"Hello <there>");
    EXPECT_EQ(contents->copy(), contents) << "immutable contents are their own copy";
    EXPECT_EQ(contents->encryptionFlags(), 0u);
    EXPECT_EQ(contents->rootMimePart()->headers(), contents->headers()) << "the root shares the parsed header block";

    // Leading blank lines are trimmed from the entity, so its header block is other bytes: parsed anew.
    auto indented = PWMessageContents::initWithHeaderAndBodyData(Data::withString(std::string("\r\n") + kAlternative));
    ASSERT_TRUE(indented->rootMimePart());
    EXPECT_NE(indented->rootMimePart()->headers(), indented->headers());
    EXPECT_EQ(indented->rootMimePart()->subParts().size(), 2u);
}

// The root takes its body and line ends from the header block the contents cut, instead of searching the
// bytes again; it must be the part the bytes alone give, whatever the kind and place of the blank line.
TEST(PWMessageContents, TheRootFromTheContentsIsTheRootOfTheBytes) {
    const std::string inputs[] = {
        "Subject: a\r\nContent-Type: text/plain\r\n\r\nbody\r\n",
        "Subject: a\nContent-Type: text/plain\n\nbody\n",
        "Subject: a\rContent-Type: text/plain\r\rbody\r",
        "Subject: a\n\nfirst\r\n\r\nsecond",  // the CR LF CR LF wins over the earlier LF LF
        "Subject: a\r\n\r\n",                 // no body after the blank line
        "Subject: a\r\nX: b\r\n",             // no blank line at all
        "\r\n\r\nSubject: a\r\n\r\nbody",      // leading blank lines, trimmed from the entity
        "Subject: a\n\n\n\nbody\n",
        std::string("Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: text/plain\n\none\n--b--\n"),
    };
    for (const std::string& input : inputs) {
        Data data = Data::withString(input);
        auto contents = PWMessageContents::initWithHeaderAndBodyData(data);
        PWMimePartRef viaContents = contents->rootMimePart();
        PWMimePartRef alone = PWMimePart::newMimePartWithRFC2822Data(data, contents->contentIdentifier());
        ASSERT_TRUE(viaContents && alone) << input;
        EXPECT_EQ(viaContents->contentData(), alone->contentData()) << input;
        EXPECT_EQ(viaContents->headerData(), alone->headerData()) << input;
        // The line delimiter is the one the multipart split uses.
        std::vector<PWMimePartRef> children = viaContents->subParts(), aloneChildren = alone->subParts();
        ASSERT_EQ(children.size(), aloneChildren.size()) << input;
        for (size_t i = 0; i < children.size(); ++i) {
            EXPECT_EQ(children[i]->headerData(), aloneChildren[i]->headerData()) << input;
            EXPECT_EQ(children[i]->contentData(), aloneChildren[i]->contentData()) << input;
        }
        // A changed copy is rebuilt with the line ends its source was read with.
        PWMimePartRef changedViaContents = viaContents->mutableCopy(), changedAlone = alone->mutableCopy();
        changedViaContents->setCharset(u"utf-8");
        changedAlone->setCharset(u"utf-8");
        EXPECT_EQ(changedViaContents->mimeNSData(), changedAlone->mimeNSData()) << input;
    }
}

TEST(PWMessageContents, RendersDocumentsForEachContext) {
    auto contents = PWMessageContents::initWithHeaderAndBodyData(Data::withString(kAlternative));
    std::u16string rich = contents->htmlDocumentWithContext(kMessageDisplayRich);
    EXPECT_NE(rich.find(u"<b>there</b>"), std::u16string::npos);
    EXPECT_EQ(rich.substr(0, 15), u"<!DOCTYPE html>");
    std::u16string plain = contents->htmlDocumentWithContext(kMessageDisplayPlainText);
    EXPECT_NE(plain.find(u"Hello &lt;there&gt;"), std::u16string::npos) << "plain text is escaped";
    EXPECT_NE(plain.find(u"<pre style=\"white-space: pre-wrap\">"), std::u16string::npos);
}

TEST(PWMessageContents, IdentifiersOfBrokenOrEmptyHeaders) {
    auto empty = PWMessageContents::initWithHeaderAndBodyData(Data());
    EXPECT_EQ(empty->contentIdentifier(), u"----INVALIDMESSAGE");
    EXPECT_FALSE(empty->rootMimePart());
    EXPECT_EQ(empty->contentSize(), 0u);
    auto seedless = PWMessageContents::initWithHeaderAndBodyData(Data::withString("X-A: 1\r\n\r\nbody"));
    EXPECT_EQ(seedless->contentIdentifier(), u"----INVALIDMESSAGE") << "the nil identifier is not kept";
    auto given = PWMessageContents::initWithContentIdentifier(u"0123abcdefghijklmn", Data::withString("X-A: 1\r\n\r\nb"));
    EXPECT_EQ(given->contentIdentifier(), u"0123abcdefghijklmn");
}

TEST(PWMessageContents, SignaturesAndSizes) {
    auto contents = PWMessageContents::initWithHeaderAndBodyData(Data::withString(kSigned));
    EXPECT_EQ(contents->digitallySignedParts().size(), 1u);
    EXPECT_EQ(contents->encryptionFlags(), kMessageDigitallySigned);
    EXPECT_EQ(contents->encryptionMethod(), 0);
    auto base64 = PWMessageContents::initWithHeaderAndBodyData(Data::withString(
        "Subject: b\r\nContent-Type: application/octet-stream; name=a.bin\r\nContent-Transfer-Encoding: base64\r\n\r\n"
        "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA\r\n"));
    EXPECT_NE(base64->size(), base64->contentSize()) << "raw bytes and decoded content differ for base64";
    EXPECT_EQ(base64->mimeAttachments().size(), 1u);
    auto mixed = PWMessageContents::initWithHeaderAndBodyData(Data::withString(
        "Subject: m\r\nContent-Type: multipart/mixed; boundary=m\r\n\r\n--m\r\nContent-Type: text/plain\r\n\r\ntext\r\n"
        "--m\r\nContent-Type: application/pdf; name=a.pdf\r\n\r\n%PDF\r\n--m--\r\n"));
    EXPECT_EQ(mixed->mimeAttachments().size(), 1u);
    auto removed = mixed->messageContentsByRemovingMimeAttachments();
    ASSERT_TRUE(removed);
    EXPECT_TRUE(removed->mimeAttachments().empty());
    EXPECT_EQ(removed->plainText(), u"text");
}

TEST(PWMessageContents, MutableContentsFollowTheirTree) {
    auto contents = PWMessageContents::initWithHeaderAndBodyData(Data::withString(kAlternative));
    auto mutableContents = contents->mutableCopy();
    EXPECT_EQ(mutableContents->contentData(), Data::withString(kAlternative)) << "an untouched tree writes back its bytes";
    std::u16string before = mutableContents->contentIdentifier();
    mutableContents->rootMimePart()->setHeader(u"Changed", u"Subject");
    EXPECT_NE(mutableContents->contentData(), Data::withString(kAlternative));
    EXPECT_NE(mutableContents->contentIdentifier(), before);
    auto frozen = mutableContents->copy();
    EXPECT_FALSE(frozen->isMutable());
    EXPECT_EQ(frozen->headers()->subject(), u"Changed");
}

TEST(PWMessageContents, PersistentKeysOfAddresses) {
    PWEmailAddressList addresses = {PWEmailAddress::initWithAddressComment(std::nullopt, u"Ann@Example.org"),
                                    PWEmailAddress::initWithAddressComment(std::nullopt, u"ann@example.ORG"),
                                    PWEmailAddress::initWithAddressComment(u"Bob", u"bob@example.org")};
    EXPECT_EQ(PWMessageContents::_persistentIDKeyForEmailAddresses(addresses), u"ann@example.org,bob@example.org");
    EXPECT_FALSE(PWMessageContents::_persistentIDKeyForEmailAddresses({}));
}

TEST(PWMBoxMessageContents, EnvelopeLinesGiveMboxContents) {
    Data mbox = Data::withString("From joe@example.com Mon Jan  1 00:00:00 2024\nSubject: one\n\nbody\n");
    auto contents = PWMessageContents::initWithHeaderAndBodyData(mbox);
    auto envelope = std::dynamic_pointer_cast<PWMBoxMessageContents>(contents);
    ASSERT_TRUE(envelope) << "data that begins with From makes mbox contents";
    EXPECT_EQ(envelope->contentData(), "Subject: one\n\nbody\n");  // its sender and date: through the abstract
    auto bare = PWMessageContents::initWithHeaderAndBodyData(Data::withString("From "));
    EXPECT_FALSE(std::dynamic_pointer_cast<PWMBoxMessageContents>(bare)) << "a failed envelope scan is plain data";
}

// Envelope dates in their usual form are read without the date formatter; whatever the form, the date
// must be the formatter's, including where it refuses (30 February, hour 24, second 60, wrong names).
TEST(PWMBoxMessageContents, EnvelopeDatesAreTheFormattersReading) {
    const char* weekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Xyz", "mon"};
    const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec", "Foo"};
    std::mt19937 random(11);
    for (int round = 0; round < 4000; ++round) {
        int year = std::vector<int>{1582, 1600, 1900, 1970, 1999, 2000, 2024, 2100, 9999, 999}[random() % 10];
        char date[64];
        std::snprintf(date, sizeof date, "%s %s %02u %02u:%02u:%02u %04d", weekdays[random() % 9],
                      months[random() % 13], static_cast<unsigned>(random() % 33), static_cast<unsigned>(random() % 26),
                      static_cast<unsigned>(random() % 61), static_cast<unsigned>(random() % 62), year);
        auto contents = PWMBoxMessageContents::newWithMessageData(Data::withString("Subject: x\n\nbody\n"),
                                                                  Data::withString(std::string("From a@b ") + date));
        ASSERT_EQ(contents->mboxDate(), mboxDateFormatter().dateFromString(fromUTF8(date))) << date;
    }
}

TEST(MboxReader, WalksEveryMessageAsViews) {
    std::string text;
    for (int i = 0; i < 3; ++i) {
        text += "From sender@example.invalid Mon Jan  1 00:00:00 2024\nSubject: " + std::to_string(i) + "\n\n>From x\n\n";
    }
    Data mbox = Data::withString(text);
    MboxReader reader(mbox);
    std::vector<size_t> positions;
    while (auto message = reader.next()) {
        positions.push_back(message->position);
        EXPECT_TRUE(message->fromLine.sharesStorageWith(mbox));
        EXPECT_NE(message->data.find("From x"), Data::npos);
    }
    ASSERT_EQ(positions.size(), 3u);
    EXPECT_EQ(positions[0], 0u);
    EXPECT_EQ(mbox.subdataFromLocation(positions[2]).view().substr(0, 5), "From ");
    EXPECT_FALSE(MboxReader(Data::withString("no envelope\n")).next());
}
