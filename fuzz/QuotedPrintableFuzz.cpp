// Quoted-printable: body decoding with every option, text decoding, the Q form, and the encoder, whose
// output must keep to 76-character lines and decode back.
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Lexical/QuotedPrintable.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Data data = Data::withStaticBytes(bytes, size);
    for (unsigned options = 0; options <= 3; ++options) {
        ErrorRef error;
        std::optional<Data> decoded =
            decodedQuotedPrintableDataWithOptions(data, options, kISOLatin2StringEncoding, &error);
        if (decoded.has_value() == (error != nullptr)) __builtin_trap();
        if (decoded && options == 0 && decoded->length() > size) __builtin_trap();
    }
    ErrorRef error;
    (void)decodedQuotedPrintableStringWithEncoding(data, kUTF8StringEncoding, 2, &error);
    (void)decodedQuotedPrintableStringWithEncoding(data, kShiftJISStringEncoding, 0, &error);

    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    (void)dataWithQuotedPrintableEncodedString(text);

    TextEncoding used = 0;
    OptString encoded = quotedPrintableStringForPlainTextBody(text, kUTF8StringEncoding, &used);
    if (!encoded) return 0;
    size_t lineStart = 0;
    for (size_t i = 0; i <= encoded->size(); ++i) {
        bool end = i == encoded->size() || (*encoded)[i] == u'\n';
        if (!end) continue;
        size_t length = i - lineStart - (i > lineStart && i < encoded->size() ? 1 : 0);  // without its CR
        if (length > kQuotedPrintableLineLength) __builtin_trap();
        lineStart = i + 1;
    }
    if (!text.empty() && text.back() != u' ') {
        std::optional<Data> back =
            decodedQuotedPrintableDataWithOptions(Data::withString(toUTF8(*encoded)), 0, nullptr);
        if (!back) __builtin_trap();
    }
    return 0;
}
