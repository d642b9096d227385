// Every real message of the corpus opened as an editable message: left alone it gives back its very
// contents; with a new subject it is written again with the same MIME shape and the same decoded bytes in
// every leaf, and the new subject.
#include <gtest/gtest.h>

#include "postwright/Message/FGBaseMutableMessage.hpp"
#include "postwright/Message/FGPostwrightMessage.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {

// A child made of nothing but line ends (an empty body part between two boundaries) is not written when
// its container is rebuilt: empty children are skipped without a separator. It is left out of both sides.
bool isEmptyEntity(const PWMimePart& part) {
    for (uint8_t byte : part.mimeNSData()) {
        if (byte != '\r' && byte != '\n') return false;
    }
    return true;
}

// The types of the tree, children in brackets: "multipart/mixed[text/plain,application/pdf]".
std::u16string shapeOf(const PWMimePartRef& part) {
    std::u16string shape = part->MIMEtype();
    std::vector<PWMimePartRef> children = part->subParts();
    std::erase_if(children, [](const PWMimePartRef& child) { return isEmptyEntity(*child); });
    if (children.empty()) return shape;
    shape += u"[";
    for (size_t i = 0; i < children.size(); ++i) shape += (i ? u"," : u"") + shapeOf(children[i]);
    return shape + u"]";
}

// The decoded bytes of every leaf that holds any.
std::vector<Data> decodedLeaves(const PWMimePartRef& root) {
    std::vector<Data> leaves;
    for (const PWMimePartRef& part :
         root->mimePartsPassingTest([](const PWMimePart& candidate) { return !candidate.hasSubParts(); })) {
        if (Data bytes = part->transferDecodedData(); !bytes.empty()) leaves.push_back(bytes);
    }
    return leaves;
}

}  // namespace

TEST(MutableMessageCorpus, EveryMessageLeftAloneGivesBackItsOwnContents) {
    test::ScopedRecordingLogger quiet;
    for (const test::CorpusMessage& message : test::corpusMessages()) {
        SCOPED_TRACE(message.name);
        PWMessageContentsRef contents = PWMessageContents::initWithHeaderAndBodyData(message.bytes);
        auto opened = FGBaseMutableMessage::initWithMessageContents(contents);
        EXPECT_EQ(opened->messageContents(), contents);
        auto copy = FGPostwrightMessage::initWithMessageContents(contents)->mutableCopy();
        EXPECT_EQ(copy->messageContents(), contents);
    }
}

TEST(MutableMessageCorpus, EverySubjectEditKeepsTheShapeAndTheDecodedBytes) {
    test::ScopedRecordingLogger quiet;
    const std::u16string subject = u"Round trip \u2713 \u00e9t\u00e9";
    size_t edited = 0;
    for (const test::CorpusMessage& message : test::corpusMessages()) {
        SCOPED_TRACE(message.name);
        PWMessageContentsRef contents = PWMessageContents::initWithHeaderAndBodyData(message.bytes);
        PWMimePartRef sourceRoot = contents->rootMimePart();
        if (!sourceRoot) continue;  // nothing to edit: the corpus's empty file
        auto opened = FGBaseMutableMessage::initWithMessageContents(contents);
        opened->setSubject(subject);
        PWMessageContentsRef generated = opened->messageContents();
        ASSERT_NE(generated, nullptr);
        EXPECT_TRUE(generated->isWellFormed());

        PWMessageContentsRef reread = PWMessageContents::initWithHeaderAndBodyData(generated->contentData());
        ASSERT_NE(reread->rootMimePart(), nullptr);
        EXPECT_EQ(reread->headers()->subject(), subject);
        EXPECT_EQ(shapeOf(reread->rootMimePart()), shapeOf(sourceRoot));
        EXPECT_TRUE(decodedLeaves(reread->rootMimePart()) == decodedLeaves(sourceRoot));
        ++edited;
    }
    EXPECT_GT(edited, 330u) << "the corpus must be beside the project";
}
