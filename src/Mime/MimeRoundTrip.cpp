#include "postwright/Mime/MimeRoundTrip.hpp"

#include "postwright/Base/Format.hpp"
#include "postwright/Mime/PWTextMimePart.hpp"

namespace postwright {

namespace {
std::u16string describe(const MimeTreeShapeEntry& entry) {
    return formatString(u"%@ %@ %@ (%lu children)",
                        {entry.identifier, entry.className, entry.mimeType, static_cast<unsigned long>(entry.childCount)});
}

// The leaf whose charset the check changes: the first text part, else the first leaf.
PWMimePartRef leafToChange(const PWMimePartRef& root) {
    PWMimePartRef firstLeaf;
    for (const PWMimePartRef& part : root->mimePartsPassingTest([](const PWMimePart& part) { return !part.hasSubParts(); })) {
        if (part->isKindOfClass(PWTextMimePart::mimeClass())) return part;
        if (!firstLeaf) firstLeaf = part;
    }
    return firstLeaf;
}
}  // namespace

std::vector<MimeTreeShapeEntry> mimeTreeShape(const PWMimePart& root) {
    std::vector<MimeTreeShapeEntry> shape;
    for (const PWMimePartRef& part : root.mimePartsPassingTest([](const PWMimePart&) { return true; })) {
        shape.push_back({part->identifier().value_or(u"(null)"), std::u16string(part->objectClass().name),
                         part->MIMEtype(), part->subParts().size()});
    }
    return shape;
}

MimeRoundTripReport checkMimeRoundTrip(const Data& message, const OptString& identifier) {
    MimeRoundTripReport report;
    PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message, identifier);
    if (!root) {
        report.differences.push_back(u"the message gives no MIME tree");
        return report;
    }
    report.parsed = true;
    Data written = root->mimeNSData();
    report.bytesIdentical = written == message;
    if (!report.bytesIdentical) {
        report.differences.push_back(formatString(u"the untouched tree wrote %lu bytes for an input of %lu",
                                                  {static_cast<unsigned long>(written.length()),
                                                   static_cast<unsigned long>(message.length())}));
    }

    PWMimePartRef copy = root->mutableCopy();
    PWMimePartRef leaf = copy ? leafToChange(copy) : nullptr;
    if (!leaf) {
        report.differences.push_back(u"the mutable copy has no leaf");
        return report;
    }
    OptString current = leaf->charset();
    std::u16string charset = current && equalsIgnoringCase(*current, kMimeContentEncodingUTF8)
                                 ? std::u16string(kMimeContentEncodingISO8859)
                                 : std::u16string(kMimeContentEncodingUTF8);
    leaf->setCharset(charset);
    report.changedPart = leaf->identifier();
    report.changedCharset = charset;

    Data rebuilt = copy->mimeNSData();
    report.rebuiltLength = rebuilt.length();
    PWMimePartRef reparsed = PWMimePart::newMimePartWithRFC2822Data(rebuilt, identifier);
    if (!reparsed) {
        report.differences.push_back(u"the rebuilt message gives no MIME tree");
        return report;
    }
    std::vector<MimeTreeShapeEntry> before = mimeTreeShape(*root), after = mimeTreeShape(*reparsed);
    bool same = before.size() == after.size();
    size_t count = std::max(before.size(), after.size());
    for (size_t i = 0; i < count; ++i) {
        if (i < before.size() && i < after.size() && before[i].sameShape(after[i])) {
            if (before[i].className != after[i].className) {
                report.notes.push_back(formatString(u"part %@ became %@", {describe(before[i]), describe(after[i])}));
            }
            continue;
        }
        same = false;
        std::u16string was = i < before.size() ? describe(before[i]) : u"nothing";
        std::u16string now = i < after.size() ? describe(after[i]) : u"nothing";
        report.differences.push_back(formatString(u"part %@ became %@", {was, now}));
    }
    PWMimePartRef changed;
    for (const PWMimePartRef& part : reparsed->mimePartsPassingTest([](const PWMimePart&) { return true; })) {
        if (part->identifier() == report.changedPart) changed = part;
    }
    if (!changed || changed->charset() != charset) {
        same = false;
        report.differences.push_back(formatString(u"the changed part %@ does not carry the charset %@",
                                                  {report.changedPart, charset}));
    }
    report.shapePreserved = same;
    return report;
}

}  // namespace postwright
