// Every real message of the corpus written again: opened as an editable message and left alone it gives
// back its very contents; with a new subject, or run through header amendments, it is written again with
// the same MIME shape, the same decoded bytes in every leaf, and the new headers; prepared for delivery it
// gets its final Message-Id and loses the composer's headers.
#include <gtest/gtest.h>

#include "postwright/Amendments/PWAddRecipientAmendment.hpp"
#include "postwright/Amendments/PWHeaderAmendment.hpp"
#include "postwright/Amendments/PWPrepareDeliveryAmendment.hpp"
#include "postwright/Amendments/PWSubjectAmendment.hpp"
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

OptString withSpaces(const OptString& text) {
    if (!text) return text;
    std::u16string spaced = *text;
    std::replace(spaced.begin(), spaced.end(), u'\t', u' ');
    return spaced;
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

TEST(AmendmentCorpus, HeaderAmendmentsKeepEveryBody) {
    test::ScopedRecordingLogger quiet;
    PWMessageAmendmentList list = {
        PWHeaderAmendment::initWithHeaderKey(u"X-Amended", u"yes"),
        PWSubjectAmendment::newWithSubjectTemplate(u"[Rule] {{subject}}"),
        PWAddRecipientAmendment::initWithRecipients(
            {PWEmailAddress::emailAddressWithRawAddress(u"Rule <rule@example.com>")}, kPWRecipientTypeTo)};
    size_t amended = 0;
    for (const test::CorpusMessage& message : test::corpusMessages()) {
        SCOPED_TRACE(message.name);
        auto source = FGPostwrightMessage::initWithRFC2822Data(message.bytes, true);
        if (!source->rootMimePart()) continue;
        ErrorRef error;
        PWMessageContentsRef contents = PWMessageAmendment::contentsByApplyingAmendments(list, *source, &error);
        ASSERT_NE(contents, nullptr) << (error ? toUTF8(error->localizedDescription) : "");
        PWMessageContentsRef reread = PWMessageContents::initWithHeaderAndBodyData(contents->contentData());
        PWMessageHeadersRef headers = reread->headers();
        EXPECT_EQ(headers->firstHeaderForKey(u"X-Amended"), u"yes");
        // A long subject folds where it had a space, and rebuilt headers continue their lines with a TAB.
        EXPECT_EQ(withSpaces(headers->subject()),
                  withSpaces(fgTrim(u"[Rule] " + source->headers()->subject().value_or(u""))));
        std::optional<PWEmailAddressGroupList> to = headers->emailAddressGroupsForHeaderKey(u"To");
        ASSERT_TRUE(to && !to->empty());
        PWEmailAddressList members = to->front()->addresses();  // the first group takes the new address
        EXPECT_TRUE(std::any_of(members.begin(), members.end(),
                                [](const auto& address) { return address->userAtDomain() == u"rule@example.com"; }));
        EXPECT_EQ(shapeOf(reread->rootMimePart()), shapeOf(source->rootMimePart()));
        EXPECT_TRUE(decodedLeaves(reread->rootMimePart()) == decodedLeaves(source->rootMimePart()));
        ++amended;
    }
    EXPECT_GT(amended, 330u);
}

TEST(AmendmentCorpus, DeliveryGivesTheFinalMessageId) {
    test::ScopedRecordingLogger quiet;
    auto context = PWMessageAmendmentContext::newWithContextType(kPWAmendmentContextDelivery);
    PWMessageAmendmentList list = {PWPrepareDeliveryAmendment::initWithXMailer(u"Postwright")};
    for (const test::CorpusMessage& message : test::corpusMessages()) {
        SCOPED_TRACE(message.name);
        auto source = FGPostwrightMessage::initWithRFC2822Data(message.bytes, true);
        if (!source->rootMimePart()) continue;
        ErrorRef error;
        PWMessageContentsRef contents =
            PWMessageAmendment::contentsByApplyingAmendments(list, context, 0, *source, &error);
        ASSERT_NE(contents, nullptr) << (error ? toUTF8(error->localizedDescription) : "");
        PWMessageHeadersRef headers = PWMessageContents::initWithHeaderAndBodyData(contents->contentData())->headers();
        std::optional<PWEmailAddressList> from = source->headers()->from();
        OptString domain = from && !from->empty() ? from->front()->domain() : std::nullopt;
        std::u16string messageId = headers->firstHeaderForKey(u"Message-Id").value_or(u"");
        std::u16string expected = u"@" + domain.value_or(u"(null)") + u">";
        EXPECT_TRUE(messageId.size() == 1 + 18 + expected.size() && messageId[0] == u'<' &&
                    messageId.substr(19) == expected)
            << toUTF8(messageId);
        HeaderEntryDictionary fields = headers->headerEntryDictionary();
        for (const auto& item : fields.items()) {
            EXPECT_NE(item.first.rfind(u"X-ORWIN-", 0), 0u) << toUTF8(item.first);
        }
        EXPECT_EQ(headers->firstHeaderForKey(u"X-Mailer"), u"Postwright");
    }
}
