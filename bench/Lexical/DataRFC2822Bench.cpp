#include <benchmark/benchmark.h>

#include "BenchSupport.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"

using namespace postwright;

// The header/body split of every corpus message (CRLF and LF messages alike).
static void BM_PartitionCorpus(benchmark::State& state) {
    const auto& messages = bench::corpusMessages();
    for (auto _ : state) {
        for (const Data& message : messages) {
            std::optional<Data> header, body, delimiter;
            partitionIntoHeaderData(message, &header, &body, 0, &delimiter);
            benchmark::DoNotOptimize(header);
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bench::totalBytes(messages)));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * messages.size()));
}
BENCHMARK(BM_PartitionCorpus);

// A 1 MB message whose lines end in LF: the CRLFCRLF search runs over the whole buffer first.
static void BM_PartitionLFMessage(benchmark::State& state) {
    std::string text;
    for (int i = 0; i < 20; ++i) text += "X-Header-" + std::to_string(i) + ": some value\n";
    text += "\n";
    while (text.size() < (1 << 20)) text += "A line of body text, long enough to look like mail.\n";
    Data message = Data::withString(text);
    for (auto _ : state) {
        std::optional<Data> header, body, delimiter;
        partitionIntoHeaderData(message, &header, &body, 0, &delimiter);
        benchmark::DoNotOptimize(header);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * message.length()));
}
BENCHMARK(BM_PartitionLFMessage);
