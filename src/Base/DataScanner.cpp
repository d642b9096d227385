#include "postwright/Base/DataScanner.hpp"

#include <cstring>

namespace postwright {

FGByteSet FGByteSet::newWithBytes(std::initializer_list<uint8_t> bytes) {
    FGByteSet set;
    for (uint8_t byte : bytes) {
        if (byte == 0) break;
        set.addByte(byte);
    }
    return set;
}

FGByteSet FGByteSet::newWithByte(uint8_t byte) {
    FGByteSet set;
    set.addByte(byte);
    return set;
}

const FGByteSet& FGByteSet::crlfByteSet() {
    static const FGByteSet set = newWithBytes({'\r', '\n'});
    return set;
}

void FGByteSet::addBytesInRange(Range range) noexcept {
    for (size_t b = range.location; b < range.end() && b < 256; ++b) addByte(static_cast<uint8_t>(b));
}

void FGByteSet::removeBytesInRange(Range range) noexcept {
    for (size_t b = range.location; b < range.end() && b < 256; ++b) removeByte(static_cast<uint8_t>(b));
}

bool FGDataScanner::scanData(std::string_view bytes, Data* into) {
    if (bytes.empty() || data_.length() - location_ < bytes.size()) return false;
    if (std::memcmp(data_.bytes() + location_, bytes.data(), bytes.size()) != 0) return false;
    setSlot(into, data_.subdata(location_, bytes.size()));
    location_ += bytes.size();
    return true;
}

bool FGDataScanner::scanData(const Data& bytes, Data* into) { return scanData(bytes.view(), into); }

bool FGDataScanner::scanUpToData(std::string_view bytes, Data* into) {
    if (isAtEnd()) return false;
    size_t hit = data_.find(bytes, location_);
    size_t stop = hit == Data::npos ? data_.length() : hit;
    if (stop == location_) return false;
    setSlot(into, data_.subdata(location_, stop - location_));
    location_ = stop;
    return true;
}

bool FGDataScanner::scanUpToData(const Data& bytes, Data* into) { return scanUpToData(bytes.view(), into); }

bool FGDataScanner::scanBytesInSet(const FGByteSet& set, Data* into) {
    size_t stop = location_;
    while (stop < data_.length() && set.contains(data_[stop])) ++stop;
    if (stop == location_) return false;
    setSlot(into, data_.subdata(location_, stop - location_));
    location_ = stop;
    return true;
}

namespace {
// The first CR or LF at or after `from`, eight bytes at a time: lines are what mail is made of.
size_t findLineBreak(const uint8_t* bytes, size_t length, size_t from) {
    constexpr uint64_t kOnes = 0x0101010101010101ull;
    constexpr uint64_t kHighs = 0x8080808080808080ull;
    auto hasByte = [](uint64_t word, uint8_t byte) {
        uint64_t x = word ^ (kOnes * byte);
        return (x - kOnes) & ~x & kHighs;
    };
    size_t i = from;
    for (; i + 8 <= length; i += 8) {
        uint64_t word;
        std::memcpy(&word, bytes + i, 8);
        if (hasByte(word, '\n') | hasByte(word, '\r')) break;
    }
    for (; i < length; ++i) {
        if (bytes[i] == '\n' || bytes[i] == '\r') return i;
    }
    return length;
}
}  // namespace

bool FGDataScanner::scanUpToBytesInSet(const FGByteSet& set, Data* into) {
    size_t stop = location_;
    if (&set == &FGByteSet::crlfByteSet()) {
        stop = findLineBreak(data_.bytes(), data_.length(), location_);
    } else {
        while (stop < data_.length() && !set.contains(data_[stop])) ++stop;
    }
    if (stop == location_) return false;
    setSlot(into, data_.subdata(location_, stop - location_));
    location_ = stop;
    return true;
}

bool FGDataScanner::scanByte(uint8_t byte) {
    if (isAtEnd() || data_[location_] != byte) return false;
    ++location_;
    return true;
}

}  // namespace postwright
