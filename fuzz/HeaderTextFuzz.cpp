// Encoded words: the header-text decoder, the one-word scanners from every position, and whole-word
// decoding, over arbitrary text.
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    bool sploited = false;
    TextEncoding encoding = 0;
    OptString language;
    std::u16string decoded = decodedMimeEncodedString(text, &sploited, &encoding, &language);
    if (text.find(u"=?") == std::u16string::npos && decoded != text) __builtin_trap();

    for (size_t start = 0; start < text.size() && start < 64; ++start) {
        for (unsigned options : {0u, 1u}) {
            Scanner scanner = Scanner::emailAddressScannerWithString(text);
            scanner.setScanLocation(start);
            OptString word;
            if (!scanner.scanRFC2047EncodedWordIntoString(&word, options, &encoding, &language, &sploited) &&
                scanner.scanLocation() != start) {
                __builtin_trap();
            }
        }
        Scanner raw = Scanner::emailAddressScannerWithString(text);
        raw.setScanLocation(start);
        OptString word;
        ErrorRef error;
        if (!raw.scanMimeEncodedWordIntoString(&word, &error) && raw.scanLocation() != start) __builtin_trap();
    }
    (void)dataForMimeEncodedWord(text, &encoding, &language);
    (void)stringWithMimeEncodedWord(text, &encoding, &language);
    (void)rfc9051AString(text);
    // Written words read back, except that a Q word's text ends at a decoded NUL and that decoding drops
    // a byte-order mark at the start.
    if (OptString word = mimeWordWithString(text, kUTF8StringEncoding, &encoding)) {
        bool comparable = text.find(u'\0') == std::u16string::npos && (text.empty() || text[0] != 0xFEFF);
        if (comparable && stringWithMimeEncodedWord(*word) != text) __builtin_trap();
    }
    return 0;
}
