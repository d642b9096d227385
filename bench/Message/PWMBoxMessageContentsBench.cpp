#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "BenchSupport.hpp"
#include "postwright/Message/PWMBoxMessageContents.hpp"

using namespace postwright;

namespace {
// The corpus as one mailbox, "From " lines in bodies quoted as mboxrd writes them.
Data corpusMailbox() {
    std::string mbox;
    for (const Data& message : bench::corpusMessages()) {
        mbox += "From sender@example.invalid Mon Jan  1 00:00:00 2024\n";
        std::string_view text = message.view();
        size_t copied = 0;
        for (size_t at = text.find("\nFrom "); at != std::string_view::npos; at = text.find("\nFrom ", at + 1)) {
            mbox.append(text.substr(copied, at + 1 - copied));
            mbox += '>';
            copied = at + 1;
        }
        mbox.append(text.substr(copied));
        if (!text.empty() && text.back() != '\n') mbox += '\n';
        mbox += '\n';
    }
    return Data::withString(mbox);
}
}  // namespace

// Finding the messages of a mailbox: the byte search between "From " lines, and the views handed out.
static void BM_MboxReaderCorpus(benchmark::State& state) {
    const Data mbox = corpusMailbox();
    for (auto _ : state) {
        MboxReader reader(mbox);
        size_t messages = 0;
        while (reader.next()) ++messages;
        benchmark::DoNotOptimize(messages);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(mbox.length()));
}
BENCHMARK(BM_MboxReaderCorpus)->Unit(benchmark::kMillisecond);

// The envelope date, which the abstract falls back on for messages without Date and Received.
static void BM_MboxEnvelopeDate(benchmark::State& state) {
    auto contents = PWMBoxMessageContents::newWithMessageData(
        Data::withString("Subject: x\n\nbody\n"), Data::withString("From sender@example.invalid Mon Jan  1 00:00:00 2024"));
    for (auto _ : state) benchmark::DoNotOptimize(contents->mboxDate());
}
BENCHMARK(BM_MboxEnvelopeDate);
