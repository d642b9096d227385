// The address and date kinds of `postwright parse` and `postwright encode address-list`, run as a user runs
// them, with the clock, zone and locale pinned on the command line.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/ToolRunner.hpp"

using postwright::test::runTool;

namespace {
nlohmann::ordered_json parse(const std::vector<std::string>& arguments) {
    std::vector<std::string> full{"parse"};
    full.insert(full.end(), arguments.begin(), arguments.end());
    postwright::test::ToolRun run = runTool(full);
    EXPECT_EQ(run.status, 0);
    return nlohmann::ordered_json::parse(run.out, nullptr, false);
}
}  // namespace

TEST(AddressCommands, ParseKindsPrintAddressAndGroupObjects) {
    nlohmann::ordered_json list =
        parse({"address-list", "--options", "4", "Ann <Ann@Example.com>, Team: bo@example.org;"});
    ASSERT_TRUE(list["ok"].get<bool>());
    ASSERT_EQ(list["value"].size(), 2u);
    EXPECT_TRUE(list["value"][0]["name"].is_null());
    const nlohmann::ordered_json& ann = list["value"][0]["addresses"][0];
    std::vector<std::string> keys;
    for (auto it = ann.begin(); it != ann.end(); ++it) keys.push_back(it.key());
    EXPECT_EQ(keys, (std::vector<std::string>{"displayName", "localPart", "domain", "userAtDomain", "valid",
                                              "invalidRawAddress", "mailSploited", "rfc2822", "digest"}))
        << "the keys in the tool's fixed order";
    EXPECT_EQ(ann["userAtDomain"], "Ann@Example.com");
    EXPECT_EQ(ann["rfc2822"], "Ann <ann@example.com>");
    EXPECT_EQ(list["value"][1]["name"], "Team");

    auto broken = parse({"mailbox", "Joe <jqp@example.com, x"});
    EXPECT_FALSE(broken["value"]["valid"].get<bool>());
    EXPECT_EQ(broken["value"]["invalidRawAddress"], "Joe <jqp@example.com");
    EXPECT_EQ(broken["location"], 20);

    auto unclosed = parse({"address-list", "\"unclosed <a@example.com>"});
    EXPECT_FALSE(unclosed["ok"].get<bool>());
    EXPECT_EQ(unclosed["error"]["code"], 3);

    auto addrSpec = parse({"addr-spec", "jqp"});
    EXPECT_EQ(addrSpec["error"]["code"], 5);
    EXPECT_EQ(addrSpec["error"]["debugDescription"], "Malformed Email Address Spec: jqp");
    EXPECT_TRUE(parse({"addresses", "a@example.com, ;"})["value"].is_null());
}

TEST(AddressCommands, DateKindsFollowThePinnedClockZoneAndLocale) {
    auto strict = parse({"date", "--options", "3", "05/03/2024 10:04 +0100"});
    EXPECT_EQ(strict["value"], "2024-05-03T09:04:00.000Z");
    EXPECT_TRUE(parse({"date", "05/03/2024 10:04 +0100"})["value"].is_null());
    EXPECT_EQ(parse({"date-old", "Tue,  5 Mar 2024 10:04:00 +0000 (GMT)"})["value"], "2024-03-05T10:04:00.000Z");

    auto german =
        parse({"date-tolerant", "--now", "2024-06-01T00:00:00Z", "--tz", "UTC", "--locale", "de_DE", "4.3.2024"});
    EXPECT_EQ(german["value"], (nlohmann::ordered_json{"2024-03-04T00:00:00.000Z", "2024-04-03T00:00:00.000Z"}));
    auto american = parse({"date-tolerant", "--now", "1717200000000", "--tz", "UTC", "--locale", "en_US", "4.3.2024"});
    EXPECT_EQ(american["value"][0], "2024-04-03T00:00:00.000Z");
    EXPECT_EQ(
        parse({"date-tolerant", "--now", "2024-03-05", "--tz", "Europe/Berlin", "sent 3/4/2020 at 10:00"})["value"],
        (nlohmann::ordered_json{"2020-03-04T09:00:00.000Z", "2020-04-03T08:00:00.000Z"}))
        << "read piecewise: the first number between separators (here after a space) is the month";
    EXPECT_EQ(runTool({"parse", "date", "--now", "yesterday", "x"}).status, 2);
}

TEST(AddressCommands, EncodeWritesTheListBackInRFC2822Form) {
    auto output =
        runTool({"encode", "address-list", "Lee, Ann <Ann@Example.com>, Team: \"J. Doe\" <J@X.org>, b@y.org;"});
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.out, "Ann <ann@example.com>,Team:\"J. Doe\" <j@x.org>, b@y.org;\n")
        << "the unquoted comma splits Lee off as an invalid address, which has no RFC 2822 form";
    EXPECT_EQ(runTool({"encode", "address-list", "\"unclosed"}).status, 1);
}
