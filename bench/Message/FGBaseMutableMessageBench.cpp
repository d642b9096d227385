#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "BenchSupport.hpp"
#include "postwright/Message/FGBaseMutableMessage.hpp"
#include "postwright/Message/FGFileAttachment.hpp"

using namespace postwright;

namespace {

Data randomBytes(size_t length, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(length, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return Data::withString(bytes);
}

// About 4 KB of the HTML a composer writes, showing one inline image.
std::u16string typicalHTML(std::u16string_view imageURL) {
    std::u16string html = u"<html><head><style>p { margin: 0 }</style></head><body>";
    for (int i = 0; i < 22; ++i) {
        html += u"<p>Paragraph " + fromUTF8(std::to_string(i)) +
                u" of the quarterly report: the figures for the <b>third quarter</b> are attached below.</p>\n";
        if (i == 10) html += u"<p><img src=\"" + std::u16string(imageURL) + u"\" width=\"400\"></p>\n";
    }
    return html + u"<p>Best regards,<br>Ann</p></body></html>";
}

}  // namespace

// A typical composed message: 4 KB of HTML with its plain text, a 50 KB inline image and a 200 KB PDF,
// from the pieces to the bytes of the message (the attachments are new files each time, so their base64
// is made each time).
static void BM_ComposeTypicalMessage(benchmark::State& state) {
    const Data image = randomBytes(50 * 1024, 1);
    const Data pdf = randomBytes(200 * 1024, 2);
    auto headers = PWMutableMessageHeaders::init();
    headers->setHeader(u"Ann Example <ann@example.com>", u"From");
    headers->setHeader(u"bob@example.org, Carl <carl@example.net>", u"To");
    headers->setSubject(u"Quarterly figures");
    size_t bytes = 0;
    for (auto _ : state) {
        auto chart = FGFileAttachment::attachmentWithData(image, u"chart.png");
        auto report = FGFileAttachment::attachmentWithData(pdf, u"report.pdf");
        auto message = FGBaseMutableMessage::newWithHeaders(headers, std::nullopt, typicalHTML(*chart->resourceURL()),
                                                            {report}, 0);
        message->setHtmlRelatedAttachments({chart});
        Data written = message->messageContents()->contentData();
        bytes += written.length();
        benchmark::DoNotOptimize(written);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_ComposeTypicalMessage)->Unit(benchmark::kMicrosecond);

// Every corpus message opened, given a new subject and written: the header block is written anew, the
// bodies are copied as they stand (never decoded or encoded again).
static void BM_EditSubjectOfEachCorpusMessage(benchmark::State& state) {
    const std::vector<Data>& messages = bench::corpusMessages();
    for (auto _ : state) {
        for (const Data& bytes : messages) {
            auto message =
                FGBaseMutableMessage::initWithMessageContents(PWMessageContents::initWithHeaderAndBodyData(bytes));
            message->setSubject(u"Re: quarterly figures");
            PWMessageContentsRef edited = message->messageContents();
            if (edited) benchmark::DoNotOptimize(edited->contentData());
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(messages.size()));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bench::totalBytes(messages)));
}
BENCHMARK(BM_EditSubjectOfEachCorpusMessage)->Unit(benchmark::kMillisecond);

// The same edit of one message carrying a 10 MB base64 attachment: the cost follows copying, not decoding.
static void BM_EditSubjectOfMessageWithLargeAttachment(benchmark::State& state) {
    std::string base64;
    const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (size_t line = 0; line < static_cast<size_t>(state.range(0)) / 57; ++line) {
        for (int i = 0; i < 76; ++i) base64 += alphabet[(line * 7 + i) % 64];
        base64 += "\r\n";
    }
    Data bytes = Data::withString(
        "From: ann@example.com\r\nSubject: big\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; "
        "boundary=B\r\n\r\n"
        "--B\r\nContent-Type: text/plain\r\n\r\nsee attached\r\n--B\r\nContent-Type: application/octet-stream\r\n"
        "Content-Transfer-Encoding: base64\r\n\r\n" +
        base64 + "--B--\r\n");
    for (auto _ : state) {
        auto message =
            FGBaseMutableMessage::initWithMessageContents(PWMessageContents::initWithHeaderAndBodyData(bytes));
        message->setSubject(u"Re: big");
        benchmark::DoNotOptimize(message->messageContents()->contentData());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.length()));
}
BENCHMARK(BM_EditSubjectOfMessageWithLargeAttachment)->Arg(1 << 20)->Arg(10 << 20)->Unit(benchmark::kMillisecond);
