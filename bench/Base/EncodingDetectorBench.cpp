// Charset detection on 10-byte, 200-byte and 64 KB inputs of the kinds mail holds unlabelled: Western and
// Cyrillic single-byte text, Japanese Shift_JIS, and UTF-8 (which the structural stages decide).
#include <benchmark/benchmark.h>

#include "postwright/Base/EncodingDetector.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"

using namespace postwright;

namespace {

struct Kind {
    const char* charset;
    const char16_t* text;
};

const Kind kKinds[] = {
    {"windows-1252", u"Viele Gr\u00fc\u00dfe aus M\u00fcnchen! K\u00f6nnen wir das Treffen auf Donnerstag "
                     u"verschieben? Ich bin am Mittwoch leider nicht im B\u00fcro. "},
    {"windows-1251", u"\u0421\u043f\u0430\u0441\u0438\u0431\u043e \u0437\u0430 \u0431\u044b\u0441\u0442\u0440"
                     u"\u044b\u0439 \u043e\u0442\u0432\u0435\u0442! \u0414\u0430\u0432\u0430\u0439\u0442\u0435 "
                     u"\u0432\u0441\u0442\u0440\u0435\u0442\u0438\u043c\u0441\u044f \u0432 \u0441\u0440\u0435"
                     u"\u0434\u0443. "},
    {"shift_jis", u"\u3054\u8fd4\u4fe1\u3042\u308a\u304c\u3068\u3046\u3054\u3056\u3044\u307e\u3059\u3002\u6c34"
                  u"\u66dc\u65e5\u306e\u5348\u5f8c\u4e09\u6642\u306b\u4f1a\u8b70\u5ba4\u3067\u304a\u4f1a\u3044"
                  u"\u3057\u307e\u3057\u3087\u3046\u3002"},
    {"utf-8", u"Gr\u00fc\u00dfe, \u0421\u043f\u0430\u0441\u0438\u0431\u043e, \u4f1a\u8b70\u5ba4. "},
};

// About `size` bytes of the kind's text, cut at a character boundary.
Data input(const Kind& kind, size_t size) {
    std::u16string text;
    while (text.size() < size) text += kind.text;
    TextEncoding encoding = encodingForCharSetName(fromLatin1(kind.charset));
    std::u16string cut = text.substr(0, size);
    std::optional<Data> bytes = dataFromString(cut, encoding);
    while (!bytes || bytes->length() > size) {
        cut.pop_back();
        bytes = dataFromString(cut, encoding);
    }
    return *bytes;
}

void BM_DetectEncoding(benchmark::State& state) {
    const Kind& kind = kKinds[static_cast<size_t>(state.range(0))];
    Data bytes = input(kind, static_cast<size_t>(state.range(1)));
    for (auto _ : state) benchmark::DoNotOptimize(detectEncoding(bytes));
    state.SetLabel(kind.charset);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.length()));
}

}  // namespace

BENCHMARK(BM_DetectEncoding)->ArgsProduct({{0, 1, 2, 3}, {10, 200, 64 * 1024}});
