// The format-list date reader over arbitrary text; every date it reads can be written in the three forms.
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Lexical/DateFormat.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzz::silenceLibraryLog();
    DateEnvironment::Override pinned(1709629440000.0, "UTC", "en_US");
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    if (std::optional<double> date = olddateFromRFC822String(text)) {
        (void)rfc2822Date(*date);
        (void)mboxDateString(*date);
        (void)rfc3501AppendDateTime(*date);
    }
    return 0;
}
