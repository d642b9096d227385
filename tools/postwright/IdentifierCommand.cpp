// postwright identifier TEXT: a message identifier "ACCOUNT/CONTENT" taken apart.
#include "Commands.hpp"
#include "ToolSupport.hpp"
#include "postwright/Message/FGMessageIdentifier.hpp"

namespace postwright::tool {

std::string identifierHelp() {
    return "Usage: postwright identifier ACCOUNT/CONTENT\n"
           "\n"
           "Parses a message identifier: an account identifier (12 base64url characters, or\n"
           "\"LOCAL\"), a slash, and an 18-character content identifier. Both parts are packed into\n"
           "bytes and written back, so malformed parts show what they decode to.\n"
           "\n"
           "Prints {\"stringRepresentation\", \"accountIdentifier\", \"contentIdentifier\", \"isValid\",\n"
           "\"unavailableContent\"}. A text without \"/\" is an error (exit 1).\n"
           "\n"
           "Examples:\n"
           "  postwright identifier LOCAL/0123abcdefghijklmn\n"
           "  postwright identifier LOCAL/----INVALIDMESSAGE     (isValid false)\n";
}

int runIdentifier(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {}, {});
    if (!arguments.ok()) return usageError("identifier", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("identifier", "expects exactly one ACCOUNT/CONTENT");
    auto identifier = FGMessageIdentifier::newWithStringValue(fromUTF8(arguments.positionals()[0]));
    if (!identifier) return inputError("not a message identifier (ACCOUNT/CONTENT): " + arguments.positionals()[0]);
    Json result = Json::object();
    result["stringRepresentation"] = jsonText(identifier->stringRepresentation());
    result["accountIdentifier"] = jsonText(identifier->accountIdentifier());
    result["contentIdentifier"] = jsonText(identifier->contentIdentifier());
    result["isValid"] = identifier->isValid();
    result["unavailableContent"] = identifier->unavailableContent();
    printJSON(result);
    return 0;
}

}  // namespace postwright::tool
