// The MIME commands of the tool on the bundled examples and on mbox, emlx and standard input.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/ToolRunner.hpp"

using nlohmann::json;
using postwright::test::fileContents;
using postwright::test::runTool;

namespace {
const std::string kExample = std::string(PW_SOURCE_DIR) + "/examples/multipart.eml";
const std::string kSimple = std::string(PW_SOURCE_DIR) + "/examples/simple.eml";
}  // namespace

TEST(MimeCommands, TreePrintsEveryPartWithItsFields) {
    auto run = runTool({"tree", kExample});
    ASSERT_EQ(run.status, 0) << run.err;
    json tree = json::parse(run.out);
    EXPECT_EQ(tree["class"], "PWMultipartMixedMimePart");
    EXPECT_EQ(tree["contentType"]["boundary"], "=_mixed");
    ASSERT_EQ(tree["children"].size(), 2u);
    const json& pdf = tree["children"][1];
    EXPECT_EQ(pdf["identifier"], "0/1");
    EXPECT_EQ(pdf["class"], "PWApplicationPdfMimePart");
    EXPECT_EQ(pdf["filename"], "Men\xC3\xBC.pdf");
    EXPECT_EQ(pdf["contentDisposition"]["@type"], "attachment");
    EXPECT_EQ(pdf["contentTransferEncoding"], "base64");
    EXPECT_EQ(pdf["children"], json::array());
    const json& image = tree["children"][0]["children"][1]["children"][1];
    EXPECT_EQ(image["identifier"], "0/0/1/1");
    EXPECT_EQ(image["contentId"], "logo@example.org");
    EXPECT_EQ(image["charset"], nullptr);
    EXPECT_GT(image["size"].get<size_t>(), image["headerSize"].get<size_t>());
    EXPECT_LT(image["decodedSize"].get<size_t>(), image["size"].get<size_t>());
    const std::vector<std::string> keys = {"identifier", "class", "type", "subtype", "charset",
                                           "contentTransferEncoding", "contentType", "contentDisposition",
                                           "filename", "contentId", "headerSize", "size", "decodedSize", "children"};
    std::vector<std::string> seen;
    nlohmann::ordered_json ordered = nlohmann::ordered_json::parse(run.out);
    for (auto it = ordered.begin(); it != ordered.end(); ++it) seen.push_back(it.key());
    EXPECT_EQ(seen, keys);
}

TEST(MimeCommands, TextAndRenderShowWhatAReaderSees) {
    auto text = runTool({"text", kExample});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.out, "Hi Joe,\r\n\r\nFriday works. The caf\xC3\xA9 logo and the menu are attached.\r\n\r\nAnn\n")
        << "the text as decoded (quoted-printable keeps its line ends), then a line break";

    auto html = runTool({"render", kExample});
    ASSERT_EQ(html.status, 0) << html.err;
    EXPECT_NE(html.out.find("<img src=\"x-postwright-cid:logo@example.org\""), std::string::npos);
    EXPECT_EQ(html.out.find("<html>"), std::string::npos);

    auto listed = runTool({"render", kExample, "--json"});
    ASSERT_EQ(listed.status, 0) << listed.err;
    EXPECT_EQ(json::parse(listed.out)["relatedAttachments"], (json{"0/0/1/1", "0/1"}));
    auto plain = runTool({"render", "--plain", kSimple});
    EXPECT_EQ(plain.out.rfind("<div style=\"white-space: pre-wrap\">Hi Ann,", 0), 0u) << plain.out;
}

TEST(MimeCommands, ExtractWritesEveryAttachment) {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / ("pw-extract-" + std::to_string(::getpid()));
    std::filesystem::remove_all(dir);
    auto run = runTool({"extract", kExample, "--dir", dir.string()});
    ASSERT_EQ(run.status, 0) << run.err;
    json written = json::parse(run.out);
    ASSERT_EQ(written.size(), 2u);
    EXPECT_EQ(written[0]["path"], (dir / "logo.png").string());
    EXPECT_EQ(fileContents(dir / "logo.png").substr(0, 4), "\x89PNG");
    EXPECT_EQ(written[1]["path"], (dir / "Men\xC3\xBC.pdf").string());
    EXPECT_EQ(fileContents(dir / "Men\xC3\xBC.pdf").substr(0, 8), "%PDF-1.4");
    EXPECT_EQ(written[1]["bytes"], std::filesystem::file_size(dir / "Men\xC3\xBC.pdf"));
    EXPECT_NE(run.err.find("[MIME:export] exported"), std::string::npos);

    std::filesystem::remove_all(dir);
}

TEST(MimeCommands, RoundtripPassesAndFailsWithItsExitStatus) {
    auto run = runTool({"roundtrip", kExample});
    ASSERT_EQ(run.status, 0) << run.out;
    json verdict = json::parse(run.out);
    EXPECT_EQ(verdict["bytesIdentical"], true);
    EXPECT_EQ(verdict["changedPart"], "0/0/0");
    EXPECT_EQ(verdict["passed"], true);

    run = runTool({"roundtrip", "-"}, "");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("- is empty"), std::string::npos) << run.err;
}

TEST(MimeCommands, ReadsMboxEmlxAndStandardInput) {
    std::string message = fileContents(kSimple);
    std::string twoMessages = "From joe@example.com Tue Mar  5 10:04:00 2024\n" + message +
                              "\nFrom ann@example.org Tue Mar  5 11:00:00 2024\nSubject: second\n\nno\n";
    auto mbox = runTool({"text", "-"}, twoMessages);
    ASSERT_EQ(mbox.status, 0) << mbox.err;
    EXPECT_NE(mbox.out.find("lunch at the caf\xC3\xA9 on Friday?"), std::string::npos);
    EXPECT_EQ(mbox.out.find("second"), std::string::npos) << "the first message only";
    auto second = runTool({"text", "-", "--index", "1"}, twoMessages);
    EXPECT_EQ(second.out, "no\n") << second.err;
    auto beyond = runTool({"tree", "-", "--index", "2"}, twoMessages);
    EXPECT_EQ(beyond.status, 1);
    EXPECT_NE(beyond.err.find("holds 2 messages, so --index goes from 0 to 1"), std::string::npos) << beyond.err;
    EXPECT_EQ(runTool({"tree", kSimple, "--index", "1"}).status, 1) << "an index into a file that is not an mbox";

    auto emlx = runTool({"tree", "-"}, std::to_string(message.size()) + "\n" + message + "<?xml version=\"1.0\"?><plist/>");
    ASSERT_EQ(emlx.status, 0) << emlx.err;
    EXPECT_EQ(json::parse(emlx.out)["size"], message.size());

    EXPECT_EQ(runTool({"tree"}).status, 2);
    EXPECT_EQ(runTool({"tree", "/no/such/file.eml"}).status, 1);
    for (const char* command : {"tree", "text", "render", "extract", "roundtrip"}) {
        auto help = runTool({"help", command});
        EXPECT_EQ(help.status, 0);
        EXPECT_NE(help.out.find("Usage: postwright " + std::string(command)), std::string::npos);
    }
}
