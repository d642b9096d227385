#include <benchmark/benchmark.h>

#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
const std::u16string kContentTypes[] = {
    u"text/plain; charset=\"UTF-8\"; format=flowed",
    u"multipart/alternative; boundary=\"----=_Part_12345_67890.1700000000000\"",
    u"text/html; charset=iso-8859-1",
    u"application/pdf; name=\"=?utf-8?B?UmVjaG51bmcgTsKwIDEyMy5wZGY=?=\"",
    u"application/octet-stream; name*0*=utf-8''%E2%82%AC%20Rechnung; name*1=\" 2024.pdf\"",
    u"image/png",
    u"multipart/mixed;\r\n boundary=\"===============1234567890==\"",
    u"message/rfc822",
};
}  // namespace

// Content-Type values as they come in real mail, parsed into their info dictionaries.
static void BM_ContentTypeParsing(benchmark::State& state) {
    size_t count = 0;
    for (auto _ : state) {
        for (const std::u16string& value : kContentTypes) {
            Scanner scanner = Scanner::emailAddressScannerWithString(value);
            ParameterDictionary info;
            bool ok = scanner.scanRFC1341ContentTypeHeaderIntoDictionary(&info, nullptr);
            benchmark::DoNotOptimize(ok);
            benchmark::DoNotOptimize(info);
            ++count;
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(count));
}
BENCHMARK(BM_ContentTypeParsing);
