// The body amendments: the body template, plain-text delivery, the host's signature and encryption
// services, MIME fragmentation, the inert ones, and the decryption scratch folder.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "Amendments/AmendmentTestSupport.hpp"
#include "postwright/Amendments/AmendmentError.hpp"
#include "postwright/Amendments/FGMessageEncryptionManager.hpp"
#include "postwright/Amendments/PWApplyFormatAmendment.hpp"
#include "postwright/Amendments/PWBodyAmendment.hpp"
#include "postwright/Amendments/PWCryptoAmendments.hpp"
#include "postwright/Amendments/PWFragmentMimePartAmendment.hpp"
#include "postwright/Amendments/PWMakePlainTextAmendment.hpp"
#include "postwright/Amendments/PWPlaceholderExpansionAmendment.hpp"
#include "postwright/Amendments/PWSignatureAmendment.hpp"
#include "postwright/Message/FGFileAttachment.hpp"

using namespace postwright;

namespace {

PWAmendmentResultRef apply(PWMessageAmendment& amendment, FGBaseMutableMessage& message, uint64_t contextType,
                           ErrorRef* error = nullptr, nlohmann::json userInfo = nullptr) {
    return amendment.resultByApplyingToMutableMessage(
        message, *PWMessageAmendmentContext::newWithContextType(contextType, std::move(userInfo)), 0, error);
}

std::shared_ptr<FGBaseMutableMessage> composed(const OptString& text, const OptString& html) {
    return FGBaseMutableMessage::newWithHeaders(nullptr, text, html, {}, 0);
}

class RecordingSignatures : public PWSignatureModifier {
public:
    void updateMessage(FGBaseMutableMessage&, const OptString& identifier) override {
        calls.push_back(toUTF8(identifier.value_or(u"(none)")));
    }
    std::vector<std::string> calls;
};

// A service that wraps the body in a marker part, or fails with its own error.
class FakeEncryptionService : public FGMessageEncryptionManager {
public:
    PWMessageContentsRef contentsBySigningContents(const PWMessageContentsRef& contents, ErrorRef* error) override {
        return answer("signed", contents, error);
    }
    PWMessageContentsRef contentsByEncryptingContents(const PWMessageContentsRef& contents, ErrorRef* error) override {
        return answer("encrypted", contents, error);
    }
    PWMessageContentsRef contentsByDecryptingContents(const PWMessageContentsRef& contents, ErrorRef* error) override {
        return answer("decrypted", contents, error);
    }
    ErrorRef failure;
    std::vector<std::string> calls;

private:
    PWMessageContentsRef answer(const std::string& what, const PWMessageContentsRef&, ErrorRef* error) {
        calls.push_back(what);
        if (failure) {
            setSlot(error, failure);
            return nullptr;
        }
        return PWMessageContents::initWithHeaderAndBodyData(Data::withString(
            "From: ann@example.com\r\nSubject: " + what + "\r\nContent-Type: text/plain\r\n\r\n" + what + " body\r\n"));
    }
};

}  // namespace

TEST(BodyAmendments, BodyTemplatesWrapTheTextAndTheHTML) {
    auto message = composed(u"x", u"<html><body><p>x</p></body></html>");
    apply(*PWBodyAmendment::newWithBodyTemplate(u"Hi,{{body}}Bye"), *message, 1);
    EXPECT_EQ(message->plainText(), u"Hi,xBye");
    auto document = HTMLDocument::documentWithString(*message->html());
    EXPECT_EQ(toUTF8(document->body()->innerHTML()), "<div>Hi,</div><p>x</p><div>Bye</div>");

    auto twice = composed(u"x", u"<p>x</p>");
    apply(*PWBodyAmendment::newWithBodyTemplate(u"{{body}}{{body}}"), *twice, 1);
    EXPECT_EQ(twice->plainText(), u"xx");
    EXPECT_EQ(twice->html(), u"<p>x</p>") << "several placeholders leave the HTML alone";

    auto empty = composed(std::nullopt, u"<html><body></body></html>");
    apply(*PWBodyAmendment::newWithBodyTemplate(u"<b>Hi</b> {{body}}"), *empty, 1);
    auto emptyDocument = HTMLDocument::documentWithString(*empty->html());
    EXPECT_EQ(toUTF8(emptyDocument->body()->innerHTML()), "<div>&lt;b&gt;Hi&lt;/b&gt; </div>")
        << "an empty body gets the div; the template is text, not markup";
    EXPECT_EQ(empty->plainText(), std::nullopt);
}

TEST(BodyAmendments, PlainTextDeliveryOnlyInDeliveryAndTheInertOnesChangeNothing) {
    auto message = test::mutableOf(test::kSimpleMessage);
    apply(*PWMakePlainTextAmendment::init(), *message, 1);
    EXPECT_FALSE(message->forcePlainText());
    apply(*PWMakePlainTextAmendment::init(), *message, 4);
    EXPECT_TRUE(message->forcePlainText());

    auto untouched = test::mutableOf(test::kSimpleMessage);
    PWMessageContentsRef before = untouched->messageContents();
    ErrorRef error = incompleteAmendmentError();
    for (PWMessageAmendmentRef inert : {PWMessageAmendmentRef(PWPlaceholderExpansionAmendment::init()),
                                        PWMessageAmendmentRef(PWUploadAttachmentAmendment::init()),
                                        PWApplyFormatAmendment::initWithDictionaryRepresentation({})}) {
        for (uint64_t type : {0u, 1u, 4u}) apply(*inert, *untouched, type, &error);
        EXPECT_EQ(error, nullptr) << "the error slot is cleared";
    }
    EXPECT_EQ(untouched->messageContents(), before);
}

TEST(BodyAmendments, TheSignatureNeedsTheHostsModifierAndActsInContexts3And4) {
    PWSignatureAmendment::setSignatureModifier(nullptr);
    auto signature = PWSignatureAmendment::newWithSignatureIdentifier(u"work");
    for (uint64_t type : {0u, 1u, 2u, 3u, 4u}) {
        auto message = test::mutableOf(test::kSimpleMessage);
        ErrorRef error;
        apply(*signature, *message, type, &error);
        ASSERT_NE(error, nullptr) << type;
        EXPECT_EQ(error->code, kPWAmendmentErrorSignatureModifierMissing);
        EXPECT_EQ(error->localizedDescription, u"The signatureModifier property on PWSignatureAmendment is nil");
    }
    auto modifier = std::make_shared<RecordingSignatures>();
    PWSignatureAmendment::setSignatureModifier(modifier);
    for (uint64_t type : {0u, 1u, 2u, 3u, 4u}) {
        auto message = test::mutableOf(test::kSimpleMessage);
        apply(*signature, *message, type);
    }
    EXPECT_EQ(modifier->calls, (std::vector<std::string>{"work", "work"}));
    PWSignatureAmendment::setSignatureModifier(nullptr);
}

TEST(BodyAmendments, TheEncryptionServiceActsInItsContextAndItsErrorsPassThrough) {
    auto service = std::make_shared<FakeEncryptionService>();
    Application::shared().setMessageEncryptionManager(service);
    struct Case {
        PWMessageAmendmentRef amendment;
        uint64_t context;
        const char* subject;
    };
    const Case cases[] = {{PWCryptoSignAmendment::init(), 4, "signed"},
                          {PWEncryptAmendment::init(), 4, "encrypted"},
                          {PWDecryptAmendment::newWithPGPPrivateKey(std::nullopt, std::nullopt), 0, "decrypted"}};
    for (const Case& c : cases) {
        for (uint64_t type : {0u, 1u, 4u}) {
            auto message = test::mutableOf(test::kSimpleMessage);
            PWMessageContentsRef source = message->messageContents();
            apply(*c.amendment, *message, type);
            PWMessageContentsRef written = test::rereadContents(message->messageContents());
            EXPECT_EQ(toUTF8(written->headers()->subject().value_or(u"")), type == c.context ? c.subject : "Hello")
                << c.subject << " in context " << type;
            EXPECT_EQ(source->headers()->subject(), u"Hello") << "the opened contents stay as they were";
        }
    }
    EXPECT_EQ(service->calls, (std::vector<std::string>{"signed", "encrypted", "decrypted"}));

    service->failure = makeError("com.example.keys", 42, u"No key for bob@example.org");
    auto message = test::mutableOf(test::kSimpleMessage);
    ErrorRef error;
    apply(*PWEncryptAmendment::init(), *message, 4, &error);
    EXPECT_EQ(error, service->failure) << "passed on unchanged";
    EXPECT_EQ(message->subject(), u"Hello");

    Application::shared().setMessageEncryptionManager(nullptr);
    auto unserved = test::mutableOf(test::kSimpleMessage);
    apply(*PWEncryptAmendment::init(), *unserved, 4, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(unserved->mutationFlags(), 0);
}

TEST(BodyAmendments, FragmentationRebuildsTheTreeForDelivery) {
    auto report = FGFileAttachment::attachmentWithData(Data::withString("%PDF-1.4"), u"report.pdf");
    std::u16string html =
        u"<p>Before</p><p><span orw-mime-type=\"application/pdf\" orw-name=\"report.pdf\" orw-src=\"" +
        *report->resourceURL() + u"\">report.pdf</span></p><p>After</p>";
    auto message = FGBaseMutableMessage::newWithHeaders(nullptr, std::nullopt, html, {report}, 0);
    std::string before = test::shapeOfMessage(*message);
    apply(*PWFragmentMimePartAmendment::init(), *message, 1);
    EXPECT_EQ(test::shapeOfMessage(*message), before) << "outside delivery nothing is rebuilt";
    apply(*PWFragmentMimePartAmendment::init(), *message, 4);
    EXPECT_EQ(test::shapeOfMessage(*message),
              "multipart/alternative[text/plain,multipart/mixed[text/html,application/pdf,text/html]]");

    auto exchange = FGBaseMutableMessage::newWithHeaders(nullptr, std::nullopt, html, {report}, 0);
    apply(*PWFragmentMimePartAmendment::init(), *exchange, 4, nullptr, {{"deliveryAccountIsExchange", "YES"}});
    EXPECT_EQ(test::shapeOfMessage(*exchange),
              "multipart/mixed[multipart/alternative[text/plain,text/html],application/pdf]");
}

TEST(BodyAmendments, TheDecryptionScratchFolderIsPrivate) {
    Application::shared().setBundleIdentifier("org.fgpostwright.tests");
    namespace fs = std::filesystem;
    fs::path expected = fs::temp_directory_path() / "org.fgpostwright.tests" / "pgpDecryptionCache";
    fs::remove_all(expected);
    fs::create_directories(expected.parent_path());
    std::ofstream(expected) << "a file where the folder goes";
    EXPECT_EQ(PWDecryptAmendment::messageDecryptionDirectory(), expected.string());
    struct stat info {};
    ASSERT_EQ(::stat(expected.c_str(), &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    fs::remove_all(expected.parent_path());
    Application::shared().setBundleIdentifier("");
    EXPECT_EQ(Application::shared().bundleIdentifier(), "org.fgpostwright.library");
}
