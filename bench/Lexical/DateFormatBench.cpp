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

// The tolerant reader on: 0, a date that pattern voting finds; 1, one that only the piecewise strategy
// finds (voting found nothing); 2, a Date whose hour is out of range (every date-and-time pattern whose date
// part fits is a candidate, and the piecewise strategy still runs); 3, a Date that is no date at all.
static void BM_TolerantDate(benchmark::State& state) {
    static const std::u16string kTexts[] = {u"Mon, 4 Mar 2024 10:04:00 +0100", u"sent 3/4/2020 at 10:00 pm",
                                            u"Wed, 15 Dec 2010    59:10 -0500", u"Whenever"};
    DateEnvironment::Override pinned(1709629440000.0, "Europe/Berlin", "en_US");
    const std::u16string& text = kTexts[state.range(0)];
    for (auto _ : state) {
        std::optional<std::vector<double>> dates;
        benchmark::DoNotOptimize(Scanner::scanNonConformantDateString(text, &dates));
    }
}
BENCHMARK(BM_TolerantDate)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);

static void BM_RFC2822DateWriting(benchmark::State& state) {
    double date = 1709629440000.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(rfc2822Date(date));
        date += 1000.0;
    }
}
BENCHMARK(BM_RFC2822DateWriting);
