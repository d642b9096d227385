// The parse kinds of the RFC 2822 field scanner.
#include "ParseKinds.hpp"

namespace postwright::tool {

namespace {
using TextOperation = bool (Scanner::*)(OptString*, ErrorRef*);

template <TextOperation operation>
ParseOutcome runText(ParseRequest& request) {
    OptString value;
    bool ok = (request.scanner.*operation)(&value, request.errorSlot);
    return textOutcome(ok, value);
}

using SlotOnlyOperation = bool (Scanner::*)(OptString*);

template <SlotOnlyOperation operation>
ParseOutcome runSlotOnly(ParseRequest& request) {
    OptString value;
    bool ok = (request.scanner.*operation)(&value);
    return textOutcome(ok, value);
}
}  // namespace

void addScannerParseKinds(std::vector<ParseKind>& kinds) {
    kinds.insert(kinds.end(), {
        {"atom", "an RFC 2822 atom (no surrounding CFWS)", runText<&Scanner::scanRFC2822AtomIntoString>},
        {"dot-atom", "a dot-atom, trailing dot refused (code 10)",
         [](ParseRequest& r) {
             OptString value;
             bool ok = r.scanner.scanRFC2822DotAtomIntoString(&value, false, r.errorSlot);
             return textOutcome(ok, value);
         }},
        {"dot-atom-trailing", "a dot-atom, trailing dot allowed and kept",
         [](ParseRequest& r) {
             OptString value;
             bool ok = r.scanner.scanRFC2822DotAtomIntoString(&value, true, r.errorSlot);
             return textOutcome(ok, value);
         }},
        {"quoted-string", "the strict RFC 2822 quoted string", runText<&Scanner::scanRFC2822QuotedStringIntoString>},
        {"mime-quoted-string", "the lenient quoted string of MIME parameter values",
         runText<&Scanner::scanQuotedStringIntoString>},
        {"comment", "a (nested) comment; the value is its content", runText<&Scanner::scanRFC2822CommentIntoString>},
        {"cfws", "comments and folding white space (value: null)",
         [](ParseRequest& r) { return ParseOutcome{r.scanner.scanRFC2822CommentFoldingWhiteSpace(), nullptr}; }},
        {"fws", "folding white space; the value is the text consumed",
         [](ParseRequest& r) {
             OptString value;
             bool ok = r.scanner.scanRFC2822FoldingWhiteSpaceIntoString(&value);
             return textOutcome(ok, value);
         }},
        {"word", "an atom or a strict quoted string", runText<&Scanner::scanRFC2822WordIntoString>},
        {"phrase", "a phrase; --options 1 gives the built-up text",
         [](ParseRequest& r) {
             OptString value;
             bool ok = r.scanner.scanRFC2822PhraseIntoString(&value, r.options, r.errorSlot);
             return textOutcome(ok, value);
         }},
        {"local-part", "a local part: dot-atom or re-quoted quoted string",
         runText<&Scanner::scanLocalPartIntoString>},
        {"domain", "a domain: dot-atom or domain literal", runText<&Scanner::scanDomainIntoString>},
        {"domain-literal", "a domain literal; the value joins its contents with spaces",
         runText<&Scanner::scanDomainLiteralIntoString>},
        {"msg-id", "a message id, angle brackets kept", runSlotOnly<&Scanner::scanMessageIdIntoString>},
        {"token-2045", "an RFC 2045 token", runSlotOnly<&Scanner::scanRFC2045TokenIntoString>},
        {"token-2047", "an RFC 2047 token", runSlotOnly<&Scanner::scanRFC2047TokenIntoString>},
    });
}

}  // namespace postwright::tool
