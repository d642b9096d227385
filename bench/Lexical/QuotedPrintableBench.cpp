#include <benchmark/benchmark.h>

#include "postwright/Lexical/QuotedPrintable.hpp"

using namespace postwright;

namespace {
// About 10 MB of mail-like text: mostly ASCII prose with accented letters, tabs, "=" signs and long lines.
const std::u16string& bodyText() {
    static const std::u16string text = [] {
        const std::u16string paragraph =
            u"Gr\u00fc\u00dfe aus M\u00fcnchen! Die Sitzung am n\u00e4chsten Montag f\u00e4llt aus; a=b\tc.\r\n"
            u"Plain ASCII line that is long enough to be cut by the encoder because it runs past the limit of "
            u"seventy-six characters.\r\n\u00c9t\u00e9 \u2014 \u20ac 12,50 \u00b7 caf\u00e9 cr\u00e8me\r\n";
        std::u16string out;
        while (out.size() < 10 * 1000 * 1000) out += paragraph;
        return out;
    }();
    return text;
}

const Data& encodedBody() {
    static const Data data =
        Data::withString(toUTF8(*quotedPrintableStringForPlainTextBody(bodyText(), kUTF8StringEncoding, nullptr)));
    return data;
}
}  // namespace

// Decoding a 10 MB quoted-printable body; options 2 also HTML-escapes what came from escapes.
static void BM_QuotedPrintableDecode(benchmark::State& state) {
    const Data& input = encodedBody();
    unsigned options = static_cast<unsigned>(state.range(0));
    for (auto _ : state) {
        ErrorRef error;
        std::optional<Data> decoded = decodedQuotedPrintableDataWithOptions(input, options, &error);
        benchmark::DoNotOptimize(decoded);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.length()));
}
BENCHMARK(BM_QuotedPrintableDecode)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond);

// Encoding 10 MB of text (counted in UTF-8 bytes of input).
static void BM_QuotedPrintableEncode(benchmark::State& state) {
    const std::u16string& text = bodyText();
    for (auto _ : state) {
        TextEncoding used = 0;
        OptString encoded = quotedPrintableStringForPlainTextBody(text, kUTF8StringEncoding, &used);
        benchmark::DoNotOptimize(encoded);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * toUTF8(text).size()));
}
BENCHMARK(BM_QuotedPrintableEncode)->Unit(benchmark::kMillisecond);
