// The codec commands of the tool, run as a user runs them: exit statuses, stdout bytes, JSON on stderr.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/ToolRunner.hpp"

using postwright::test::runTool;
using postwright::test::ToolRun;

TEST(CodecCommands, QuotedPrintableRoundTripsThroughTheTool) {
    std::string text =
        "Gr\xC3\xBC\xC3\x9F"
        "e = \t" +
        std::string(100, 'x') + "\nend.";
    ToolRun encoded = runTool({"encode", "qp", "-"}, text);
    ASSERT_EQ(encoded.status, 0) << encoded.err;
    EXPECT_EQ(encoded.err, "encoding: utf-8\n");
    EXPECT_NE(encoded.out.find("=\r\n"), std::string::npos) << "the long line is cut";
    ToolRun decoded = runTool({"decode", "qp"}, encoded.out);
    ASSERT_EQ(decoded.status, 0) << decoded.err;
    EXPECT_EQ(decoded.out,
              "Gr\xC3\xBC\xC3\x9F"
              "e = \t" +
                  std::string(100, 'x') + "\r\nend.");
    ToolRun q = runTool({"encode", "q", "--encoding", "us-ascii", "\xC4\x8D x"});
    EXPECT_EQ(q.out, "=E8_x\n");
    EXPECT_EQ(q.err, "encoding: iso-8859-2\n") << "the charset used, on stderr";
}

TEST(CodecCommands, MalformedInputExitsWithStatus1AndTheErrorRecord) {
    ToolRun bad = runTool({"decode", "qp", "-"}, "ok=3Dthen=");
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.out, "");
    nlohmann::json error = nlohmann::json::parse(bad.err);
    EXPECT_EQ(error["domain"], "ca.ostra.emailParser");
    EXPECT_EQ(error["code"], 11);

    EXPECT_EQ(runTool({"decode", "q", "a=4"}).status, 1);
    EXPECT_EQ(runTool({"decode", "q", "caf=C3=A9_x"}).out, "caf\xC3\xA9 x");
    EXPECT_EQ(runTool({"decode", "qp", "--encoding", "no-such-charset", "-"}).status, 2);
    EXPECT_EQ(runTool({"encode", "nothing"}).status, 2);
}

TEST(CodecCommands, ParseKindsDescribeTheirResults) {
    ToolRun type = runTool({"parse", "content-type", "text/plain; name*=''abc; size=2"});
    ASSERT_EQ(type.status, 0);
    nlohmann::ordered_json typeJSON = nlohmann::ordered_json::parse(type.out);
    EXPECT_EQ(typeJSON["value"].dump(),
              R"({"@type":"text","@subtype":"plain","@fulltype":"text/plain","name*":{"0":"616263"},"size":"2"})");

    ToolRun disposition = runTool({"parse", "content-disposition", "inline; size=2"});
    EXPECT_EQ(nlohmann::json::parse(disposition.out)["value"]["size"], 2) << "integers are JSON numbers";

    ToolRun header = runTool({"parse", "header-text", "=?utf-8*en?B?YQBi?= x"});
    nlohmann::json headerJSON = nlohmann::json::parse(header.out);
    EXPECT_EQ(headerJSON["value"], "a\\0b x");
    EXPECT_EQ(headerJSON["mailSploited"], true);
    EXPECT_EQ(headerJSON["encoding"], "utf-8");
    EXPECT_EQ(headerJSON["language"], "en");

    ToolRun word = runTool({"parse", "encoded-word", "=?x-unknown?Q?a?="});
    nlohmann::json wordJSON = nlohmann::json::parse(word.out);
    EXPECT_EQ(wordJSON["ok"], false);
    EXPECT_EQ(wordJSON["encoding"], nullptr);
}
