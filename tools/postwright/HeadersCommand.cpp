// postwright headers FILE: everything the header collection of a message answers.
#include "Commands.hpp"
#include "MessageInput.hpp"
#include "MessageJson.hpp"
#include "ToolSupport.hpp"

namespace postwright::tool {

std::string headersHelp() {
    return "Usage: postwright headers FILE [--index N]\n"
           "\n"
           "Parses the header block of a message and prints one JSON object:\n"
           "  fields        every field in order of appearance: {\"name\" (as written), \"raw\" (the\n"
           "                stored value, folds kept), \"value\" (encoded words decoded, unfolded),\n"
           "                \"sortHint\"}\n"
           "  subject, from, sender, recipients, ccRecipients, bccRecipients, replyToRecipients\n"
           "                addresses as {\"displayName\", \"localPart\", \"domain\", \"userAtDomain\",\n"
           "                \"valid\", \"invalidRawAddress\", \"mailSploited\", \"rfc2822\", \"digest\"},\n"
           "                recipients as groups {\"name\", \"addresses\"}\n"
           "  dateSent, dateReceived, candidateSentDates, possibleReceivedDates\n"
           "                ISO 8601 UTC dates; non-conformant Date fields are read tolerantly\n"
           "  headerID, inReplyToIds, references, and their digests and hashes\n"
           "  contentType, contentDisposition   the parameter dictionaries\n"
           "  contentIdentifier                 the message's 18-character content identifier\n"
           "Values the message lacks are null.\n"
           "\n"
           "--now DATE, --tz ZONE and --locale ID pin the clock, time zone and locale that tolerant\n"
           "date reading uses.\n"
           "\n" + std::string(kMessageFileHelp) + "\n"
           "Example:\n"
           "  postwright headers examples/simple.eml\n";
}

int runHeaders(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"now", "tz", "locale", "index"}, {});
    if (!arguments.ok()) return usageError("headers", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("headers", "expects exactly one FILE");
    std::optional<DateEnvironment::Override> pinned;
    if (int status = pinDateEnvironment("headers", arguments, pinned)) return status;
    PWMessageContentsRef contents = readMessageContents(arguments, "headers");
    if (!contents) return 1;
    ErrorRef error;
    PWMessageHeadersRef headers = contents->headersWithError(&error);
    if (!headers) {
        if (error) return inputError("the header block could not be read: " + toUTF8(error->localizedDescription));
        return inputError("the message is empty");
    }
    printJSON(jsonHeaders(*headers));
    return 0;
}

}  // namespace postwright::tool
