// The inspect and index commands over real mail: golden JSON for a dozen varied corpus messages, read
// with their line ends as written and converted (LF to CRLF, CRLF to LF), and index over mailboxes,
// folders and files that are not mail.
//
// On a mismatch the output is written beside the golden file as NAME.actual.json; when a change of
// output is intended, POSTWRIGHT_UPDATE_GOLDEN=1 rewrites the golden files.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

#include "support/TestSupport.hpp"
#include "support/ToolRunner.hpp"

namespace postwright::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const fs::path kGoldenDirectory = fs::path(PW_SOURCE_DIR) / "tests" / "Tool" / "golden";

// Signed, encrypted, forwarded, reports, charsets of the East, non-ASCII and RFC 2231 file names, broken
// dates, boundaries and headers, and a message without any header.
const char* const kGoldenMessages[] = {
    "cpython/msg_45.eml",
    "gmime/pgp__encrypted-message.eml",
    "cpython/msg_16.eml",
    "mikel-mail/multi_charset__japanese_iso_2022.eml",
    "mail-mime-parser/m0009.eml",
    "mikel-mail/attachment_emails__attachment_pdf_non_ascii.eml",
    "mailparser/nodemailer.eml",
    "mikel-mail/error_emails__bad_date_header2.eml",
    "mikel-mail/mime_emails__raw_email_with_illegal_boundary.eml",
    "cpython/msg_36.eml",
    "mail-mime-parser/headers__encoded-headers.eml",
    "mime4j/testmsgs__malformedHeader-noheader.eml",
    "mikel-mail/mime_emails__email_with_similar_boundaries.eml",
};

std::string convertedLineEnds(const std::string& bytes) {
    bool crlf = bytes.find("\r\n") != std::string::npos;
    std::string out;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (crlf) {
            if (!(bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n')) out.push_back(bytes[i]);
        } else {
            if (bytes[i] == '\n' && (i == 0 || bytes[i - 1] != '\r')) out.push_back('\r');
            out.push_back(bytes[i]);
        }
    }
    return out;
}

json inspect(const std::string& path) {
    ToolRun run = runTool({"inspect", path, "--json", "--now", "2026-01-01", "--tz", "UTC", "--locale", "en_US_POSIX"});
    EXPECT_EQ(run.status, 0) << path << "\n" << run.err;
    return run.status == 0 ? json::parse(run.out) : json();
}

// Compares with the golden file; writes NAME.actual.json beside it on a mismatch.
void expectGolden(const json& actual, const std::string& name) {
    fs::path golden = kGoldenDirectory / (name + ".json");
    std::string text = actual.dump(2) + "\n";
    if (std::getenv("POSTWRIGHT_UPDATE_GOLDEN")) {
        std::ofstream(golden, std::ios::binary) << text;
        return;
    }
    fs::path actualPath = kGoldenDirectory / (name + ".actual.json");
    std::string expected = fileContents(golden.string());
    if (expected == text) {
        fs::remove(actualPath);
        return;
    }
    std::ofstream(actualPath, std::ios::binary) << text;
    ADD_FAILURE() << name << ": the output differs from " << golden << "; see " << actualPath;
}

std::string goldenName(std::string corpusPath) {
    std::replace(corpusPath.begin(), corpusPath.end(), '/', '_');
    return corpusPath.substr(0, corpusPath.size() - 4);  // without ".eml"
}

TEST(InspectGolden, CorpusMessagesAsWrittenAndWithConvertedLineEnds) {
    fs::path scratch = fs::temp_directory_path() / ("pw-golden-" + std::to_string(::getpid()));
    fs::create_directories(scratch);
    for (const char* message : kGoldenMessages) {
        fs::path source = corpusDirectory() / "messages" / message;
        ASSERT_TRUE(fs::exists(source)) << source;
        std::string name = goldenName(message);
        json asWritten = inspect(source.string());
        expectGolden(asWritten, name);

        fs::path converted = scratch / (name + ".eml");
        std::ofstream(converted, std::ios::binary) << convertedLineEnds(fileContents(source.string()));
        json other = inspect(converted.string());
        expectGolden(other, name + ".converted");
        // Line ends change sizes and raw values, never what the message says.
        EXPECT_EQ(other["abstract"]["subject"], asWritten["abstract"]["subject"]) << name;
        EXPECT_EQ(other["abstract"]["from"], asWritten["abstract"]["from"]) << name;
        EXPECT_EQ(other["attachments"].size(), asWritten["attachments"].size()) << name;
        EXPECT_EQ(other["encryptionFlags"], asWritten["encryptionFlags"]) << name;
    }
    fs::remove_all(scratch);
}

TEST(Inspect, SummaryShowsPeopleTreeAndAttachments) {
    ToolRun run = runTool({"inspect", std::string(PW_SOURCE_DIR) + "/examples/multipart.eml"});
    ASSERT_EQ(run.status, 0) << run.err;
    for (const char* expected : {"From:       Ann <ann@example.org>", "Subject:    Re: Lunch on Fr\xC3\xBChling day",
                                 "      0/0/0  text/plain; utf-8, quoted-printable", "Attachments:",
                                 "Men\xC3\xBC.pdf  application/pdf, 77 bytes", "neither signed nor encrypted"}) {
        EXPECT_NE(run.out.find(expected), std::string::npos) << expected << "\n" << run.out;
    }
    ToolRun signedMessage = runTool({"inspect", (corpusDirectory() / "messages/cpython/msg_45.eml").string()});
    EXPECT_NE(signedMessage.out.find("Security:   signed"), std::string::npos) << signedMessage.out;
}

std::vector<json> lines(const std::string& text) {
    std::vector<json> parsed;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) parsed.push_back(json::parse(line));
    return parsed;
}

TEST(Index, OneLinePerMailboxMessageInOrder) {
    fs::path gmime = corpusDirectory() / "mbox/gmime/substring.mbox";
    fs::path mimekit = corpusDirectory() / "mbox/mimekit/content-length.mbox.txt";
    ToolRun run = runTool({"index", gmime.string(), mimekit.string(), "--jobs", "2"});
    ASSERT_EQ(run.status, 0) << run.err;
    std::vector<json> messages = lines(run.out);
    ASSERT_EQ(messages.size(), 3u + 29u);
    for (size_t i = 0; i < messages.size(); ++i) {
        EXPECT_EQ(messages[i]["source"], i < 3 ? gmime.string() : mimekit.string());
        if (i > 0 && i != 3) {
            EXPECT_GT(messages[i]["position"], messages[i - 1]["position"]) << i;
        }
        EXPECT_EQ(messages[i]["contentIdentifier"].get<std::string>().size(), 18u);
        for (const char* key : {"subject", "from", "sender", "recipients", "ccRecipients", "bccRecipients", "dateSent",
                                "dateReceived", "headerIDDigest", "inReplyToDigests", "references", "messageSize",
                                "attachments", "encryptionFlags"}) {
            EXPECT_TRUE(messages[i].contains(key)) << key;
        }
    }
    EXPECT_EQ(messages[0]["position"], 0);
    EXPECT_NE(run.err.find("32 messages"), std::string::npos) << run.err;

    ToolRun oneThread = runTool({"index", gmime.string(), mimekit.string(), "--jobs", "1"});
    EXPECT_EQ(oneThread.out, run.out) << "the order does not depend on the number of threads";
}

TEST(Index, ReportsWhatItCannotReadAndIndexesTheRest) {
    fs::path folder = fs::temp_directory_path() / ("pw-index-" + std::to_string(::getpid()));
    fs::remove_all(folder);
    fs::create_directories(folder / "nested");
    std::string message = fileContents(std::string(PW_SOURCE_DIR) + "/examples/simple.eml");
    std::ofstream(folder / "nested" / "good.eml", std::ios::binary) << message;
    std::ofstream(folder / "truncated.eml", std::ios::binary) << message.substr(0, message.size() / 3);
    std::ofstream(folder / "empty.eml", std::ios::binary);
    std::ofstream(folder / "picture.png", std::ios::binary) << std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    std::ofstream(folder / "no-from.mbox", std::ios::binary) << message << message;
    std::ofstream(folder / "envelope-only.mbox", std::ios::binary) << "From - \n";
    fs::create_symlink(folder / "gone.eml", folder / "link.eml");

    ToolRun run = runTool({"index", folder.string(), (folder / "missing").string()});
    EXPECT_EQ(run.status, 0) << run.err;
    std::vector<json> messages = lines(run.out);
    ASSERT_EQ(messages.size(), 3u) << run.out;  // nested/good.eml, no-from.mbox as one message, truncated.eml
    EXPECT_EQ(messages[0]["source"], (folder / "nested" / "good.eml").string());
    EXPECT_EQ(messages[1]["source"], (folder / "no-from.mbox").string());
    EXPECT_EQ(messages[2]["source"], (folder / "truncated.eml").string());
    for (const std::string& expected :
         {(folder / "empty.eml").string() + ": empty file, skipped",
          (folder / "picture.png").string() + ": not a mail message (binary data), skipped",
          (folder / "no-from.mbox").string() + ": no \"From \" line at its start",
          (folder / "envelope-only.mbox").string() + ": an mbox file without any message, skipped",
          (folder / "link.eml").string() + ": cannot read", (folder / "missing").string() + ": cannot read"}) {
        EXPECT_NE(run.err.find(expected), std::string::npos) << expected << "\n" << run.err;
    }

    ToolRun nothing = runTool({"index", (folder / "empty.eml").string()});
    EXPECT_EQ(nothing.status, 1) << "nothing could be read";
    EXPECT_EQ(runTool({"index"}).status, 2);
    EXPECT_EQ(runTool({"index", folder.string(), "--jobs", "0"}).status, 2);
    fs::remove_all(folder);
}

TEST(Index, WritesToAnOutputFile) {
    fs::path output = fs::temp_directory_path() / ("pw-index-out-" + std::to_string(::getpid()) + ".jsonl");
    const std::string examples = std::string(PW_SOURCE_DIR) + "/examples/";
    ToolRun run = runTool({"index", examples + "simple.eml", examples + "multipart.eml", "--output", output.string()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.out.empty());
    EXPECT_EQ(lines(fileContents(output.string())).size(), 2u);
    fs::remove(output);
}

}  // namespace
}  // namespace postwright::test
