#include <gtest/gtest.h>

#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"

using namespace postwright;

namespace {
constexpr double kMarch5 = 1709629440000.0;  // 2024-03-05T09:04:00Z
std::shared_ptr<PWMessageHeaders> parse(std::string_view block) {
    return PWMessageHeaders::headersFromData(Data::withString(block));
}
}  // namespace

TEST(HeaderDates, ConformantDatesReadStrictly) {
    DateEnvironment::Override pinned(kMarch5 + 86400000.0, "UTC", "en_US");
    auto headers = parse(
        "Received: from a by b; Tue, 5 Mar 2024 10:05:00 +0100\r\n"
        "Received: from c by d;\r\n\tTue, 5 Mar 2024 10:04:30 +0100\r\n"
        "Date: Tue, 5 Mar 2024 10:04:00 +0100\r\n\r\n");
    EXPECT_EQ(headers->candidateSentDates(), std::vector<double>{kMarch5});
    EXPECT_EQ(headers->possibleReceivedDates(), (std::vector<double>{kMarch5 + 60000, kMarch5 + 30000}))
        << "folded Received fields are unfolded before the last ';'";
    EXPECT_EQ(headers->dateSent(), kMarch5);
    EXPECT_EQ(headers->dateReceived(), kMarch5 + 60000);
}

TEST(HeaderDates, MissingDatesFallBackToEachOther) {
    DateEnvironment::Override pinned(kMarch5 + 86400000.0, "UTC", "en_US");
    auto receivedOnly = parse("Received: by x; Tue, 5 Mar 2024 09:05:00 +0000\r\n\r\n");
    EXPECT_TRUE(receivedOnly->candidateSentDates().empty());
    EXPECT_EQ(receivedOnly->dateSent(), kMarch5 + 60000) << "no sent candidate: the first received date";
    auto sentOnly = parse("Date: Tue, 5 Mar 2024 09:04:00 +0000\r\nReceived: no date here\r\n\r\n");
    EXPECT_EQ(sentOnly->dateReceived(), kMarch5) << "no received date: the sent date";
    auto none = parse("Subject: x\r\nDate: \r\n\r\n");
    EXPECT_FALSE(none->dateSent());
    EXPECT_FALSE(none->dateReceived());
}

TEST(HeaderDates, TolerantCandidatesAreCheckedAgainstReceivedDates) {
    DateEnvironment::Override pinned(1600000000000.0, "UTC", "en_US");  // 2020-09-13
    auto headers = parse(
        "Received: by x; Sat, 7 Mar 2020 12:00:00 +0000\r\n"
        "Date: 3/4/2020 at 10:00\r\n\r\n");
    std::vector<double> candidates = headers->candidateSentDates();
    ASSERT_EQ(candidates.size(), 2u) << "3 April and 4 March";
    EXPECT_GT(candidates[0], candidates[1]);
    EXPECT_EQ(headers->dateSent(), candidates[1]) << "the first candidate not later than the received date";
}
