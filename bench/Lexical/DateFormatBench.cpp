#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Lexical/DateFormat.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
const std::u16string kStrictDates[] = {
    u"Tue, 5 Mar 2024 10:04:00 +0100",
    u"5 Mar 24 10:04 EST",
    u"Wed, 06 March 2024 23:59:59 -0800 (PST)",
    u"Thu, 7 Mar 2024 08:00 GMT",
};
}  // namespace

static void BM_StrictDate(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::u16string& text : kStrictDates) benchmark::DoNotOptimize(dateFromRFC822String(text));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(std::size(kStrictDates)));
}
BENCHMARK(BM_StrictDate);

static void BM_OldFormatListDate(benchmark::State& state) {
    const std::u16string text = u"Tue,  5 Mar 2024 10:04 EST (Eastern)";
    for (auto _ : state) benchmark::DoNotOptimize(olddateFromRFC822String(text));
}
BENCHMARK(BM_OldFormatListDate)->Unit(benchmark::kMicrosecond);

// Strategy A finds the date (every pattern pair is tried); strategy B runs only after A found nothing.
static void BM_TolerantDate(benchmark::State& state) {
    DateEnvironment::Override pinned(1709629440000.0, "Europe/Berlin", "en_US");
    const std::u16string text = state.range(0) == 0 ? u"Mon, 4 Mar 2024 10:04:00 +0100" : u"sent 3/4/2020 at 10:00 pm";
    for (auto _ : state) {
        std::optional<std::vector<double>> dates;
        benchmark::DoNotOptimize(Scanner::scanNonConformantDateString(text, &dates));
    }
}
BENCHMARK(BM_TolerantDate)->ArgName("piecewise")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

static void BM_RFC2822DateWriting(benchmark::State& state) {
    double date = 1709629440000.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(rfc2822Date(date));
        date += 1000.0;
    }
}
BENCHMARK(BM_RFC2822DateWriting);
