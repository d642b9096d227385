// The write-back check of a MIME tree: an untouched tree gives back its bytes, and a changed tree is rebuilt
// into bytes that parse to the same tree.
//
//     MimeRoundTripReport report = checkMimeRoundTrip(message);
//     if (!report.passed()) for (const std::u16string& line : report.differences) log(line);
//
// The check parses the message, compares mimeNSData() with the input, then makes a mutable copy, changes
// the charset of one leaf (the first text part, else the first leaf: "utf-8", or "iso-8859-1" when it
// already is utf-8), rebuilds the bytes and parses them again. The two trees must have the same shape: in
// depth-first order the same identifiers, MIME types and numbers of children, and the changed leaf must
// carry its new charset. A part whose class changed is noted but is no difference: a rebuilt part writes
// the file name its Content-Type "name" gave it as an "attachment" disposition, which the registry then
// reads as an attachment.
#pragma once

#include <string>
#include <vector>

#include "postwright/Export.hpp"
#include "postwright/Mime/PWMimePart.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// One part of a tree's shape, in depth-first order.
struct MimeTreeShapeEntry {
    std::u16string identifier;
    std::u16string className;
    std::u16string mimeType;
    size_t childCount = 0;
    // Same place, type and number of children (the class may differ).
    bool sameShape(const MimeTreeShapeEntry& other) const {
        return identifier == other.identifier && mimeType == other.mimeType && childCount == other.childCount;
    }
    bool operator==(const MimeTreeShapeEntry&) const = default;
};

// The shape of the subtree of root, depth first, root first (walked with its own stack).
std::vector<MimeTreeShapeEntry> mimeTreeShape(const PWMimePart& root);

// What checkMimeRoundTrip found, step by step.
struct MimeRoundTripReport {
    bool parsed = false;          // the message gave a tree
    bool bytesIdentical = false;  // the untouched tree wrote back its input
    OptString changedPart;        // identifier of the leaf whose charset was changed
    OptString changedCharset;     // the charset it was given
    size_t rebuiltLength = 0;     // bytes of the rebuilt message
    bool shapePreserved = false;  // the rebuilt message parsed to the same shape, with the new charset
    std::vector<std::u16string> differences;
    std::vector<std::u16string> notes;  // parts that changed class

    bool passed() const { return parsed && bytesIdentical && shapePreserved; }
};

MimeRoundTripReport checkMimeRoundTrip(const Data& message, const OptString& identifier = u"0");

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
