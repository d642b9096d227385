// Containers: builders, the queries over their children, and which children a display shows.
#include <gtest/gtest.h>

#include <set>

#include "Mime/MimeTestSupport.hpp"
#include "postwright/Mime/AttachmentKinds.hpp"
#include "postwright/Mime/MessageHeaderParts.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;
using postwright::test::parsePart;
using postwright::test::partAt;

namespace {
// An image kind that records how containers ask it for its fragment.
class RecordingImagePart : public PWImageMimePart {
public:
    static const PWMimeClass& mimeClass() {
        static const PWMimeClass descriptor{u"RecordingImagePart", &PWImageMimePart::mimeClass(),
                                            []() -> PWMimePartRef { return PWMimePartRef(new RecordingImagePart()); }};
        return descriptor;
    }
    const PWMimeClass& objectClass() const override { return mimeClass(); }
    std::u16string htmlFragmentForContext(int context, unsigned options,
                                          std::vector<PWMimePartRef>* related) const override {
        requests.push_back({context, options});
        return PWImageMimePart::htmlFragmentForContext(context, options, related);
    }
    mutable std::vector<std::pair<int, unsigned>> requests;
};

std::shared_ptr<RecordingImagePart> recorded(const PWMimePartRef& part) {
    return std::dynamic_pointer_cast<RecordingImagePart>(part);
}

// A multipart of the given subtype around the given entities.
std::string multipart(std::string_view subtype, std::initializer_list<std::string_view> parts,
                      std::string_view extra = "") {
    std::string text = "Content-Type: multipart/" + std::string(subtype) + "; boundary=b" + std::string(subtype) +
                       std::string(extra) + "\r\n\r\n";
    for (std::string_view part : parts) text += "--b" + std::string(subtype) + "\r\n" + std::string(part) + "\r\n";
    return text + "--b" + std::string(subtype) + "--\r\n";
}

const char* const kPlain = "Content-Type: text/plain\r\n\r\nHello <you>";
const char* const kHtml = "Content-Type: text/html\r\n\r\n<html><body><p>Hello <img src=\"CID:logo@x\"></p></body></html>";
const char* const kImage = "Content-Type: image/x-recording\r\nContent-Id: <logo@x>\r\nContent-Transfer-Encoding: base64\r\n\r\niVBORw0KGgo=";
const char* const kPdf = "Content-Type: application/pdf; name=r.pdf\r\n\r\n%PDF";

class MultipartFragments : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        PWMimeAttachment::registerForMimeType(RecordingImagePart::mimeClass(), u"image/x-recording");
    }
};
}  // namespace

TEST_F(MultipartFragments, AlternativeShowsTheChildOfTheContext) {
    PWMimePartRef root = parsePart(multipart("alternative", {kPlain, kHtml}));
    auto alternative = std::dynamic_pointer_cast<PWMultipartAlternativeMimePart>(root);
    ASSERT_TRUE(alternative);
    EXPECT_EQ(alternative->mimePartWithContext(kMimeDisplayContextRich), partAt(root, {1}));
    EXPECT_EQ(alternative->mimePartWithContext(kMimeDisplayContextPlainText), partAt(root, {0}));
    EXPECT_EQ(root->htmlFragmentForContext(kMimeDisplayContextRich, 0, nullptr),
              u"<p>Hello <img src=\"x-postwright-cid:logo@x\"></p>");
    EXPECT_EQ(root->htmlFragmentForContext(kMimeDisplayContextPlainText, 0, nullptr),
              u"<div style=\"white-space: pre-wrap\">Hello &lt;you&gt;</div>");
    EXPECT_TRUE(root->attachments().empty()) << "the bodies of an alternative are not attachments";
    EXPECT_FALSE(root->shouldDisplayAsPlainText());

    // Only a plain body: a rich display shows it as plain text.
    PWMimePartRef plainOnly = parsePart(multipart("alternative", {kPlain}));
    EXPECT_EQ(plainOnly->htmlFragmentForContext(kMimeDisplayContextRich, 0, nullptr),
              u"<div style=\"white-space: pre-wrap\">Hello &lt;you&gt;</div>");
    EXPECT_FALSE(plainOnly->shouldDisplayAsPlainText()) << "the answer of the rich choice, and there is none";
    EXPECT_EQ(parsePart(multipart("alternative", {kPdf}))->htmlFragmentForContext(0, 0, nullptr), u"");

    // A related container as the rich choice.
    PWMimePartRef nested = parsePart(multipart("alternative", {kPlain, multipart("related", {kHtml, kImage})}));
    std::vector<PWMimePartRef> related;
    EXPECT_EQ(nested->htmlFragmentForContext(kMimeDisplayContextRich, 0, &related),
              u"<p>Hello <img src=\"x-postwright-cid:logo@x\"></p>");
    ASSERT_EQ(related.size(), 1u) << "the related image is listed, not rendered";
    EXPECT_EQ(related[0], partAt(nested, {1, 1}));
    EXPECT_TRUE(recorded(related[0])->requests.empty());
}

TEST_F(MultipartFragments, MixedRendersUpToTheLastShownChildAndListsEveryAttachment) {
    // Text, image, text, PDF: the image comes before the last text and is shown inline; the PDF only listed.
    PWMimePartRef root = parsePart(multipart("mixed", {kPlain, kImage, kPlain, kPdf}));
    std::vector<PWMimePartRef> related{parsePart(kPdf)};  // what the caller had: kept, in front
    std::u16string html = root->htmlFragmentForContext(kMimeDisplayContextRich, 2, &related);
    ASSERT_EQ(related.size(), 3u);
    EXPECT_EQ(related[1], partAt(root, {1}));
    EXPECT_EQ(related[2], partAt(root, {3}));
    EXPECT_EQ(recorded(partAt(root, {1}))->requests,
              (std::vector<std::pair<int, unsigned>>{{kMimeDisplayContextPlainText, 2 | kMimeFragmentOptionInlineAttachment}}))
        << "a container of text parts is shown as plain text; the attachment gets the inline bit";
    EXPECT_NE(html.find(u"orw-mime-type=\"image/x-recording\""), std::u16string::npos);
    EXPECT_EQ(html.find(u"orw-mime-type=\"application/pdf\""), std::u16string::npos);

    // Text, image, PDF: the image is after the last shown child, so it is only listed (the algorithm's cut-off).
    PWMimePartRef cut = parsePart(multipart("mixed", {kPlain, kImage, kPdf}));
    related.clear();
    html = cut->htmlFragmentForContext(kMimeDisplayContextRich, 0, &related);
    EXPECT_EQ(related.size(), 2u);
    EXPECT_TRUE(recorded(partAt(cut, {1}))->requests.empty());
    EXPECT_EQ(html, u"<div style=\"white-space: pre-wrap\">Hello &lt;you&gt;</div>");

    // Nothing to show but attachments: nothing is cut off.
    PWMimePartRef files = parsePart(multipart("mixed", {kPdf, kImage}));
    html = files->htmlFragmentForContext(kMimeDisplayContextRich, 0, nullptr);
    EXPECT_NE(html.find(u"orw-name=\"r.pdf\""), std::u16string::npos);
    EXPECT_EQ(recorded(partAt(files, {1}))->requests.size(), 1u);
}

TEST_F(MultipartFragments, MixedWithHtmlStaysRichAndSignedFollowsTheMixedRules) {
    PWMimePartRef root = parsePart(multipart("mixed", {kHtml, kImage, kPlain}));
    EXPECT_FALSE(root->shouldDisplayAsPlainText());
    root->htmlFragmentForContext(kMimeDisplayContextRich, 0, nullptr);
    EXPECT_EQ(recorded(partAt(root, {1}))->requests.front().first, kMimeDisplayContextRich);
    EXPECT_TRUE(parsePart(multipart("mixed", {kPlain, kPlain}))->shouldDisplayAsPlainText());

    PWMimePartRef signedRoot = parsePart(multipart("signed", {kPlain, kImage}, "; protocol=\"application/pgp-signature\""));
    std::vector<PWMimePartRef> related;
    std::u16string html = signedRoot->htmlFragmentForContext(kMimeDisplayContextRich, 0, &related);
    EXPECT_EQ(html, u"<div style=\"white-space: pre-wrap\">Hello &lt;you&gt;</div>");
    EXPECT_EQ(related.size(), 1u);
}

TEST_F(MultipartFragments, ReportPutsTheDeliveryStatusFirstAndTitlesTheReturnedMessage) {
    const std::string status = "Content-Type: message/delivery-status\r\n\r\nReporting-MTA: dns; mx.example\r\n";
    const std::string returned = "Content-Type: message/rfc822\r\n\r\nSubject: original\r\n\r\nbody";
    PWMimePartRef root = parsePart(multipart("report", {kPlain, status, returned}));
    std::vector<PWMimePartRef> related;
    std::u16string html = root->htmlFragmentForContext(kMimeDisplayContextRich, 0, &related);
    EXPECT_TRUE(html.starts_with(u"<div style=\"white-space: pre-wrap\">Reporting-MTA: dns; mx.example</div>"))
        << toUTF8(html);
    EXPECT_TRUE(html.ends_with(u"Hello &lt;you&gt;</div>"));
    ASSERT_EQ(related.size(), 1u);
    EXPECT_EQ(std::static_pointer_cast<PWMimeAttachment>(related[0])->alternativeTitle(), u".eml")
        << "the host has no translation";
    {
        test::ScopedStrings strings{{u"ATTS: ORIGINAL MESSAGE", u"Original Message"}};
        parsePart(multipart("report", {status, returned}))->htmlFragmentForContext(0, 0, &related);
        EXPECT_EQ(std::static_pointer_cast<PWMimeAttachment>(related.back())->alternativeTitle(),
                  u"Original Message.eml");
    }
    // A returned message with a name of its own keeps it.
    PWMimePartRef named = parsePart(multipart("report", {status, "Content-Type: message/rfc822; name=bounce.eml\r\n\r\nX: y"}));
    named->htmlFragmentForContext(0, 0, nullptr);
    EXPECT_FALSE(std::static_pointer_cast<PWMimeAttachment>(partAt(named, {1}))->alternativeTitle());
}

TEST(MultipartQueries, WalkTheChildrenInOrder) {
    PWMimePartRef root = parsePart(multipart(
        "mixed", {multipart("alternative", {kPlain, kHtml}), kPdf, "Content-Type: text/plain; name=n.txt\r\n"
                                                                   "Content-Disposition: attachment\r\n\r\nnote"}));
    EXPECT_EQ(root->attachments(), (std::vector<PWMimePartRef>{partAt(root, {1}), partAt(root, {2})}));
    EXPECT_EQ(root->textParts(), (std::vector<PWMimePartRef>{partAt(root, {0, 0}), partAt(root, {0, 1})}))
        << "an HTML part is a text part too";
    EXPECT_EQ(root->htmlParts(), (std::vector<PWMimePartRef>{partAt(root, {0, 1})}));
    EXPECT_EQ(root->partWithContentID(u"0/0/1"), partAt(root, {0, 1}));
    EXPECT_EQ(root->partWithContentID(u"0"), root) << "depth first, the container itself first";
    EXPECT_EQ(root->mimeAttachmentWithContentId(u"0/2"), partAt(root, {2}));
    EXPECT_EQ(root->mimeAttachmentWithContentId(u"0/0/0"), nullptr) << "a body is no attachment";
    EXPECT_EQ(root->plainContent(), u"Hello <you><html><body><p>Hello <img src=\"CID:logo@x\"></p></body></html>")
        << "the children's texts, joined with nothing between them";
    EXPECT_EQ(root->htmlContent(), u"<html><body><p>Hello <img src=\"CID:logo@x\"></p></body></html>");
}

TEST(MultipartQueries, CopiesWithoutOrWithReplacedAttachments) {
    PWMimePartRef root = parsePart(multipart("mixed", {kPlain, multipart("related", {kHtml, kPdf})}));
    PWMimePartRef stripped = root->mimePartByRemovingAttachments();
    ASSERT_TRUE(stripped);
    EXPECT_TRUE(stripped->isMutable());
    EXPECT_TRUE(stripped->attachments().empty());
    EXPECT_EQ(partAt(stripped, {1})->subParts().size(), 1u) << "removed at every depth";
    EXPECT_EQ(root->attachments().size(), 1u) << "the original is untouched";
    PWMimePartRef reparsed = PWMimePart::newMimePartWithRFC2822Data(stripped->mimeNSData(), u"0");
    EXPECT_TRUE(reparsed->attachments().empty());

    PWMimePartRef replacement = PWMimePart::mutableMimePartWithRFC2822Data(
        Data::withString("Content-Type: application/pdf; name=new.pdf\r\nContent-Id: <0/1/1>\r\n\r\n%PDF-2"), u"x");
    PWMimePartRef replaced = root->mimePartByReplacingMimeAttachments({replacement});
    EXPECT_EQ(partAt(replaced, {1, 1}), replacement);
    EXPECT_EQ(replacement->parent(), partAt(replaced, {1}));
}

TEST(MultipartQueries, PGPEncryptionAnywhereInTheTree) {
    EXPECT_TRUE(parsePart(multipart("encrypted", {"Content-Type: application/pgp-encrypted\r\n\r\nVersion: 1",
                                                  "Content-Type: application/octet-stream\r\n\r\n-----BEGIN PGP"},
                                    "; protocol=\"application/pgp-encrypted\""))
                    ->containsPGPEncryption());
    EXPECT_TRUE(parsePart(multipart("mixed", {kPlain, "Content-Type: application/pgp-encrypted\r\n\r\nx"}))
                    ->containsPGPEncryption());
    EXPECT_FALSE(parsePart(multipart("mixed", {kPlain, kPdf}))->containsPGPEncryption());
}

TEST(MultipartBuilders, BoundariesAndContainersOfTheRegisteredClass) {
    std::set<std::u16string> boundaries;
    for (int i = 0; i < 100; ++i) {
        std::u16string boundary = PWMultipartMimePart::newBoundary();
        EXPECT_TRUE(boundary.starts_with(u"MailOrwin=_"));
        EXPECT_EQ(boundary.size(), 11u + 36u);
        boundaries.insert(boundary);
    }
    EXPECT_EQ(boundaries.size(), 100u);

    auto mixed = PWMultipartMimePart::initMutableWithSubtype(u"mixed");
    EXPECT_TRUE(mixed->isMemberOfClass(PWMultipartMixedMimePart::mimeClass()));
    EXPECT_TRUE(mixed->boundary()->starts_with(u"MailOrwin=_"));
    EXPECT_TRUE(PWMultipartMimePart::initMutableWithSubtype(u"x-new")->isMemberOfClass(PWMultipartMimePart::mimeClass()));

    test::ScopedRecordingLogger log;
    PWMimePartRef part = parsePart(kPlain);
    mixed->addPart(part);
    mixed->addPart(part);
    mixed->addPart(nullptr);
    EXPECT_EQ(mixed->subParts().size(), 1u) << "a part already there, and no part, are ignored";
    EXPECT_EQ(part->parent(), mixed);
    auto parsed = std::static_pointer_cast<PWMultipartMimePart>(parsePart(multipart("mixed", {kPlain})));
    parsed->addPart(parsePart(kPdf));
    EXPECT_EQ(parsed->subParts().size(), 1u);
    EXPECT_EQ(log->messages(), std::vector<std::string>{"Cannot Mutate Multipart part"});
}

TEST(MultipartBuilders, AlternativeRelatedAndSigned) {
    PWMimePartRef plain = PWTextMimePart::initMutableWithPlainText(u"hi", kUTF8StringEncoding, u"quoted-printable");
    PWMimePartRef html = PWTextHtmlMimePart::initMutableWithHtmlString(u"<p>hi</p>", kUTF8StringEncoding, u"quoted-printable");
    auto alternative = PWMultipartAlternativeMimePart::initMutableWithPlainPart(plain, html);
    EXPECT_EQ(alternative->subParts(), (std::vector<PWMimePartRef>{plain, html}));
    EXPECT_EQ(alternative->contentType().text(u"charset"), u"us-ascii");

    PWMimePartRef image = parsePart(kImage);
    auto related = PWMultipartRelatedMimePart::initMutableWithHtmlPart(html, {image});
    EXPECT_EQ(related->subParts(), (std::vector<PWMimePartRef>{html, image}));
    EXPECT_EQ(related->contentType().keys(),
              (std::vector<std::u16string>{u"@type", u"@subtype", u"@fulltype", u"boundary"}));

    Data content = Data::withString("Content-Type: text/plain\r\n\r\nsigned text");
    auto signedPart = PWMultipartSignedMimePart::initMutableWithSignedData(content, u"-----BEGIN PGP SIGNATURE-----");
    ASSERT_TRUE(signedPart);
    EXPECT_EQ(signedPart->contentType().text(u"protocol"), u"application/pgp-signature");
    EXPECT_EQ(signedPart->contentType().text(u"micalg"), u"pgp-sha512");
    EXPECT_EQ(signedPart->digitallySignedParts(), (std::vector<PWMimePartRef>{signedPart}));
    ASSERT_EQ(signedPart->subParts().size(), 2u);
    EXPECT_EQ(partAt(signedPart, {0})->mimeNSData(), content) << "the signed bytes are kept exactly";
    PWMimePartRef signature = signedPart->signaturePart();
    ASSERT_EQ(signature, partAt(signedPart, {1}));
    EXPECT_EQ(signature->filename(), u"signature.asc");
    EXPECT_EQ(signature->contentTransferEncoding(), u"7bit");

    PWMimePartRef parsed = PWMimePart::newMimePartWithRFC2822Data(signedPart->mimeNSData(), u"0");
    ASSERT_EQ(parsed->subParts().size(), 2u);
    EXPECT_TRUE(partAt(parsed, {1})->isMemberOfClass(PWPGPSignedMimePart::mimeClass()));
    EXPECT_EQ(partAt(parsed, {1})->contentData(), "-----BEGIN PGP SIGNATURE-----");
    EXPECT_EQ(parsed->digitallySignedParts().size(), 1u);
}
