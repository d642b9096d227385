// Helpers for the tests of composed messages: trees as short texts, and messages read back from bytes.
#pragma once

#include <string>

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
