// Raw message bytes: every partition, trim, split and join over arbitrary input.
#include <cstdint>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Lexical/CharacterSetRFC2822.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Data data = Data::withStaticBytes(bytes, size);
    for (unsigned options = 0; options <= 7; ++options) {
        std::optional<Data> header, body, delimiter;
        partitionIntoHeaderData(data, &header, &body, options, &delimiter);
        if (header && header->length() > size) __builtin_trap();
        if (body && body->length() > size) __builtin_trap();
        (void)lineDelimiterwithOptions(data, options);
    }
    Range range = rangeOfRFC2822HeaderData(data);
    if (range.end() > size) __builtin_trap();
    (void)headerSubdata(data);
    (void)bodySubdata(data);
    for (uint16_t option = 0; option <= 2; ++option) {
        (void)dataByTrimmingBytesInCharacterSet(data, rfc2822WSPcharacterSet(), option);
    }
    (void)dataByTrimmingReturnsAndLineFeeds(data);
    if (size > 0) {
        Data separator = data.subdata(0, 1 + bytes[0] % 3);
        std::vector<Data> parts = componentsSeparatedByData(data.subdataFromLocation(separator.length()), separator);
        std::vector<const Data*> list;
        for (const Data& part : parts) list.push_back(&part);
        (void)componentsJoinedByData(list, separator);
    }
    (void)asciiEncodedString(data);
    (void)utf8EncodedString(data);
    return 0;
}
