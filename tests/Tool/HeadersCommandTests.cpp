// postwright headers and the header kinds of postwright encode, run as a user runs them.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/TestSupport.hpp"
#include "support/ToolRunner.hpp"

using postwright::test::runTool;
using postwright::test::ToolRun;

TEST(HeadersCommand, RunsOverEveryCorpusMessage) {
    auto files = postwright::test::corpusFiles("messages");
    ASSERT_GT(files.size(), 300u);
    size_t checked = 0;
    for (const auto& path : files) {
        ToolRun run = runTool({"headers", "--now", "2026-01-01", "--tz", "UTC", path.string()});
        if (std::filesystem::file_size(path) == 0) {
            EXPECT_EQ(run.status, 1) << path;
            continue;
        }
        ASSERT_EQ(run.status, 0) << path << "\n" << run.err;
        nlohmann::ordered_json headers = nlohmann::ordered_json::parse(run.out, nullptr, false);
        ASSERT_FALSE(headers.is_discarded()) << path;
        EXPECT_TRUE(headers["fields"].is_array());
        EXPECT_TRUE(headers["contentIdentifier"].is_string()) << path;
        ++checked;
    }
    EXPECT_GT(checked, 300u);
}

TEST(HeadersCommand, PrintsTheTypedViewsOfAnMboxMessage) {
    std::string mbox =
        "From joe@example.com Tue Mar  5 09:04:00 2024\n"
        "From: Joe <joe@example.com>\nTo: Team: a@x.org, b@x.org;\nSubject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\n"
        "Date: Tue, 5 Mar 2024 10:04:00 +0100\nIn-Reply-To: <abcdefghijklmnopqrstuvwx@host>\n\nbody\n";
    ToolRun run = runTool({"headers", "-"}, mbox);
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::ordered_json headers = nlohmann::ordered_json::parse(run.out);
    EXPECT_EQ(headers["subject"], "Gr\xC3\xBC\xC3\x9F" "e");
    EXPECT_EQ(headers["fields"][2]["raw"], "=?utf-8?Q?Gr=C3=BC=C3=9Fe?=");
    EXPECT_EQ(headers["from"][0]["userAtDomain"], "joe@example.com");
    EXPECT_EQ(headers["recipients"][0]["name"], "Team");
    EXPECT_EQ(headers["dateSent"], "2024-03-05T09:04:00.000Z");
    EXPECT_EQ(headers["inReplyToIds"][0], "<abcdefghijklmnopqrstuvwx@host>");
    EXPECT_TRUE(headers["sender"].is_null());
    EXPECT_EQ(headers["contentIdentifier"].get<std::string>().size(), 18u);
}

TEST(HeadersCommand, EncodesHeadersParametersAndQWords) {
    ToolRun folded = runTool({"encode", "header", "subject", std::string(50, 'a') + "," + std::string(50, 'b'),
                              "--delimiters", ","});
    EXPECT_EQ(folded.status, 0);
    EXPECT_EQ(folded.out, "Subject:\r\n " + std::string(50, 'a') + ",\r\n " + std::string(50, 'b') + "\n")
        << "after the space behind the colon, the value breaks after its comma";
    ToolRun parameter = runTool({"encode", "parameter", "filename", "\xC3\xA9t\xC3\xA9.pdf"});
    EXPECT_EQ(parameter.out, "filename*=utf-8''%C3%A9t%C3%A9.pdf\n");
    ToolRun word = runTool({"encode", "mime-header", "Subject", "Gr\xC3\xBC\xC3\x9F" "e"});
    EXPECT_EQ(word.out, "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\n");
    EXPECT_EQ(word.err, "encoding: utf-8\n");
    EXPECT_EQ(runTool({"encode", "header", "only-a-name"}).status, 2);
}
