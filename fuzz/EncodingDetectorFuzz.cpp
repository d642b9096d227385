// The charset detector: any bytes, with the hints the first byte picks. It must answer, never UTF-16 or
// UTF-32 without a byte-order mark or NUL bytes, and the decoding that follows must always give text.
#include <cstdint>
#include <cstring>

#include "FuzzSupport.hpp"
#include "postwright/Base/EncodingDetector.hpp"
#include "postwright/Base/TextEncoding.hpp"

using namespace postwright;

namespace {
bool isUnicodeForm(TextEncoding encoding) {
    return encoding == kUTF16BigEndianStringEncoding || encoding == kUTF16LittleEndianStringEncoding ||
           encoding == kUTF16StringEncoding || encoding == kUTF32StringEncoding ||
           encoding == kUTF32BigEndianStringEncoding || encoding == kUTF32LittleEndianStringEncoding;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzz::silenceLibraryLog();
    EncodingHints hints;
    if (size > 0) {
        const std::vector<TextEncoding>& all = supportedEncodings();
        hints.message.push_back(all[bytes[0] % all.size()]);
        if (bytes[0] & 0x80) hints.declared = all[(bytes[0] / 3) % all.size()];
    }
    Data data = Data::withStaticBytes(bytes, size);
    for (const EncodingHints& given : {EncodingHints(), hints}) {
        EncodingDetection found = detectEncoding(data, given);
        bool marked = size >= 2 && ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF) ||
                                    (size >= 4 && bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 0xFE && bytes[3] == 0xFF));
        bool nul = size > 0 && std::memchr(bytes, 0, size) != nullptr;
        if (isUnicodeForm(found.encoding) && !marked && !nul) __builtin_trap();
        if (found.confidence < 0 || found.confidence > 1) __builtin_trap();
        TextEncoding used = kNoEncoding;
        if (!newByDecodingData(data, given, &used).has_value()) __builtin_trap();
    }
    if (isValidUTF8(bytes, size) != stringFromBytes(bytes, size, kUTF8StringEncoding).has_value()) __builtin_trap();
    return 0;
}
