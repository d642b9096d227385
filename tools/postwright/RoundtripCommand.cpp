// postwright roundtrip FILE: does the message's MIME tree write itself back?
#include "Commands.hpp"
#include "MessageInput.hpp"
#include "postwright/Mime/MimeRoundTrip.hpp"

namespace postwright::tool {

std::string roundtripHelp() {
    return std::string(
               "Usage: postwright roundtrip FILE [--index N]\n"
               "\n"
               "Checks that the message's MIME tree writes itself back:\n"
               "  1. the untouched tree gives back the input byte for byte;\n"
               "  2. a mutable copy with one leaf's charset changed (the first text part, else the first\n"
               "     leaf; set to utf-8, or to iso-8859-1 when it is utf-8 already) is rebuilt (headers of\n"
               "     the changed parts folded afresh, children between their boundaries, CR LF line ends)\n"
               "     and parsed again: the new tree must have the same shape (identifiers, MIME types and\n"
               "     numbers of children, depth first) and the leaf its new charset.\n"
               "\n"
               "Prints a JSON verdict: bytesIdentical, changedPart, changedCharset, rebuiltSize,\n"
               "shapePreserved, differences (one line per difference found), notes (parts whose class\n"
               "changed: a rebuilt part writes the file name its Content-Type \"name\" gave it as an\n"
               "\"attachment\" disposition, so a named text part comes back as an attachment) and\n"
               "passed. The exit status is 0 when everything held, 1 on any difference.\n"
               "\n") +
           kMessageFileHelp +
           "\n"
           "Example:\n"
           "  postwright roundtrip examples/multipart.eml\n";
}

int runRoundtrip(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"index"}, {});
    if (!arguments.ok()) return usageError("roundtrip", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("roundtrip", "expects exactly one FILE");
    PWMessageContentsRef contents = readMessageContents(arguments, "roundtrip");
    if (!contents) return 1;

    MimeRoundTripReport report = checkMimeRoundTrip(contents->contentData());
    Json differences = Json::array(), notes = Json::array();
    for (const std::u16string& line : report.differences) differences.push_back(jsonText(line));
    for (const std::u16string& line : report.notes) notes.push_back(jsonText(line));
    Json verdict = Json::object();
    verdict["bytesIdentical"] = report.bytesIdentical;
    verdict["changedPart"] = jsonText(report.changedPart);
    verdict["changedCharset"] = jsonText(report.changedCharset);
    verdict["rebuiltSize"] = report.rebuiltLength;
    verdict["shapePreserved"] = report.shapePreserved;
    verdict["differences"] = std::move(differences);
    verdict["notes"] = std::move(notes);
    verdict["passed"] = report.passed();
    printJSON(verdict);
    return report.passed() ? 0 : 1;
}

}  // namespace postwright::tool
