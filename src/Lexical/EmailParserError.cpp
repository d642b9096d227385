#include "postwright/Lexical/EmailParserError.hpp"

#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"

namespace postwright {

namespace {
struct Texts {
    const char16_t* message;
    const char16_t* debugFormat;
};

Texts textsFor(EmailParserErrorCode code) {
    switch (code) {
        case EmailParserErrorCode::CommentNotClosed:
            return {u"Comment was not closed", u"Comment was not closed in: %@"};
        case EmailParserErrorCode::QuotedStringNotClosed:
            return {u"QuotedString was not closed", u"QuotedString was not closed in: %@"};
        case EmailParserErrorCode::UnclosedAngularBracket:
            return {u"Unclosed Angular Bracket Error", u"Unclosed Angular Bracket Error in: %@"};
        case EmailParserErrorCode::MalformedAddress:
            return {u"Malformed Email Address Spec", u"Malformed Email Address Spec: %@"};
        case EmailParserErrorCode::MalformedMimeData:
            return {u"Malformed Mime Data", u"Malformed Mime Data in: %@"};
        case EmailParserErrorCode::DotAtomNotParsed:
            return {u"Could not parse dot-atom", u"Could not parse dot-atom in: %@"};
        case EmailParserErrorCode::QuotedStringNonASCII:
            return {u"QuotedString included non ASCII character", u"QuotedString included non ASCII character in: %@"};
    }
    return {u"", u"%@"};
}
}  // namespace

ErrorRef emailParserError(EmailParserErrorCode code, std::u16string_view scannerString) {
    Texts texts = textsFor(code);
    return makeError(kEmailParserErrorDomain, static_cast<long>(code),
                     localizedString(texts.message, texts.message, StringSource::Library),
                     formatString(texts.debugFormat, {scannerString}));
}

}  // namespace postwright
