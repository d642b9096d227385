// The composer's HTML turned into a MIME body: inline resources, attachment placeholders standing alone or
// among text, when the body is cut around attachments, and the Exchange form.
#include <gtest/gtest.h>

#include "Message/MessageBuildingSupport.hpp"
#include "postwright/Message/FGBaseMutableMessage.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;
using test::shapeOf;

namespace {

// A placeholder as the composer writes one.
std::u16string placeholder(const FGFileAttachment& attachment, std::u16string_view inside = {}) {
    return u"<span orw-mime-type=\"" + attachment.mimeType() + u"\" orw-name=\"" + attachment.filename() +
           u"\" orw-src=\"" + *attachment.resourceURL() + u"\">" +
           (inside.empty() ? attachment.filename() : std::u16string(inside)) + u"</span>";
}

std::u16string htmlOf(const PWMimePartRef& part) {
    return part ? part->htmlContent().value_or(u"") : u"";
}

// The body built for delivery from a document, with the attachments that are left.
struct Built {
    PWMimePartRef part;
    FGAttachmentList remaining;
    std::vector<HTMLNodeRef> fragments;
};

Built buildFromFragments(std::u16string_view body, const FGAttachmentList& attachments) {
    auto message = FGBaseMutableMessage::newWithHeaders(nullptr, std::nullopt, std::nullopt, {}, 0);
    auto document = HTMLDocument::documentWithString(u"<body>" + std::u16string(body) + u"</body>");
    Built built;
    built.fragments = message->partFragmentsFromDocument(*document);
    built.remaining = attachments;
    built.part = message->buildHTMLPartWithFragments(built.fragments, &built.remaining,
                                                     FGMimeUpdateContext::initWithType(0, false));
    return built;
}

}  // namespace

TEST(HTMLMessageBuilding, OneHTMLBodyEmbedsTheResourcesItShows) {
    auto chart = test::pngAttachment();
    auto report = test::pdfAttachment();
    auto other = test::pdfAttachment(u"other.pdf");
    auto message = FGBaseMutableMessage::newWithHeaders(
        nullptr, std::nullopt,
        u"<p><img src=\"" + *chart->resourceURL() + u"\"><iframe src=\"" + *report->resourceURL() + u"\"></iframe></p>",
        {}, 0);

    FGAttachmentList list = {chart, report, other};
    EXPECT_EQ(message->buildHTMLPartWithDocument(nullptr, &list), nullptr);
    EXPECT_EQ(list.size(), 3u) << "no document: the list is left alone";

    PWMimePartRef part = message->buildHTMLPartWithDocument(HTMLDocument::documentWithString(*message->html()), &list);
    EXPECT_EQ(shapeOf(part), "multipart/related[text/html,image/png,application/pdf]");
    std::vector<PWMimePartRef> children = part->subParts();
    EXPECT_EQ(children[1]->contentDisposition()->text(u"@type"), u"inline") << "an image shows inline";
    EXPECT_EQ(children[2]->contentDisposition()->text(u"@type"), u"attachment");
    EXPECT_EQ(part->charset(), u"utf-8");
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0], other) << "only what the HTML does not show is left to attach";
}

TEST(HTMLMessageBuilding, FragmentListsFollowWhereAPlaceholderStandsAlone) {
    auto report = test::pdfAttachment();
    // Alone in its paragraph, or filling its paragraph once icon labels are left out: an attachment element.
    Built alone = buildFromFragments(u"<p>Before</p><p>" + placeholder(*report) + u"</p><p>After</p>", {report});
    ASSERT_EQ(alone.fragments.size(), 3u);
    EXPECT_TRUE(alone.fragments[0]->isDocumentFragment());
    EXPECT_TRUE(alone.fragments[1]->asElement()->isHTMLElementNamed(u"span")) << "the paragraph around it is dropped";
    EXPECT_TRUE(alone.fragments[2]->isDocumentFragment());

    Built labelled = buildFromFragments(
        u"<div>" + placeholder(*report, u"report.pdf<span class=\"orwIconLabel\">PDF</span>") + u" </div>", {report});
    ASSERT_EQ(labelled.fragments.size(), 1u);
    EXPECT_TRUE(labelled.fragments[0]->isElement());

    // Beside text, or beside another placeholder: part of the content.
    Built sharing = buildFromFragments(u"<p>See " + placeholder(*report) + u"</p>", {report});
    ASSERT_EQ(sharing.fragments.size(), 1u);
    EXPECT_TRUE(sharing.fragments[0]->isDocumentFragment());
    auto second = test::pdfAttachment(u"second.pdf");
    Built pair = buildFromFragments(u"<p>" + placeholder(*report) + placeholder(*second) + u"</p>", {report, second});
    EXPECT_TRUE(pair.fragments[0]->isDocumentFragment());
}

TEST(HTMLMessageBuilding, TheBodyIsCutOnlyWhereContentFollowsANonImageAttachment) {
    auto report = test::pdfAttachment();
    auto chart = test::pngAttachment();
    auto left = test::pdfAttachment(u"left.pdf");
    struct Case {
        const char* name;
        std::u16string body;
        FGAttachmentList attachments;
        std::string shape;
        size_t remaining;
    };
    const Case cases[] = {
        {"text, PDF, text",
         u"<p>Before</p><p>" + placeholder(*report) + u"</p><p>After</p>",
         {report, left},
         "multipart/mixed[text/html,application/pdf,text/html,application/pdf]",
         0},
        {"a trailing PDF", u"<p>Before</p><p>" + placeholder(*report) + u"</p>\n  \n", {report}, "text/html", 1},
        {"a PDF among text", u"<p>See " + placeholder(*report) + u" here</p><p>After</p>", {report}, "text/html", 1},
        {"an image after a PDF",
         u"<p>" + placeholder(*report) + u"</p><p>" + placeholder(*chart) + u"</p>",
         {report, chart},
         "multipart/mixed[application/pdf,image/png]",
         0},
        {"a PDF after an image",
         u"<p>" + placeholder(*chart) + u"</p><p>" + placeholder(*report) + u"</p>",
         {report, chart},
         "text/html",
         2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Built built = buildFromFragments(c.body, c.attachments);
        EXPECT_EQ(shapeOf(built.part), c.shape);
        EXPECT_EQ(built.remaining.size(), c.remaining);
        for (const PWMimePartRef& html : built.part->htmlParts()) {
            EXPECT_EQ(htmlOf(html).find(u"orw-"), std::u16string::npos) << "editing attributes are stripped";
        }
    }
    Built cut = buildFromFragments(cases[0].body, cases[0].attachments);
    EXPECT_NE(htmlOf(cut.part->subParts()[0]).find(u"Before"), std::u16string::npos);
    EXPECT_NE(htmlOf(cut.part->subParts()[2]).find(u"After"), std::u16string::npos);
}

TEST(HTMLMessageBuilding, ImagesOfOneBodyBecomeItsRelatedPartsOnce) {
    auto chart = test::pngAttachment(u"chart.png", u"chart@example.com");
    std::u16string image = u"<img src=\"" + *chart->resourceURL() + u"\">";
    Built built = buildFromFragments(u"<div id=\"FGEditingContainer\" class=\"fg-editing-block x\"><p>" + image +
                                         image + u"<span class=\"orwIconLabel\">label</span></p></div>",
                                     {chart});
    EXPECT_EQ(shapeOf(built.part), "multipart/related[text/html,image/png]");
    EXPECT_TRUE(built.remaining.empty());
    std::u16string html = htmlOf(built.part->subParts()[0]);
    EXPECT_NE(html.find(u"src=\"cid:chart@example.com\""), std::u16string::npos) << toUTF8(html);
    EXPECT_EQ(html.find(u"FGEditingContainer"), std::u16string::npos);
    EXPECT_EQ(html.find(u"orwIconLabel"), std::u16string::npos);
    EXPECT_EQ(html.find(u"fg-editing-block"), std::u16string::npos);
}

TEST(HTMLMessageBuilding, AttachmentElementsFindTheirAttachmentByURL) {
    auto report = test::pdfAttachment();
    auto message = FGBaseMutableMessage::init();
    FGAttachmentList list = {report};
    auto document = HTMLDocument::documentWithString(u"<p>text</p>");
    EXPECT_EQ(message->attachmentPartFromElement(document->createTextNode(u"x"), &list), nullptr);
    auto element = HTMLElement::elementWithTagName(u"span");
    EXPECT_EQ(message->attachmentPartFromElement(element, &list), nullptr) << "no orw-src";
    element->setAttribute(u"orw-src", u"not a url");
    EXPECT_EQ(message->attachmentPartFromElement(element, &list), nullptr);
    element->setAttribute(u"orw-src", u"x-postwright-cid:someone-else");
    EXPECT_EQ(message->attachmentPartFromElement(element, &list), nullptr);
    EXPECT_EQ(list.size(), 1u);
    element->setAttribute(u"orw-src", *report->resourceURL());
    PWMimePartRef part = message->attachmentPartFromElement(element, &list);
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(part->filename(), u"report.pdf");
    EXPECT_TRUE(list.empty());
}

TEST(HTMLMessageBuilding, DeliveryRebuildsTheWholeMessage) {
    auto report = test::pdfAttachment();
    auto chart = test::pngAttachment();
    const std::u16string html =
        u"<html><head><style class=\"local-styles\">p{}</style><style>b{}</style></head><body>"
        u"<p>Hello</p><p>" +
        placeholder(*report) + u"</p><p>" + placeholder(*chart) + u"</p><p>Bye</p></body></html>";
    PWMessageHeadersRef headers = PWMessageHeaders::initWithHeaderDictionary({{u"Subject", {u"Delivery"}}});

    auto plain = FGBaseMutableMessage::newWithHeaders(headers, std::nullopt, html, {report, chart}, 0);
    PWMimePartRef root = plain->updateMimePartsWithContext(FGMimeUpdateContext::initWithType(0, false));
    EXPECT_EQ(shapeOf(root),
              "multipart/alternative[text/plain,multipart/mixed[text/html,application/pdf,image/png,text/html]]");
    EXPECT_EQ(plain->generatedContents(), plain->messageContents()) << "the rebuilt message is the current one";
    EXPECT_EQ(test::reread(plain->messageContents())->headers()->subject(), u"Delivery");

    // An Exchange account: non-image placeholders become their names, and every attachment goes after.
    auto exchange = FGBaseMutableMessage::newWithHeaders(headers, std::nullopt, html, {report, chart}, 0);
    PWMimePartRef exchangeRoot = exchange->updateMimePartsWithContext(FGMimeUpdateContext::initWithType(0, true));
    EXPECT_EQ(shapeOf(exchangeRoot),
              "multipart/mixed[multipart/alternative[text/plain,text/html],application/pdf,image/png]");
    std::u16string text = htmlOf(exchangeRoot->htmlParts()[0]);
    EXPECT_NE(text.find(u"<span><em>(report.pdf)</em></span>"), std::u16string::npos) << toUTF8(text);
    EXPECT_NE(text.find(u"<span>chart.png</span>"), std::u16string::npos) << "image placeholders stay";
    EXPECT_NE(exchangeRoot->textParts()[0]->plainContent().value_or(u"").find(u"(report.pdf)"), std::u16string::npos)
        << "the plain text is the HTML's, names included";

    auto htmlOnly =
        FGBaseMutableMessage::newWithHeaders(headers, std::nullopt, u"<p>Hi</p>", {}, kFGMessageCreationHTMLOnly);
    EXPECT_EQ(shapeOf(htmlOnly->updateMimePartsWithContext(FGMimeUpdateContext::initWithType(0, false))), "text/html");
}
