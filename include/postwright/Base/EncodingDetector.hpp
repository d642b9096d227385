// EncodingDetector: which charset unlabelled bytes are in, from the bytes and from what the message says.
//
// Mail arrives with text parts that name no charset, with header blocks that hold raw 8-bit text, and with
// labels that are wrong. The detector reads such bytes in stages, cheapest first, and stops at the first
// stage that decides:
//   1. a byte-order mark (UTF-8, UTF-16, UTF-32);
//   2. NUL bytes laid out as UTF-32 or UTF-16 text (never UTF-16 or UTF-32 without a mark or NULs);
//   3. ASCII: every byte below 0x80 and no escape sequence;
//   4. the 7-bit escape forms ISO-2022-JP, -KR and -CN, when their designations are present and the bytes
//      decode in that form;
//   5. UTF-8, when the bytes are valid UTF-8 (checked 16 bytes at a time);
//   6. the legacy charsets: each candidate must be valid for all the bytes (the multi-byte ones by their
//      byte structure, the single-byte ones by the bytes they leave undefined or give to C1 controls); the
//      words that hold 8-bit bytes (up to kDetectionSampleLimit bytes of them) are read in each remaining
//      candidate and scored as text of its languages: letter pairs for alphabetic scripts, character
//      frequencies for Japanese, Chinese and Korean, with penalties for a word that mixes scripts or
//      changes from lower to upper case inside; hints add to the score of a reading that is plausible
//      (no such penalty) and never rescue one that is not;
//   7. Windows-1252, which reads any bytes, when no candidate survives.
//
//     EncodingHints hints;
//     hints.message = {kWindowsCP1253StringEncoding};   // the Subject was an encoded word in windows-1253
//     EncodingDetection found = detectEncoding(body, hints);  // found.encoding, found.confidence
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// At most this many bytes of 8-bit words are scored; longer text is judged by its first ones (every
// candidate must still be valid for all the bytes).
inline constexpr size_t kDetectionSampleLimit = 1024;

// What the message and the host say about the charset, weighed with the bytes, never over them.
struct EncodingHints {
    // The part's own declared charset, when decoding with it failed and detection follows. 0: none.
    TextEncoding declared = kNoEncoding;
    // Charsets the message names elsewhere: its other text parts, the encoded words of its header block.
    std::vector<TextEncoding> message;
    // Charsets the host expects (the user's locale); Application::preferredEncodings() is added by
    // newByDecodingData and the text parts, not by detectEncoding itself.
    std::vector<TextEncoding> host;

    bool empty() const { return isUnusableEncoding(declared) && message.empty() && host.empty(); }
};

// One reading the statistics stage weighed.
struct EncodingCandidate {
    TextEncoding encoding = kNoEncoding;
    double score = 0;  // the higher the better: minus the cost in nats of the sample read this way, plus hints
    bool hinted = false;  // a hint added to the score
};

// Which stage decided.
enum class DetectionStage {
    Empty,           // no bytes: ASCII
    ByteOrderMark,
    NulLayout,       // UTF-16 or UTF-32 from where the NUL bytes are
    ASCII,
    EscapeForm,      // ISO-2022-JP, -KR, -CN
    UTF8,
    Statistics,
    Fallback,        // no legacy candidate survived: Windows-1252
};

// What detection decided: the encoding, how sure it is, and the candidates it weighed.
struct EncodingDetection {
    TextEncoding encoding = kASCIIStringEncoding;
    // How sure the stage is, 0-1: 1 for the structural stages; for the statistics the share of the
    // winner among the readings that give a different text (readings that give the same text agree).
    double confidence = 1;
    DetectionStage stage = DetectionStage::Empty;
    // The statistics stage's candidates, best first (empty for the other stages).
    std::vector<EncodingCandidate> candidates;
};

// The charset of bytes whose charset is not known. Never fails: the answer decodes the bytes that the
// stages looked at, and Windows-1252 is the last resort.
EncodingDetection detectEncoding(const uint8_t* bytes, size_t length, const EncodingHints& hints = {});
inline EncodingDetection detectEncoding(const Data& data, const EncodingHints& hints = {}) {
    return detectEncoding(data.bytes(), data.length(), hints);
}

// True when the bytes are valid UTF-8 (without overlong forms, surrogates or values above U+10FFFF).
bool isValidUTF8(const uint8_t* bytes, size_t length);

// The stage's name as `postwright detect` prints it: "empty", "byte-order mark", "nul layout", "ascii",
// "escape form", "utf-8", "statistics", "fallback".
const char* detectionStageName(DetectionStage stage);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
