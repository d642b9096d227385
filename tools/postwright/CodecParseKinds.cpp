// The parse kinds of the codecs: encoded words, header text and the Content-Type and
// Content-Disposition parameter parsers.
#include "ParseKinds.hpp"
#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"

namespace postwright::tool {

namespace {
ParseOutcome runEncodedWord(ParseRequest& request) {
    OptString text;
    TextEncoding encoding = kNoEncoding;
    OptString language;
    bool sploited = false;
    bool ok = request.scanner.scanRFC2047EncodedWordIntoString(&text, request.options, &encoding, &language, &sploited);
    ParseOutcome outcome = textOutcome(ok, text);
    outcome.extra["encoding"] = jsonCharsetName(encoding);
    outcome.extra["language"] = jsonText(language);
    outcome.extra["mailSploited"] = sploited;
    return outcome;
}

ParseOutcome runHeaderText(ParseRequest& request) {
    bool sploited = false;
    TextEncoding encoding = kInvalidEncoding;
    OptString language;
    std::u16string text = decodedMimeEncodedString(request.scanner.string(), &sploited, &encoding, &language);
    request.scanner.setScanLocation(request.scanner.string().size());
    ParseOutcome outcome = textOutcome(true, text);
    outcome.extra["mailSploited"] = sploited;
    outcome.extra["encoding"] = jsonCharsetName(encoding);
    outcome.extra["language"] = jsonText(language);
    return outcome;
}

template <bool (Scanner::*operation)(ParameterDictionary*, ErrorRef*)>
ParseOutcome runParameters(ParseRequest& request) {
    ParameterDictionary info;
    bool ok = (request.scanner.*operation)(&info, request.errorSlot);
    return {ok, ok ? jsonParameters(info) : Json(nullptr)};
}
}  // namespace

void addCodecParseKinds(std::vector<ParseKind>& kinds) {
    kinds.insert(kinds.end(),
                 {
                     {"encoded-word", "one RFC 2047 encoded word, decoded (--options 1 admits SPACE)", runEncodedWord},
                     {"header-text", "the whole TEXT with every encoded word decoded", runHeaderText},
                     {"content-type", "a Content-Type value into its info dictionary",
                      runParameters<&Scanner::scanRFC1341ContentTypeHeaderIntoDictionary>},
                     {"content-disposition", "a Content-Disposition value into its info dictionary",
                      runParameters<&Scanner::scanRFC2183ContentDispositionHeaderIntoDictionary>},
                 });
}

}  // namespace postwright::tool
