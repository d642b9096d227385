// The header kinds of `postwright encode`: a folded field, an RFC 2231 parameter, a Q-encoded value.
#include <cstdio>

#include "Subcommands.hpp"
#include "ToolSupport.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"

namespace postwright::tool {

namespace {
void printText(const std::u16string& text) { std::printf("%s\n", toUTF8(text).c_str()); }

std::u16string argumentText(const Arguments& arguments, size_t index) {
    std::string text = arguments.positionals()[index];
    if (arguments.flag("escapes")) text = unescapeArgument(text);
    return fromUTF8(text);
}

int encodeHeader(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"fold-options", "delimiters"}, {"escapes"});
    if (!arguments.ok()) return usageError("encode", arguments.error());
    std::optional<unsigned long long> options = arguments.number("fold-options");
    if (!arguments.ok()) return usageError("encode", arguments.error());
    if (arguments.positionals().size() != 2) return usageError("encode", "header expects NAME and VALUE");
    std::vector<std::u16string> delimiters;
    if (std::optional<std::string> given = arguments.value("delimiters")) {
        for (const std::u16string& delimiter : componentsSeparatedBy(fromUTF8(*given), u" ")) {
            if (!delimiter.empty()) delimiters.push_back(delimiter);
        }
    }
    auto entry = PWMutableMessageHeaderEntry::newWithFieldName(argumentText(arguments, 0), argumentText(arguments, 1),
                                                               kDerivedSortHint);
    OptString folded = entry->foldedHeaderWithOption(static_cast<unsigned>(options.value_or(2)), &delimiters);
    if (!folded) return inputError("the value cannot be written as header text");
    printText(*folded);
    return 0;
}

int encodeParameter(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"language"}, {"escapes"});
    if (!arguments.ok()) return usageError("encode", arguments.error());
    if (arguments.positionals().size() != 2) return usageError("encode", "parameter expects NAME and VALUE");
    OptString language;
    if (std::optional<std::string> given = arguments.value("language")) language = fromUTF8(*given);
    printText(PWMessageHeaders::foldedStringForParameterName(argumentText(arguments, 0), argumentText(arguments, 1),
                                                             language));
    return 0;
}

int encodeMimeHeader(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"encoding"}, {"escapes"});
    if (!arguments.ok()) return usageError("encode", arguments.error());
    size_t count = arguments.positionals().size();
    if (count < 1 || count > 2) return usageError("encode", "mime-header expects [NAME] VALUE");
    TextEncoding preferred = kUTF8StringEncoding;
    if (std::optional<std::string> name = arguments.value("encoding")) {
        preferred = PWencodingForCharSetName(fromUTF8(*name));
        if (isUnusableEncoding(preferred)) return usageError("encode", "unknown charset \"" + *name + "\"");
    }
    OptString key;
    if (count == 2) key = argumentText(arguments, 0);
    TextEncoding used = kNoEncoding;
    OptString header = PWMessageHeaders::mimeEncodedHeaderForKey(key, argumentText(arguments, count - 1), preferred, &used);
    if (!header) return inputError("no encoding can hold the value");
    printText(*header);
    OptString charset = PWcharSetNameForEncoding(used);
    std::fprintf(stderr, "encoding: %s\n", charset ? toUTF8(*charset).c_str() : "none");
    return 0;
}
}  // namespace

void addHeaderEncodeSubcommands(std::vector<Subcommand>& list) {
    list.insert(list.end(), {
        {"header", "NAME VALUE [--fold-options N] [--delimiters \",\"]",
         "a header field folded below 78 characters (4: LF line ends, 8: TAB continuations); a value\n"
         "      that is not plain header text, or holds a line break, is written as an encoded word;\n"
         "      --delimiters lists extra break points (separated by spaces) for lines without white space",
         encodeHeader},
        {"parameter", "NAME VALUE [--language L]",
         "a Content-Type or Content-Disposition parameter: quoted when needed, split into name*N\n"
         "      segments when long, RFC 2231 extended (utf-8, percent-encoded) when not printable ASCII",
         encodeParameter},
        {"mime-header", "[NAME] VALUE [--encoding NAME]",
         "a value as Q-encoded words of at most 75 characters, after \"Name: \" when NAME is given\n"
         "      (the encoding used goes to stderr)",
         encodeMimeHeader},
    });
}

}  // namespace postwright::tool
