#include <benchmark/benchmark.h>

#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
std::u16string phrases(size_t count) {
    std::u16string text;
    for (size_t i = 0; i < count; ++i) text += u"Joe \"Q.\" Public (the man) <jqp@example.com>, ";
    return text;
}
}  // namespace

// Display-name phrases as they stand in address headers: raw text (options 0) and built up (options 1).
static void BM_PhraseScanner(benchmark::State& state) {
    std::u16string text = phrases(1000);
    unsigned options = static_cast<unsigned>(state.range(0));
    for (auto _ : state) {
        Scanner scanner = Scanner::emailAddressScannerWithString(text);
        OptString phrase;
        size_t count = 0;
        while (!scanner.isAtEnd()) {
            if (scanner.scanRFC2822PhraseIntoString(&phrase, options, nullptr)) ++count;
            scanner.scanUpToString(u", ");
            scanner.scanString(u", ");
        }
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size() * sizeof(char16_t)));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * 1000));
}
BENCHMARK(BM_PhraseScanner)->Arg(0)->Arg(1);
