#include "Commands.hpp"

namespace postwright::tool {

const std::vector<Command>& commands() {
    static const std::vector<Command> list = {
        {"split", "show where a message's header block ends and its body begins", splitHelp, runSplit},
        {"parse", "run one structured-field scanner operation over a text", parseHelp, runParse},
        {"encode", "write text as quoted-printable, Q text, an encoded word or an IMAP astring", encodeHelp, runEncode},
        {"decode", "turn quoted-printable or Q text back into bytes", decodeHelp, runDecode},
        {"headers", "show everything a message's header block answers, as JSON", headersHelp, runHeaders},
        {"identifier", "take a message identifier ACCOUNT/CONTENT apart", identifierHelp, runIdentifier},
        {"html", "parse HTML and print it normalised, selected by CSS, or cleaned for delivery", htmlHelp,
         runHtml},
    };
    return list;
}

}  // namespace postwright::tool
