#include "postwright/Lexical/DataRFC2822.hpp"

#include "postwright/Base/Error.hpp"
#include "postwright/Base/TextEncoding.hpp"

namespace postwright {

namespace {
bool allows(unsigned options, unsigned kind) { return options == 0 || (options & kind) != 0; }

struct BlankLine {
    size_t position = Data::npos;
    size_t length = 0;
    const Data* delimiter = nullptr;
};

// The first kind of blank line found anywhere in the buffer, by precedence.
BlankLine findBlankLine(const Data& data, unsigned options) {
    struct Kind {
        unsigned bit;
        const Data& pattern;
        const Data& delimiter;
    };
    const Kind kinds[] = {{kDelimiterCRLF, CRLFCRLFData(), CRLFData()},
                          {kDelimiterLF, LFLFData(), LFData()},
                          {kDelimiterCR, CRCRData(), CRData()}};
    for (const Kind& kind : kinds) {
        if (!allows(options, kind.bit)) continue;
        size_t position = data.find(kind.pattern);
        if (position != Data::npos) return {position, kind.pattern.length(), &kind.delimiter};
    }
    return {};
}
}  // namespace

std::optional<Data> lineDelimiterwithOptions(const Data& data, unsigned options) {
    if (allows(options, kDelimiterCRLF) && data.find(CRLFData()) != Data::npos) return CRLFData();
    if (allows(options, kDelimiterLF) && data.findByte('\n') != Data::npos) return LFData();
    if (allows(options, kDelimiterCR) && data.findByte('\r') != Data::npos) return CRData();
    return std::nullopt;
}

void partitionIntoHeaderData(const Data& data, std::optional<Data>* header, std::optional<Data>* body,
                             unsigned options, std::optional<Data>* delimiterUsed) {
    setSlot(delimiterUsed, std::nullopt);
    BlankLine blank = findBlankLine(data, options);
    size_t headerLength = 0;
    std::optional<Data> delimiter;
    if (blank.delimiter) {
        headerLength = blank.position;
        delimiter = *blank.delimiter;
    } else {
        delimiter = lineDelimiterwithOptions(data, options);
    }
    setSlot(delimiterUsed, delimiter);

    if (headerLength != 0) {
        setSlot(header, data.subdata(0, headerLength));
        Data rest = data.subdataFromLocation(blank.position + blank.length);
        if (body && !rest.empty()) *body = rest;
        return;
    }
    // No header length: all header for a caller who asks for the header, all body otherwise.
    if (header) {
        *header = data;
    } else if (body) {
        *body = data;
    }
}

Range rangeOfRFC2822HeaderData(const Data& data) {
    BlankLine blank = findBlankLine(data, kDelimiterAny);
    if (!blank.delimiter) return {0, 0};
    return {0, blank.position + blank.length};
}

std::optional<Data> headerSubdata(const Data& data) {
    std::optional<Data> header;
    partitionIntoHeaderData(data, &header, nullptr, kDelimiterAny, nullptr);
    return header;
}

std::optional<Data> bodySubdata(const Data& data) {
    std::optional<Data> body;
    partitionIntoHeaderData(data, nullptr, &body, kDelimiterAny, nullptr);
    return body;
}

std::optional<Data> dataByTrimmingBytesInCharacterSet(const Data& data, const CharacterSet& set, uint16_t option) {
    if (data.empty()) return data;
    size_t length = data.length();
    size_t last = length - 1;
    size_t start = 0;
    if ((option & ~1u) == 0) {
        while (start < length && set.contains(data[start])) ++start;
    }
    if ((option & ~2u) == 0 && last != 0) {
        while (set.contains(data[last])) {
            --last;
            if (last == 0) return std::nullopt;
        }
    }
    if (last > start) return data.subdata(start, last - start + 1);
    return std::nullopt;
}

std::optional<Data> dataByTrimmingReturnsAndLineFeeds(const Data& data) {
    static const CharacterSet returnsAndLineFeeds = CharacterSet::withCharacters(u"\r\n");
    return dataByTrimmingBytesInCharacterSet(data, returnsAndLineFeeds, 0);
}

std::vector<Data> componentsSeparatedByData(const Data& data, const Data& separator) {
    std::vector<Data> components;
    if (data.empty()) return components;
    if (separator.empty()) {
        components.push_back(data);
        return components;
    }
    size_t position = 0;
    while (true) {
        size_t hit = data.find(separator, position);
        if (hit == Data::npos) break;
        components.push_back(data.subdata(position, hit - position));
        position = hit + separator.length();
    }
    if (position < data.length()) components.push_back(data.subdataFromLocation(position));
    return components;
}

Data componentsJoinedByData(const std::vector<const Data*>& list, const Data& separator) {
    if (list.empty()) return Data();
    const Data* last = list.back();
    ChainedData joined;
    for (const Data* element : list) {
        if (!element) continue;
        joined.append(*element);
        if (element != last) joined.append(separator);
    }
    Data flat = joined.flatten();
    // An immutable copy that owns its bytes, as the platform's join gives.
    return Data::withBytes(flat.bytes(), flat.length());
}

Data dataByNormalizingLineEndsToCRLF(const Data& data) {
    const uint8_t* bytes = data.bytes();
    size_t length = data.length();
    bool canonical = true;
    for (size_t i = 0; i < length && canonical; ++i) {
        if (bytes[i] == '\r') {
            if (i + 1 < length && bytes[i + 1] == '\n') {
                ++i;
            } else {
                canonical = false;
            }
        } else if (bytes[i] == '\n') {
            canonical = false;
        }
    }
    if (canonical) return data;
    std::string out;
    out.reserve(length + length / 32 + 2);
    for (size_t i = 0; i < length; ++i) {
        if (bytes[i] == '\r') {
            out += "\r\n";
            if (i + 1 < length && bytes[i + 1] == '\n') ++i;
        } else if (bytes[i] == '\n') {
            out += "\r\n";
        } else {
            out += static_cast<char>(bytes[i]);
        }
    }
    return Data::adopting(std::move(out));
}

OptString asciiEncodedString(const Data& data) { return stringFromData(data, kASCIIStringEncoding); }
OptString utf8EncodedString(const Data& data) { return stringFromData(data, kUTF8StringEncoding); }
OptString latin1EncodedString(const Data& data) { return stringFromData(data, kISOLatin1StringEncoding); }

}  // namespace postwright
