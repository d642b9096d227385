#include "postwright/Base/Data.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

namespace {
// The first position at which the needle occurs in the haystack, or Data::npos.
//
// While the needle's first byte is rare (CR in mail stored with LF line ends), memchr, the C library's
// widest vector search, finds it fastest. But mail is full of most bytes: "F" comes every few dozen bytes of
// base64 and CR starts every line of CR LF mail, and there memchr stops constantly. After a few such false
// starts the search switches to requiring the first byte and the byte at the needle's last position to
// match together, 16 positions at a time; only where both match is the rest compared.
size_t findFirstAndLast(const uint8_t* haystack, size_t length, const uint8_t* needle, size_t size) {
    const size_t lastOffset = size - 1;
    auto matchesAt = [&](size_t at) {
        return haystack[at + lastOffset] == needle[lastOffset] &&
               std::memcmp(haystack + at + 1, needle + 1, lastOffset - 1) == 0;
    };
    // memchr from `from`: the match, or npos with *resumeAt where to go on, which is the end when there is
    // none; it gives up after `falseStarts` false starts (never for 0).
    auto byMemchr = [&](size_t from, size_t falseStarts, size_t* resumeAt) {
        *resumeAt = length;
        size_t seen = 0;
        while (from + size <= length) {
            const void* hit = std::memchr(haystack + from, needle[0], length - size - from + 1);
            if (!hit) return Data::npos;
            size_t at = static_cast<size_t>(static_cast<const uint8_t*>(hit) - haystack);
            if (matchesAt(at)) return at;
            from = at + 1;
            if (++seen == falseStarts) {
                *resumeAt = from;
                break;
            }
        }
        return Data::npos;
    };
    constexpr size_t kFalseStartsBeforeFilter = 8;
    size_t i = 0;
    size_t found = byMemchr(0, kFalseStartsBeforeFilter, &i);
    if (found != Data::npos || i + size > length) return found;
#if defined(__SSE2__)
    const __m128i first = _mm_set1_epi8(static_cast<char>(needle[0]));
    const __m128i last = _mm_set1_epi8(static_cast<char>(needle[lastOffset]));
    for (; i + 16 + lastOffset <= length; i += 16) {
        const __m128i atFirst = _mm_loadu_si128(reinterpret_cast<const __m128i*>(haystack + i));
        const __m128i atLast = _mm_loadu_si128(reinterpret_cast<const __m128i*>(haystack + i + lastOffset));
        auto candidates = static_cast<unsigned>(
            _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(atFirst, first), _mm_cmpeq_epi8(atLast, last))));
        while (candidates != 0) {
            size_t at = i + static_cast<size_t>(__builtin_ctz(candidates));
            if (std::memcmp(haystack + at + 1, needle + 1, lastOffset - 1) == 0) return at;
            candidates &= candidates - 1;
        }
    }
#endif
    // What is left (or everything, without vector instructions).
    return byMemchr(i, 0, &i);
}
}  // namespace

size_t Data::find(std::string_view needle, size_t from) const noexcept {
    if (needle.empty() || from >= length_ || needle.size() > length_ - from) return npos;
    if (needle.size() == 1) return findByte(static_cast<uint8_t>(needle[0]), from);
    size_t at =
        findFirstAndLast(bytes_ + from, length_ - from, reinterpret_cast<const uint8_t*>(needle.data()), needle.size());
    return at == npos ? npos : from + at;
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
