// The editable message: opening, the header-backed and body properties, when contents are regenerated and
// from what, which tree comes out of which pieces, and the strictness of what is written.
#include <gtest/gtest.h>

#include "Message/MessageBuildingSupport.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Headers/HeaderNames.hpp"
#include "postwright/Message/FGBaseMutableMessage.hpp"
#include "postwright/Message/FGPostwrightMessage.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;
using test::shapeOf;

namespace {

const char kMultipartMessage[] =
    "From: Ann <ann@example.com>\r\n"
    "To: bob@example.org\r\n"
    "Subject: Figures\r\n"
    "Message-Id: <m1@example.com>\r\n"
    "MIME-Version: 1.0\r\n"
    "Content-Type: multipart/mixed; boundary=\"B\"\r\n"
    "\r\n"
    "--B\r\n"
    "Content-Type: multipart/alternative; boundary=\"A\"\r\n"
    "\r\n"
    "--A\r\n"
    "Content-Type: text/plain; charset=utf-8\r\n"
    "\r\n"
    "Hello Bob\r\n"
    "--A\r\n"
    "Content-Type: text/html; charset=utf-8\r\n"
    "\r\n"
    "<p>Hello <b>Bob</b></p>\r\n"
    "--A--\r\n"
    "--B\r\n"
    "Content-Type: application/pdf; name=report.pdf\r\n"
    "Content-Disposition: attachment; filename=report.pdf\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "\r\n"
    "JVBERi0xLjQK\r\n"  // lines as no encoder writes them: an edit that encoded again would join them
    "JSByZXBvcnQKJSVFT0YK\r\n"
    "--B--";

PWMessageContentsRef contentsOf(std::string_view bytes) {
    return PWMessageContents::initWithHeaderAndBodyData(Data::withString(bytes));
}

PWMessageHeadersRef headersOf(std::initializer_list<std::pair<std::u16string, std::u16string>> fields) {
    auto headers = PWMutableMessageHeaders::init();
    for (const auto& [name, value] : fields) headers->setHeader(value, name);
    return headers;
}

PWMimePartRef partOfType(const PWMimePartRef& root, std::u16string_view type) {
    auto found = root->mimePartsPassingTest([&](const PWMimePart& part) { return part.MIMEtype() == type; });
    return found.empty() ? nullptr : found.front();
}

}  // namespace

// ---- Opening --------------------------------------------------------------------------------------------------

TEST(FGBaseMutableMessageOpening, UntouchedMessagesGiveBackTheirVeryContents) {
    PWMessageContentsRef contents = contentsOf(kMultipartMessage);
    for (bool forAmending : {false, true}) {
        auto message = FGBaseMutableMessage::initWithMessageContents(contents, forAmending);
        EXPECT_EQ(message->mutationFlags(), 0);
        EXPECT_EQ(message->messageContents(), contents);
        EXPECT_EQ(message->messageContents(), contents) << "asking twice changes nothing";
    }
    // With forAmending, a new content id is not made: the message stays its source.
    auto amending = FGBaseMutableMessage::initWithMessageContents(contents, true, true);
    EXPECT_EQ(amending->headers()->firstHeaderForKey(PWMessageHeaderComposerIdKey), std::nullopt);
    EXPECT_EQ(amending->headerID(), u"m1@example.com");
    EXPECT_EQ(amending->messageContents(), contents);
}

TEST(FGBaseMutableMessageOpening, ANewContentIdGivesANewComposerIdAndMessageId) {
    auto message = FGBaseMutableMessage::initWithMessageContents(contentsOf(kMultipartMessage), false, true);
    EXPECT_EQ(message->mutationFlags(), kFGMessageMutatedHeaders);
    OptString composerId = message->headers()->firstHeaderForKey(PWMessageHeaderComposerIdKey);
    ASSERT_TRUE(composerId);
    EXPECT_EQ(composerId->size(), 18u);
    EXPECT_EQ(message->contentIdentifier(), *composerId);
    std::string messageId = toUTF8(*message->headers()->firstHeaderForKey(PWMessageHeaderMessageIdKey));
    std::string prefix = "<" + toUTF8(*composerId) + "#";
    ASSERT_EQ(messageId.rfind(prefix, 0), 0u) << messageId;
    EXPECT_TRUE(test::isUpperHex(messageId.substr(prefix.size(), 8), 8)) << messageId;
    EXPECT_EQ(messageId.substr(prefix.size() + 8), "@example.com>");
    // The regenerated message carries both.
    PWMessageContentsRef written = test::reread(message->messageContents());
    EXPECT_EQ(written->headers()->firstHeaderForKey(PWMessageHeaderComposerIdKey), composerId);
    EXPECT_EQ(written->headersMessageId(), fromUTF8(messageId));

    // A From without a domain: a UUID stands in for it.
    auto noDomain = FGBaseMutableMessage::initWithMessageContents(contentsOf("From: ann\r\nSubject: x\r\n\r\nBody\r\n"),
                                                                  false, true);
    std::string id = toUTF8(*noDomain->headers()->firstHeaderForKey(PWMessageHeaderMessageIdKey));
    ASSERT_EQ(id.size(), 1u + 18 + 1 + 8 + 1 + 36 + 1) << id;
    EXPECT_EQ(id[19], '#');
    EXPECT_EQ(id[28], '@');
    EXPECT_TRUE(test::isUUIDText(id.substr(29, 36))) << id;
}

TEST(FGBaseMutableMessageOpening, TheBodyIsReadFromTheContents) {
    PWMessageContentsRef contents = contentsOf(kMultipartMessage);
    auto message = FGBaseMutableMessage::initWithMessageContents(contents);
    // Every text part, HTML included, trimmed and joined by CR LF.
    EXPECT_EQ(message->plainText(), u"Hello Bob\r\n<p>Hello <b>Bob</b></p>");
    ASSERT_EQ(message->attachments().size(), 1u);
    auto pdf = std::dynamic_pointer_cast<PWMimeAttachment>(message->attachments()[0]->mimePart());
    ASSERT_NE(pdf, nullptr);
    EXPECT_EQ(pdf->filename(), u"report.pdf");
    // The HTML is the message rendered for editing.
    std::u16string html = message->html().value_or(u"");
    EXPECT_NE(html.find(u"<p>Hello <b>Bob</b></p>"), std::u16string::npos) << toUTF8(html);
    EXPECT_EQ(message->mutationFlags(), 0) << "reading the pieces changes nothing";
    EXPECT_EQ(message->messageContents(), contents);
}

// ---- Header-backed properties --------------------------------------------------------------------------------

TEST(FGBaseMutableMessageHeaders, AHeaderEditRewritesOnlyTheHeaderBlock) {
    PWMessageContentsRef contents = contentsOf(kMultipartMessage);
    auto message = FGBaseMutableMessage::initWithMessageContents(contents);
    message->setSubject(u"Figures, \u00e9dition 2");
    EXPECT_EQ(message->mutationFlags(), kFGMessageMutatedHeaders);
    PWMessageContentsRef generated = message->messageContents();
    ASSERT_NE(generated, contents);
    EXPECT_EQ(message->messageContents(), generated) << "generated once, then kept";
    EXPECT_EQ(message->subject(), u"Figures, \u00e9dition 2") << "the headers are the generated ones now";

    PWMessageContentsRef written = test::reread(generated);
    EXPECT_EQ(written->headers()->subject(), u"Figures, \u00e9dition 2");
    EXPECT_EQ(written->headers()->firstHeaderForKey(u"Content-Id"), std::nullopt) << "no identifier is made up";
    std::vector<PWMimePartRef> before = contents->rootMimePart()->subParts();
    std::vector<PWMimePartRef> after = written->rootMimePart()->subParts();
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < before.size(); ++i) {
        EXPECT_TRUE(after[i]->mimeNSData() == before[i]->mimeNSData()) << "part " << i << " keeps its bytes";
    }
}

TEST(FGBaseMutableMessageHeaders, SettersWriteTheCollectionAndNilListsAreIgnored) {
    auto message = FGBaseMutableMessage::initWithMessageContents(contentsOf(kMultipartMessage));
    message->setInReplyToIDs(std::nullopt);
    message->setReferences(std::nullopt);
    EXPECT_EQ(message->mutationFlags(), 0);
    EXPECT_FALSE(message->headers()->mutated());

    message->setReferences(std::vector<std::u16string>{u"a@example.com", u"<b@example.com>"});
    EXPECT_EQ(message->headers()->firstHeaderForKey(PWMessageHeaderReferencesKey), u"<a@example.com>, <b@example.com>");
    message->setRecipients(PWEmailAddressList{PWEmailAddress::emailAddressWithRawAddress(u"Carl <carl@example.net>")});
    EXPECT_EQ(message->headers()->firstHeaderForKey(PWMessageHeaderToKey), u"Carl <carl@example.net>");
    message->setHeaderID(std::nullopt);
    EXPECT_EQ(message->headerID(), std::nullopt);
    message->setDateReceived(0);
    EXPECT_EQ(message->mutationFlags(), kFGMessageMutatedHeaders);
    try {
        message->setContentIdentifier(u"x");
        FAIL() << "setting the content identifier must throw";
    } catch (const ProgrammingError& error) {
        EXPECT_STREQ(error.what(), "Should not be setting the contentIdentifier directly");
    }
}

TEST(FGBaseMutableMessageHeaders, EditsOnTheCollectionItselfAreNeverLost) {
    // Before any generation: the edit is written, even when the collection's identifier was computed after
    // it (which clears the collection's own changed flag).
    auto message = FGBaseMutableMessage::initWithMessageContents(contentsOf(kMultipartMessage));
    message->headers()->setHeader(u"yes", u"X-Flag");
    EXPECT_FALSE(message->contentIdentifier().empty());
    EXPECT_FALSE(message->headers()->mutated());
    EXPECT_EQ(test::reread(message->messageContents())->headers()->firstHeaderForKey(u"X-Flag"), u"yes");

    // After generation the collection is the generated message's own: an edit shows at once.
    PWMessageContentsRef generated = message->messageContents();
    message->headers()->setHeader(u"later", u"X-Later");
    EXPECT_EQ(message->messageContents(), generated);
    EXPECT_EQ(test::reread(generated)->headers()->firstHeaderForKey(u"X-Later"), u"later");
}

// ---- Body -----------------------------------------------------------------------------------------------------

TEST(FGBaseMutableMessageBody, BodySettersMarkTheirBitsAndDropGeneratedContents) {
    auto message = FGBaseMutableMessage::initWithMessageContents(contentsOf(kMultipartMessage));
    EXPECT_FALSE(message->forcePlainText());
    message->setPlainText(u"New text");
    EXPECT_TRUE(message->forcePlainText()) << "plain text and the force-plain-text request share one bit";
    PWMessageContentsRef first = message->messageContents();
    message->setForcePlainText(false);
    EXPECT_EQ(message->messageContents(), first) << "the request alone does not regenerate";
    EXPECT_EQ(message->mutationFlags(), 0);

    message->setHtml(u"<p>New <i>HTML</i></p>");
    EXPECT_EQ(message->mutationFlags(), kFGMessageMutatedHTML);
    PWMessageContentsRef second = message->messageContents();
    EXPECT_NE(second, first);
    // Setting the attachment list marks nothing; markMutatedBody makes it count.
    message->setAttachments({});
    EXPECT_EQ(message->messageContents(), second);
    message->markMutatedBody();
    EXPECT_EQ(test::shapeOf(message->messageContents()->rootMimePart()), "multipart/alternative[text/plain,text/html]");
}

TEST(FGBaseMutableMessageBody, WhichTreeComesOutOfWhichPieces) {
    PWMessageHeadersRef headers = headersOf({{u"From", u"ann@example.com"}, {u"Subject", u"Trees"}});
    auto chart = test::pngAttachment(u"chart.png", u"chart@example.com");
    auto report = test::pdfAttachment();
    auto empty = FGFileAttachment::attachmentWithData(Data(), u"empty.txt");
    const std::u16string withImage = u"<p>See:</p><p><img src=\"" + *chart->resourceURL() + u"\"></p>";
    const std::u16string linkingReport = u"<p><img src=\"" + *report->resourceURL() + u"\"></p>";

    struct Case {
        const char* name;
        OptString text, html;
        FGAttachmentList attachments, related;
        uint64_t options;
        std::string shape;
    };
    const Case cases[] = {
        {"text", u"Hi", std::nullopt, {}, {}, 0, "text/plain"},
        {"HTML gets its plain text",
         std::nullopt,
         u"<p>Hi</p>",
         {},
         {},
         0,
         "multipart/alternative[text/plain,text/html]"},
        {"HTML only", u"Hi", u"<p>Hi</p>", {}, {}, kFGMessageCreationHTMLOnly, "text/html"},
        {"inline image",
         u"See",
         withImage,
         {},
         {chart},
         0,
         "multipart/related[multipart/alternative[text/plain,text/html],image/png]"},
        {"inline image and attachment",
         u"See",
         withImage,
         {report},
         {chart},
         0,
         "multipart/mixed[multipart/related[multipart/alternative[text/plain,text/html],image/png],application/pdf]"},
        {"image the HTML does not show",
         u"See",
         u"<p>x</p>",
         {},
         {chart},
         0,
         "multipart/mixed[multipart/alternative[text/plain,text/html],image/png]"},
        {"an empty attachment is left out", u"Hi", std::nullopt, {empty}, {}, 0, "multipart/mixed[text/plain]"},
        {"a PDF shown by the HTML",
         std::nullopt,
         linkingReport,
         {report},
         {},
         kFGMessageCreationHTMLOnly,
         "multipart/related[text/html,application/pdf]"},
        {"attachments only", std::nullopt, std::nullopt, {report}, {}, 0, "multipart/mixed[application/pdf]"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto message = FGBaseMutableMessage::newWithHeaders(headers, c.text, c.html, c.attachments, c.options);
        message->setHtmlRelatedAttachments(c.related);
        PWMessageContentsRef contents = message->messageContents();
        ASSERT_NE(contents, nullptr);
        PWMessageContentsRef written = test::reread(contents);
        EXPECT_EQ(shapeOf(written->rootMimePart()), c.shape);
        EXPECT_EQ(written->headers()->subject(), u"Trees");
        if (!written->rootMimePart()->isKindOfClass(PWMultipartMixedMimePart::mimeClass())) {
            EXPECT_TRUE(written->rootMimePart()->charset()) << "a body without attachments has a charset";
        }
    }
}

TEST(FGBaseMutableMessageBody, InlineResourcesAreShownByTheirRFC2392URLs) {
    auto chart = test::pngAttachment(u"chart.png", u"chart@example.com");
    auto report = test::pdfAttachment();
    auto message = FGBaseMutableMessage::newWithHeaders(
        nullptr, std::nullopt,
        u"<p><img src=\"" + *chart->resourceURL() + u"\"><img src=\"" + *report->resourceURL() + u"\"></p>", {}, 0);
    message->setHtmlRelatedAttachments({chart, report});
    PWMessageContentsRef written = test::reread(message->messageContents());
    PWMimePartRef html = partOfType(written->rootMimePart(), u"text/html");
    std::u16string text = html->htmlContent().value_or(u"");
    EXPECT_NE(text.find(u"src=\"cid:chart@example.com\""), std::u16string::npos) << toUTF8(text);
    EXPECT_EQ(text.find(FGWebViewContentIdSchemeKey), std::u16string::npos);
    PWMimePartRef image = partOfType(written->rootMimePart(), u"image/png");
    EXPECT_EQ(image->contentId(), u"chart@example.com");
    EXPECT_EQ(image->contentDisposition()->text(u"@type"), u"inline");
    EXPECT_EQ(partOfType(written->rootMimePart(), u"application/pdf")->contentDisposition()->text(u"@type"),
              u"attachment");
}

TEST(FGBaseMutableMessageBody, NewMessagesAndTheirComposerId) {
    PWMessageHeadersRef headers = headersOf({{u"To", u"bob@example.org"}, {u"Subject", u"Id"}});
    std::u16string expected = headers->mutableCopy()->contentIdentifier();
    auto message = FGBaseMutableMessage::newWithHeaders(headers, u"x", std::nullopt, {}, 0);
    EXPECT_EQ(message->headers()->firstHeaderForKey(PWMessageHeaderComposerIdKey), expected);
    EXPECT_EQ(message->mutationFlags(), kFGMessageMutatedPlainText | kFGMessageMutatedHTML);
    EXPECT_EQ(headers->firstHeaderForKey(PWMessageHeaderComposerIdKey), std::nullopt) << "the given headers stay";

    auto withId = headersOf({{u"X-Orwin-Composer-Id", u"abcdefghijklmnopqr"}});
    auto without = FGBaseMutableMessage::newWithHeaders(withId, u"x", std::nullopt, {}, kFGMessageCreationNoComposerId);
    EXPECT_EQ(without->headers()->firstHeaderForKey(PWMessageHeaderComposerIdKey), std::nullopt);

    auto empty = FGBaseMutableMessage::init();
    EXPECT_EQ(empty->headers()->firstHeaderForKey(PWMessageHeaderComposerIdKey).value_or(u"").size(), 18u);
    EXPECT_NE(empty->contentIdentifier(), FGBaseMutableMessage::init()->contentIdentifier());
    EXPECT_EQ(empty->messageContents(), nullptr) << "nothing to write";
}

TEST(FGBaseMutableMessageBody, OutputIsStrict) {
    PWMessageHeadersRef headers = headersOf({{u"From", u"ann@example.com"},
                                             {u"X-Note", u"first\r\nBcc: mallory@example.com"},
                                             {u"X-Long", std::u16string(300, u'a') + u" end"}});
    auto message = FGBaseMutableMessage::newWithHeaders(headers, std::u16string(500, u'x') + u"\n\u00e9\u00e9",
                                                        u"<p>" + std::u16string(400, u'y') + u"</p>", {}, 0);
    message->setSubject(u"Hi\r\nBcc: eve@example.com " + std::u16string(40, u'\u00fc'));
    std::string bytes = test::bytesOf(message->messageContents());
    EXPECT_NE(bytes.find("MIME-Version: 1.0\r\n"), std::string::npos);

    size_t headerEnd = bytes.find("\r\n\r\n");
    ASSERT_NE(headerEnd, std::string::npos);
    size_t start = 0;
    while (start < bytes.size()) {
        size_t end = bytes.find('\n', start);
        if (end == std::string::npos) end = bytes.size();
        std::string line = bytes.substr(start, end - start);
        if (end < bytes.size()) {
            ASSERT_FALSE(line.empty()) << "bare LF at " << end;
            ASSERT_EQ(line.back(), '\r') << "bare LF at " << end;
            line.pop_back();
        }
        // Body lines are quoted-printable (76 at most); header lines fold below 79 wherever they can.
        bool breakable = line.find(' ', 1) != std::string::npos;
        if (start > headerEnd) {
            EXPECT_LE(line.size(), 76u) << line;
        } else if (breakable) {
            EXPECT_LE(line.size(), 79u) << line;
        }
        EXPECT_NE(line.rfind("Bcc:", 0), 0u) << "a value started a header line: " << line;
        start = end + 1;
    }
    PWMessageContentsRef written = test::reread(message->messageContents());
    EXPECT_EQ(written->headers()->firstHeaderForKey(PWMessageHeaderBccKey), std::nullopt);
    EXPECT_EQ(written->headers()->firstHeaderForKey(u"X-Long").value_or(u"").size(), 304u);
}

TEST(FGBaseMutableMessageBody, ANewBodyForAMessageStoredWithLineFeedsIsAllCRLF) {
    std::string stored = kMultipartMessage;
    for (size_t at; (at = stored.find("\r\n")) != std::string::npos;) stored.erase(at, 1);
    PWMessageContentsRef contents = contentsOf(stored);
    auto message = FGBaseMutableMessage::initWithMessageContents(contents);
    message->setPlainText(u"New text");
    message->setHtml(std::nullopt);
    std::string bytes = test::bytesOf(message->messageContents());
    for (size_t at = bytes.find('\n'); at != std::string::npos; at = bytes.find('\n', at + 1)) {
        ASSERT_TRUE(at > 0 && bytes[at - 1] == '\r') << "bare LF at " << at << " in\n" << bytes;
    }
    PWMimePartRef pdf = partOfType(test::reread(message->messageContents())->rootMimePart(), u"application/pdf");
    ASSERT_NE(pdf, nullptr);
    EXPECT_TRUE(pdf->transferDecodedData() == Data::withString("%PDF-1.4\n% report\n%%EOF\n"));
    EXPECT_EQ(contents->rootMimePart()->subParts()[1]->parent(), contents->rootMimePart())
        << "the opened message's own tree keeps its attachment";
}

// ---- Copies ----------------------------------------------------------------------------------------------------

TEST(FGBaseMutableMessageCopies, CopiesOpenTheCurrentContents) {
    std::string draft = std::string("X-Orwin-Composer-Id: abcdefghijklmnopqr\r\n") + kMultipartMessage;
    PWMessageContentsRef contents = contentsOf(draft);
    auto message = FGPostwrightMessage::initWithMessageContents(contents);
    auto copy = message->mutableCopy();
    EXPECT_EQ(copy->headers()->firstHeaderForKey(PWMessageHeaderComposerIdKey), u"abcdefghijklmnopqr");
    EXPECT_EQ(copy->messageContents(), contents) << "an untouched copy is its source";
    auto amendable = message->amendableCopy();
    EXPECT_EQ(amendable->messageContents(), contents);
    EXPECT_EQ(FGPostwrightMessage::initWithMessageContents(contents, false)->mutableCopy()->messageContents(), nullptr)
        << "without cached contents there is nothing to copy";

    copy->setSubject(u"Changed");
    auto second = copy->mutableCopy();
    EXPECT_EQ(second->subject(), u"Changed") << "a copy opens the current contents";
    EXPECT_EQ(second->mutationFlags(), 0);
}
