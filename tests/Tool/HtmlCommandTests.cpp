// postwright html: normalize, select and clean on files and standard input; usage errors.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/ToolRunner.hpp"

using postwright::test::runTool;
using postwright::test::ToolRun;

namespace {

ToolRun html(std::vector<std::string> arguments, const std::string& input = "") {
    arguments.insert(arguments.begin(), "html");
    return runTool(arguments, input);
}

}  // namespace

TEST(HtmlCommand, NormalizePrintsTheDocumentElementOfStandardInputOrAFile) {
    ToolRun run = html({"normalize", "-"}, "<title>T</title><p class=a>One<p>Two &amp; <br/>");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "<html><head><title>T</title></head><body><p class=\"a\">One</p><p>Two &amp; <br></p></body></html>\n");
    EXPECT_EQ(html({"normalize"}, "x").out, "<html><head></head><body>x</body></html>\n") << "no FILE reads stdin";
    // Bytes that are not UTF-8 are decoded by detection.
    EXPECT_EQ(html({"normalize"}, "<p>caf\xe9</p>").out, "<html><head></head><body><p>caf\xc3\xa9</p></body></html>\n");

    auto path = std::filesystem::temp_directory_path() / ("pw-html-file-" + std::to_string(::getpid()) + ".html");
    std::ofstream(path, std::ios::binary) << "<b>bold";
    ToolRun file = html({"normalize", path.string()});
    std::filesystem::remove(path);
    EXPECT_EQ(file.status, 0);
    EXPECT_EQ(file.out, "<html><head></head><body><b>bold</b></body></html>\n");
    ToolRun missing = html({"normalize", "/nonexistent/file.html"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("cannot read /nonexistent/file.html"), std::string::npos);
}

TEST(HtmlCommand, SelectPrintsEachMatchOnALine) {
    ToolRun run = html({"select", "div > p.x, [lang|=en]", "-"},
                       "<div><p class=x>1</p><span><p class=x>2</p></span></div><p lang=en-GB>3</p>");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "<p class=\"x\">1</p>\n<p lang=\"en-GB\">3</p>\n");
    EXPECT_EQ(html({"select", "em"}, "<p>none</p>").out, "");
}

TEST(HtmlCommand, CleanAppliesTheDeliveryList) {
    ToolRun run = html({"clean", "-"}, "<div id=FGMessageContent contenteditable=true>Hi<span "
                                       "id=fg-replace-cursor-position></span><span class='orwInlineAttachment "
                                       "orwInlineAttachmentImage'>i</span></div>");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "<div>Hi<span class=\"Image\">i</span></div>\n");
}

TEST(HtmlCommand, UsageErrorsExitTwo) {
    const std::vector<std::vector<std::string>> usages = {
        {}, {"frobnicate"}, {"select"}, {"normalize", "a", "b"}, {"select", "p", "a", "b"}, {"normalize", "--bad"}};
    for (const auto& arguments : usages) {
        ToolRun run = html(arguments);
        EXPECT_EQ(run.status, 2) << arguments.size();
        EXPECT_NE(run.err.find("postwright html:"), std::string::npos) << run.err;
    }
    ToolRun invalid = html({"select", "p:hover", "-"}, "<p>x</p>");
    EXPECT_EQ(invalid.status, 2);
    EXPECT_NE(invalid.err.find("invalid selector: p:hover: pseudo-classes are not supported"), std::string::npos);
    ToolRun help = html({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("postwright html select SELECTOR"), std::string::npos);
}
