// Byte-to-character tables of the two single-byte encodings that ICU does not carry.
#pragma once

#include <cstdint>

namespace postwright::detail {

// 256 entries each; 0xFFFF marks a byte that the encoding does not define.
extern const char16_t kNEXTSTEPTable[256];
extern const char16_t kSymbolTable[256];

}  // namespace postwright::detail
