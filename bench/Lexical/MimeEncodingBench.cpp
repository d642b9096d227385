#include <benchmark/benchmark.h>

#include <vector>

#include "postwright/Lexical/MimeEncoding.hpp"

using namespace postwright;

namespace {
// 100,000 header values as a mailbox shows them: most plain, many with Q or B words, some with several.
const std::vector<std::u16string>& mixedHeaders() {
    static const std::vector<std::u16string> headers = [] {
        const std::u16string samples[] = {
            u"Re: Quarterly report for the board meeting",
            u"=?utf-8?Q?Gr=C3=BC=C3=9Fe_aus_M=C3=BCnchen?=",
            u"Fwd: =?UTF-8?B?w4l0w6kgMjAyNCDigJQgcGxhbm5pbmc=?=",
            u"=?iso-8859-1?Q?Caf=E9?= =?iso-8859-1?Q?_cr=E8me?= and more",
            u"John Smith <john.smith@example.com>",
            u"=?utf-8?Q?two words?= spaced by a sloppy encoder",
            u"=?ISO-2022-JP?B?GyRCJEgkbCRpJE4bKEI=?=",
            u"Invitation: Weekly sync @ Mon 10am - 10:30am (UTC)",
            u"\u00dcberweisung erhalten (plain 8-bit text)",
            u"=?windows-1252?Q?=93quoted=94_text?= =?bad",
        };
        std::vector<std::u16string> list;
        list.reserve(100000);
        for (size_t i = 0; i < 100000; ++i) list.push_back(samples[i % std::size(samples)]);
        return list;
    }();
    return headers;
}
}  // namespace

static void BM_HeaderTextDecoding(benchmark::State& state) {
    const auto& headers = mixedHeaders();
    size_t bytes = 0;
    for (const auto& header : headers) bytes += header.size() * sizeof(char16_t);
    for (auto _ : state) {
        for (const auto& header : headers) {
            bool sploited = false;
            std::u16string text = decodedMimeEncodedString(header, &sploited);
            benchmark::DoNotOptimize(text);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * headers.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_HeaderTextDecoding)->Unit(benchmark::kMillisecond);
