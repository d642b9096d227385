// The quoted-printable and encoded-word kinds of `postwright encode` and `postwright decode`.
#include <cstdio>

#include "Subcommands.hpp"
#include "ToolSupport.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/QuotedPrintable.hpp"

namespace postwright::tool {

namespace {
void writeBytes(std::string_view bytes) {
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}

// --encoding NAME, or UTF-8; false (after a usage error) when the name is unknown.
bool encodingOption(const char* command, const Arguments& arguments, TextEncoding* encoding, int* status) {
    *encoding = kUTF8StringEncoding;
    std::optional<std::string> name = arguments.value("encoding");
    if (!name) return true;
    *encoding = PWencodingForCharSetName(fromUTF8(*name));
    if (!isUnusableEncoding(*encoding)) return true;
    *status = usageError(command, "unknown charset \"" + *name + "\"");
    return false;
}

void reportEncoding(TextEncoding encoding) {
    OptString name = PWcharSetNameForEncoding(encoding);
    std::fprintf(stderr, "encoding: %s\n", name ? toUTF8(*name).c_str() : "none");
}

// The single TEXT argument of a text kind, with --escapes applied.
std::optional<std::u16string> textArgument(const char* command, const Arguments& arguments, int* status) {
    if (arguments.positionals().size() != 1) {
        *status = usageError(command, "expects exactly one TEXT");
        return std::nullopt;
    }
    std::string text = arguments.positionals()[0];
    if (arguments.flag("escapes")) text = unescapeArgument(text);
    return fromUTF8(text);
}

int decodeQuotedPrintable(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"options", "encoding"}, {});
    if (!arguments.ok()) return usageError("decode", arguments.error());
    std::optional<unsigned long long> options = arguments.number("options");
    if (!arguments.ok()) return usageError("decode", arguments.error());
    int status = 0;
    TextEncoding encoding = kUTF8StringEncoding;
    if (!encodingOption("decode", arguments, &encoding, &status)) return status;
    if (arguments.positionals().size() > 1) return usageError("decode", "expects at most one FILE");
    std::optional<Data> input = readInput(arguments.positionals().empty() ? "-" : arguments.positionals()[0]);
    if (!input) return 1;
    ErrorRef error;
    std::optional<Data> decoded =
        decodedQuotedPrintableDataWithOptions(*input, static_cast<unsigned>(options.value_or(0)), encoding, &error);
    if (!decoded) {
        std::fprintf(stderr, "%s\n", dumpJSON(jsonError(error)).c_str());
        return 1;
    }
    writeBytes(decoded->view());
    return 0;
}

int decodeQForm(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {}, {"escapes"});
    if (!arguments.ok()) return usageError("decode", arguments.error());
    int status = 0;
    std::optional<std::u16string> text = textArgument("decode", arguments, &status);
    if (!text) return status;
    std::optional<Data> decoded = dataWithQuotedPrintableEncodedString(*text);
    if (!decoded) return inputError("malformed Q text: an \"=\" without two hex digits, or a character above U+00FF");
    writeBytes(decoded->view());
    return 0;
}

int encodeQuotedPrintable(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"encoding"}, {});
    if (!arguments.ok()) return usageError("encode", arguments.error());
    int status = 0;
    TextEncoding preferred = kUTF8StringEncoding;
    if (!encodingOption("encode", arguments, &preferred, &status)) return status;
    if (arguments.positionals().size() > 1) return usageError("encode", "expects at most one FILE");
    std::optional<Data> input = readInput(arguments.positionals().empty() ? "-" : arguments.positionals()[0]);
    if (!input) return 1;
    OptString text = stringFromData(*input, kUTF8StringEncoding);
    if (!text) return inputError("the input is not UTF-8 text");
    TextEncoding used = kNoEncoding;
    OptString encoded = quotedPrintableStringForPlainTextBody(*text, preferred, &used);
    reportEncoding(used);
    if (!encoded) return inputError("no encoding can hold the text");
    writeBytes(toUTF8(*encoded));
    return 0;
}

// Shared by the one-line text encoders: TEXT in, one line out.
template <OptString (*encode)(std::u16string_view, TextEncoding, TextEncoding*)>
int encodeLine(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"encoding"}, {"escapes"});
    if (!arguments.ok()) return usageError("encode", arguments.error());
    int status = 0;
    TextEncoding preferred = kUTF8StringEncoding;
    if (!encodingOption("encode", arguments, &preferred, &status)) return status;
    std::optional<std::u16string> text = textArgument("encode", arguments, &status);
    if (!text) return status;
    TextEncoding used = kNoEncoding;
    OptString encoded = encode(*text, preferred, &used);
    reportEncoding(used);
    if (!encoded) return inputError("no encoding can hold the text");
    std::printf("%s\n", toUTF8(*encoded).c_str());
    return 0;
}

int encodeAString(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {}, {"escapes"});
    if (!arguments.ok()) return usageError("encode", arguments.error());
    int status = 0;
    std::optional<std::u16string> text = textArgument("encode", arguments, &status);
    if (!text) return status;
    std::printf("%s\n", toUTF8(rfc9051AString(*text)).c_str());
    return 0;
}
}  // namespace

void addCodecEncodeSubcommands(std::vector<Subcommand>& list) {
    list.insert(list.end(), {
                                {"qp", "[--encoding NAME] [FILE|-]",
                                 "a quoted-printable body: CRLF lines of at most 76 characters", encodeQuotedPrintable},
                                {"q", "[--encoding NAME] TEXT", "the Q form of an encoded word's text (SPACE as _)",
                                 encodeLine<qEncodedStringWithPreferredEncoding>},
                                {"word", "[--encoding NAME] TEXT",
                                 "a whole encoded word =?charset?Q?...?=, never split", encodeLine<mimeWordWithString>},
                                {"astring", "TEXT", "an IMAP astring: quoted only when it must be", encodeAString},
                            });
}

void addCodecDecodeSubcommands(std::vector<Subcommand>& list) {
    list.insert(list.end(), {
                                {"qp", "[--options N] [--encoding NAME] [FILE|-]",
                                 "a quoted-printable body (FILE, or standard input), decoded bytes to stdout",
                                 decodeQuotedPrintable},
                                {"q", "TEXT", "the strict Q form of an encoded word's text", decodeQForm},
                            });
}

}  // namespace postwright::tool
