// The strict RFC 2822 date scanner with each option from every position: a failure leaves the location
// and gives no date; a success gives a finite date and never moves past the text.
#include <cmath>
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Lexical/DateFormat.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    DateEnvironment::Override pinned(1709629440000.0, "Europe/Berlin", "en_US");
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    for (size_t start = 0; start <= text.size() && start < 64; ++start) {
        for (unsigned options : {0u, 1u, 2u, 3u}) {
            Scanner scanner = Scanner::emailAddressScannerWithString(text);
            scanner.setScanLocation(start);
            std::optional<double> date = 0.0;
            bool ok = scanner.scanRFC2822DateTimeIntoDate(&date, options);
            if (ok != date.has_value()) __builtin_trap();
            if (!ok && scanner.scanLocation() != start) __builtin_trap();
            if (ok && (!std::isfinite(*date) || scanner.scanLocation() > text.size())) __builtin_trap();
        }
    }
    if (std::optional<double> date = dateFromRFC822String(text)) (void)rfc2822Date(*date);
    return 0;
}
