// Raw message bytes: line delimiters, the header/body split, trimming, splitting and joining.
//
// A message's header block ends at its first blank line, searched by precedence over the whole buffer:
// CRLFCRLF first, then LFLF, then CRCR; the first kind found anywhere wins, even when a blank line of a
// later kind comes earlier. Trimming has deliberate quirks (a one-byte result is null) that callers rely on.
//
//     std::optional<Data> header, body, delimiter;
//     partitionIntoHeaderData(message, &header, &body, 0, &delimiter);
//
// Results are views into the receiver's storage; nothing is copied.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "postwright/Base/CharacterSet.hpp"
#include "postwright/Base/Data.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Delimiter options: 0 allows every kind; otherwise only the kinds whose bit is set.
enum DelimiterOptions : unsigned {
    kDelimiterAny = 0,
    kDelimiterCRLF = 1,
    kDelimiterLF = 2,
    kDelimiterCR = 4,
};

// The first allowed delimiter kind that occurs anywhere, by precedence CRLF, LF, CR: the shared
// CRLFData(), LFData() or CRData(), or nullopt when the buffer holds none.
std::optional<Data> lineDelimiterwithOptions(const Data& data, unsigned options);

// Splits a message at its first blank line. The delimiter slot is set first (to nullopt, then to the
// kind found). With a blank line at p (pattern length n): the header slot gets [0, p) and the body slot
// [p+n, end) when that is not empty (an empty body leaves the body slot as the caller set it). With no
// blank line, or one at the very start, the header slot (when given) receives the whole buffer and the
// body slot is untouched; only when no header slot is given does the body slot receive the whole buffer.
void partitionIntoHeaderData(const Data& data, std::optional<Data>* header, std::optional<Data>* body,
                             unsigned options, std::optional<Data>* delimiterUsed);

// The header block with its terminating blank line: (0, p+n), or (0, 0) without a blank line.
Range rangeOfRFC2822HeaderData(const Data& data);
// The partition with options 0 and only the header (or only the body) slot given.
std::optional<Data> headerSubdata(const Data& data);
std::optional<Data> bodySubdata(const Data& data);

// Trims bytes of the class (each byte tested as the code unit of the same value). option: 0 both ends,
// 1 leading only, 2 trailing only. An empty buffer returns itself; a result of exactly one byte is
// returned as nullopt, and the byte at index 0 is never tested from the trailing side.
std::optional<Data> dataByTrimmingBytesInCharacterSet(const Data& data, const CharacterSet& set, uint16_t option = 0);
std::optional<Data> dataByTrimmingReturnsAndLineFeeds(const Data& data);

// Splits at every occurrence of the separator. Empty leading and inner components are kept; a trailing
// empty one is not; an empty buffer gives an empty list.
std::vector<Data> componentsSeparatedByData(const Data& data, const Data& separator);

// Joins the list with the separator after each element except the last one (compared by identity).
// A nullptr element stands for an element that is not a byte buffer: it adds neither bytes nor separator.
Data componentsJoinedByData(const std::vector<const Data*>& list, const Data& separator);

// The bytes with every line end written as CR LF (a bare LF or a lone CR becomes CR LF). When they already
// are, the same buffer comes back and nothing is copied.
Data dataByNormalizingLineEndsToCRLF(const Data& data);

// Text from the bytes under a fixed encoding, nullopt when the decoder rejects them.
OptString asciiEncodedString(const Data& data);
OptString utf8EncodedString(const Data& data);
OptString latin1EncodedString(const Data& data);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
