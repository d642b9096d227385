// Real mail: every HTML body of the corpus serialises to a fixed point, and every file parses as HTML.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {

std::string lowerASCII(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return lower;
}

// Quoted-printable undone crudely: "=XX" escapes and soft line breaks; anything else stays.
std::string undoQuotedPrintable(std::string_view text) {
    auto hex = [](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        c = static_cast<char>(c | 0x20);
        return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
    };
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '=' || i + 1 >= text.size()) {
            out += text[i];
        } else if (text[i + 1] == '\n') {
            i += 1;
        } else if (text[i + 1] == '\r' && i + 2 < text.size() && text[i + 2] == '\n') {
            i += 2;
        } else if (i + 2 < text.size() && hex(text[i + 1]) >= 0 && hex(text[i + 2]) >= 0) {
            out += static_cast<char>(hex(text[i + 1]) * 16 + hex(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::u16string decodeText(const std::string& bytes) {
    Data data = Data::withString(bytes);
    if (auto text = stringFromData(data, kUTF8StringEncoding)) return *text;
    TextEncoding used = kNoEncoding;
    return newByDecodingData(data, &used).value_or(std::u16string());
}

// The text/html bodies of a raw message, found crudely without a MIME parser: every header block (the
// message's or a part's) that declares text/html, and the body after it up to the next line starting
// with "--" (a boundary) or the end.
std::vector<std::u16string> htmlBodies(std::string_view message) {
    std::vector<std::u16string> bodies;
    std::string lower = lowerASCII(message);
    for (size_t at = lower.find("content-type:"); at != std::string::npos; at = lower.find("content-type:", at + 1)) {
        size_t lineEnd = lower.find('\n', at);
        std::string_view value = std::string_view(lower).substr(at, lineEnd == std::string::npos ? lower.npos : lineEnd - at);
        if (value.find("text/html") == std::string_view::npos) continue;
        // The header block ends at the first empty line after the Content-Type field.
        size_t blank = lower.find("\n\n", at), blankCR = lower.find("\n\r\n", at);
        size_t bodyStart = std::min(blank == std::string::npos ? lower.npos : blank + 2,
                                    blankCR == std::string::npos ? lower.npos : blankCR + 3);
        if (bodyStart >= lower.size()) continue;
        size_t headerStart = lower.rfind("\n\n", at);
        std::string_view headers = std::string_view(lower).substr(headerStart == std::string::npos ? 0 : headerStart,
                                                                 bodyStart - (headerStart == std::string::npos ? 0 : headerStart));
        size_t bodyEnd = lower.find("\n--", bodyStart);
        std::string body(message.substr(bodyStart, bodyEnd == std::string::npos ? lower.npos : bodyEnd - bodyStart));
        size_t encoding = headers.find("content-transfer-encoding:");
        if (encoding != std::string_view::npos) {
            std::string_view name = headers.substr(encoding + 26, 40);
            if (name.find("quoted-printable") != std::string_view::npos) {
                body = undoQuotedPrintable(body);
            } else if (name.find("base64") != std::string_view::npos) {
                body = base64DecodedData(Data::withString(body)).toString();
            }
        }
        bodies.push_back(decodeText(body));
    }
    return bodies;
}

std::u16string normalized(std::u16string_view html) {
    return HTMLDocument::documentWithString(html)->documentElement()->outerHTML();
}

}  // namespace

TEST(HtmlCorpus, EveryHTMLBodySerialisesToAFixedPoint) {
    size_t bodies = 0;
    for (const auto& path : test::corpusFiles()) {
        std::optional<Data> message = Data::mapFile(path.string());
        ASSERT_TRUE(message) << path;
        for (const std::u16string& body : htmlBodies(message->view())) {
            ++bodies;
            std::u16string once = normalized(body);
            std::u16string twice = normalized(once);
            EXPECT_EQ(toUTF8(twice), toUTF8(once)) << path;
            auto document = HTMLDocument::documentWithString(body);
            EXPECT_EQ(document->repairedTagCount(), 0u) << path << ": real mail needs no repair";
            auto copy = document->cloneNodeDeep();
            EXPECT_EQ(copy->innerHTML(), document->innerHTML()) << path;
        }
    }
    EXPECT_GE(bodies, 40u) << "the corpus holds HTML bodies";
}

TEST(HtmlCorpus, EveryFileParsesAsHTML) {
    size_t files = 0;
    for (const char* folder : {"messages", "mbox"}) {
        for (const auto& path : test::corpusFiles(folder)) {
            std::optional<Data> bytes = Data::mapFile(path.string());
            ASSERT_TRUE(bytes) << path;
            auto document = HTMLDocument::documentWithString(decodeText(bytes->toString()));
            ASSERT_TRUE(document->body()) << path;
            EXPECT_FALSE(document->documentElement()->outerHTML().empty()) << path;
            ++files;
        }
    }
    EXPECT_GT(files, 300u);
}
