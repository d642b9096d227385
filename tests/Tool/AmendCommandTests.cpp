// amend as a user runs it: stored lists over real files, delivery of a composed draft, failures that write
// nothing and leave the source alone, and the list read back.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "support/TestSupport.hpp"
#include "support/ToolRunner.hpp"

namespace postwright::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class AmendTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() / ("pw-amend-" + std::to_string(::getpid()) + "-" +
                                               ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }
    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(folder_ / name, std::ios::binary) << bytes;
    }

    fs::path folder_;
};

const char* const kHeaderList =
    R"([{"amendmentType":"Subject","template":"[Rule] {{subject}}"},
        {"amendmentType":"Header","headerKey":"X-Rule","headerValue":"7"},
        {"amendmentType":"AddRecipient","addresses":["Dee <dee@example.com>"],"recipientType":4}])";

TEST_F(AmendTest, StoredListsRunOverMessageFiles) {
    std::string source = (corpusDirectory() / "messages/cpython/msg_16.eml").string();
    std::string before = fileContents(source);
    write("list.json", kHeaderList);
    ToolRun run = runTool({"amend", source, "--amendments", "@" + path("list.json"), "--output", path("out.eml")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.out.empty());
    ToolRun inspected = runTool({"inspect", path("out.eml"), "--json"});
    json message = json::parse(inspected.out);
    EXPECT_EQ(message["abstract"]["subject"].get<std::string>().rfind("[Rule] ", 0), 0u);
    EXPECT_EQ(message["abstract"]["ccRecipients"][0]["addresses"][0]["userAtDomain"], "dee@example.com");
    bool ruled = false;
    for (const json& field : message["headers"]["fields"])
        ruled = ruled || (field["name"] == "X-Rule" && field["value"] == "7");
    EXPECT_TRUE(ruled);
    EXPECT_TRUE(fileContents(source) == before);

    ToolRun tree = runTool({"amend", source, "--amendments", kHeaderList, "--tree"});
    ASSERT_EQ(tree.status, 0) << tree.err;
    EXPECT_EQ(json::parse(tree.out)["identifier"], "0");
}

TEST_F(AmendTest, FailuresWriteNothingAndSayWhatWentWrong) {
    std::string source = (corpusDirectory() / "messages/cpython/msg_16.eml").string();
    std::string before = fileContents(source);
    ToolRun failed =
        runTool({"amend", source, "--amendments",
                 R"([{"amendmentType":"Header","headerKey":"X-Rule"},{"amendmentType":"Subject","template":"x"}])",
                 "--output", path("out.eml")});
    EXPECT_EQ(failed.status, 1);
    EXPECT_TRUE(failed.out.empty());
    EXPECT_FALSE(fs::exists(path("out.eml")));
    EXPECT_TRUE(fileContents(source) == before);
    json error = json::parse(failed.err);
    EXPECT_EQ(error, (json{{"domain", "com.fennelgate.MessageAmendementError"},
                           {"code", 1},
                           {"description", "Amendment was incomplete"},
                           {"userInfo", json::object()}}));

    const std::pair<std::string, std::string> usage[] = {
        {"[{", "not valid JSON"},
        {R"({"amendmentType":"Header"})", "must be a JSON array"},
        {R"([{"amendmentType":"Header"}, 3])", "amendments[1] is not an object"},
    };
    for (const auto& [list, message] : usage) {
        ToolRun run = runTool({"amend", source, "--amendments", list});
        EXPECT_EQ(run.status, 2) << list;
        EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
    }
    EXPECT_EQ(runTool({"amend", source}).status, 2) << "no list";
    EXPECT_EQ(runTool({"amend", source, "--amendments", "[]", "--user-info", "[1]"}).status, 2);
}

TEST_F(AmendTest, ADraftIsPreparedAndCutForDelivery) {
    write("report.pdf", "%PDF-1.4\n% figures\n%%EOF\n");
    write("draft.json",
          json({{"headers", json::array({json::array({"From", "Ann <ann@example.com>"}),
                                         json::array({"To", "bob@example.org"}), json::array({"Subject", "Report"})})},
                {"html",
                 "<p>Before</p><p><span orw-mime-type=\"application/pdf\" orw-name=\"report.pdf\" "
                 "orw-src=\"cid:r@example.com\">report.pdf</span></p><p>After</p>"},
                {"attachments", json::array({{{"path", "report.pdf"}, {"contentId", "r@example.com"}}})}})
              .dump());
    ASSERT_EQ(runTool({"compose", path("draft.json"), "--output", path("draft.eml")}).status, 0);
    ToolRun sent =
        runTool({"amend", path("draft.eml"), "--context", "4", "--now", "2026-01-01T12:00:00Z", "--tz", "UTC", "--log",
                 "--amendments",
                 R"([{"amendmentType":"FragmentMimeParts"},{"amendmentType":"PrepareDelivery","xmailer":"PW"}])"});
    ASSERT_EQ(sent.status, 0) << sent.err;
    EXPECT_NE(sent.out.find("Date: Thu, 1 Jan 2026 12:00:00 +0000\r\n"), std::string::npos);
    EXPECT_NE(sent.out.find("@example.com>\r\nX-Mailer: PW\r\n"), std::string::npos);
    EXPECT_EQ(sent.out.find("X-Orwin-"), std::string::npos);
    EXPECT_EQ(sent.out.find("orw-"), std::string::npos) << "no editor markup goes out";
    EXPECT_NE(sent.err.find("context\t[Amendment " + path("draft.eml") + "] updated MimePartsForDelivery"),
              std::string::npos)
        << sent.err;
    EXPECT_NE(sent.err.find("4904-"), std::string::npos) << "the host log's step lines";
    write("sent.eml", sent.out);
    json tree = json::parse(runTool({"tree", path("sent.eml")}).out);
    ASSERT_EQ(tree["children"].size(), 2u) << tree.dump();
    json pieces = tree["children"][1]["children"];
    ASSERT_EQ(pieces.size(), 3u);
    EXPECT_EQ(pieces[1]["filename"], "report.pdf") << "the PDF stands where it stood";
}

TEST_F(AmendTest, ListsAreReadBackInRunOrderAndTypesAreListed) {
    ToolRun read =
        runTool({"amend", "--read",
                 R"([{"amendmentType":"Encrypt"},{"amendmentType":"Header","headerKey":"A","headerValue":"1"},
                                {"amendmentType":"Body"},{"amendmentType":"Unknown"}])"});
    ASSERT_EQ(read.status, 0) << read.err;
    json entries = json::parse(read.out);
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[0]["class"], "PWHeaderAmendment");
    EXPECT_EQ(entries[2]["class"], "PWMessageAmendment") << "an unknown type is a plain amendment";
    EXPECT_EQ(entries[3], (json{{"class", "PWEncryptAmendment"},
                                {"identifier", "Encrypt"},
                                {"hint", 99},
                                {"dictionary", {{"amendmentType", "Encrypt"}}}}));

    json types = json::parse(runTool({"amend", "--list"}).out);
    EXPECT_EQ(types.size(), 15u) << "fourteen types and NoAmendment";
    EXPECT_EQ(types[0], (json{{"identifier", "AddRecipient"}, {"class", "PWAddRecipientAmendment"}, {"hint", 10}}));
}

TEST_F(AmendTest, TheSignatureFileSignsInContextThree) {
    write("signature.txt", "Ann Lee\nExample Ltd\n");
    std::string source = (corpusDirectory() / "messages/cpython/msg_16.eml").string();
    ToolRun signedRun =
        runTool({"amend", source, "--context", "3", "--signature-file", path("signature.txt"), "--amendments",
                 R"([{"amendmentType":"Signature","signatureIdentifier":"work"}])", "--output", path("signed.eml")});
    ASSERT_EQ(signedRun.status, 0) << signedRun.err;
    json message = json::parse(runTool({"inspect", path("signed.eml"), "--json"}).out);
    std::string text = message["plainText"];
    EXPECT_NE(text.find("-- \r\nAnn Lee\r\nExample Ltd"), std::string::npos) << text;
    ToolRun unsigned_ = runTool({"amend", source, "--amendments", R"([{"amendmentType":"Signature"}])"});
    EXPECT_EQ(unsigned_.status, 1) << "without a signature file the modifier is missing";
    EXPECT_EQ(json::parse(unsigned_.err)["code"], 10);
}

}  // namespace
}  // namespace postwright::test
