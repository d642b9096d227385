// Helpers for the tests of composed messages: trees as short texts, and messages read back from bytes.
#pragma once

#include <string>
#include <string_view>

#include "postwright/Message/FGFileAttachment.hpp"
#include "postwright/Message/PWMessageContents.hpp"
#include "postwright/Mime/PWMimePart.hpp"

namespace postwright::test {

// The types of a tree, children in brackets: "multipart/mixed[text/plain,application/pdf]".
inline std::string shapeOf(const PWMimePartRef& part) {
    if (!part) return "(none)";
    std::string shape = toUTF8(part->MIMEtype());
    std::vector<PWMimePartRef> children = part->subParts();
    if (children.empty()) return shape;
    shape += "[";
    for (size_t i = 0; i < children.size(); ++i) shape += (i ? "," : "") + shapeOf(children[i]);
    return shape + "]";
}

// The message as a reader gets it: its bytes parsed afresh.
inline PWMessageContentsRef reread(const PWMessageContentsRef& contents) {
    return PWMessageContents::initWithHeaderAndBodyData(contents->contentData());
}

inline std::string bytesOf(const PWMessageContentsRef& contents) {
    Data data = contents->contentData();
    return std::string(reinterpret_cast<const char*>(data.bytes()), data.length());
}

// Upper-case hexadecimal digits, count of them exactly.
inline bool isUpperHex(std::string_view text, size_t count) {
    if (text.size() != count) return false;
    for (char c : text) {
        if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'))) return false;
    }
    return true;
}

// A UUID in the platform's form: 8-4-4-4-12 upper-case hexadecimal digits.
inline bool isUUIDText(std::string_view text) {
    return text.size() == 36 && isUpperHex(text.substr(0, 8), 8) && text[8] == '-' && isUpperHex(text.substr(9, 4), 4) &&
           text[13] == '-' && isUpperHex(text.substr(14, 4), 4) && text[18] == '-' && isUpperHex(text.substr(19, 4), 4) &&
           text[23] == '-' && isUpperHex(text.substr(24), 12);
}

// A tiny PNG and a PDF-ish file as attachments.
inline std::shared_ptr<FGFileAttachment> pngAttachment(std::u16string_view name = u"chart.png",
                                                       const OptString& contentId = std::nullopt) {
    static const char png[] = "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x01\0\0\0\x01\x08\x02\0\0\0";
    return FGFileAttachment::attachmentWithData(Data::withBytes(png, sizeof png - 1), name, std::nullopt, contentId);
}

inline std::shared_ptr<FGFileAttachment> pdfAttachment(std::u16string_view name = u"report.pdf") {
    return FGFileAttachment::attachmentWithData(Data::withString("%PDF-1.4\n% report\n%%EOF\n"), name);
}

}  // namespace postwright::test
