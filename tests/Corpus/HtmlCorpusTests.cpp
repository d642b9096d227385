// Real mail through the MIME and HTML layers: every HTML body of the corpus serialises to a fixed point,
// and every file parses as HTML.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

namespace {

std::u16string decodeText(const std::string& bytes) {
    Data data = Data::withString(bytes);
    if (auto text = stringFromData(data, kUTF8StringEncoding)) return *text;
    TextEncoding used = kNoEncoding;
    return newByDecodingData(data, &used).value_or(std::u16string());
}

// The decoded text/html bodies of a message, as the MIME layer hands them to the HTML layer.
std::vector<std::u16string> htmlBodies(const Data& message) {
    std::vector<std::u16string> bodies;
    PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message, u"0");
    if (!root) return bodies;
    auto isHTML = [](const PWMimePart& part) { return part.isKindOfClass(PWTextHtmlMimePart::mimeClass()); };
    for (const PWMimePartRef& part : root->mimePartsPassingTest(isHTML)) {
        if (OptString html = part->htmlContent()) bodies.push_back(*html);
    }
    return bodies;
}

std::u16string normalized(std::u16string_view html) {
    return HTMLDocument::documentWithString(html)->documentElement()->outerHTML();
}

}  // namespace

TEST(HtmlCorpus, EveryHTMLBodySerialisesToAFixedPoint) {
    test::ScopedRecordingLogger quiet;
    size_t bodies = 0;
    for (const auto& path : test::corpusFiles()) {
        std::optional<Data> message = Data::mapFile(path.string());
        ASSERT_TRUE(message) << path;
        for (const std::u16string& body : htmlBodies(*message)) {
            ++bodies;
            std::u16string once = normalized(body);
            EXPECT_EQ(toUTF8(normalized(once)), toUTF8(once)) << path;
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
