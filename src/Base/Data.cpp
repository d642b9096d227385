#include "postwright/Base/Data.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"

namespace postwright {

Data Data::withBytes(const void* bytes, size_t length) {
    if (length == 0) return Data();
    auto storage = std::make_shared<std::vector<uint8_t>>(static_cast<const uint8_t*>(bytes),
                                                          static_cast<const uint8_t*>(bytes) + length);
    const uint8_t* start = storage->data();
    return Data(std::move(storage), start, length);
}

Data Data::adopting(std::vector<uint8_t>&& bytes) {
    if (bytes.empty()) return Data();
    auto storage = std::make_shared<std::vector<uint8_t>>(std::move(bytes));
    const uint8_t* start = storage->data();
    size_t length = storage->size();
    return Data(std::move(storage), start, length);
}

Data Data::adopting(std::string&& bytes) {
    if (bytes.empty()) return Data();
    auto storage = std::make_shared<std::string>(std::move(bytes));
    const auto* start = reinterpret_cast<const uint8_t*>(storage->data());
    size_t length = storage->size();
    return Data(std::move(storage), start, length);
}

Data Data::withStaticBytes(const void* bytes, size_t length) noexcept {
    return Data(nullptr, static_cast<const uint8_t*>(bytes), length);
}

namespace {
struct MappedRegion {
    void* address = nullptr;
    size_t length = 0;
    ~MappedRegion() {
        if (address) munmap(address, length);
    }
};

std::shared_ptr<const Error> fileError(const std::string& path, int number) {
    return makeError(kPOSIXErrorDomain, number,
                     fromUTF8(std::string(std::strerror(number)) + ": " + path));
}
}  // namespace

std::optional<Data> Data::mapFile(const std::string& path, std::shared_ptr<const Error>* error) {
    setSlot(error, nullptr);
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        setSlot(error, fileError(path, errno));
        return std::nullopt;
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        int number = errno;
        ::close(fd);
        setSlot(error, fileError(path, number));
        return std::nullopt;
    }
    if (!S_ISREG(info.st_mode)) {
        ::close(fd);
        setSlot(error, fileError(path, S_ISDIR(info.st_mode) ? EISDIR : EINVAL));
        return std::nullopt;
    }
    if (info.st_size == 0) {
        ::close(fd);
        return Data();
    }
    size_t length = static_cast<size_t>(info.st_size);
    void* address = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE, fd, 0);
    int number = errno;
    ::close(fd);
    if (address == MAP_FAILED) {
        setSlot(error, fileError(path, number));
        return std::nullopt;
    }
    ::madvise(address, length, MADV_SEQUENTIAL);
    auto region = std::make_shared<MappedRegion>();
    region->address = address;
    region->length = length;
    return Data(std::move(region), static_cast<const uint8_t*>(address), length);
}

Data Data::subdata(size_t location, size_t length) const noexcept {
    if (location >= length_) return Data(owner_, bytes_ ? bytes_ + length_ : nullptr, 0);
    if (length > length_ - location) length = length_ - location;
    return Data(owner_, bytes_ + location, length);
}

Data Data::subdataFromLocation(size_t location) const noexcept {
    return subdata(location, location < length_ ? length_ - location : 0);
}

size_t Data::find(std::string_view needle, size_t from) const noexcept {
    if (needle.empty() || from >= length_ || needle.size() > length_ - from) return npos;
    if (needle.size() > 16) {
        const void* hit = memmem(bytes_ + from, length_ - from, needle.data(), needle.size());
        return hit ? static_cast<size_t>(static_cast<const uint8_t*>(hit) - bytes_) : npos;
    }
    // Short needles (line breaks, blank lines, boundaries): memchr for the first byte and compare the
    // rest, which avoids the general search's set-up cost on every call.
    const uint8_t first = static_cast<uint8_t>(needle[0]);
    const uint8_t* cursor = bytes_ + from;
    const uint8_t* last = bytes_ + length_ - needle.size();
    while (cursor <= last) {
        const void* hit = std::memchr(cursor, first, static_cast<size_t>(last - cursor) + 1);
        if (!hit) return npos;
        const uint8_t* candidate = static_cast<const uint8_t*>(hit);
        if (std::memcmp(candidate + 1, needle.data() + 1, needle.size() - 1) == 0) {
            return static_cast<size_t>(candidate - bytes_);
        }
        cursor = candidate + 1;
    }
    return npos;
}

size_t Data::findByte(uint8_t byte, size_t from) const noexcept {
    if (from >= length_) return npos;
    const void* hit = std::memchr(bytes_ + from, byte, length_ - from);
    return hit ? static_cast<size_t>(static_cast<const uint8_t*>(hit) - bytes_) : npos;
}

bool Data::hasPrefix(std::string_view prefix) const noexcept {
    return length_ >= prefix.size() && std::memcmp(bytes_, prefix.data(), prefix.size()) == 0;
}

void ChainedData::append(const Data& data) {
    if (data.empty()) return;
    regions_.push_back(data);
    length_ += data.length();
}

void ChainedData::append(std::string_view bytes) { append(Data::withString(bytes)); }

void ChainedData::append(const ChainedData& other) {
    for (const Data& region : other.regions_) append(region);
}

Data ChainedData::flatten() const {
    if (regions_.empty()) return Data();
    if (regions_.size() == 1) return regions_.front();
    std::vector<uint8_t> bytes;
    bytes.reserve(length_);
    for (const Data& region : regions_) bytes.insert(bytes.end(), region.begin(), region.end());
    return Data::adopting(std::move(bytes));
}

const Data& CRLFData() {
    static const Data value = Data::withStaticBytes("\r\n", 2);
    return value;
}
const Data& LFData() {
    static const Data value = Data::withStaticBytes("\n", 1);
    return value;
}
const Data& CRData() {
    static const Data value = Data::withStaticBytes("\r", 1);
    return value;
}
const Data& CRLFCRLFData() {
    static const Data value = Data::withStaticBytes("\r\n\r\n", 4);
    return value;
}
const Data& LFLFData() {
    static const Data value = Data::withStaticBytes("\n\n", 2);
    return value;
}
const Data& CRCRData() {
    static const Data value = Data::withStaticBytes("\r\r", 2);
    return value;
}

}  // namespace postwright
