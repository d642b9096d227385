// Every real message of the corpus through the MIME tree: it parses, writes itself back byte for byte,
// survives the write-back check, decodes every leaf, renders, and rebuilds without tripping the CR LF
// assertions.
#include <gtest/gtest.h>

#include "postwright/Base/DataScanner.hpp"
#include "postwright/Lexical/QuotedPrintable.hpp"
#include "postwright/Mime/MimeRoundTrip.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {
std::vector<PWMimePartRef> leavesOf(const PWMimePartRef& root) {
    return root->mimePartsPassingTest([](const PWMimePart& part) { return !part.hasSubParts(); });
}

// True when a quoted-printable body has an escape the codec rejects: its text is then rightly absent.
bool malformedQuotedPrintable(const PWMimePart& part) {
    if (part.FGTransferEncoding() != kFGTransferEncodingQuotedPrintable) return false;
    ErrorRef error;
    return !decodedQuotedPrintableDataWithOptions(part.contentData(), 0, &error) && error;
}
}  // namespace

TEST(MimeCorpus, EveryMessageParsesWritesBackAndSurvivesTheRoundTrip) {
    std::vector<test::CorpusMessage> messages = test::corpusMessages();
    ASSERT_GT(messages.size(), 330u) << "the corpus must be beside the project";
    test::ScopedRecordingLogger quiet;
    size_t parts = 0;
    for (const test::CorpusMessage& message : messages) {
        SCOPED_TRACE(message.name);
        if (message.bytes.empty()) {
            EXPECT_EQ(PWMimePart::newMimePartWithRFC2822Data(message.bytes, u"0"), nullptr);
            continue;
        }
        PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message.bytes, u"0");
        ASSERT_TRUE(root);
        parts += root->mimePartsPassingTest([](const PWMimePart&) { return true; }).size();
        EXPECT_EQ(root->mimeNSData(), message.bytes);
        EXPECT_TRUE(root->mimeNSData().sharesStorageWith(message.bytes));

        MimeRoundTripReport report = checkMimeRoundTrip(message.bytes);
        EXPECT_TRUE(report.passed()) << (report.differences.empty() ? "" : toUTF8(report.differences.front()));
    }
    EXPECT_GT(parts, 1000u);
}

TEST(MimeCorpus, EveryLeafDecodes) {
    test::ScopedRecordingLogger quiet;
    size_t texts = 0, attachments = 0, undecodedAttachments = 0;
    for (const test::CorpusMessage& message : test::corpusMessages()) {
        SCOPED_TRACE(message.name);
        PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message.bytes, u"0");
        if (!root) continue;
        for (const PWMimePartRef& leaf : leavesOf(root)) {
            SCOPED_TRACE(toUTF8(leaf->description()));
            bool hasBody = !leaf->contentData().empty();
            if (leaf->isKindOfClass(PWTextHtmlMimePart::mimeClass())) {
                ++texts;
                EXPECT_EQ(leaf->htmlContent().has_value(), hasBody);
            } else if (leaf->isKindOfClass(PWTextMimePart::mimeClass())) {
                ++texts;
                if (hasBody && !malformedQuotedPrintable(*leaf)) {
                    EXPECT_TRUE(leaf->plainContent());
                }
            } else if (auto attachment = std::dynamic_pointer_cast<PWMimeAttachment>(leaf)) {
                ++attachments;
                std::optional<Data> data = attachment->decodedAttachmentData();
                // Without a transfer encoding only a charset vouches for a body; anything else decodes.
                if (!data) ++undecodedAttachments;
                if (hasBody && attachment->contentTransferEncoding()) {
                    FGTransferEncodingKind kind = attachment->FGTransferEncoding();
                    if (kind != kFGTransferEncodingOther || attachment->contentTransferEncoding() == u"binary") {
                        EXPECT_TRUE(data || malformedQuotedPrintable(*attachment));
                    }
                }
            } else {
                (void)leaf->transferDecodedData();
                (void)leaf->plainContent();
            }
        }
    }
    EXPECT_GT(texts, 300u);
    EXPECT_GT(attachments, 100u);
    // Most that give no bytes are embedded messages without a transfer encoding or charset (the rule above).
    EXPECT_LT(undecodedAttachments, attachments / 3);
}

TEST(MimeCorpus, EveryTreeRendersAndRebuildsWithoutACRLFAssertion) {
    test::ScopedRecordingLogger quiet;
    for (const test::CorpusMessage& message : test::corpusMessages()) {
        SCOPED_TRACE(message.name);
        PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message.bytes, u"0");
        if (!root) continue;
        std::vector<PWMimePartRef> related;
        (void)root->htmlFragmentForContext(kMimeDisplayContextRich, 0, &related);
        (void)root->htmlFragmentForContext(kMimeDisplayContextPlainText, 0, nullptr);

        // Every part of a mutable copy changed: the whole message is rebuilt from its fields.
        PWMimePartRef copy = root->mutableCopy();
        for (const PWMimePartRef& part : copy->mimePartsPassingTest([](const PWMimePart&) { return true; })) {
            part->setMutated(true);
        }
        Data rebuilt;
        EXPECT_NO_THROW(rebuilt = copy->mimeNSData());
        EXPECT_TRUE(copy->isWellFormed());
        PWMimePartRef reparsed = PWMimePart::newMimePartWithRFC2822Data(rebuilt, u"0");
        ASSERT_TRUE(reparsed);
        std::vector<MimeTreeShapeEntry> before = mimeTreeShape(*root), after = mimeTreeShape(*reparsed);
        ASSERT_EQ(before.size(), after.size());
        for (size_t i = 0; i < before.size(); ++i) EXPECT_TRUE(before[i].sameShape(after[i])) << i;
    }
}
