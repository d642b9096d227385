#include "Commands.hpp"

namespace postwright::tool {

const std::vector<Command>& commands() {
    static const std::vector<Command> list = {
        {"inspect", "show everything about one message: summary, MIME outline, attachments, or all as JSON",
         inspectHelp, runInspect},
        {"index", "summarise every message of mailboxes and folders as JSON lines, in parallel", indexHelp,
         runIndex},
        {"compose", "build a new message from a JSON description or flags: text, HTML, attachments",
         composeHelp, runCompose},
        {"edit", "change a message's headers, text, HTML or attachments and write it again", editHelp, runEdit},
        {"amend", "run a stored list of amendments over a message (headers, subject, delivery, ...)", amendHelp,
         runAmend},
        {"split", "show where a message's header block ends and its body begins", splitHelp, runSplit},
        {"parse", "run one structured-field scanner operation over a text", parseHelp, runParse},
        {"encode", "write text as quoted-printable, Q text, an encoded word or an IMAP astring", encodeHelp, runEncode},
        {"decode", "turn quoted-printable or Q text back into bytes", decodeHelp, runDecode},
        {"headers", "show everything a message's header block answers, as JSON", headersHelp, runHeaders},
        {"bench", "measure how fast a mailbox is read: headers, abstracts, trees, full decoding", benchHelp, runBench},
        {"identifier", "take a message identifier ACCOUNT/CONTENT apart", identifierHelp, runIdentifier},
        {"html", "parse HTML and print it normalised, selected by CSS, or cleaned for delivery", htmlHelp,
         runHtml},
        {"tree", "print a message's MIME tree: every part's type, charset, encoding, names and sizes", treeHelp,
         runTree},
        {"text", "print the plain text a reader of a message sees", textHelp, runText},
        {"render", "print the HTML fragment a message shows", renderHelp, runRender},
        {"extract", "write a message's attachments to files", extractHelp, runExtract},
        {"detect", "show which charset unlabelled bytes are read in, with the candidates weighed", detectHelp,
         runDetect},
        {"roundtrip", "check that a message's MIME tree writes itself back", roundtripHelp, runRoundtrip},
    };
    return list;
}

}  // namespace postwright::tool
