#include <gtest/gtest.h>

#include "postwright/Base/DataScanner.hpp"
#include "postwright/Lexical/MimeError.hpp"

using namespace postwright;

namespace {
struct Split {
    bool ok = false;
    std::optional<Data> preamble, epilogue;
    std::vector<std::string> parts;
    size_t location = 0;
};

Split split(std::string_view body, std::string_view newline = "\r\n", std::u16string boundary = u"b") {
    Data data = Data::withString(body);
    FGDataScanner scanner(data);
    Split result;
    std::vector<Data> parts;
    result.ok = scanner.scanMimeDataWithBoundary(boundary, Data::withString(newline), &result.preamble, &parts,
                                                 &result.epilogue);
    for (const Data& part : parts) {
        EXPECT_TRUE(part.sharesStorageWith(data)) << "body parts are views, never copies";
        result.parts.push_back(part.toString());
    }
    result.location = scanner.location();
    return result;
}

std::string lf(std::string text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
        out.push_back(text[i]);
    }
    return out;
}
}  // namespace

TEST(MultipartScan, SplitsPartsPreambleAndEpilogue) {
    for (std::string newline : {"\r\n", "\n"}) {
        auto adapt = [&](std::string text) { return newline == "\n" ? lf(text) : text; };
        Split simple = split(adapt("--b\r\npart\r\n--b--\r\nepilogue"), newline);
        EXPECT_TRUE(simple.ok);
        EXPECT_FALSE(simple.preamble);
        EXPECT_EQ(simple.parts, std::vector<std::string>{"part"});
        ASSERT_TRUE(simple.epilogue);
        EXPECT_EQ(*simple.epilogue, "epilogue");

        Split emptyBody = split(adapt("preamble\r\n--b\r\nX: y\r\n\r\n\r\n--b--"), newline);
        EXPECT_EQ(*emptyBody.preamble, "preamble");
        EXPECT_EQ(emptyBody.parts, std::vector<std::string>{adapt("X: y\r\n\r\n")}) << "a part with an empty body";

        Split blankLine = split(adapt("--b\r\nX: y\r\n\r\n--b--"), newline);
        EXPECT_EQ(blankLine.parts, std::vector<std::string>{adapt("X: y\r\n")})
            << "the blank line's line break belongs to the delimiter";

        Split prefix = split(adapt("--b\r\none\r\n--bc\r\ntwo\r\n--b--"), newline);
        EXPECT_EQ(prefix.parts, std::vector<std::string>{adapt("one\r\n--bc\r\ntwo")})
            << "a boundary that prefixes a longer line is text";

        Split padded = split(adapt("--b \t\r\none\r\n--b-- "), newline);
        EXPECT_EQ(padded.parts, std::vector<std::string>{"one"});
        EXPECT_FALSE(padded.epilogue) << "no epilogue without a line break after the close-delimiter";

        Split unclosed = split(adapt("--b\r\none\r\n--b\r\ntwo\r\nmore"), newline);
        EXPECT_EQ(unclosed.parts, (std::vector<std::string>{"one", adapt("two\r\nmore")}))
            << "without a close-delimiter the last part runs to the end";
    }
}

TEST(MultipartScan, DamagedStructureIsNeverAnError) {
    Split noBoundary = split("just some text\r\nwithout any boundary");
    EXPECT_TRUE(noBoundary.ok);
    EXPECT_TRUE(noBoundary.parts.empty());
    EXPECT_EQ(*noBoundary.preamble, "just some text\r\nwithout any boundary");

    Split headerless = split("--b\r\n\r\nbody\r\n--b--");
    EXPECT_EQ(headerless.parts, std::vector<std::string>{"\r\nbody"}) << "an empty header block";

    Split garbage = split("--b\r\nA: 1\r\n\r\none\r\n--b\r\nB: 2\r\n\r\ntwo\r\n--b--\r\n");
    EXPECT_EQ(garbage.parts, (std::vector<std::string>{"A: 1\r\n\r\none", "B: 2\r\n\r\ntwo"}));

    Split truncated = split("--b\r\nA: 1\r\n\r\none\r\n--b");
    EXPECT_EQ(truncated.parts, std::vector<std::string>{"A: 1\r\n\r\none"})
        << "a boundary at the very end of the data still ends the part";

    Split empty = split("");
    EXPECT_FALSE(empty.ok);
    EXPECT_TRUE(empty.parts.empty());
}

TEST(MultipartScan, ManySiblingsAreSplitInOnePass) {
    std::string body;
    for (int i = 0; i < 10000; ++i) body += "--b\r\nContent-Type: text/plain\r\n\r\npart " + std::to_string(i) + "\r\n";
    body += "--b--\r\n";
    Split many = split(body);
    ASSERT_EQ(many.parts.size(), 10000u);
    EXPECT_EQ(many.parts[9999], "Content-Type: text/plain\r\n\r\npart 9999");
}

TEST(MultipartScan, ABoundaryWithoutBytesIsTheOnlyError) {
    Data data = Data::withString("--b\r\nx\r\n--b--");
    FGDataScanner scanner(data);
    ErrorRef error;
    std::vector<Data> parts;
    EXPECT_FALSE(scanner.scanMimeDataWithBoundary(u"b\u00e9", std::nullopt, nullptr, &parts, nullptr, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->domain, "com.fennelgate.FGPostwright.MIME");
    EXPECT_EQ(error->code, 2);
    EXPECT_EQ(error->localizedDescription, u"Could not parse multipart Mime structure");
    EXPECT_EQ(error->userInfo.at("boundary"), u"b\u00e9");
    EXPECT_EQ(error->userInfo.at("lineDelimiter"), u"<NO LINEBREAK>");

    EXPECT_FALSE(scanner.scanMimeDataWithBoundary(std::nullopt, CRLFData(), nullptr, &parts, nullptr, &error));
    EXPECT_EQ(error->userInfo.at("boundary"), u"<NO BOUNDARY>");
    EXPECT_EQ(error->userInfo.at("lineDelimiter"), u"<0d0a>");
}

TEST(MboxScan, ReadsOneMessageAtATimeAndUndoesQuoting) {
    Data mbox = Data::withString(
        "junk before\n"
        "From a@example.com Mon Jan  1 00:00:00 2024\n"
        "Subject: one\n\nbody\n>>From x\n>x\n>From y\n\n"
        "From b@example.com Tue Jan  2 00:00:00 2024\r\n"
        "Subject: two\r\n\r\nsecond\r\n");
    FGDataScanner scanner(mbox);
    Data from, message;
    ASSERT_TRUE(scanner.scanMboxMessage(&from, &message));
    EXPECT_EQ(from, "From a@example.com Mon Jan  1 00:00:00 2024");
    EXPECT_EQ(message, "Subject: one\n\nbody\n>From x\n>x\nFrom y\n\n");
    EXPECT_TRUE(mbox.subdataFromLocation(scanner.location()).hasPrefix("From b@")) << "stops at the next From line";

    ASSERT_TRUE(scanner.scanMboxMessage(&from, &message));
    EXPECT_EQ(from, "From b@example.com Tue Jan  2 00:00:00 2024");
    EXPECT_EQ(message, "Subject: two\r\n\r\nsecond\r\n");
    EXPECT_TRUE(message.sharesStorageWith(mbox)) << "an unquoted message is a view of the file";
    EXPECT_TRUE(scanner.isAtEnd());
    EXPECT_FALSE(scanner.scanMboxMessage(&from, &message));
}

TEST(MboxScan, WithoutAFromLineThereIsNoMessage) {
    FGDataScanner scanner(Data::withString("Subject: x\n\nno envelope\n"));
    Data from, message;
    EXPECT_TRUE(scanner.scanMboxMessage(&from, &message)) << "the location moved";
    EXPECT_TRUE(from.empty());
    EXPECT_TRUE(message.empty());
    FGDataScanner onlyEnvelope(Data::withString("From x\n"));
    EXPECT_TRUE(onlyEnvelope.scanMboxMessage(&from, &message));
    EXPECT_TRUE(message.empty()) << "an envelope without a message gives nothing";
}
