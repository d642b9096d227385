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

namespace postwright {

class PWMBoxMessageContents;

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

private:
    Data data_;
    size_t location_ = 0;
};

}  // namespace postwright
