// The serialised form of a MIME part: the header block and the whole entity, given back untouched for an
// unchanged part and rebuilt (headers folded afresh, children between RFC 2046 boundaries, CR LF line ends)
// for a changed one. Rebuilt bytes are regions of a ChainedData: a child's bytes, and the body of a leaf,
// are views of the buffers they already live in, and nothing is copied until a caller asks for one
// contiguous buffer.
#include "Mime/detail/MimeHeaderFields.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Mime/PWMimePart.hpp"

namespace postwright {

namespace {
constexpr unsigned kMutableFlag = 1;
constexpr unsigned kMutatedFlag = 2;

bool beginsWithCRLF(const Data& data) { return data.hasPrefix("\r\n"); }

Data stripCRLFPairs(Data data, bool leading, bool trailing) {
    while (leading && data.hasPrefix("\r\n")) data = data.subdataFromLocation(2);
    while (trailing && data.length() >= 2 && data[data.length() - 2] == '\r' && data[data.length() - 1] == '\n') {
        data = data.subdata(0, data.length() - 2);
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

// Drops CR LF pairs from the start of a chain; the remaining regions are still views of the same bytes.
ChainedData stripLeadingCRLFPairs(const ChainedData& chain) {
    if (!chainBeginsWithCRLF(chain)) return chain;
    size_t drop = 0;
    while (true) {
        std::string prefix = chainPrefix(chain, drop + 2);
        if (prefix.size() < drop + 2 || prefix.compare(drop, 2, "\r\n") != 0) break;
        drop += 2;
    }
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

Data asciiData(const std::u16string& text) { return Data::adopting(toUTF8(text)); }
}  // namespace

Data PWMimePart::headerData() const {
    PWMessageHeadersRef headers;
    Data source;
    ParameterDictionary contentType;
    std::optional<ParameterDictionary> disposition;
    OptString transferEncoding, contentId;
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

    std::shared_ptr<PWMutableMessageHeaders> copy;
    if (headers) {
        copy = headers->mutableCopy();
    } else if (auto parsed = PWMessageHeaders::headersFromData(headerSubdata(source).value_or(Data()))) {
        copy = parsed->mutableCopy();
    } else {
        copy = PWMutableMessageHeaders::init();
    }
    copy->setHeader(transferEncoding, kMimeHeaderContentTransferEncoding);
    if (disposition) {
        copy->setHeader(detail::contentDispositionFieldValue(*disposition), kMimeHeaderContentDisposition);
    } else {
        copy->removeHeaderForKey(kMimeHeaderContentDisposition);
    }
    copy->setHeader(detail::contentTypeFieldValue(contentType), kMimeHeaderContentType);
    // RFC 2045 section 7: the identifier is written in angle brackets; the part keeps it without them.
    if (contentId) copy->setHeader(u"<" + *contentId + u">", kMimeHeaderContentID);

    std::u16string text = fgTrim(copy->foldedHeaderStringWithOptions(kFoldTabContinuation));
    Data header = stripCRLFPairs(asciiData(text), true, true);

    std::lock_guard lock(mutex_);
    if (generation_ == generation) derivedHeaderData_ = header;
    return header;
}

ChainedData PWMimePart::mimeData() const {
    std::vector<PWMimePartRef> children;
    Data content;
    OptString boundary;
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

    // The children are asked without this part's lock: locks are only ever taken child before parent.
    Data header = stripCRLFPairs(headerData(), true, true);
    if (header.length() >= 3 && beginsWithCRLF(header)) {
        throw ProgrammingError("header data has invalid CRLF head", "PWMimePart");
    }
    ChainedData entity;
    entity.append(header);
    entity.append(CRLFCRLFData());
    if (children.empty()) {
        if (!content.empty()) entity.append(content);
    } else {
        Data first = asciiData(formatString(u"--%@\r\n", {boundary}));
        Data next = asciiData(formatString(u"\r\n--%@\r\n", {boundary}));
        ChainedData body;
        bool wroteChild = false;
        for (const PWMimePartRef& child : children) {
            ChainedData part = stripLeadingCRLFPairs(child->mimeData());
            if (part.length() >= 3 && chainBeginsWithCRLF(part)) {
                throw ProgrammingError(toUTF8(formatString(u"partData %@ has invalid CRLF head", {describeBytes(part)})),
                                       "PWMimePart");
            }
            if (part.empty()) continue;
            body.append(wroteChild ? next : first);
            body.append(part);
            wroteChild = true;
        }
        if (wroteChild) body.append(asciiData(formatString(u"\r\n--%@--", {boundary})));
        // Text kept in front of the first boundary comes first, separated by one line break.
        if (!content.empty()) {
            entity.append(content);
            if (wroteChild) entity.append(CRLFData());
        }
        entity.append(body);
    }
    entity = stripLeadingCRLFPairs(entity);
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
