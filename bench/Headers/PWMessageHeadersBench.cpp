#include <benchmark/benchmark.h>

#include "BenchSupport.hpp"
#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"

using namespace postwright;

namespace {
// The header blocks of every corpus message, cut once.
const std::vector<Data>& corpusHeaderBlocks() {
    static const std::vector<Data> blocks = [] {
        std::vector<Data> list;
        for (const Data& message : bench::corpusMessages()) {
            if (auto header = headerSubdata(message)) list.push_back(*header);
        }
        return list;
    }();
    return blocks;
}
}  // namespace

static void BM_ParseCorpusHeaderBlocks(benchmark::State& state) {
    const auto& blocks = corpusHeaderBlocks();
    size_t fields = 0;
    for (auto _ : state) {
        for (const Data& block : blocks) {
            auto headers = PWMessageHeaders::headersFromData(block);
            if (headers) fields += headers->headerEntryDictionary().allEntries().size();
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bench::totalBytes(blocks)));
    state.counters["headers/s"] = benchmark::Counter(static_cast<double>(fields), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ParseCorpusHeaderBlocks)->Unit(benchmark::kMillisecond);

static void BM_ContentIdentifierOfParsedBlocks(benchmark::State& state) {
    std::vector<std::shared_ptr<PWMessageHeaders>> parsed;
    for (const Data& block : corpusHeaderBlocks()) {
        if (auto headers = PWMessageHeaders::headersFromData(block)) parsed.push_back(headers);
    }
    for (auto _ : state) {
        for (const auto& headers : parsed) benchmark::DoNotOptimize(headers->_generateContentIdentifier());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * parsed.size()));
}
BENCHMARK(BM_ContentIdentifierOfParsedBlocks)->Unit(benchmark::kMillisecond);

static void BM_Fold10000Values(benchmark::State& state) {
    std::vector<std::shared_ptr<PWMutableMessageHeaderEntry>> entries;
    for (int i = 0; i < 10000; ++i) {
        std::u16string value = u"Re: a subject line of moderate length, number " + decimalString(i);
        while (value.size() < 80 + static_cast<size_t>(i % 120)) value += u" and some more words";
        entries.push_back(PWMutableMessageHeaderEntry::newWithFieldName(u"Subject", value, kDerivedSortHint));
    }
    for (auto _ : state) {
        for (const auto& entry : entries) benchmark::DoNotOptimize(entry->foldedHeaderWithOption(2));
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * entries.size()));
}
BENCHMARK(BM_Fold10000Values)->Unit(benchmark::kMillisecond);
