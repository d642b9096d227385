// postwright split FILE: the header/body partition of a raw message.
#include "Commands.hpp"
#include "ToolSupport.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"

namespace postwright::tool {

std::string splitHelp() {
    return "Usage: postwright split FILE\n"
           "\n"
           "Shows how a raw message divides into its header block and its body. The header block\n"
           "ends at the first blank line, searched by precedence over the whole message: CRLFCRLF\n"
           "first, then LFLF, then CRCR.\n"
           "\n"
           "Prints one JSON object:\n"
           "  delimiter     \"CRLF\", \"LF\" or \"CR\": the line delimiter the message uses (null: none)\n"
           "  headerRange   [location, length] of the header block, its blank line included\n"
           "  headerLength  bytes of the header block, without the blank line\n"
           "  bodyLength    bytes of the body, or null when there is none\n"
           "\n"
           "A message without a blank line is all header. FILE \"-\" reads standard input.\n"
           "\n"
           "Example:\n"
           "  printf 'Subject: hi\\r\\n\\r\\nbody' | postwright split -\n";
}

int runSplit(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {}, {});
    if (!arguments.ok()) return usageError("split", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("split", "expects exactly one FILE");
    std::optional<Data> message = readInput(arguments.positionals()[0]);
    if (!message) return 1;

    std::optional<Data> delimiter;
    partitionIntoHeaderData(*message, nullptr, nullptr, kDelimiterAny, &delimiter);
    Range range = rangeOfRFC2822HeaderData(*message);
    std::optional<Data> header = headerSubdata(*message);
    std::optional<Data> body = bodySubdata(*message);

    Json result = Json::object();
    if (!delimiter) {
        result["delimiter"] = nullptr;
    } else if (*delimiter == CRLFData()) {
        result["delimiter"] = "CRLF";
    } else if (*delimiter == LFData()) {
        result["delimiter"] = "LF";
    } else {
        result["delimiter"] = "CR";
    }
    result["headerRange"] = Json::array({range.location, range.length});
    result["headerLength"] = header ? Json(header->length()) : Json(nullptr);
    result["bodyLength"] = body ? Json(body->length()) : Json(nullptr);
    printJSON(result);
    return 0;
}

}  // namespace postwright::tool
