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
    static const std::string_view kFrom = "From ";
    size_t start = location_;
    std::optional<Data> envelope;
    ChainedData bytes;
    // Adjacent views of the file are merged, so an unquoted message stays one view.
    size_t runStart = Data::npos, runEnd = Data::npos;
    auto appendView = [&](size_t from, size_t to) {
        if (from == to) return;
        if (runStart != Data::npos && runEnd == from) {
            runEnd = to;
            return;
        }
        if (runStart != Data::npos) bytes.append(data_.subdata(runStart, runEnd - runStart));
        runStart = from;
        runEnd = to;
    };
    auto flushView = [&] {
        if (runStart != Data::npos) bytes.append(data_.subdata(runStart, runEnd - runStart));
        runStart = runEnd = Data::npos;
    };
    auto messageIsEmpty = [&] { return bytes.empty() && runStart == Data::npos; };

    size_t previous = Data::npos;
    while (location_ != previous) {
        previous = location_;
        size_t lineStart = location_;
        if (data_.subdataFromLocation(location_).hasPrefix(kFrom)) {
            if (!messageIsEmpty() && envelope && !envelope->empty()) {
                location_ = lineStart;
                break;
            }
            scanUpToBytesInSet(FGByteSet::crlfByteSet());
            envelope = data_.subdata(lineStart, location_ - lineStart);
            scanBytesInSet(FGByteSet::crlfByteSet());
            bytes = ChainedData();
            runStart = runEnd = Data::npos;
            if (isAtEnd()) break;
            continue;
        }
        // mboxrd: ">From " quoted once more on writing loses one ">" on reading.
        size_t quotes = location_;
        while (quotes < data_.length() && data_[quotes] == '>') ++quotes;
        if (quotes > location_ && data_.subdataFromLocation(quotes).hasPrefix(kFrom)) {
            appendView(location_ + 1, quotes);
            location_ = quotes;
        }
        size_t contentStart = location_;
        scanUpToBytesInSet(FGByteSet::crlfByteSet());
        scanBytesInSet(FGByteSet::crlfByteSet());
        appendView(contentStart, location_);
        if (isAtEnd()) break;
    }
    // Every pass moves until the data ends or the next message's "From " line is reached, so nothing is
    // left over here: the rest of the file belongs to the messages that follow.
    flushView();
    Data messageBytes = bytes.flatten();
    if (envelope && !envelope->empty() && !messageBytes.empty()) {
        setSlot(fromLine, *envelope);
        setSlot(message, messageBytes);
    }
    return location_ > start;
}

}  // namespace postwright
