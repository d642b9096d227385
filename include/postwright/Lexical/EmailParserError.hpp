// The error vocabulary of the structured-field scanner and the address grammar.
//
// Domain "com.fennelgate.postwright.emailparser". Each record carries the short message as its localized
// description and, as debug description, the message filled with the scanner's whole string.
#pragma once

#include <string_view>

#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr const char* kEmailParserErrorDomain = "com.fennelgate.postwright.emailparser";

enum class EmailParserErrorCode : long {
    CommentNotClosed = 1,                // "Comment was not closed"
    QuotedStringNotClosed = 3,           // "QuotedString was not closed"
    UnclosedAngularBracket = 4,          // "Unclosed Angular Bracket Error"
    MalformedAddress = 5,                // an addr-spec that does not read
    MalformedMimeData = 6,               // "Malformed Mime Data"
    DotAtomNotParsed = 10,               // "Could not parse dot-atom"
    QuotedStringNonASCII = 11,           // "QuotedString included non ASCII character"
};

// The record for code, its debug description formed with the scanner's whole string.
ErrorRef emailParserError(EmailParserErrorCode code, std::u16string_view scannerString);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
