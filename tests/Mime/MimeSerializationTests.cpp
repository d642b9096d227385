// The serialised form of a MIME part: untouched bytes for an unchanged part, the rebuilt entity for a
// changed one, and the cache between changes.
#include <gtest/gtest.h>

#include "Mime/MimeTestSupport.hpp"
#include "postwright/Mime/MimeRoundTrip.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "postwright/Mime/PWTextMimePart.hpp"

using namespace postwright;
using postwright::test::bytesOf;
using postwright::test::parseMutablePart;
using postwright::test::parsePart;
using postwright::test::partAt;

namespace {
// Folded fields, a preamble and an epilogue around a nested alternative, one entity per line.
const char* const kLetter =
    "From: a@example.com\r\nSubject: folded\r\n\tacross two lines\r\n"
    "Content-Type: multipart/mixed;\r\n boundary=\"outer b\"\r\n\r\npreamble\r\n"
    "--outer b\r\nContent-Type: multipart/alternative; boundary=inner\r\n\r\n"
    "--inner\r\nContent-Type: text/plain; charset=us-ascii\r\n\r\nplain\r\n"
    "--inner\r\nContent-Type: text/html\r\n\r\n<b>html</b>\r\n--inner--\r\n"
    "--outer b--\r\nepilogue\r\n";

std::shared_ptr<PWTextMimePart> textPart(std::u16string_view text) {
    return PWTextMimePart::initMutableWithPlainText(text, kASCIIStringEncoding, u"7bit");
}
}  // namespace

TEST(MimeSerialization, AnUnchangedPartGivesBackItsInputByteForByte) {
    const std::string inputs[] = {
        kLetter,
        "Subject: bare LF\n  folded\nContent-Type: text/plain\n\nbody\n",
        "Content-Type: multipart/mixed; boundary=b\n\n--b\nX: 1\n\none\n--b--\ntrailing garbage",
        "no header block at all",
    };
    for (const std::string& input : inputs) {
        EXPECT_EQ(bytesOf(*parsePart(input)), input);
        EXPECT_EQ(bytesOf(*parseMutablePart(input)), input) << "an untouched mutable part too";
    }
    PWMimePartRef letter = parsePart(kLetter);
    EXPECT_EQ(letter->headerData(), "From: a@example.com\r\nSubject: folded\r\n\tacross two lines\r\n"
                                    "Content-Type: multipart/mixed;\r\n boundary=\"outer b\"");
    EXPECT_EQ(letter->mimeData().regions().size(), 1u) << "one view, nothing assembled";
}

TEST(MimeSerialization, AMutableMultipartIsWrittenBetweenItsBoundariesAndNothingAfter) {
    auto container = PWMultipartMimePart::initMutableWithSubtype(u"mixed", std::u16string(u"B"));
    auto first = textPart(u"one");
    auto second = textPart(u"two");
    container->addPart(first);
    container->addPart(second);
    std::string expected = container->headerData().toString() + "\r\n\r\n--B\r\n" + bytesOf(*first) +
                           "\r\n--B\r\n" + bytesOf(*second) + "\r\n--B--";
    EXPECT_EQ(bytesOf(*container), expected);
    EXPECT_EQ(bytesOf(*first), "Content-Type: text/plain;\r\n charset=us-ascii\r\nContent-Transfer-Encoding: 7bit\r\n"
                               "\r\none");

    // Reading it back gives the same tree.
    PWMimePartRef parsed = PWMimePart::newMimePartWithRFC2822Data(container->mimeNSData(), u"0");
    ASSERT_EQ(parsed->subParts().size(), 2u);
    EXPECT_EQ(partAt(parsed, {1})->plainContent(), u"two");
    EXPECT_EQ(parsed->boundary(), u"B");
}

TEST(MimeSerialization, RebuiltHeadersFollowTheFieldsInTheirOwnOrder) {
    PWMimePartRef part = PWMimePart::initMutable();
    part->setContentType(ParameterDictionary{{u"@type", u"application"},
                                             {u"@subtype", u"pdf"},
                                             {u"@fulltype", u"application/pdf"},
                                             {u"name", u"b.pdf"},
                                             {u"x-a", u"1"}});
    part->setContentDisposition(ParameterDictionary{{u"filename", u"\u00e9t\u00e9.pdf"}, {u"size", 12LL}});
    part->setContentId(u"id@host");
    part->setContentTransferEncoding(u"base64");
    EXPECT_EQ(part->headerData(),
              "Content-Type: application/pdf;\r\n name=b.pdf;\r\n x-a=1\r\n"
              "Content-Transfer-Encoding: base64\r\n"
              "Content-Id: <id@host>\r\n"
              "Content-Disposition: attachment;\r\n filename*=utf-8''%C3%A9t%C3%A9.pdf;\r\n size=12")
        << "parameters in insertion order, the id in angle brackets, \"attachment\" for a missing type";
    part->setContentDisposition(std::nullopt);
    part->setContentTransferEncoding(std::nullopt);
    EXPECT_EQ(part->headerData(), "Content-Type: application/pdf;\r\n name=b.pdf;\r\n x-a=1\r\nContent-Id: <id@host>");
}

TEST(MimeSerialization, AChangeDeepInTheTreeRebuildsEveryAncestorOnceUntilTheNextChange) {
    PWMimePartRef root = parseMutablePart(kLetter);
    PWMimePartRef plain = partAt(root, {0, 0});
    plain->setCharset(u"utf-8");
    Data rebuilt = root->mimeNSData();
    std::string text = rebuilt.toString();
    EXPECT_NE(text.find("Content-Type: text/plain;\r\n charset=utf-8\r\nContent-Id: <0/0/0>\r\n\r\nplain"),
              std::string::npos);
    EXPECT_EQ(text.find("preamble"), std::string::npos) << "the preamble is not written back";
    EXPECT_EQ(text.find("epilogue"), std::string::npos) << "neither is the epilogue";
    EXPECT_TRUE(text.ends_with("\r\n--outer b--")) << "nothing follows the close delimiter";
    EXPECT_NE(text.find("Subject: folded\r\n\tacross two lines\r\n"), std::string::npos)
        << "unchanged fields keep their received folds";
    EXPECT_NE(text.find("<b>html</b>"), std::string::npos);
    EXPECT_TRUE(root->mimeNSData().sharesStorageWith(rebuilt)) << "asked twice: the cached bytes";

    partAt(root, {0, 1})->setContentTransferEncoding(u"8bit");
    EXPECT_FALSE(root->mimeNSData().sharesStorageWith(rebuilt)) << "a change discards the cache of every ancestor";

    MimeTreeShapeEntry rootShape{u"0", u"PWMultipartMixedMimePart", u"multipart/mixed", 1};
    PWMimePartRef reparsed = PWMimePart::newMimePartWithRFC2822Data(root->mimeNSData(), u"0");
    EXPECT_EQ(mimeTreeShape(*reparsed).front(), rootShape);
    EXPECT_EQ(partAt(reparsed, {0, 0})->charset(), u"utf-8");
}

TEST(MimeSerialization, EmptyContainersChildrenAndPreambles) {
    auto empty = PWMultipartMimePart::initMutableWithSubtype(u"mixed", std::u16string(u"B"));
    EXPECT_TRUE(bytesOf(*empty).ends_with("boundary=B\r\n\r\n")) << "header block and blank line only";

    auto container = PWMultipartMimePart::initMutableWithSubtype(u"mixed", std::u16string(u"B"));
    container->addPart(PWMimePart::init());  // no bytes at all: skipped without a separator
    container->addPart(textPart(u"only"));
    container->setContentData(Data::withString("This is a multipart message."));
    std::string text = bytesOf(*container);
    size_t blank = text.find("\r\n\r\n");
    EXPECT_EQ(text.substr(blank), "\r\n\r\nThis is a multipart message.\r\n--B\r\n" + bytesOf(*partAt(container, {1})) +
                                      "\r\n--B--");
}

TEST(MimeSerialization, PartsStoredWithLineFeedsAreRebuiltWithLineFeeds) {
    const std::string stored =
        "Subject: stored\n\tin an mbox\nContent-Type: multipart/mixed; boundary=b\n\n"
        "--b\nContent-Type: text/plain\n\nfirst\n--b\nContent-Type: text/plain\n\nsecond\n--b--\n";
    PWMimePartRef root = parseMutablePart(stored);
    partAt(root, {1})->setCharset(u"utf-8");
    std::string rebuilt = bytesOf(*root);
    EXPECT_EQ(rebuilt.find('\r'), std::string::npos) << rebuilt;
    EXPECT_NE(rebuilt.find("\n--b\nContent-Type: text/plain\n\nfirst\n--b\n"), std::string::npos)
        << "the unchanged child is written as it was received";
    MimeRoundTripReport report = checkMimeRoundTrip(Data::withString(stored));
    EXPECT_TRUE(report.passed()) << (report.differences.empty() ? "" : toUTF8(report.differences.front()));
}

TEST(MimeSerialization, ABoundaryFoundInsideAChildIsReplacedWhenTheContainerIsRebuilt) {
    // The line "--b" inside the first part was read as its text, since it is not preceded by a line break
    // of its own: written back with the same boundary it would end the part.
    const std::string damaged = "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n--b\r\n--b\r\nX: 1\r\n\r\nx\r\n--b--";
    PWMimePartRef original = parsePart(damaged);
    PWMimePartRef root = original->mutableCopy();
    partAt(root, {1})->setCharset(u"utf-8");
    Data rebuilt = root->mimeNSData();
    ASSERT_TRUE(root->boundary());
    EXPECT_TRUE(root->boundary()->starts_with(u"MailOrwin=_"));
    PWMimePartRef reparsed = PWMimePart::newMimePartWithRFC2822Data(rebuilt, u"0");
    EXPECT_EQ(reparsed->subParts().size(), original->subParts().size());
    EXPECT_EQ(partAt(reparsed, {0})->contentData(), partAt(original, {0})->contentData());
}

TEST(MimeRoundTrip, ReportsTheChangedLeafAndTheShapes) {
    MimeRoundTripReport report = checkMimeRoundTrip(Data::withString(kLetter));
    EXPECT_TRUE(report.passed());
    EXPECT_EQ(report.changedPart, u"0/0/0");
    EXPECT_EQ(report.changedCharset, u"utf-8") << "us-ascii becomes utf-8";

    // A named text part is written back with an "attachment" disposition: a note, not a difference.
    report = checkMimeRoundTrip(Data::withString("Content-Type: text/plain; charset=utf-8; name=a.txt\r\n\r\nx"));
    EXPECT_TRUE(report.passed());
    EXPECT_EQ(report.changedCharset, u"iso-8859-1");
    ASSERT_EQ(report.notes.size(), 1u);
    EXPECT_EQ(report.notes[0],
              u"part 0 PWTextMimePart text/plain (0 children) became 0 PWTextAnyAttachment text/plain (0 children)");

    EXPECT_FALSE(checkMimeRoundTrip(Data()).passed());
}
