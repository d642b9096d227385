// Message files: plain RFC 2822 files, emlx files (a byte count line, the message, a property list) and
// mbox files (the first message).
#include "postwright/Message/PWMBoxMessageContents.hpp"

namespace postwright {

bool PWMessageContents::isEmlxFileData(const Data& file) {
    size_t lineEnd = file.findByte('\n');
    if (lineEnd == Data::npos || lineEnd == 0 || lineEnd > 20) return false;
    bool digit = false;
    for (size_t i = 0; i < lineEnd; ++i) {
        uint8_t c = file[i];
        if (c >= '0' && c <= '9') {
            digit = true;
        } else if (c != ' ' && c != '\t' && c != '\r') {
            return false;
        }
    }
    return digit;
}

std::shared_ptr<PWMessageContents> PWMessageContents::messageContentsWithEmlxFileAtURL(const std::string& path,
                                                                                       ErrorRef* error) {
    std::optional<Data> file = Data::mapFile(path, error);
    if (!file) return nullptr;
    std::optional<Data> message = PWMessageHeaders::messageDataFromEmlxData(*file);
    if (!message) {
        setSlot(error, makeError(kPOSIXErrorDomain, EINVAL, u"Not an emlx file: " + fromUTF8(path)));
        return nullptr;
    }
    auto contents = initWithHeaderAndBodyData(*message);
    contents->url_ = path;
    return contents;
}

std::shared_ptr<PWMessageContents> PWMessageContents::messageContentsWithFile(const std::string& path, ErrorRef* error) {
    std::optional<Data> file = Data::mapFile(path, error);
    if (!file) return nullptr;
    return messageContentsWithFileData(*file, path, error);
}

std::shared_ptr<PWMessageContents> PWMessageContents::messageContentsWithFileData(const Data& file,
                                                                                  const std::string& url,
                                                                                  ErrorRef* error) {
    std::shared_ptr<PWMessageContents> contents;
    if (isEmlxFileData(file)) {
        if (std::optional<Data> message = PWMessageHeaders::messageDataFromEmlxData(file)) {
            contents = initWithHeaderAndBodyData(*message, nullptr);
        }
    }
    if (!contents) contents = initWithHeaderAndBodyData(file, error);
    if (contents) contents->url_ = url;
    return contents;
}

}  // namespace postwright
