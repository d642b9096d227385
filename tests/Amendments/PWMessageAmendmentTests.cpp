// The amendment framework: the registry and its quirks, dictionary and JSON forms, run order, and the
// driver's steps, logs, stops and checks.
#include <gtest/gtest.h>

#include "Amendments/AmendmentTestSupport.hpp"
#include "postwright/Amendments/AmendmentError.hpp"
#include "postwright/Amendments/PWAddRecipientAmendment.hpp"
#include "postwright/Amendments/PWApplyFormatAmendment.hpp"
#include "postwright/Amendments/PWBodyAmendment.hpp"
#include "postwright/Amendments/PWCryptoAmendments.hpp"
#include "postwright/Amendments/PWDateSentAmendment.hpp"
#include "postwright/Amendments/PWFragmentMimePartAmendment.hpp"
#include "postwright/Amendments/PWHeaderAmendment.hpp"
#include "postwright/Amendments/PWMakePlainTextAmendment.hpp"
#include "postwright/Amendments/PWPrepareDeliveryAmendment.hpp"
#include "postwright/Amendments/PWRemoveBCCAmendment.hpp"
#include "postwright/Amendments/PWSignatureAmendment.hpp"
#include "postwright/Amendments/PWSubjectAmendment.hpp"
#include "postwright/Base/DateEnvironment.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;
using test::ScriptedAmendment;

namespace {

class Registered : public ::testing::Test {
protected:
    static void SetUpTestSuite() { PWMessageAmendment::registerStandardAmendmentClasses(); }
};

std::vector<std::string> classNames(const PWMessageAmendmentList& list) {
    std::vector<std::string> names;
    for (const auto& amendment : list) names.push_back(toUTF8(amendment->objectClass().name));
    return names;
}

class Strings : public StringTable {
public:
    OptString localizedString(std::u16string_view key, std::u16string_view) override {
        if (key == u"FGPostwrightError:AmendedMessage Malformed") return std::u16string(u"Nachricht fehlerhaft");
        return std::nullopt;
    }
};

}  // namespace

TEST_F(Registered, TheRegistryMapsIdentifiersAndKeepsItsQuirks) {
    std::vector<std::u16string> identifiers = PWMessageAmendment::registeredIdentifiers();
    for (const char16_t* expected : {u"NoAmendment", u"Header", u"PrepareDelivery", u"Encrypt", u"FragmentMimeParts"}) {
        EXPECT_NE(std::find(identifiers.begin(), identifiers.end(), expected), identifiers.end()) << toUTF8(expected);
    }
    EXPECT_EQ(PWMessageAmendment::classForAmendmentTypeIdentifier(u"NoAmendment"),
              &PWMessageAmendment::amendmentClass())
        << "the date-sent and remove-Bcc amendments do not take the base's identifier over";

    test::ScopedRecordingLogger logger;
    static const PWAmendmentClass unidentified{u"PWNamelessAmendment", std::nullopt, nullptr};
    PWMessageAmendment::registerMessageAmendmentClass(unidentified);
    EXPECT_EQ(logger->messages(),
              std::vector<std::string>{"Error Rule Action Class \"PWNamelessAmendment\" is not properly identified"});
    EXPECT_EQ(PWMessageAmendment::registeredIdentifiers().size(), identifiers.size());

    // Unknown, missing or non-text types give a plain amendment, which changes nothing.
    for (const PWAmendmentDictionary& dictionary :
         {PWAmendmentDictionary{{"amendmentType", "NoSuchThing"}}, PWAmendmentDictionary::object(),
          PWAmendmentDictionary{{"amendmentType", 3}}, PWAmendmentDictionary()}) {
        EXPECT_EQ(PWMessageAmendment::newWithDictionaryRepresentation(dictionary)->objectClass().name,
                  u"PWMessageAmendment");
    }
    // A later registration of an identifier replaces the earlier one.
    PWMessageAmendment::registerMessageAmendmentClass(ScriptedAmendment::amendmentClass());
    EXPECT_EQ(PWMessageAmendment::classForAmendmentTypeIdentifier(u"Scripted"), &ScriptedAmendment::amendmentClass());
}

TEST_F(Registered, DictionaryFormsRoundTripExceptWhatIsNeverWritten) {
    const std::pair<PWMessageAmendmentRef, std::string> cases[] = {
        {PWHeaderAmendment::initWithHeaderKey(u"X-Rule", u"7"),
         R"({"amendmentType":"Header","headerKey":"X-Rule","headerValue":"7"})"},
        {PWSubjectAmendment::newWithSubjectTemplate(u"Fwd: {{subject}}"),
         R"({"amendmentType":"Subject","template":"Fwd: {{subject}}"})"},
        {PWAddRecipientAmendment::initWithRecipients(
             {PWEmailAddress::emailAddressWithRawAddress(u"Ann <ann@x.example>")}, kPWRecipientTypeCc),
         R"({"amendmentType":"AddRecipient","addresses":["Ann <ann@x.example>"],"recipientType":4})"},
        {PWPrepareDeliveryAmendment::initWithXMailer(u" Mailer 1.0\nsecond line "),
         R"({"amendmentType":"PrepareDelivery","xmailer":"Mailer 1.0"})"},
        {PWSignatureAmendment::newWithSignatureIdentifier(u"work"),
         R"({"amendmentType":"Signature","signatureIdentifier":"work"})"},
        {PWBodyAmendment::newWithBodyTemplate(u"Hi {{body}}"), R"({"amendmentType":"Body"})"},
        {PWDecryptAmendment::newWithPGPPrivateKey(Data::withString("KEY"), u"secret"),
         R"({"amendmentType":"Decrypt"})"},
        {PWDateSentAmendment::newWithDate(0),
         R"({"amendmentType":"NoAmendment","date":"Thu, 1 Jan 1970 00:00:00 +0000"})"},
        {PWRemoveBCCAmendment::init(), R"({"amendmentType":"NoAmendment"})"},
    };
    DateEnvironment::Override utc(std::nullopt, "UTC");
    for (const auto& [amendment, json] : cases) {
        EXPECT_EQ(amendment->jsonRepresentation(), json);
        PWMessageAmendmentRef back = PWMessageAmendment::initWithJsonRepresentation(json, amendment->objectClass());
        EXPECT_EQ(back->jsonRepresentation(), amendment->jsonRepresentation()) << json;
    }
    EXPECT_EQ(PWMessageAmendment::newWithDictionaryRepresentation(
                  PWDateSentAmendment::newWithDate(0)->dictionaryRepresentation())
                  ->objectClass()
                  .name,
              u"PWMessageAmendment")
        << "a date-sent amendment comes back as a plain one";
    auto body = std::static_pointer_cast<PWBodyAmendment>(PWMessageAmendment::initWithJsonRepresentation(
        PWBodyAmendment::newWithBodyTemplate(u"x {{body}}")->jsonRepresentation(), PWBodyAmendment::amendmentClass()));
    EXPECT_EQ(body->bodyTemplate(), std::nullopt);
    EXPECT_EQ(PWPrepareDeliveryAmendment::initWithXMailer(u"  \n ")->xMailerHeaderValue(), std::nullopt);
    try {
        PWApplyFormatAmendment::initWithCSSDict({}, false);
        FAIL();
    } catch (const ProgrammingError& error) {
        EXPECT_STREQ(error.what(), "This class should not be used and will be deprecated soon.");
    }
    auto format =
        std::static_pointer_cast<PWApplyFormatAmendment>(PWApplyFormatAmendment::initWithDictionaryRepresentation(
            {{"amendmentType", "ApplyFormat"}, {"content", "not a dictionary"}, {"preventAutoPlainText", true}}));
    EXPECT_TRUE(format->cssDictionary().is_null());
    EXPECT_TRUE(format->preventAutoConvertToPlainText());
}

TEST_F(Registered, AmendmentsRunByHintAndEqualHintsKeepTheirOrder) {
    PWMessageAmendmentList list = {PWEncryptAmendment::init(), PWHeaderAmendment::initWithHeaderKey(u"A", u"1"),
                                   PWPrepareDeliveryAmendment::initWithXMailer(std::nullopt)};
    EXPECT_EQ(classNames(PWMessageAmendment::sortedByApplicationOrder(list)),
              (std::vector<std::string>{"PWHeaderAmendment", "PWPrepareDeliveryAmendment", "PWEncryptAmendment"}));
    PWMessageAmendmentList full = {PWEncryptAmendment::init(),
                                   PWCryptoSignAmendment::init(),
                                   PWRemoveBCCAmendment::init(),
                                   PWFragmentMimePartAmendment::init(),
                                   PWPrepareDeliveryAmendment::initWithXMailer(std::nullopt),
                                   PWMakePlainTextAmendment::init(),
                                   PWSubjectAmendment::newWithSubjectTemplate(u"x"),
                                   PWHeaderAmendment::initWithHeaderKey(u"B", u"2"),
                                   PWDateSentAmendment::init()};
    full.insert(full.begin() + 3,
                PWMessageAmendment::newWithDictionaryRepresentation({{"amendmentType", "ApplyFormat"}}));
    EXPECT_EQ(classNames(PWMessageAmendment::sortedByApplicationOrder(full)),
              (std::vector<std::string>{"PWSubjectAmendment", "PWHeaderAmendment", "PWDateSentAmendment",
                                        "PWMakePlainTextAmendment", "PWApplyFormatAmendment",
                                        "PWPrepareDeliveryAmendment", "PWFragmentMimePartAmendment",
                                        "PWRemoveBCCAmendment", "PWCryptoSignAmendment", "PWEncryptAmendment"}));
}

TEST_F(Registered, TheDriverLogsEveryStepAndMergesUserInfo) {
    auto message = test::messageOf(test::kSimpleMessage);
    message->messageContents()->setUserInfo({{"kept", 1}, {"b", 0}});
    auto context = PWMessageAmendmentContext::newWithContextType(1);
    auto lines = std::make_shared<test::RecordingAmendmentLogger>();
    context->setLogger(lines);
    auto first = ScriptedAmendment::make(10, [](FGBaseMutableMessage&, const PWMessageAmendmentContext&, ErrorRef*) {
        auto result = PWAmendmentResult::init();
        result->userInfo = {{"a", 1}, {"b", 1}};
        return result;
    });
    auto second =
        ScriptedAmendment::make(20, [](FGBaseMutableMessage& working, const PWMessageAmendmentContext&, ErrorRef*) {
            working.setPlainText(u"longer text than before");
            working.setHtml(std::nullopt);
            auto result = PWAmendmentResult::init();
            result->userInfo = {{"b", 2}};
            return result;
        });
    test::ScopedRecordingLogger host;
    ErrorRef error;
    PWMessageContentsRef amended =
        PWMessageAmendment::contentsByApplyingAmendments({second, first}, context, 0, *message, &error);
    ASSERT_NE(amended, nullptr) << (error ? toUTF8(error->localizedDescription) : "");
    EXPECT_EQ(amended->userInfo(), (nlohmann::json{{"kept", 1}, {"b", 2}, {"a", 1}}));
    EXPECT_EQ(message->messageContents()->userInfo(), (nlohmann::json{{"kept", 1}, {"b", 0}})) << "the source stays";

    std::string id = toUTF8(*message->contentIdentifier());
    std::vector<std::string> contextLines = lines->lines();
    ASSERT_EQ(contextLines.size(), 7u);
    EXPECT_EQ(contextLines[0], "[Amendment  " + id + "] Applying " + toUTF8(first->description()));
    EXPECT_EQ(contextLines[1], "[Amendment  " + id + "] Application result:");
    EXPECT_EQ(
        contextLines[2].rfind("[Amendment " + id + "] Amendment changes (context=1) to message with amendment (", 0),
        0u);
    EXPECT_NE(contextLines[2].find("original message length (9) \xE2\x80\x94 after amendment (9)"), std::string::npos)
        << contextLines[2];
    EXPECT_EQ(contextLines[6].rfind("[Amendment  " + id + "] amendedContent  <PWMessageContents ", 0), 0u);
    auto hostLines = host->lines();
    ASSERT_EQ(hostLines.size(), 4u);
    EXPECT_EQ(hostLines[0].first, "4904-\u2139\ufe0f") << "the visible text kept its length";
    EXPECT_EQ(hostLines[1].first, "4904-\U0001F6D1");
    EXPECT_EQ(
        hostLines[2].second.rfind("Post userInfo changes \xE2\x80\x94 original message length (9) \xE2\x80\x94 after "
                                  "setUserInfo (23): info:",
                                  0),
        0u)
        << hostLines[2].second;
    EXPECT_EQ(hostLines[3].second,
              "Returning amendedContents \xE2\x80\x94 original message length (9) \xE2\x80\x94 after setUserInfo (23)");

    // No amendments: a contents object of its own over the same bytes, with the merged userInfo.
    PWMessageContentsRef unchanged = PWMessageAmendment::contentsByApplyingAmendments({}, *message, &error);
    ASSERT_NE(unchanged, nullptr);
    EXPECT_NE(unchanged, message->messageContents());
    EXPECT_TRUE(unchanged->contentData() == message->messageContents()->contentData());
    EXPECT_EQ(unchanged->userInfo(), (nlohmann::json{{"kept", 1}, {"b", 0}}));
}

TEST_F(Registered, TheFirstErrorStopsTheRunAndAMalformedResultIsAnError) {
    auto message = test::messageOf(test::kSimpleMessage);
    std::vector<std::string> ran;
    auto later = ScriptedAmendment::make(50, nullptr, &ran, "later");
    auto failing = PWHeaderAmendment::initWithHeaderKey(u"X-Empty", u"");
    ErrorRef error;
    test::ScopedRecordingLogger quiet;
    EXPECT_EQ(PWMessageAmendment::contentsByApplyingAmendments({later, failing}, *message, &error), nullptr);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->domain, "com.fennelgate.MessageAmendementError");
    EXPECT_EQ(error->code, 1);
    EXPECT_EQ(error->localizedDescription, u"Amendment was incomplete");
    EXPECT_TRUE(ran.empty()) << "later amendments do not run";

    // A root whose bytes begin with a blank line is not well formed.
    auto breaking =
        ScriptedAmendment::make(10, [](FGBaseMutableMessage& working, const PWMessageAmendmentContext&, ErrorRef*) {
            working.setRootMimePartOfContents(
                PWMimePart::newMimePartWithRFC2822Data(Data::withString("\r\nX-A: b\r\n\r\nbody\r\n"), u"0"));
            return PWAmendmentResult::init();
        });
    EXPECT_EQ(PWMessageAmendment::contentsByApplyingAmendments({later, breaking}, *message, &error), nullptr);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, kPWAmendmentErrorMalformed);
    EXPECT_EQ(error->localizedDescription, u"Amended Message is Malformed");
    EXPECT_EQ(error->userInfo.at("amendmentsApplied"),
              u"Amendments applied: (" + breaking->description() + u", " + later->description() + u")");
    {
        Application::shared().setStrings(std::make_shared<Strings>());
        PWMessageAmendment::contentsByApplyingAmendments({breaking}, *message, &error);
        EXPECT_EQ(error->localizedDescription, u"Nachricht fehlerhaft") << "looked up in the host's tables";
        Application::shared().setStrings(nullptr);
    }
    try {
        PWMessageAmendment::contentsByApplyingAmendments({breaking}, *message, nullptr);
        FAIL() << "without an error slot a malformed result is a broken contract";
    } catch (const ProgrammingError& thrown) {
        EXPECT_STREQ(thrown.what(), "amended contents is not well formed");
    }
    EXPECT_TRUE(message->messageContents()->isWellFormed()) << "the source is never changed";
}

TEST_F(Registered, MessagesRunAmendments) {
    auto message = test::messageOf(test::kSimpleMessage);
    ErrorRef error;
    auto amended = message->messageByApplyingAmendments(
        {PWSubjectAmendment::newWithSubjectTemplate(u"Re: {{subject}}")}, nullptr, 0, &error);
    ASSERT_NE(amended, nullptr);
    EXPECT_EQ(amended->subject(), u"Re: Hello");
    EXPECT_EQ(message->subject(), u"Hello");

    // The editable message applies them to itself in the order given, without the driver.
    auto draft = test::mutableOf(test::kSimpleMessage);
    std::vector<std::string> ran;
    auto result = draft->messageByApplyingAmendments(
        {ScriptedAmendment::make(90, nullptr, &ran, "first"), PWHeaderAmendment::initWithHeaderKey(u"X-A", u"1"),
         PWHeaderAmendment::initWithHeaderKey(u"X-B", std::nullopt),
         ScriptedAmendment::make(1, nullptr, &ran, "never")},
        nullptr, 0, &error);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(ran, std::vector<std::string>{"first"});
    EXPECT_EQ(draft->headers()->firstHeaderForKey(u"X-A"), u"1") << "what was applied stays applied";

    // The base amendment needs well-formed contents.
    auto empty = FGBaseMutableMessage::init();
    try {
        PWMessageAmendment::init()->resultByApplyingToMutableMessage(
            *empty, *PWMessageAmendmentContext::newWithContextType(1), 0, &error);
        FAIL();
    } catch (const ProgrammingError& thrown) {
        EXPECT_STREQ(thrown.what(), "amended contents is not well formed");
    }
}
