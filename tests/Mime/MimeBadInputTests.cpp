// Damaged and hostile structure: missing, repeated and overlapping boundaries, very many parts, very deep
// nesting and very large bodies. Each gives the tree the rules describe, in bounded memory, without a crash.
#include <gtest/gtest.h>

#include "Mime/MimeTestSupport.hpp"
#include "postwright/Mime/MimeRoundTrip.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"

using namespace postwright;
using postwright::test::parsePart;
using postwright::test::partAt;

TEST(MimeBadInput, MissingAndRepeatedBoundaries) {
    PWMimePartRef noParameter = parsePart("Content-Type: multipart/mixed\r\n\r\n--b\r\nX: 1\r\n\r\nx\r\n--b--");
    EXPECT_FALSE(noParameter->hasSubParts());
    EXPECT_EQ(noParameter->contentData(), "--b\r\nX: 1\r\n\r\nx\r\n--b--");

    PWMimePartRef unclosed = parsePart("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nX: 1\r\n\r\none\r\n--b\r\n"
                                       "X: 2\r\n\r\ntwo runs to the end");
    ASSERT_EQ(unclosed->subParts().size(), 2u);
    EXPECT_EQ(partAt(unclosed, {1})->contentData(), "two runs to the end");

    // Boundary lines one after the other give empty parts, which are dropped.
    PWMimePartRef repeated = parsePart("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n--b\r\n\r\n--b\r\n"
                                       "X: 1\r\n\r\nx\r\n--b--\r\n--b--\r\n");
    std::vector<PWMimePartRef> parts = repeated->subParts();
    ASSERT_FALSE(parts.empty());
    EXPECT_EQ(parts.back()->contentData(), "x");
    EXPECT_TRUE(checkMimeRoundTrip(repeated->mimeNSData()).passed());
}

TEST(MimeBadInput, BoundariesThatPrefixEachOther) {
    const std::string message =
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nContent-Type: multipart/mixed; boundary=bb\r\n\r\n"
        "--bb\r\nContent-Type: multipart/mixed; boundary=bbb\r\n\r\n"
        "--bbb\r\nContent-Type: text/plain\r\n\r\ninnermost\r\n--bbb--\r\n"
        "--bb\r\nContent-Type: text/plain\r\n\r\nmiddle\r\n--bb--\r\n"
        "--b\r\nContent-Type: text/plain\r\n\r\nouter\r\n--b--\r\n";
    PWMimePartRef root = parsePart(message);
    ASSERT_EQ(root->subParts().size(), 2u);
    ASSERT_EQ(partAt(root, {0})->subParts().size(), 2u);
    EXPECT_EQ(partAt(root, {0, 0, 0})->plainContent(), u"innermost");
    EXPECT_EQ(partAt(root, {0, 1})->plainContent(), u"middle");
    EXPECT_EQ(partAt(root, {1})->plainContent(), u"outer");
    EXPECT_TRUE(checkMimeRoundTrip(Data::withString(message)).passed());
}

TEST(MimeBadInput, TenThousandSiblings) {
    std::string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < 10000; ++i) message += "--b\r\nContent-Type: text/plain\r\n\r\npart " + std::to_string(i) + "\r\n";
    message += "--b--\r\n";
    PWMimePartRef root = parsePart(message);
    std::vector<PWMimePartRef> parts = root->subParts();
    ASSERT_EQ(parts.size(), 10000u);
    EXPECT_EQ(parts.back()->identifier(), u"0/9999");
    EXPECT_EQ(parts.back()->plainContent(), u"part 9999");
    EXPECT_EQ(root->textParts().size(), 10000u);

    PWMimePartRef copy = root->mutableCopy();
    partAt(copy, {5000})->setCharset(u"utf-8");
    PWMimePartRef reparsed = PWMimePart::newMimePartWithRFC2822Data(copy->mimeNSData(), u"0");
    EXPECT_EQ(reparsed->subParts().size(), 10000u);
}

TEST(MimeBadInput, NestingDeeperThanTheLimitStaysUnsplit) {
    constexpr int kLevels = 1000;
    std::string message;
    for (int level = 0; level < kLevels; ++level) {
        message += "Content-Type: multipart/mixed; boundary=level" + std::to_string(level) + "\r\n\r\n--level" +
                   std::to_string(level) + "\r\n";
    }
    message += "Content-Type: text/plain\r\n\r\nthe bottom";
    for (int level = kLevels - 1; level >= 0; --level) message += "\r\n--level" + std::to_string(level) + "--";
    Data bytes = Data::withString(message);
    PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(bytes, u"0");
    ASSERT_TRUE(root);
    size_t depth = 1;
    PWMimePartRef deepest = root;
    for (; deepest->hasSubParts(); deepest = deepest->subParts().front()) ++depth;
    EXPECT_EQ(depth, kMimeMaxNestingDepth + 1) << "the root and 64 levels below it";
    EXPECT_TRUE(deepest->isKindOfClass(PWMultipartMimePart::mimeClass())) << "a multipart that keeps its body";
    EXPECT_TRUE(deepest->contentData().hasPrefix("--level64\r\n"));
    EXPECT_TRUE(deepest->contentData().sharesStorageWith(bytes));
    EXPECT_EQ(root->mimeNSData(), bytes);

    // Everything that walks the tree copes.
    EXPECT_EQ(root->htmlFragmentForContext(kMimeDisplayContextRich, 0, nullptr), u"");
    EXPECT_TRUE(root->attachments().empty());
    EXPECT_TRUE(root->isWellFormed());
    EXPECT_TRUE(checkMimeRoundTrip(bytes).passed());
}

TEST(MimeBadInput, AHundredMegabyteAttachmentIsParsedAndDecodedFromViews) {
    constexpr size_t kEncodedBytes = 100u * 1000 * 1000;
    std::string message =
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain\r\n\r\nsee attached\r\n"
        "--b\r\nContent-Type: application/octet-stream; name=big.bin\r\nContent-Transfer-Encoding: base64\r\n\r\n";
    message.reserve(message.size() + kEncodedBytes + kEncodedBytes / 38 + 32);
    const std::string line = "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2d3h5ejAx\r\n";  // 72 + CR LF
    size_t lines = kEncodedBytes / line.size();
    for (size_t i = 0; i < lines; ++i) message += line;
    message += "--b--\r\n";
    Data bytes = Data::adopting(std::move(message));

    PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(bytes, u"0");
    ASSERT_EQ(root->subParts().size(), 2u);
    auto attachment = std::dynamic_pointer_cast<PWMimeAttachment>(partAt(root, {1}));
    ASSERT_TRUE(attachment);
    EXPECT_TRUE(attachment->contentData().sharesStorageWith(bytes)) << "the body is a view, not a copy";
    EXPECT_EQ(attachment->decodedSize(), lines * 54);
    std::optional<Data> decoded = attachment->decodedAttachmentData();
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->length(), lines * 54);
    EXPECT_TRUE(decoded->hasPrefix("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz01"));
    EXPECT_EQ(root->mimeNSData().bytes(), bytes.bytes()) << "the untouched message is given back without a copy";
}
