// Byte-level scanners for MIME bodies (RFC 2046 section 5.1.1) and mbox files. Both work on raw bytes and
// take the line delimiter as a parameter, so LF-only messages split as readily as CRLF ones.
#include "postwright/Base/DataScanner.hpp"
#include "postwright/Lexical/MimeError.hpp"

namespace postwright {

namespace {
const FGByteSet& linearWhiteSpace() {
    static const FGByteSet set = FGByteSet::newWithBytes({' ', '\t'});
    return set;
}

// Field-name bytes: 33 to 127, except ":".
const FGByteSet& fieldNameBytes() {
    static const FGByteSet set = [] {
        FGByteSet bytes;
        bytes.addBytesInRange({33, 95});
        bytes.removeByte(':');
        return bytes;
    }();
    return set;
}

std::optional<std::string> asciiBytes(std::u16string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (char16_t c : text) {
        if (c >= 0x80) return std::nullopt;
        bytes.push_back(static_cast<char>(c));
    }
    return bytes;
}
}  // namespace

bool FGDataScanner::scanLWSPChars() { return scanBytesInSet(linearWhiteSpace(), nullptr); }

bool FGDataScanner::scanMimeDataWithBoundary(const OptString& boundary, const std::optional<Data>& lineDelimiter,
                                             std::optional<Data>* preamble, std::vector<Data>* bodyParts,
                                             std::optional<Data>* epilogue, ErrorRef* error) {
    setSlot(error, nullptr);
    size_t start = location_;
    std::optional<std::string> boundaryBytes = boundary ? asciiBytes(*boundary) : std::nullopt;
    if (!boundaryBytes) {
        setSlot(error, multipartParsingError(boundary, lineDelimiter));
        return false;
    }
    const std::string newline = lineDelimiter ? lineDelimiter->toString() : std::string("\r\n");
    const std::string dashBoundary = "--" + *boundaryBytes;
    const std::string delimiter = newline + dashBoundary;
    const std::string closeDelimiter = delimiter + "--";

    // Preamble: the first boundary may stand at the very start, without a line delimiter before it.
    if (data_.subdataFromLocation(location_).hasPrefix(dashBoundary)) {
        location_ = 0;
    } else {
        Data passed;
        if (scanUpToData(delimiter, &passed)) setSlot(preamble, passed);
    }

    std::vector<Data> parts;
    while (true) {
        if (isAtEnd()) break;
        size_t passStart = location_;
        scanData(newline);
        if (!scanData(dashBoundary)) {
            if (location_ == passStart) break;
            continue;
        }
        scanLWSPChars();
        scanData(newline);
        size_t partStart = location_;

        // Skip the part's header lines so that the boundary search starts at the blank line that ends
        // them: a part with headers and an empty body then ends at the right delimiter.
        while (!isAtEnd()) {
            size_t lineStart = location_;
            if (!scanBytesInSet(fieldNameBytes())) {
                location_ = partStart;
                break;
            }
            scanLWSPChars();
            if (!scanByte(':')) {
                location_ = lineStart;
                break;
            }
            scanUpToData(newline);
            scanData(newline);
            while (scanLWSPChars()) {
                scanUpToData(newline);
                scanData(newline);
            }
            size_t lineEnd = location_;
            if (scanData(newline)) {
                location_ = lineEnd;
                break;
            }
        }

        // Search the delimiter that ends this part: it must be followed by white space, a line break, the
        // close marker, or the end of the data; a longer boundary line is only text.
        std::optional<Data> part;
        bool closed = false;
        while (true) {
            if (isAtEnd()) break;
            scanUpToData(delimiter);
            if (isAtEnd()) {
                part = data_.subdataFromLocation(partStart);
                break;
            }
            size_t delimiterStart = location_;
            if (scanData(closeDelimiter)) {
                part = data_.subdata(partStart, delimiterStart - partStart);
                scanLWSPChars();
                if (scanData(newline)) setSlot(epilogue, data_.subdataFromLocation(location_));
                location_ = data_.length();
                closed = true;
                break;
            }
            scanData(delimiter);
            bool whiteSpaceFollows = !isAtEnd() && linearWhiteSpace().contains(data_[location_]);
            bool lineBreakFollows = data_.subdataFromLocation(location_).hasPrefix(newline);
            if (whiteSpaceFollows || lineBreakFollows || isAtEnd()) {
                part = data_.subdata(partStart, delimiterStart - partStart);
                location_ = delimiterStart;
                break;
            }
        }
        if (part && !part->empty()) parts.push_back(*part);
        if (closed) break;
        if (location_ == passStart) break;
    }
    if (!isAtEnd()) {
        parts.push_back(data_.subdataFromLocation(location_));
        location_ = data_.length();
    }
    setSlot(bodyParts, std::move(parts));
    return location_ > start;
}

bool FGDataScanner::scanMboxMessage(Data* fromLine, Data* message) {
    // Lines are only looked at where "From " occurs: a line that starts with it (its envelope) ends the
    // message, and a line that starts with ">...>From " loses one ">" (mboxrd). Everything else is copied
    // as it stands, so the scan jumps from one "From " to the next instead of walking every line.
    static const std::string_view kFrom = "From ";
    const size_t start = location_;
    const uint8_t* bytes = data_.bytes();
    auto atLineStart = [&](size_t i) { return i == start || bytes[i - 1] == '\n' || bytes[i - 1] == '\r'; };

    std::optional<Data> envelope;
    size_t bodyStart = start;
    std::vector<size_t> droppedQuotes;  // the ">" each quoted From line loses
    size_t cursor = start;
    size_t end = data_.length();
    while (cursor < data_.length()) {
        size_t found = data_.find(kFrom, cursor);
        if (found == Data::npos) break;
        size_t lineStart = found;
        while (lineStart > start && bytes[lineStart - 1] == '>') --lineStart;
        if (!atLineStart(lineStart)) {
            cursor = found + 1;
            continue;
        }
        if (lineStart < found) {  // a quoted From line
            if (envelope) droppedQuotes.push_back(lineStart);
            cursor = found + kFrom.size();
            continue;
        }
        if (envelope && found > bodyStart) {  // the next message's envelope
            end = found;
            break;
        }
        // An envelope line (the first, or one with nothing after the previous): start afresh.
        size_t lineEnd = found;
        while (lineEnd < data_.length() && bytes[lineEnd] != '\n' && bytes[lineEnd] != '\r') ++lineEnd;
        envelope = data_.subdata(found, lineEnd - found);
        bodyStart = lineEnd;
        while (bodyStart < data_.length() && (bytes[bodyStart] == '\n' || bytes[bodyStart] == '\r')) ++bodyStart;
        droppedQuotes.clear();
        cursor = bodyStart;
    }
    location_ = end;

    ChainedData bytesOut;
    size_t pieceStart = bodyStart;
    for (size_t quote : droppedQuotes) {
        if (quote >= end) break;
        bytesOut.append(data_.subdata(pieceStart, quote - pieceStart));
        pieceStart = quote + 1;
    }
    if (end > pieceStart) bytesOut.append(data_.subdata(pieceStart, end - pieceStart));
    Data messageBytes = bytesOut.flatten();
    if (envelope && !envelope->empty() && !messageBytes.empty()) {
        setSlot(fromLine, *envelope);
        setSlot(message, messageBytes);
    }
    return location_ > start;
}

}  // namespace postwright
