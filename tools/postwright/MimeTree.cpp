#include "MimeTree.hpp"

namespace postwright::tool {

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
