// The tolerant date reader over arbitrary text, in two locales: it either fails with no dates or gives at
// least one.
#include <cmath>
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    if (text.size() > 4096) text.resize(4096);  // the reader is meant for one header value
    for (const char* locale : {"en_US", "de_DE"}) {
        DateEnvironment::Override pinned(1709629440000.0, "Europe/Berlin", std::string(locale));
        std::optional<std::vector<double>> dates;
        bool ok = Scanner::scanNonConformantDateString(text, &dates);
        if (ok != dates.has_value()) __builtin_trap();
        if (ok && dates->empty()) __builtin_trap();
        if (ok) {
            for (double date : *dates) {
                if (!std::isfinite(date)) __builtin_trap();
            }
        }
    }
    return 0;
}
