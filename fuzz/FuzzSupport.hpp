// Helpers for fuzz targets: turning fuzz bytes into the library's inputs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "postwright/Base/Host.hpp"
#include "postwright/Base/Text.hpp"

namespace postwright::fuzz {

// Text from fuzz bytes. The first byte picks the reading: even, the rest as (lenient) UTF-8; odd, the rest
// as raw little-endian UTF-16 code units, so that every code unit, lone surrogates included, can occur.
inline std::u16string textFromFuzzBytes(const uint8_t* data, size_t size) {
    if (size == 0) return {};
    const uint8_t* rest = data + 1;
    size_t length = size - 1;
    if ((data[0] & 1) == 0) return fromUTF8(std::string_view(reinterpret_cast<const char*>(rest), length));
    std::u16string text;
    text.reserve(length / 2);
    for (size_t i = 0; i + 1 < length; i += 2) text.push_back(static_cast<char16_t>(rest[i] | (rest[i + 1] << 8)));
    return text;
}

// Keeps the library's log lines (unknown types, undecodable words) out of the fuzzer's output; called at
// the start of every input, it installs the silent logger once.
inline void silenceLibraryLog() {
    class SilentLogger : public Logger {
    public:
        void logForCategory(std::string_view, std::u16string_view) override {}
    };
    static const bool silenced = [] {
        Application::shared().setLogger(std::make_shared<SilentLogger>());
        return true;
    }();
    (void)silenced;
}

}  // namespace postwright::fuzz
