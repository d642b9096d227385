// postwright html: normalize, select and clean on files and standard input; usage errors.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

// Runs the tool with arguments (shell words), feeding input on standard input.
ToolRun tool(const std::string& arguments, const std::string& input = "") {
    auto directory = std::filesystem::temp_directory_path();
    auto inputPath = directory / ("pw-html-in-" + std::to_string(::getpid()));
    auto errorPath = directory / ("pw-html-err-" + std::to_string(::getpid()));
    std::ofstream(inputPath, std::ios::binary) << input;
    std::string command = std::string(PW_TOOL_PATH) + " html " + arguments + " < " + inputPath.string() + " 2> " +
                          errorPath.string();
    ToolRun run;
    FILE* pipe = ::popen(command.c_str(), "r");
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) run.out.append(buffer, n);
    int status = ::pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream errors(errorPath, std::ios::binary);
    run.err.assign(std::istreambuf_iterator<char>(errors), std::istreambuf_iterator<char>());
    std::filesystem::remove(inputPath);
    std::filesystem::remove(errorPath);
    return run;
}

}  // namespace

TEST(HtmlCommand, NormalizePrintsTheDocumentElement) {
    ToolRun run = tool("normalize -", "<title>T</title><p class=a>One<p>Two &amp; <br/>");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "<html><head><title>T</title></head><body><p class=\"a\">One</p><p>Two &amp; <br></p></body></html>\n");
    EXPECT_EQ(tool("normalize", "x").out, "<html><head></head><body>x</body></html>\n") << "no FILE reads stdin";
    // Bytes that are not UTF-8 are decoded by detection.
    EXPECT_EQ(tool("normalize", "<p>caf\xe9</p>").out, "<html><head></head><body><p>caf\xc3\xa9</p></body></html>\n");
}

TEST(HtmlCommand, NormalizeReadsAFile) {
    auto path = std::filesystem::temp_directory_path() / ("pw-html-file-" + std::to_string(::getpid()) + ".html");
    std::ofstream(path, std::ios::binary) << "<b>bold";
    ToolRun run = tool("normalize " + path.string());
    std::filesystem::remove(path);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "<html><head></head><body><b>bold</b></body></html>\n");
    ToolRun missing = tool("normalize /nonexistent/file.html");
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("cannot read /nonexistent/file.html"), std::string::npos);
}

TEST(HtmlCommand, SelectPrintsEachMatchOnALine) {
    ToolRun run = tool("select 'div > p.x, [lang|=en]' -", "<div><p class=x>1</p><span><p class=x>2</p></span></div>"
                                                       "<p lang=en-GB>3</p>");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "<p class=\"x\">1</p>\n<p lang=\"en-GB\">3</p>\n");
    EXPECT_EQ(tool("select em", "<p>none</p>").out, "");
}

TEST(HtmlCommand, CleanAppliesTheDeliveryList) {
    ToolRun run = tool("clean -", "<div id=FGMessageContent contenteditable=true>Hi<span id=fg-replace-cursor-position>"
                              "</span><span class='orwInlineAttachment orwInlineAttachmentImage'>i</span></div>");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "<div>Hi<span class=\"Image\">i</span></div>\n");
}

TEST(HtmlCommand, UsageErrorsExitTwo) {
    for (const char* arguments : {"", "frobnicate", "select", "normalize a b", "select p a b", "normalize --bad"}) {
        ToolRun run = tool(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_NE(run.err.find("postwright html:"), std::string::npos) << arguments;
    }
    ToolRun invalid = tool("select 'p:hover' -", "<p>x</p>");
    EXPECT_EQ(invalid.status, 2);
    EXPECT_NE(invalid.err.find("invalid selector: p:hover: pseudo-classes are not supported"), std::string::npos);
    ToolRun help = tool("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("postwright html select SELECTOR"), std::string::npos);
}
