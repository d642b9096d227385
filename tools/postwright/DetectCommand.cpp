// postwright detect [FILE|-] [--hint CHARSET]...: which charset the library reads unlabelled bytes in, and why.
#include <cmath>

#include "Commands.hpp"
#include "ToolSupport.hpp"
#include "postwright/Base/EncodingDetector.hpp"
#include "postwright/Base/TextEncoding.hpp"

namespace postwright::tool {

namespace {
constexpr size_t kShownCandidates = 5;
constexpr size_t kShownCharacters = 200;
}  // namespace

std::string detectHelp() {
    return "Usage: postwright detect [FILE|-] [--hint CHARSET]...\n"
           "\n"
           "Shows which charset the library reads FILE's bytes in when nothing labels them: the body of\n"
           "a text part without a charset (or with one its bytes are not valid in), or a header block\n"
           "with raw 8-bit text. Use it to see why a message garbles. Without FILE, or with \"-\",\n"
           "standard input is read. Give the bytes of the body itself (after base64 or quoted-printable\n"
           "decoding), not the whole message.\n"
           "\n"
           "The detector works in stages, cheapest first, and the first that decides wins:\n"
           "  byte-order mark  EF BB BF is UTF-8, FF FE and FE FF UTF-16, FF FE 00 00 and 00 00 FE FF UTF-32\n"
           "  nul layout       NUL bytes where UTF-32 or UTF-16 puts them: never UTF-16 or UTF-32 otherwise\n"
           "  ascii            every byte below 0x80 and no escape sequence\n"
           "  escape form      ISO-2022-JP, -KR or -CN, when their escape sequences are there and decode\n"
           "  utf-8            valid UTF-8 is always read as UTF-8\n"
           "  statistics       the legacy charsets: each must be valid for every byte (multi-byte ones by\n"
           "                   their byte structure; single-byte ones must not need an undefined byte or\n"
           "                   a C1 control), then the words holding 8-bit bytes are read in each and\n"
           "                   scored as text of its languages (letter pairs for alphabets, character\n"
           "                   frequencies for Japanese, Chinese and Korean, penalties for a word that\n"
           "                   mixes scripts or turns from lower to upper case). A hint adds to the score\n"
           "                   of a reading without such penalties, never to one that has them.\n"
           "  fallback         no legacy charset fits: windows-1252, which reads any byte\n"
           "\n"
           "--hint CHARSET (repeatable) names a charset the message mentions elsewhere, as the library's\n"
           "text parts do with their other parts' charsets and the encoded words of the header block.\n"
           "\n"
           "Prints one JSON object:\n"
           "  charset      the charset chosen (lower-case preferred MIME name)\n"
           "  stage        the stage that decided (names above)\n"
           "  confidence   0-1: 1 for the structural stages; for the statistics the winner's share among\n"
           "               the readings that give a different text\n"
           "  candidates   the five best readings of the statistics stage: {\"charset\", \"score\" (minus\n"
           "               the cost of the text in nats, plus hints; higher is better), \"hinted\"}\n"
           "  text         the first 200 characters of the bytes read in the chosen charset\n"
           "\n"
           "Examples:\n"
           "  printf 'Stra\\xdfe' | postwright detect\n"
           "  postwright detect body.txt --hint windows-1253\n";
}

int runDetect(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"hint"}, {});
    if (!arguments.ok()) return usageError("detect", arguments.error());
    if (arguments.positionals().size() > 1) return usageError("detect", "expects at most one FILE");
    EncodingHints hints;
    for (const std::string& name : arguments.values("hint")) {
        TextEncoding encoding = encodingForCharSetName(fromUTF8(name));
        if (isUnusableEncoding(encoding)) return usageError("detect", "unknown charset \"" + name + "\" for --hint");
        hints.message.push_back(encoding);
    }
    std::optional<Data> data = readInput(arguments.positionals().empty() ? "-" : arguments.positionals()[0]);
    if (!data) return 1;

    EncodingDetection detection = detectEncoding(*data, hints);
    TextEncoding used = kNoEncoding;
    std::u16string text = newByDecodingData(*data, hints, &used).value_or(u"");
    Json result = Json::object();
    result["charset"] = jsonText(charSetNameForEncoding(used));
    result["stage"] = detectionStageName(detection.stage);
    result["confidence"] = detection.confidence;
    Json candidates = Json::array();
    for (size_t i = 0; i < detection.candidates.size() && i < kShownCandidates; ++i) {
        const EncodingCandidate& candidate = detection.candidates[i];
        candidates.push_back({{"charset", jsonText(charSetNameForEncoding(candidate.encoding))},
                              {"score", std::round(candidate.score * 100) / 100},
                              {"hinted", candidate.hinted}});
    }
    result["candidates"] = std::move(candidates);
    size_t cut = std::min(text.size(), kShownCharacters);
    if (cut > 0 && cut < text.size() && (text[cut - 1] & 0xFC00) == 0xD800) --cut;  // keep surrogate pairs whole
    result["text"] = jsonText(std::u16string_view(text).substr(0, cut));
    printJSON(result);
    return 0;
}

}  // namespace postwright::tool
