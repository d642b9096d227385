#include "MimeTree.hpp"

#include <cstdio>

#include "postwright/Base/DataScanner.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"

namespace postwright::tool {

const char* const kMimeFileHelp =
    "FILE is a message (.eml), an mbox file (its first message is used) or an emlx file (its\n"
    "counted message bytes are used); \"-\" reads standard input.\n";

namespace {
bool looksLikeEmlx(const Data& file) {
    size_t lineEnd = file.findByte('\n');
    if (lineEnd == Data::npos || lineEnd == 0) return false;
    bool digits = false;
    for (size_t i = 0; i < lineEnd; ++i) {
        uint8_t c = file[i];
        if (c >= '0' && c <= '9') {
            digits = true;
        } else if (c != ' ' && c != '\t' && c != '\r') {
            return false;
        }
    }
    return digits;
}
}  // namespace

std::optional<Data> messageBytesOfFile(const Data& file) {
    if (file.hasPrefix("From ")) {
        FGDataScanner scanner(file);
        Data fromLine, message;
        if (!scanner.scanMboxMessage(&fromLine, &message) || message.empty()) return std::nullopt;
        return message;
    }
    if (looksLikeEmlx(file)) return PWMessageHeaders::messageDataFromEmlxData(file);
    return file;
}

PWMimePartRef readRootMimePart(const std::string& path) {
    std::optional<Data> file = readInput(path);
    if (!file) return nullptr;
    std::optional<Data> message = messageBytesOfFile(*file);
    if (!message) {
        inputError("no message in " + path);
        return nullptr;
    }
    ErrorRef error;
    PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(*message, u"0", &error);
    if (!root) {
        inputError(error ? "the message does not parse: " + toUTF8(error->localizedDescription)
                         : "the message is empty");
        return nullptr;
    }
    return root;
}

Json jsonMimePart(const PWMimePart& part) {
    Json json = Json::object();
    json["identifier"] = jsonText(part.identifier());
    json["class"] = toUTF8(part.objectClass().name);
    json["type"] = jsonText(part.type());
    json["subtype"] = jsonText(part.subtype());
    json["charset"] = jsonText(part.charset());
    json["contentTransferEncoding"] = jsonText(part.contentTransferEncoding());
    json["contentType"] = jsonParameters(part.contentType());
    std::optional<ParameterDictionary> disposition = part.contentDisposition();
    json["contentDisposition"] = disposition ? jsonParameters(*disposition) : Json(nullptr);
    json["filename"] = jsonText(part.filename());
    json["contentId"] = jsonText(part.contentId());
    json["headerSize"] = part.headerSize();
    json["size"] = part.mimeData().length();
    json["decodedSize"] = part.decodedSize();
    Json children = Json::array();
    for (const PWMimePartRef& child : part.subParts()) children.push_back(jsonMimePart(*child));
    json["children"] = std::move(children);
    return json;
}

}  // namespace postwright::tool
