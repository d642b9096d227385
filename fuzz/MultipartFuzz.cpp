// The multipart body scanner and the mbox scanner over arbitrary bytes.
#include <cstdint>

#include "postwright/Base/DataScanner.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Data data = Data::withStaticBytes(bytes, size);
    for (const char* boundary : {"b", "=_Part_0", "--"}) {
        for (const Data* newline : {&CRLFData(), &LFData()}) {
            FGDataScanner scanner(data);
            std::optional<Data> preamble, epilogue;
            std::vector<Data> parts;
            scanner.scanMimeDataWithBoundary(fromLatin1(boundary), *newline, &preamble, &parts, &epilogue);
            size_t total = 0;
            for (const Data& part : parts) total += part.length();
            if (total > size) __builtin_trap();
        }
    }
    FGDataScanner mbox(data);
    Data from, message;
    size_t messages = 0;
    while (!mbox.isAtEnd() && messages <= size) {
        size_t before = mbox.location();
        if (!mbox.scanMboxMessage(&from, &message) || mbox.location() == before) break;
        ++messages;
    }
    return 0;
}
