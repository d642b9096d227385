// The field scanner: comments, phrases, both quoted strings and the other tokens over arbitrary text.
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
// Runs one operation from every position of the text, checking that the location never leaves the text.
template <typename Operation>
void fromEveryPosition(const std::u16string& text, Operation operation) {
    for (size_t start = 0; start <= text.size() && start < 64; ++start) {
        Scanner scanner = Scanner::emailAddressScannerWithString(text);
        scanner.setScanLocation(start);
        operation(scanner);
        if (scanner.scanLocation() > text.size()) __builtin_trap();
    }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    OptString result;
    ErrorRef error;
    fromEveryPosition(text, [&](Scanner& s) { s.scanRFC2822CommentIntoString(&result, &error); });
    fromEveryPosition(text, [&](Scanner& s) { s.scanRFC2822PhraseIntoString(&result, 0, &error); });
    fromEveryPosition(text, [&](Scanner& s) { s.scanRFC2822PhraseIntoString(&result, 1, nullptr); });
    // Without a result slot (the look-aheads) a phrase must end at the same place with the same error.
    for (unsigned options : {0u, 1u}) {
        for (size_t start = 0; start <= text.size() && start < 64; ++start) {
            Scanner withResult = Scanner::emailAddressScannerWithString(text), without = withResult;
            withResult.setScanLocation(start);
            without.setScanLocation(start);
            ErrorRef errorWith, errorWithout;
            bool okWith = withResult.scanRFC2822PhraseIntoString(&result, options, &errorWith);
            bool okWithout = without.scanRFC2822PhraseIntoString(nullptr, options, &errorWithout);
            if (okWith != okWithout || withResult.scanLocation() != without.scanLocation()) __builtin_trap();
            if ((errorWith ? errorWith->code : 0) != (errorWithout ? errorWithout->code : 0)) __builtin_trap();
        }
    }
    fromEveryPosition(text, [&](Scanner& s) { s.scanRFC2822QuotedStringIntoString(&result, &error); });
    fromEveryPosition(text, [&](Scanner& s) { s.scanQuotedStringIntoString(&result, &error); });
    fromEveryPosition(text, [&](Scanner& s) { s.scanQuotedStringIntoString(&result, nullptr); });
    fromEveryPosition(text, [&](Scanner& s) { s.scanLocalPartIntoString(&result, &error); });
    fromEveryPosition(text, [&](Scanner& s) { s.scanDomainIntoString(&result, &error); });
    fromEveryPosition(text, [&](Scanner& s) { s.scanMessageIdIntoString(&result); });
    fromEveryPosition(text, [&](Scanner& s) { s.scanDomainDotAtomIntoString(&result); });
    fromEveryPosition(text, [&](Scanner& s) { s.scanRFC2822DotAtomIntoString(&result, true, &error); });
    // A whole-text walk: repeatedly take CFWS and words until nothing moves.
    Scanner walk = Scanner::emailAddressScannerWithString(text);
    while (!walk.isAtEnd()) {
        size_t before = walk.scanLocation();
        walk.scanRFC2822CommentFoldingWhiteSpace();
        walk.scanRFC2822WordIntoString(&result, &error);
        walk.scanRFC2045TokenIntoString(&result);
        if (walk.scanLocation() == before && !walk.advance(1)) break;
    }
    return 0;
}
