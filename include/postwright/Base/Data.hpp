// Data: immutable, reference-counted bytes with cheap sub-range views.
//
// A Data is a (storage, offset, length) triple. Cutting a header block, a body or a body part out of a
// message shares the storage and copies nothing; storage may be a heap buffer, a memory-mapped file, or
// static memory. Data is a value type: copying a Data copies three words and bumps a reference count.
//
//     Data message = Data::withString("Subject: hi\r\n\r\nbody");
//     Data body = message.subdata(15, 4);          // a view, no copy
//     assert(body.sharesStorageWith(message));
//
// ChainedData is the chunked buffer that serialisation appends views to; it is flattened once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

struct Error;

// A range of positions (location, length), in bytes for Data and in UTF-16 code units for text.
struct Range {
    size_t location = 0;
    size_t length = 0;
    size_t end() const { return location + length; }
    bool operator==(const Range&) const = default;
};

// Immutable bytes shared by reference: a view (storage, offset, length) that copies in constant time.
class Data {
public:
    static constexpr size_t npos = static_cast<size_t>(-1);

    Data() noexcept = default;

    // Copies the bytes into new storage.
    static Data withBytes(const void* bytes, size_t length);
    static Data withString(std::string_view bytes) { return withBytes(bytes.data(), bytes.size()); }
    // Takes over the vector's storage without copying.
    static Data adopting(std::vector<uint8_t>&& bytes);
    static Data adopting(std::string&& bytes);
    // Wraps memory that outlives every Data (string literals, static tables); nothing is copied.
    static Data withStaticBytes(const void* bytes, size_t length) noexcept;
    // Maps a regular file read-only (empty files give an empty Data). nullopt with an error on failure.
    static std::optional<Data> mapFile(const std::string& path, std::shared_ptr<const Error>* error = nullptr);

    const uint8_t* bytes() const noexcept { return bytes_; }
    size_t length() const noexcept { return length_; }
    size_t size() const noexcept { return length_; }
    bool empty() const noexcept { return length_ == 0; }
    uint8_t operator[](size_t index) const noexcept { return bytes_[index]; }
    const uint8_t* begin() const noexcept { return bytes_; }
    const uint8_t* end() const noexcept { return bytes_ + length_; }
    std::string_view view() const noexcept { return {reinterpret_cast<const char*>(bytes_), length_}; }
    std::string toString() const { return std::string(view()); }

    // Views into the same storage; ranges are clamped to the buffer.
    Data subdata(size_t location, size_t length) const noexcept;
    Data subdata(Range range) const noexcept { return subdata(range.location, range.length); }
    Data subdataFromLocation(size_t location) const noexcept;

    // First occurrence of needle at or after `from`, npos when absent (an empty needle is never found).
    size_t find(std::string_view needle, size_t from = 0) const noexcept;
    size_t find(const Data& needle, size_t from = 0) const noexcept { return find(needle.view(), from); }
    size_t findByte(uint8_t byte, size_t from = 0) const noexcept;
    bool hasPrefix(std::string_view prefix) const noexcept;

    bool operator==(const Data& other) const noexcept { return view() == other.view(); }
    bool operator==(std::string_view other) const noexcept { return view() == other; }
    // True when both views rest on the same storage (a view was cut, nothing copied).
    bool sharesStorageWith(const Data& other) const noexcept {
        return owner_ ? owner_ == other.owner_ : (bytes_ != nullptr && bytes_ == other.bytes_);
    }

private:
    Data(std::shared_ptr<const void> owner, const uint8_t* bytes, size_t length) noexcept
        : owner_(std::move(owner)), bytes_(bytes), length_(length) {}

    std::shared_ptr<const void> owner_;
    const uint8_t* bytes_ = nullptr;
    size_t length_ = 0;
};

// A sequence of Data regions that reads as one buffer. Appending shares the regions; `flatten` copies
// them into one contiguous Data only when there is more than one region.
class ChainedData {
public:
    ChainedData() = default;
    ChainedData(const Data& data) { append(data); }

    void append(const Data& data);
    void append(std::string_view bytes);  // copies the bytes into a new region
    void append(const ChainedData& other);

    size_t length() const noexcept { return length_; }
    bool empty() const noexcept { return length_ == 0; }
    const std::vector<Data>& regions() const noexcept { return regions_; }
    Data flatten() const;

private:
    std::vector<Data> regions_;
    size_t length_ = 0;
};

// The well-known line delimiters and blank lines, shared immutable buffers.
const Data& CRLFData();
const Data& LFData();
const Data& CRData();
const Data& CRLFCRLFData();
const Data& LFLFData();
const Data& CRCRData();

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
