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

TEST(CodecCommands, DetectShowsTheChoiceItsCandidatesAndTheText) {
    ToolRun latin = runTool({"detect"}, "Stra\xDF" "e");
    ASSERT_EQ(latin.status, 0) << latin.err;
    nlohmann::json found = nlohmann::json::parse(latin.out);
    EXPECT_EQ(found["charset"], "iso-8859-1");
    EXPECT_EQ(found["stage"], "statistics");
    EXPECT_EQ(found["text"], "Stra\xC3\x9F" "e");
    ASSERT_FALSE(found["candidates"].empty());
    EXPECT_LE(found["candidates"].size(), 5u);
    EXPECT_GT(found["confidence"].get<double>(), 0.5);

    // A hint turns an ambiguous Turkish word (Czech "toplantý" to the statistics) into Turkish.
    nlohmann::json hinted = nlohmann::json::parse(runTool({"detect", "-", "--hint", "windows-1254"}, "toplant\xFD").out);
    EXPECT_EQ(hinted["charset"], "windows-1254");
    EXPECT_EQ(hinted["text"], "toplant\xC4\xB1");
    EXPECT_EQ(hinted["candidates"][0]["hinted"], true);

    nlohmann::json ascii = nlohmann::json::parse(runTool({"detect"}, "plain").out);
    EXPECT_EQ(ascii["stage"], "ascii");
    EXPECT_TRUE(ascii["candidates"].empty());
    std::string longText(500, 'a');
    EXPECT_EQ(nlohmann::json::parse(runTool({"detect"}, longText).out)["text"].get<std::string>().size(), 200u);
    EXPECT_EQ(runTool({"detect", "--hint", "no-such-charset"}, "x").status, 2);
    EXPECT_NE(runTool({"detect", "--help"}).out.find("byte-order mark"), std::string::npos);
}
