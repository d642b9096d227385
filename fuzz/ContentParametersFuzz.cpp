// Content-Type and Content-Disposition values: both parsers, with and without a result slot, over
// arbitrary text. A failure must restore the location; a success must leave a well-formed dictionary.
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
template <typename Operation>
void run(const std::u16string& text, Operation operation) {
    for (bool withResult : {true, false}) {
        Scanner scanner = Scanner::emailAddressScannerWithString(text);
        ParameterDictionary info;
        ErrorRef error;
        bool ok = (scanner.*operation)(withResult ? &info : nullptr, &error);
        if (!ok && scanner.scanLocation() != 0) __builtin_trap();
        if (error) __builtin_trap();  // neither parser produces a record
        if (ok && withResult && !info.contains(u"@type") && !info.contains(u"@subtype")) __builtin_trap();
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    run(text, &Scanner::scanRFC1341ContentTypeHeaderIntoDictionary);
    run(text, &Scanner::scanRFC2183ContentDispositionHeaderIntoDictionary);
    (void)ahex2int(text.empty() ? u'0' : text[0], text.size() < 2 ? u'0' : text[1]);
    return 0;
}
