// Prepare delivery: the headers a message goes out with, and the HTML cleaned of the editor's markup.
#include <gtest/gtest.h>

#include "Amendments/AmendmentTestSupport.hpp"
#include "postwright/Amendments/PWPrepareDeliveryAmendment.hpp"
#include "postwright/Base/DateEnvironment.hpp"

using namespace postwright;

namespace {

struct Prepared {
    std::shared_ptr<FGBaseMutableMessage> message;
    PWMessageContentsRef written;
    std::vector<std::string> lines;
    ErrorRef error;
};

Prepared prepare(std::string_view bytes, uint64_t contextType = 4, const OptString& xMailer = u"Postwright",
                 const OptString& html = std::nullopt) {
    Prepared prepared;
    prepared.message = test::mutableOf(bytes);
    if (html) prepared.message->setHtml(html);
    auto context = PWMessageAmendmentContext::newWithContextType(contextType);
    context->setIdentifier(u"run-1");
    auto logger = std::make_shared<test::RecordingAmendmentLogger>();
    context->setLogger(logger);
    PWPrepareDeliveryAmendment::initWithXMailer(xMailer)->resultByApplyingToMutableMessage(*prepared.message, *context,
                                                                                           0, &prepared.error);
    prepared.written = test::rereadContents(prepared.message->messageContents());
    prepared.lines = logger->lines();
    return prepared;
}

std::string bodyHTML(const Prepared& prepared) {
    auto document = HTMLDocument::documentWithString(prepared.message->html().value_or(u""));
    return toUTF8(document->body()->innerHTML());
}

const char* const kDraft =
    "From: Ann <ann@example.com>\r\n"
    "Sender: Ann <ann@example.com>\r\n"
    "To: bob@example.org\r\n"
    "Subject: Draft\r\n"
    "X-Orwin-Composer-Id: abc\r\n"
    "X-Orwin-Composer-Sending-Account-Id: acct\r\n"
    "X-Unsent: 1\r\n"
    "X-Fennelgate-Id: x\r\n"
    "X-Mailer: Old\r\n"
    "\r\n"
    "Body\r\n";

}  // namespace

TEST(PrepareDelivery, TheHeadersAMessageGoesOutWith) {
    DateEnvironment::Override pinned(1709629440000.0, "UTC");
    Prepared prepared = prepare(kDraft);
    EXPECT_EQ(prepared.error, nullptr);
    PWMessageHeadersRef headers = prepared.written->headers();
    EXPECT_EQ(headers->firstHeaderForKey(u"Message-Id"), u"<abc@example.com>");
    EXPECT_EQ(headers->firstHeaderForKey(u"X-Mailer"), u"Postwright");
    EXPECT_EQ(headers->firstHeaderForKey(u"Date"), u"Tue, 5 Mar 2024 09:04:00 +0000");
    for (const char16_t* gone :
         {u"X-Orwin-Composer-Id", u"X-Orwin-Composer-Sending-Account-Id", u"X-Unsent", u"X-Fennelgate-Id", u"Sender"}) {
        EXPECT_FALSE(headers->firstHeaderForKey(gone)) << toUTF8(gone);
    }
    EXPECT_EQ(prepared.lines, (std::vector<std::string>{
                                  "[Amendment run-1] PrepareDelivery: removing composer headers",
                                  "[Amendment run-1] PrepareDelivery: setting MessageId: <abc@example.com>",
                                  "[Amendment run-1] PrepareDelivery: cleaning up HTML",
                                  "[Amendment run-1] PrepareDelivery: cleaned up HTML \xF0\x9F\x8F\x81",
                                  "[Amendment run-1] PrepareDelivery:final message is well formed:",
                              }));

    // A Sender that differs only in case stays; without From the domain reads "(null)"; without a
    // composer id a new one is made.
    Prepared sender = prepare("From: ann@example.com\r\nSender: Ann@example.com\r\n\r\nb\r\n");
    EXPECT_TRUE(sender.written->headers()->firstHeaderForKey(u"Sender"));
    EXPECT_EQ(sender.written->headers()->firstHeaderForKey(u"Message-Id").value_or(u"").size(), 2u + 18 + 1 + 11);
    Prepared anonymous = prepare("X-Orwin-Composer-Id: abc\r\nSubject: s\r\n\r\nb\r\n", 4, std::nullopt);
    EXPECT_EQ(anonymous.written->headers()->firstHeaderForKey(u"Message-Id"), u"<abc@(null)>");
    EXPECT_FALSE(anonymous.written->headers()->firstHeaderForKey(u"X-Mailer"));
}

TEST(PrepareDelivery, OutsideDeliveryTheMessageIsOnlyChecked) {
    Prepared prepared = prepare(kDraft, 1);
    EXPECT_EQ(prepared.message->mutationFlags(), 0);
    EXPECT_EQ(prepared.written->headers()->firstHeaderForKey(u"X-Orwin-Composer-Id"), u"abc");
    EXPECT_EQ(prepared.lines,
              std::vector<std::string>{"[Amendment run-1] PrepareDelivery:final message is well formed:"});
}

TEST(PrepareDelivery, ParagraphsBecomeLineBrokenDivs) {
    const std::pair<std::u16string, std::string> cases[] = {
        {u"<p class=\"a\">One</p><p>Two</p>", "<div fg-note=\"\">One</div><div>Two</div>"},
        {u"<p><img src=\"a.png\"></p><p>end <b>bold</b></p>",
         "<div fg-note=\"\"><img src=\"a.png\"></div><div>end <b>bold</b><br></div>"},
        {u"<p><br class=\"fg-editing-enabler\"></p>", "<div fg-note=\"\"><br></div>"},
        {u"<p><span orw-id=\"7\" orw-mime-type=\"application/pdf\">r.pdf</span></p>",
         "<div fg-note=\"\"><span orw-id=\"7\" orw-mime-type=\"application/pdf\">r.pdf</span></div>"},
        {u"<p><a href=\"orw-https://example.com/\">orw-https://example.com/</a></p>",
         "<div fg-note=\"\"><a href=\"https://example.com/\">https://example.com/</a><br></div>"},
        {u"<div class=\"orwInlineAttachment orwInlineAttachmentImage\" contenteditable=\"true\">x</div>",
         "<div class=\"Image\">x</div>"},
        {u"<div id=\"FGSignatureContainer\" title=\"sig\">Ann</div>", "<div id=\"fg-sig-container\">Ann</div>"},
    };
    for (const auto& [html, expected] : cases) {
        Prepared prepared = prepare(kDraft, 4, u"x", u"<html><body>" + html + u"</body></html>");
        EXPECT_EQ(bodyHTML(prepared), expected) << toUTF8(html);
    }
    // Without HTML the body is sent as it is.
    auto plain = test::mutableOf(kDraft);
    plain->setHtml(std::nullopt);
    plain->setPlainText(u"Just text");
    auto context = PWMessageAmendmentContext::newWithContextType(4);
    PWPrepareDeliveryAmendment::initWithXMailer(std::nullopt)
        ->resultByApplyingToMutableMessage(*plain, *context, 0, nullptr);
    EXPECT_EQ(test::shapeOfMessage(*plain), "text/plain");
}
