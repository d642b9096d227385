// Helpers of the scanner and grammar tests.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>

#include "postwright/Base/Text.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright::test {

// Look-aheads ask for no result, and the scanners then skip building one; the operation must succeed or
// fail alike, stop at the same place and report the same error code either way, for every input and
// option set.
template <size_t N>
void expectSameWithoutResultSlot(const std::u16string (&inputs)[N], std::initializer_list<unsigned> optionSets,
                                 const std::function<bool(Scanner&, OptString*, unsigned, ErrorRef*)>& operation) {
    for (const std::u16string& input : inputs) {
        for (unsigned options : optionSets) {
            Scanner withResult = Scanner::emailAddressScannerWithString(input), without = withResult;
            OptString result;
            ErrorRef errorWith, errorWithout;
            bool okWith = operation(withResult, &result, options, &errorWith);
            bool okWithout = operation(without, nullptr, options, &errorWithout);
            EXPECT_EQ(okWith, okWithout) << toUTF8(input) << " options " << options;
            EXPECT_EQ(withResult.scanLocation(), without.scanLocation()) << toUTF8(input) << " options " << options;
            EXPECT_EQ(errorWith ? errorWith->code : 0, errorWithout ? errorWithout->code : 0) << toUTF8(input);
        }
    }
}

}  // namespace postwright::test
