// FGDataScanner: a cursor over immutable bytes, and FGByteSet, a 256-entry byte set.
//
// The scanner hands out views into its buffer (no copies). Each scan either matches, advances and gives
// out what it passed over, or fails and stays where it was.
//
//     FGDataScanner scanner(body);
//     Data line;
//     scanner.scanUpToBytesInSet(FGByteSet::crlfByteSet(), &line);
//     scanner.scanBytesInSet(FGByteSet::crlfByteSet(), nullptr);
//
// The multipart and mbox scanners of the lexical layer are member functions declared here as well.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWMBoxMessageContents;

// A set of byte values, 256 bits.
class FGByteSet {
public:
    FGByteSet() { bits_.fill(0); }
    // A set of the listed bytes (the list of the text ends at its first 0, which is not a member).
    static FGByteSet newWithBytes(std::initializer_list<uint8_t> bytes);
    static FGByteSet newWithByte(uint8_t byte);
    static const FGByteSet& crlfByteSet();

    bool contains(uint8_t byte) const noexcept { return (bits_[byte >> 6] >> (byte & 63)) & 1u; }
    void addByte(uint8_t byte) noexcept { bits_[byte >> 6] |= uint64_t(1) << (byte & 63); }
    void removeByte(uint8_t byte) noexcept { bits_[byte >> 6] &= ~(uint64_t(1) << (byte & 63)); }
    void addBytesInRange(Range range) noexcept;
    void removeBytesInRange(Range range) noexcept;

private:
    std::array<uint64_t, 4> bits_;
};

// A cursor over immutable bytes: each scan matches and advances, or fails and stays.
class FGDataScanner {
public:
    explicit FGDataScanner(Data data) : data_(std::move(data)) {}
    static FGDataScanner initWithData(Data data) { return FGDataScanner(std::move(data)); }

    const Data& data() const noexcept { return data_; }
    size_t location() const noexcept { return location_; }
    // Clamped to the buffer's length, which puts the scanner at its end.
    void setLocation(size_t location) noexcept { location_ = location < data_.length() ? location : data_.length(); }
    bool isAtEnd() const noexcept { return location_ >= data_.length(); }
    Data remainder() const noexcept { return data_.subdataFromLocation(location_); }

    // Matches the bytes at the current location; advances past them.
    bool scanData(const Data& bytes, Data* into = nullptr);
    bool scanData(std::string_view bytes, Data* into = nullptr);
    // Advances to the next occurrence of the bytes, or to the end; false when nothing was passed over.
    bool scanUpToData(const Data& bytes, Data* into = nullptr);
    bool scanUpToData(std::string_view bytes, Data* into = nullptr);
    bool scanBytesInSet(const FGByteSet& set, Data* into = nullptr);
    bool scanUpToBytesInSet(const FGByteSet& set, Data* into = nullptr);
    bool scanByte(uint8_t byte);

    // ---- MIME bodies and mbox files (DataScannerPostwright.cpp) ----------------------------------------

    // Skips a run of SPACE and TAB; true when at least one was skipped.
    bool scanLWSPChars();

    // Splits a multipart body (RFC 2046 section 5.1.1), the scanner standing at the start of the body,
    // into its preamble, body parts and epilogue. Each body part is a view of one whole entity (header
    // block, blank line and body) without the line delimiter that belongs to the following boundary.
    // lineDelimiter defaults to CR LF. Damaged structure is never an error: a missing close-delimiter
    // lets the last part run to the end, and a body without any boundary is all preamble. The scan fails,
    // with the MIME error code 2 when an error slot is given, only when the boundary (nil or not ASCII)
    // cannot be turned into bytes. Succeeds when the location moved.
    bool scanMimeDataWithBoundary(const OptString& boundary, const std::optional<Data>& lineDelimiter,
                                  std::optional<Data>* preamble, std::vector<Data>* bodyParts,
                                  std::optional<Data>* epilogue, ErrorRef* error = nullptr);

    // Reads one message of an mbox file: its "From " envelope line (up to, not including, the line
    // break) and its bytes, with mboxrd quoting undone (">From " loses one ">"). Bytes before a first
    // "From " line are discarded; the scan stops at the start of the next message's "From " line. Both
    // outputs are views of the file where no quoting had to be undone. Succeeds when the location moved;
    // the outputs are set only when both are non-empty.
    bool scanMboxMessage(Data* fromLine, Data* message);
    // The same, giving the message out as mbox message contents (nothing is given out when the envelope
    // line or the message is empty). No error is ever reported.
    bool scanMboxMessageIntoMessageContents(std::shared_ptr<PWMBoxMessageContents>* contents, ErrorRef* error = nullptr);

private:
    Data data_;
    size_t location_ = 0;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
