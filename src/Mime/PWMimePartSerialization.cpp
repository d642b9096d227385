// The serialised form of a MIME part: the header block and the whole entity, given back untouched for an
// unchanged part and rebuilt (headers folded afresh, children between RFC 2046 boundaries) for a changed
// one. Rebuilt bytes are regions of a ChainedData: a child's bytes, and the body of a leaf, are views of the
// buffers they already live in, and nothing is copied until a caller asks for one contiguous buffer.
//
// Line ends. A new part is written with CR LF. A part parsed from bytes stored with bare LF line ends is
// rebuilt with LF line ends, like the children it keeps as they were received: the multipart scanner
// splits a body with the line delimiter of the entity that holds it, so a container rebuilt with CR LF
// around children kept with LF would not find them again, and rewriting the children's line ends would
// copy them and change how their header blocks read (a field name may run across a bare LF).
#include "Mime/detail/MimeHeaderFields.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Headers/PWMessageHeaderEntry.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Mime/PWMimePart.hpp"

namespace postwright {

namespace {
constexpr unsigned kMutableFlag = 1;
constexpr unsigned kMutatedFlag = 2;

bool beginsWithCRLF(const Data& data) { return data.hasPrefix("\r\n"); }

// Drops CR LF pairs, and for an LF-stored part bare LFs as well, from the chosen ends of the bytes.
Data stripLineEnds(Data data, bool lineFeeds, bool leading, bool trailing) {
    while (leading) {
        if (data.hasPrefix("\r\n")) {
            data = data.subdataFromLocation(2);
        } else if (lineFeeds && data.hasPrefix("\n")) {
            data = data.subdataFromLocation(1);
        } else {
            break;
        }
    }
    while (trailing) {
        std::string_view bytes = data.view();
        if (bytes.size() >= 2 && bytes.substr(bytes.size() - 2) == "\r\n") {
            data = data.subdata(0, bytes.size() - 2);
        } else if (lineFeeds && !bytes.empty() && bytes.back() == '\n') {
            data = data.subdata(0, bytes.size() - 1);
        } else {
            break;
        }
    }
    return data;
}

// The first bytes of a chain, at most count of them, gathered across its regions.
std::string chainPrefix(const ChainedData& chain, size_t count) {
    std::string prefix;
    for (const Data& region : chain.regions()) {
        if (prefix.size() >= count) break;
        prefix.append(region.view().substr(0, count - prefix.size()));
    }
    return prefix;
}

bool chainBeginsWithCRLF(const ChainedData& chain) { return chainPrefix(chain, 2) == "\r\n"; }

// Drops CR LF pairs from the start of a chain, and for an LF-stored part bare LFs as well; the remaining
// regions are still views of the same bytes.
ChainedData stripLeadingLineEnds(const ChainedData& chain, bool lineFeeds) {
    size_t drop = 0;
    while (true) {
        std::string prefix = chainPrefix(chain, drop + 2);
        std::string_view rest = std::string_view(prefix).substr(std::min(drop, prefix.size()));
        if (rest.substr(0, 2) == "\r\n") {
            drop += 2;
        } else if (lineFeeds && rest.substr(0, 1) == "\n") {
            drop += 1;
        } else {
            break;
        }
    }
    if (drop == 0) return chain;
    ChainedData rest;
    for (const Data& region : chain.regions()) {
        if (drop >= region.length()) {
            drop -= region.length();
            continue;
        }
        rest.append(region.subdataFromLocation(drop));
        drop = 0;
    }
    return rest;
}

// The platform's description of bytes: hexadecimal between angle brackets, in groups of four bytes.
std::u16string describeBytes(const ChainedData& chain) {
    static const char digits[] = "0123456789abcdef";
    constexpr size_t kShown = 64;
    std::string bytes = chainPrefix(chain, kShown);
    std::u16string text = u"<";
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i && i % 4 == 0) text.push_back(u' ');
        uint8_t byte = static_cast<uint8_t>(bytes[i]);
        text.push_back(static_cast<char16_t>(digits[byte >> 4]));
        text.push_back(static_cast<char16_t>(digits[byte & 15]));
    }
    if (chain.length() > kShown) text += u" ...";
    text.push_back(u'>');
    return text;
}

// True when both chains are made of the same views (the cache still holds what was flattened).
bool sameRegions(const ChainedData& a, const ChainedData& b) {
    if (a.regions().size() != b.regions().size()) return false;
    for (size_t i = 0; i < a.regions().size(); ++i) {
        const Data& x = a.regions()[i];
        const Data& y = b.regions()[i];
        if (x.bytes() != y.bytes() || x.length() != y.length()) return false;
    }
    return true;
}

// True when a line of the bytes begins with "--" and the boundary: written with that boundary, the
// bytes would end their part early (RFC 2046 section 5.1.1 forbids the delimiter inside a part).
bool boundaryOccursIn(const ChainedData& chain, const std::string& dashBoundary) {
    uint8_t previous = '\n';
    for (const Data& region : chain.regions()) {
        for (size_t at = region.find(dashBoundary); at != Data::npos; at = region.find(dashBoundary, at + 1)) {
            uint8_t before = at == 0 ? previous : region[at - 1];
            if (before == '\n' || before == '\r') return true;
        }
        if (!region.empty()) previous = region[region.length() - 1];
    }
    return false;
}

Data utf8Data(const std::u16string& text) { return Data::adopting(toUTF8(text)); }
}  // namespace

bool PWMimePart::rebuildsWithLineFeeds() const {
    const PWMimePart* part = this;
    PWMimePartRef holder;
    while (part) {
        PWMimePartRef parent;
        {
            std::lock_guard lock(part->mutex_);
            if (part->sourceLineEnd_ != '?') return part->sourceLineEnd_ == '\n';
            parent = part->parent_.lock();
        }
        holder = std::move(parent);
        part = holder.get();
    }
    return false;
}

Data PWMimePart::headerData() const {
    PWMessageHeadersRef headers;
    Data source;
    ParameterDictionary contentType;
    std::optional<ParameterDictionary> disposition;
    OptString transferEncoding, contentId;
    bool lineFeeds;
    uint64_t generation;
    {
        std::lock_guard lock(mutex_);
        bool mutated = (mutabilityFlags_ & kMutableFlag) && (mutabilityFlags_ & kMutatedFlag);
        if (!mutated) return headerSubdata(sourceMimeData_).value_or(Data());
        if (derivedHeaderData_) return *derivedHeaderData_;
        headers = headers_;
        source = sourceMimeData_;
        contentType = contentType_;
        disposition = contentDisposition_;
        transferEncoding = contentTransferEncoding_;
        contentId = contentId_;
        generation = generation_;
    }
    lineFeeds = rebuildsWithLineFeeds();
    const std::u16string lineEnd = lineFeeds ? u"\n" : u"\r\n";

    // Content-Type and Content-Disposition are written with one parameter per continuation line, as they
    // are built; the other two fields are ordinary values the header writer folds.
    HeaderEntryDictionary dictionary;
    if (headers) {
        dictionary = headers->headerEntryDictionary();
    } else if (auto parsed = PWMessageHeaders::headersFromData(headerSubdata(source).value_or(Data()))) {
        dictionary = parsed->headerEntryDictionary();
    }
    detail::setFieldWrittenAsIs(
        dictionary, kMimeHeaderContentDisposition,
        disposition ? OptString(detail::contentDispositionFieldValue(*disposition, lineEnd)) : std::nullopt);
    OptString typeField = detail::nonEmptyText(detail::contentTypeFieldValue(contentType, lineEnd));
    if (typeField) detail::setFieldWrittenAsIs(dictionary, kMimeHeaderContentType, typeField);
    auto copy = PWMutableMessageHeaders::initWithHeaderEntryDictionary(std::move(dictionary));
    copy->setHeader(transferEncoding, kMimeHeaderContentTransferEncoding);
    // RFC 2045 section 7: the identifier is written in angle brackets; the part keeps it without them.
    if (contentId) copy->setHeader(u"<" + *contentId + u">", kMimeHeaderContentID);

    unsigned options = kFoldTabContinuation | (lineFeeds ? unsigned(kFoldLineFeedOnly) : 0u);
    std::u16string text = fgTrim(copy->foldedHeaderStringWithOptions(options));
    Data header = stripLineEnds(utf8Data(text), lineFeeds, true, true);

    std::lock_guard lock(mutex_);
    if (generation_ == generation) derivedHeaderData_ = header;
    return header;
}

ChainedData PWMimePart::mimeData() const {
    std::vector<PWMimePartRef> children;
    Data content;
    OptString boundary;
    bool lineFeeds;
    uint64_t generation;
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) return ChainedData(sourceMimeData_);
        if (derivedMimeData_) return *derivedMimeData_;
        if (!(mutabilityFlags_ & kMutatedFlag)) return ChainedData(sourceMimeData_);
        children = subParts_.value_or(std::vector<PWMimePartRef>());
        content = contentData_;
        boundary = contentType_.text(u"boundary");
        generation = generation_;
    }
    lineFeeds = rebuildsWithLineFeeds();
    const std::string lineEnd = lineFeeds ? "\n" : "\r\n";
    const Data lineEndData = lineFeeds ? LFData() : CRLFData();

    // The children are asked without this part's lock: locks are only ever taken child before parent.
    std::vector<ChainedData> childBytes;
    childBytes.reserve(children.size());
    for (const PWMimePartRef& child : children) {
        ChainedData bytes = stripLeadingLineEnds(child->mimeData(), lineFeeds);
        if (bytes.length() >= 3 && chainBeginsWithCRLF(bytes)) {
            throw ProgrammingError(toUTF8(formatString(u"partData %@ has invalid CRLF head", {describeBytes(bytes)})),
                                   "PWMimePart");
        }
        childBytes.push_back(std::move(bytes));
    }
    // A boundary that occurs in a child cannot hold the children apart: the part takes a fresh one. Parsed
    // parts can hold one, when the lines of a damaged body were read as a part's text.
    if (!children.empty()) {
        std::string dashBoundary = "--" + toUTF8(boundary.value_or(u""));
        bool collides = !boundary || boundary->empty();
        for (size_t i = 0; i < childBytes.size() && !collides; ++i) {
            collides = boundaryOccursIn(childBytes[i], dashBoundary);
        }
        if (collides) {
            boundary = formatString(kMimeMultipartBoundaryFormatString, {uuidString()});
            bool changedMeanwhile;
            {
                std::lock_guard lock(mutex_);
                changedMeanwhile = generation_ != generation;
                if (!changedMeanwhile) {
                    // Writing a part does not change it, but the boundary it is written with is one of its
                    // fields.
                    const_cast<PWMimePart*>(this)->contentType_.set(u"boundary", *boundary);
                    derivedHeaderData_.reset();
                }
            }
            if (changedMeanwhile) return mimeData();
        }
    }

    Data header = stripLineEnds(headerData(), lineFeeds, true, true);
    if (header.length() >= 3 && beginsWithCRLF(header)) {
        throw ProgrammingError("header data has invalid CRLF head", "PWMimePart");
    }
    ChainedData entity;
    entity.append(header);
    entity.append(lineFeeds ? LFLFData() : CRLFCRLFData());
    if (children.empty()) {
        entity.append(content);
    } else {
        const std::string dashBoundary = "--" + toUTF8(*boundary);
        Data first = Data::adopting(dashBoundary + lineEnd);
        Data next = Data::adopting(lineEnd + dashBoundary + lineEnd);
        ChainedData body;
        bool wroteChild = false;
        for (const ChainedData& part : childBytes) {
            if (part.empty()) continue;
            body.append(wroteChild ? next : first);
            body.append(part);
            wroteChild = true;
        }
        if (wroteChild) body.append(Data::adopting(lineEnd + dashBoundary + "--"));
        // Text kept in front of the first boundary comes first, separated by one line break.
        if (!content.empty()) {
            entity.append(content);
            if (wroteChild) entity.append(lineEndData);
        }
        entity.append(body);
    }
    entity = stripLeadingLineEnds(entity, lineFeeds);
    if (entity.length() >= 3 && chainBeginsWithCRLF(entity)) {
        throw ProgrammingError("final mime data has invalid CRLF head", "PWMimePart");
    }

    std::lock_guard lock(mutex_);
    if (generation_ == generation) derivedMimeData_ = entity;
    return entity;
}

Data PWMimePart::mimeNSData() const {
    ChainedData chain = mimeData();
    if (chain.regions().size() <= 1) return chain.flatten();
    Data flat = chain.flatten();
    // Flattened once: the contiguous copy replaces the regions in the cache.
    std::lock_guard lock(mutex_);
    if (derivedMimeData_ && sameRegions(*derivedMimeData_, chain)) derivedMimeData_ = ChainedData(flat);
    return flat;
}

std::u16string PWMimePart::debugAscii() const {
    static const char digits[] = "0123456789ABCDEF";
    std::u16string text;
    ChainedData bytes = mimeData();
    for (const Data& region : bytes.regions()) {
        for (uint8_t byte : region) {
            if (byte == '\r') {
                text += u"\\r";
            } else if (byte == '\n') {
                text += u"\\n\n";
            } else if (byte == '\\') {
                text += u"\\\\";
            } else if (byte >= 0x20 && byte < 0x7F) {
                text.push_back(byte);
            } else {
                text += u"\\x";
                text.push_back(static_cast<char16_t>(digits[byte >> 4]));
                text.push_back(static_cast<char16_t>(digits[byte & 15]));
            }
        }
    }
    return text;
}

}  // namespace postwright
