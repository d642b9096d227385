#include "MessageInput.hpp"

#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Message/PWMBoxMessageContents.hpp"

namespace postwright::tool {

const char* const kMessageFileHelp =
    "FILE is a message (.eml), an emlx file (its counted message bytes are used) or an mbox file\n"
    "(a file that begins with a \"From \" line); \"-\" reads standard input. --index N picks the\n"
    "message at N of an mbox file, counting from 0 (default: the first).\n";

PWMessageContentsRef readMessageContents(Arguments& arguments, const char* command) {
    std::optional<unsigned long long> index = arguments.number("index");
    if (!arguments.ok()) {
        usageError(command, arguments.error());
        return nullptr;
    }
    const std::string& path = arguments.positionals().at(0);
    std::optional<Data> file = readInput(path);
    if (!file) return nullptr;
    if (file->empty()) {
        inputError(path + " is empty");
        return nullptr;
    }
    if (!file->hasPrefix("From ")) {
        if (index.value_or(0) != 0) {
            usageError(command, "--index picks a message of an mbox file, and " + path + " is not one");
            return nullptr;
        }
        return PWMessageContents::messageContentsWithFileData(*file, path);
    }
    MboxReader reader(*file);
    unsigned long long seen = 0;
    while (std::optional<MboxReader::Message> message = reader.next()) {
        if (seen++ == index.value_or(0)) {
            return PWMBoxMessageContents::newWithMessageData(message->data, message->fromLine);
        }
    }
    if (seen == 0) {
        inputError("no message in " + path + ": its \"From \" lines are followed by nothing");
    } else {
        inputError(path + " holds " + std::to_string(seen) + (seen == 1 ? " message" : " messages") +
                   ", so --index goes from 0 to " + std::to_string(seen - 1));
    }
    return nullptr;
}

PWMimePartRef positionalRootMimePart(const PWMessageContentsRef& contents) {
    ErrorRef error;
    Data message = contents->contentData();
    PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message, u"0", contents->headers(),
                                                                headerSubdata(message).value_or(Data()), &error);
    if (!root) {
        inputError(error ? "the message does not parse: " + toUTF8(error->localizedDescription)
                         : "the message is empty");
        return nullptr;
    }
    contents->setRootMimePart(root);
    return root;
}

}  // namespace postwright::tool
