// postwright encode / decode: the command frames and their tables of subcommands.
#include "Commands.hpp"
#include "Subcommands.hpp"
#include "ToolSupport.hpp"

namespace postwright::tool {

const std::vector<Subcommand>& encodeSubcommands() {
    static const std::vector<Subcommand> list = [] {
        std::vector<Subcommand> entries;
        addCodecEncodeSubcommands(entries);
        addAddressEncodeSubcommands(entries);
        addHeaderEncodeSubcommands(entries);
        return entries;
    }();
    return list;
}

const std::vector<Subcommand>& decodeSubcommands() {
    static const std::vector<Subcommand> list = [] {
        std::vector<Subcommand> entries;
        addCodecDecodeSubcommands(entries);
        return entries;
    }();
    return list;
}

int runSubcommand(const char* command, const std::vector<Subcommand>& list, const std::vector<std::string>& arguments) {
    if (arguments.empty()) return usageError(command, "expects a KIND");
    for (const Subcommand& subcommand : list) {
        if (arguments.front() == subcommand.name) {
            return subcommand.run(std::vector<std::string>(arguments.begin() + 1, arguments.end()));
        }
    }
    return usageError(command, "unknown kind \"" + arguments.front() + "\"");
}

std::string subcommandList(const std::vector<Subcommand>& list) {
    std::string text = "Kinds:\n";
    for (const Subcommand& subcommand : list) {
        text += std::string("  ") + subcommand.name + " " + subcommand.usage + "\n";
        text += std::string("      ") + subcommand.summary + "\n";
    }
    return text;
}

std::string encodeHelp() {
    return "Usage: postwright encode KIND ARGUMENTS\n"
           "\n"
           "Writes text in one of the forms mail uses on the wire. Text is read as UTF-8 and\n"
           "converted to a charset first: the one --encoding names when it can hold the text,\n"
           "else ISO 8859-2, UTF-8 or UTF-16 (in that order, by design). The charset actually\n"
           "used is printed on stderr as \"encoding: NAME\".\n"
           "\n" +
           subcommandList(encodeSubcommands()) +
           "\n"
           "--escapes reads \\r \\n \\t \\\\ and \\xHH in TEXT as the characters they name.\n"
           "\n"
           "Examples:\n"
           "  printf 'Gr\\303\\274\\303\\237e\\n' | postwright encode qp -\n"
           "  postwright encode word 'Gr\\303\\274\\303\\237e'        # =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\n"
           "  postwright encode astring 'My \"Folder\"'    # \"My \\\"Folder\\\"\"\n";
}

int runEncode(const std::vector<std::string>& arguments) {
    return runSubcommand("encode", encodeSubcommands(), arguments);
}

std::string decodeHelp() {
    return "Usage: postwright decode KIND ARGUMENTS\n"
           "\n"
           "Turns wire forms back into bytes, written unchanged to stdout. A malformed input\n"
           "writes nothing to stdout, prints the reason on stderr (the error record as JSON\n"
           "where there is one) and exits with status 1.\n"
           "\n" +
           subcommandList(decodeSubcommands()) +
           "\n"
           "Options of qp:\n"
           "  --options N      1: a literal _ decodes to SPACE (the Q form of encoded words);\n"
           "                   2: bytes that came from escapes are read in the charset of\n"
           "                   --encoding (default utf-8), HTML-escaped and written as UTF-8,\n"
           "                   so an escaped \"<\" never becomes markup. 3: both.\n"
           "  --encoding NAME  the body's charset, for option 2\n"
           "Soft line breaks may be written with CRLF or a bare LF. An \"=\" followed by\n"
           "anything but a line break or two hex digits fails the whole body (code 11).\n"
           "\n"
           "Examples:\n"
           "  printf 'a=3D=\\r\\nb' | postwright decode qp -          # a=b\n"
           "  printf '=3Ci=3E<b>' | postwright decode qp --options 2 -   # &lt;i&gt;<b>\n"
           "  postwright decode q 'caf=C3=A9_au_lait'\n";
}

int runDecode(const std::vector<std::string>& arguments) {
    return runSubcommand("decode", decodeSubcommands(), arguments);
}

}  // namespace postwright::tool
