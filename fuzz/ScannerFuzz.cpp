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
