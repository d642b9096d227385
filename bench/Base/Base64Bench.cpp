#include <benchmark/benchmark.h>

#include <random>

#include "postwright/Base/Base64.hpp"

using namespace postwright;

// 10 MB of attachment-style base64 (76-character lines, CR LF).
static void BM_Base64Decode10MB(benchmark::State& state) {
    std::string bytes(7'500'000, '\0');
    std::mt19937 random(1);
    for (char& c : bytes) c = static_cast<char>(random());
    Data text = Data::adopting(base64EncodedString(Data::withString(bytes), Base64Alphabet::Standard, {.lineBreaks = true}));
    for (auto _ : state) benchmark::DoNotOptimize(base64DecodedData(text));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.length()));
}
BENCHMARK(BM_Base64Decode10MB)->Unit(benchmark::kMillisecond);

static void BM_Base64Encode(benchmark::State& state) {
    std::string bytes(1'000'000, 'x');
    Data data = Data::withString(bytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(base64EncodedString(data, Base64Alphabet::Standard, {.lineBreaks = true}));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.length()));
}
BENCHMARK(BM_Base64Encode);
