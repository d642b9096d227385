// The header amendments: recipients, one field, the subject template, the sent date and Bcc, with the
// context types each acts in.
#include <gtest/gtest.h>

#include "Amendments/AmendmentTestSupport.hpp"
#include "postwright/Amendments/AmendmentError.hpp"
#include "postwright/Amendments/PWAddRecipientAmendment.hpp"
#include "postwright/Amendments/PWDateSentAmendment.hpp"
#include "postwright/Amendments/PWHeaderAmendment.hpp"
#include "postwright/Amendments/PWRemoveBCCAmendment.hpp"
#include "postwright/Amendments/PWSubjectAmendment.hpp"
#include "postwright/Base/DateEnvironment.hpp"

using namespace postwright;

namespace {

PWAmendmentResultRef apply(PWMessageAmendment& amendment, FGBaseMutableMessage& message, uint64_t contextType,
                           ErrorRef* error = nullptr) {
    return amendment.resultByApplyingToMutableMessage(
        message, *PWMessageAmendmentContext::newWithContextType(contextType), 0, error);
}

std::shared_ptr<PWEmailAddress> address(std::u16string_view text) {
    return PWEmailAddress::emailAddressWithRawAddress(text);
}

OptString writtenField(FGBaseMutableMessage& message, std::u16string_view key) {
    return test::rereadContents(message.messageContents())->headers()->firstHeaderForKey(key, false);
}

}  // namespace

TEST(HeaderAmendments, AddRecipientJoinsTheFirstGroupOnly) {
    const char* twoGroups =
        "From: ann@example.com\r\nTo: Team: a@example.com, b@example.com;, Other: c@example.com;\r\n"
        "Subject: x\r\n\r\nbody\r\n";
    auto message = test::mutableOf(twoGroups);
    auto add = PWAddRecipientAmendment::initWithRecipients({address(u"Dee <dee@example.com>")}, kPWRecipientTypeTo);
    apply(*add, *message, 1);
    EXPECT_EQ(writtenField(*message, u"To"), u"Team:a@example.com, b@example.com, Dee <dee@example.com>;")
        << "the other groups are dropped by the write";

    // An address already there: nothing is written, the field keeps its exact text.
    auto again = test::mutableOf(twoGroups);
    apply(*PWAddRecipientAmendment::initWithRecipients({address(u"A@Example.com")}, kPWRecipientTypeTo), *again, 1);
    EXPECT_EQ(again->mutationFlags(), 0);
    EXPECT_FALSE(again->headers()->mutated());

    // No Bcc yet: one unnamed group. An unknown type: nothing at all.
    auto bcc = test::mutableOf(test::kSimpleMessage);
    apply(*PWAddRecipientAmendment::initWithRecipients({address(u"eve@example.com")}, kPWRecipientTypeBcc), *bcc, 1);
    EXPECT_EQ(writtenField(*bcc, u"Bcc"), u"eve@example.com");
    auto other = test::mutableOf(test::kSimpleMessage);
    apply(*PWAddRecipientAmendment::initWithRecipients({address(u"eve@example.com")}, 7), *other, 1);
    EXPECT_EQ(other->mutationFlags(), 0);

    auto read =
        std::static_pointer_cast<PWAddRecipientAmendment>(PWAddRecipientAmendment::initWithDictionaryRepresentation(
            {{"addresses", {"Ann <ann@example.com>", "not an address", 7}}, {"recipientType", 4}}));
    ASSERT_EQ(read->recipients().size(), 1u) << "unusable addresses are skipped";
    EXPECT_EQ(read->recipientType(), kPWRecipientTypeCc);
}

TEST(HeaderAmendments, HeaderSetsOneFieldOrReportsItIncomplete) {
    auto message = test::mutableOf("X-Rule: a\r\nX-Rule: b\r\nSubject: s\r\n\r\nbody\r\n");
    ErrorRef error;
    apply(*PWHeaderAmendment::initWithHeaderKey(u"x-rule", u"c"), *message, 1, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(test::rereadContents(message->messageContents())->headers()->headersForKey(u"X-Rule"),
              std::vector<std::u16string>{u"c"});

    for (auto [key, value] : {std::pair<OptString, OptString>{u"X-A", u""}, {u"", u"v"}, {std::nullopt, u"v"}}) {
        auto untouched = test::mutableOf(test::kSimpleMessage);
        PWAmendmentResultRef result = apply(*PWHeaderAmendment::initWithHeaderKey(key, value), *untouched, 1, &error);
        EXPECT_NE(result, nullptr) << "a result comes with the error";
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(error->code, kPWAmendmentErrorMalformed);
        EXPECT_EQ(error->localizedDescription, u"Amendment was incomplete");
        EXPECT_FALSE(untouched->headers()->mutated());
    }
    auto entry = PWMessageHeaderEntry::newWithFieldName(u"X-Entry", u"value", 0);
    EXPECT_EQ(PWHeaderAmendment::initWithHeaderEntry(*entry)->headerKey(), u"X-Entry");
}

TEST(HeaderAmendments, SubjectTemplates) {
    const std::tuple<const char*, const char16_t*, const char16_t*> cases[] = {
        {test::kSimpleMessage, u"Fwd: {{subject}}", u"Fwd: Hello"},
        {test::kSimpleMessage, u"{{subject}} {{subject}}", u"Hello Hello"},
        {test::kSimpleMessage, u"Replaced", u"Replaced"},
        {"From: a@example.com\r\n\r\nno subject\r\n", u"Fwd: {{subject}}", u"Fwd:"},
    };
    for (const auto& [bytes, subjectTemplate, expected] : cases) {
        auto message = test::mutableOf(bytes);
        apply(*PWSubjectAmendment::newWithSubjectTemplate(subjectTemplate), *message, 1);
        EXPECT_EQ(test::rereadContents(message->messageContents())->headers()->subject(), expected)
            << toUTF8(subjectTemplate);
    }
}

TEST(HeaderAmendments, DateSentAndBccActOnlyInTheirContexts) {
    DateEnvironment::Override pinned(1.7e12, "UTC");
    const double date = 1709629440000;  // Tue, 5 Mar 2024 09:04:00 +0000
    const char* withBcc =
        "From: a@example.com\r\nBcc: hidden@example.com\r\nDate: Mon, 1 Jan 2024 00:00:00 +0000\r\n\r\nb\r\n";
    for (uint64_t type : {0u, 1u, 2u, 3u, 4u}) {
        SCOPED_TRACE(type);
        auto message = test::mutableOf(withBcc);
        ErrorRef error;
        apply(*PWDateSentAmendment::newWithDate(date), *message, type, &error);
        EXPECT_EQ(error, nullptr);
        bool stamps = type == 1 || type == 2 || type == 4;
        EXPECT_EQ(message->dateSent(), stamps ? date : 1704067200000.0);
        apply(*PWRemoveBCCAmendment::init(), *message, type, &error);
        EXPECT_EQ(writtenField(*message, u"Bcc").has_value(), type != 2) << "only context 2 strips Bcc";
    }
    auto read = std::static_pointer_cast<PWDateSentAmendment>(
        PWDateSentAmendment::initWithDictionaryRepresentation({{"date", "Tue, 5 Mar 2024 10:04:00 +0100"}}));
    EXPECT_EQ(read->date(), date);
    EXPECT_EQ(PWDateSentAmendment::init()->date(), 1.7e12) << "now";
}

TEST(HeaderAmendments, CheckingAmendmentsReportAMalformedMessage) {
    auto empty = FGBaseMutableMessage::init();  // no contents at all
    ErrorRef error;
    apply(*PWDateSentAmendment::newWithDate(0), *empty, 0, &error);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->localizedDescription, u"Setting Date amendment result is malformed");
    EXPECT_NE(error->userInfo.at("amendmentApplied").find(u"PWDateSentAmendment"), std::u16string::npos);
    apply(*PWRemoveBCCAmendment::init(), *empty, 2, &error);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->localizedDescription, u"Prepared Message is Malformed");
}
