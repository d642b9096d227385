// compose and edit as a user runs them: what goes in comes back out through inspect and extract, an
// untouched message is written back byte for byte, and bad input is named and writes nothing.
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

class ComposeEditTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() / ("pw-compose-" + std::to_string(::getpid()) + "-" +
                                               ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(folder_);
        for (int i = 0; i < 3000; ++i) pdf_.push_back(static_cast<char>((i * 131) ^ (i >> 3)));
        png_ = std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16) + std::string(40, '\x11');
        write("report.pdf", pdf_);
        write("chart.png", png_);
        write("note.txt", "Hello Bob,\nthe figures are attached.\n");
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(folder_ / name, std::ios::binary) << bytes;
    }
    json inspect(const std::string& file) {
        ToolRun run = runTool({"inspect", file, "--json"});
        EXPECT_EQ(run.status, 0) << run.err;
        return run.status == 0 ? json::parse(run.out) : json();
    }

    fs::path folder_;
    std::string pdf_, png_;
};

// Header pairs as the description writes them: an array of [name, value] arrays.
json pairs(std::initializer_list<std::pair<const char*, const char*>> fields) {
    json list = json::array();
    for (const auto& [name, value] : fields) list.push_back(json::array({name, value}));
    return list;
}

bool allLinesEndInCRLF(const std::string& bytes) {
    for (size_t at = bytes.find('\n'); at != std::string::npos; at = bytes.find('\n', at + 1)) {
        if (at == 0 || bytes[at - 1] != '\r') return false;
    }
    return true;
}

TEST_F(ComposeEditTest, ComposedMessagesReadBackWithWhatWentIn) {
    json spec = {{"headers", pairs({{"From", "Zo\u00eb Ann <ann@example.com>"},
                                    {"To", "bob@example.org, Carl <carl@example.net>"},
                                    {"Subject", "Figures f\u00fcr Q3"},
                                    {"X-Project", "Apollo"}})},
                 {"text", "The figures are attached."},
                 {"html", "<p>The <b>figures</b>:</p><p><img src=\"cid:chart@example.com\"></p>"},
                 {"attachments", {{{"path", "report.pdf"}}}},
                 {"htmlRelatedAttachments", {{{"path", "chart.png"}, {"contentId", "chart@example.com"}}}}};
    write("spec.json", spec.dump());
    ToolRun run = runTool({"compose", path("spec.json"), "--output", path("out.eml")});
    ASSERT_EQ(run.status, 0) << run.err;
    std::string bytes = fileContents(path("out.eml"));
    EXPECT_TRUE(allLinesEndInCRLF(bytes));
    EXPECT_NE(bytes.find("MIME-Version: 1.0\r\n"), std::string::npos);
    EXPECT_NE(bytes.find("src=3D=22cid:chart=40example.com=22"), std::string::npos) << "RFC 2392 on the wire";

    json message = inspect(path("out.eml"));
    EXPECT_EQ(message["abstract"]["subject"], "Figures f\u00fcr Q3");
    EXPECT_EQ(message["abstract"]["from"][0]["displayName"], "Zo\u00eb Ann");
    EXPECT_EQ(message["abstract"]["recipients"][0]["addresses"].size(), 2u);
    EXPECT_EQ(message["plainText"], "The figures are attached.");
    EXPECT_NE(message["html"].get<std::string>().find("The <b>figures</b>:"), std::string::npos);
    ASSERT_EQ(message["attachments"].size(), 2u);
    EXPECT_EQ(message["attachments"][0]["filename"], "chart.png");
    EXPECT_EQ(message["attachments"][0]["type"], "image/png");
    EXPECT_EQ(message["attachments"][1]["filename"], "report.pdf");
    EXPECT_EQ(message["attachments"][1]["type"], "application/pdf");
    EXPECT_EQ(message["tree"]["subtype"], "mixed");

    ToolRun extract = runTool({"extract", path("out.eml"), "--dir", path("extracted")});
    ASSERT_EQ(extract.status, 0) << extract.err;
    EXPECT_EQ(fileContents(path("extracted/report.pdf")), pdf_);
    EXPECT_EQ(fileContents(path("extracted/chart.png")), png_);
}

TEST_F(ComposeEditTest, FlagsComposeTheEverydayMessageAndWinOverTheDescription) {
    write("spec.json", json({{"headers", pairs({{"Subject", "from the spec"}, {"To", "x@example.com"}})}}).dump());
    ToolRun run =
        runTool({"compose", path("spec.json"), "--from", "ann@example.com", "--to", "bob@example.org,carl@example.net",
                 "--subject", "Hello", "--text", path("note.txt"), "--attach", path("report.pdf")});
    ASSERT_EQ(run.status, 0) << run.err;
    write("flags.eml", run.out);
    json message = inspect(path("flags.eml"));
    EXPECT_EQ(message["abstract"]["subject"], "Hello");
    EXPECT_EQ(message["abstract"]["recipients"][0]["addresses"].size(), 2u) << "--to replaces the spec's To";
    EXPECT_EQ(message["plainText"], "Hello Bob,\r\nthe figures are attached.\r\n");
    EXPECT_EQ(message["attachments"].size(), 1u);

    ToolRun tree = runTool({"compose", "--from", "ann@example.com", "--subject", "T", "--text", "-", "--tree"},
                           "text from standard input");
    ASSERT_EQ(tree.status, 0) << tree.err;
    EXPECT_EQ(json::parse(tree.out)["type"], "text");
}

TEST_F(ComposeEditTest, BadDescriptionsAreNamedAndWriteNothing) {
    write("not.json", "{\"headers\": [");
    write("wrong-type.json", json({{"headers", json::array({json::array({"From", 3})})}}).dump());
    write("folder.json", json({{"attachments", {{{"path", "."}}}}}).dump());
    write("bad-base64.json", json({{"attachments", {{{"data", "%%%"}}}}}).dump());
    write("bad-address.json", json({{"headers", pairs({{"To", "not an address"}})}, {"text", "x"}}).dump());
    write("empty.json", "{}");
    const std::pair<std::string, std::string> cases[] = {
        {"missing.json", "cannot read"},
        {"not.json", "is not valid JSON"},
        {"wrong-type.json", "headers[0] must be a [name, value] pair of strings"},
        {"folder.json", "attachments[0].path: "},
        {"bad-base64.json", "attachments[0].data is not base64"},
        {"bad-address.json", "cannot read the addresses of To"},
        {"empty.json", "nothing to send"},
    };
    for (const auto& [file, message] : cases) {
        ToolRun run = runTool({"compose", path(file), "--output", path("out.eml")});
        EXPECT_EQ(run.status, 1) << file;
        EXPECT_NE(run.err.find(message), std::string::npos) << file << ": " << run.err;
        EXPECT_FALSE(fs::exists(path("out.eml"))) << file;
    }
    EXPECT_EQ(runTool({"compose"}).status, 2);
    EXPECT_EQ(runTool({"compose", "--attach", path("report.pdf"), "--attach", folder_.string()}).status, 1);
}

TEST_F(ComposeEditTest, EditsWithoutChangesWriteTheInputBackByteForByte) {
    for (const char* message : {"messages/cpython/msg_16.eml", "messages/mail-mime-parser/m0009.eml",
                                "messages/mime4j/testmsgs__malformedHeader-noheader.eml"}) {
        std::string file = (corpusDirectory() / message).string();
        ToolRun run = runTool({"edit", file});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_TRUE(run.out == fileContents(file)) << message;
    }
    std::string mbox = (corpusDirectory() / "mbox/gmime/substring.mbox").string();
    ToolRun second = runTool({"edit", mbox, "--index", "1"});
    ASSERT_EQ(second.status, 0) << second.err;
    for (const CorpusMessage& message : corpusMessages()) {
        if (message.name != mbox + " #1") continue;
        EXPECT_TRUE(second.out ==
                    std::string(reinterpret_cast<const char*>(message.bytes.bytes()), message.bytes.length()))
            << "the second message of the mailbox, as stored";
    }
}

TEST_F(ComposeEditTest, HeaderEditsKeepTheBodyAndNeverInjectFields) {
    ToolRun composed =
        runTool({"compose", "--from", "ann@example.com", "--to", "bob@example.org", "--subject", "Old", "--text",
                 path("note.txt"), "--attach", path("report.pdf"), "--output", path("draft.eml")});
    ASSERT_EQ(composed.status, 0) << composed.err;
    std::string draft = fileContents(path("draft.eml"));
    ToolRun edited = runTool({"edit", path("draft.eml"), "--subject", "New \u2713", "--header",
                              "X-Note=line\r\nBcc: mallory@example.com", "--header", "Cc=Dee <dee@example.com>",
                              "--remove-header", "X-Orwin-Composer-Id"});
    ASSERT_EQ(edited.status, 0) << edited.err;
    std::string body = draft.substr(draft.find("\r\n\r\n"));
    EXPECT_EQ(edited.out.substr(edited.out.find("\r\n\r\n")), body) << "the body bytes are kept";
    EXPECT_EQ(edited.out.find("\r\nBcc:"), std::string::npos) << edited.out;
    EXPECT_EQ(edited.out.find("X-Orwin-Composer-Id"), std::string::npos);
    write("edited.eml", edited.out);
    json message = inspect(path("edited.eml"));
    EXPECT_EQ(message["abstract"]["subject"], "New \u2713");
    EXPECT_EQ(message["abstract"]["ccRecipients"][0]["addresses"][0]["userAtDomain"], "dee@example.com");
    EXPECT_TRUE(message["abstract"]["bccRecipients"].is_null());

    ToolRun badHeader =
        runTool({"edit", path("draft.eml"), "--header", "To=not an address", "--output", path("x.eml")});
    EXPECT_EQ(badHeader.status, 1);
    EXPECT_FALSE(fs::exists(path("x.eml")));
    EXPECT_EQ(runTool({"edit", path("draft.eml"), "--header", "no-equals"}).status, 2);

    ToolRun renewed = runTool({"edit", path("draft.eml"), "--new-content-id"});
    EXPECT_NE(renewed.out.find("@example.com>"), std::string::npos);
    EXPECT_NE(renewed.out, draft);
    ToolRun amending = runTool({"edit", path("draft.eml"), "--new-content-id", "--for-amending"});
    EXPECT_TRUE(amending.out == draft) << "opened for amending, nothing is renewed";
}

TEST_F(ComposeEditTest, BodyEditsBuildTheBodyAgain) {
    ToolRun composed =
        runTool({"compose", "--from", "ann@example.com", "--to", "bob@example.org", "--subject", "S", "--text",
                 path("note.txt"), "--attach", path("report.pdf"), "--output", path("draft.eml")});
    ASSERT_EQ(composed.status, 0) << composed.err;
    write("page.html", "<p>New <i>HTML</i> body</p><p><img src=\"cid:chart\"></p>");

    ToolRun attached = runTool({"edit", path("draft.eml"), "--attach", path("chart.png"), "--tree"});
    ASSERT_EQ(attached.status, 0) << attached.err;
    json tree = json::parse(attached.out);
    ASSERT_EQ(tree["children"].size(), 3u) << attached.out;
    EXPECT_EQ(tree["children"][0]["type"], "text") << "a plain-text message stays plain text";
    EXPECT_EQ(tree["children"][2]["filename"], "chart.png");

    ToolRun removed = runTool({"edit", path("draft.eml"), "--remove-attachments", "--tree"});
    EXPECT_EQ(json::parse(removed.out)["type"], "text");

    ToolRun html = runTool({"edit", path("draft.eml"), "--html", path("page.html"), "--output", path("html.eml")});
    ASSERT_EQ(html.status, 0) << html.err;
    json message = inspect(path("html.eml"));
    EXPECT_NE(message["html"].get<std::string>().find("<i>HTML</i>"), std::string::npos);
    EXPECT_EQ(message["plainText"], "New HTML body") << "the text follows the new HTML";
    EXPECT_EQ(message["attachments"].size(), 1u);

    ToolRun text = runTool({"edit", path("html.eml"), "--text", "-", "--tree"}, "Only text now");
    EXPECT_EQ(json::parse(text.out)["children"][0]["type"], "text") << text.out;
}

}  // namespace
}  // namespace postwright::test
