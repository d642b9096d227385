// postwright render FILE: the HTML fragment a message shows.
#include <cstdio>

#include "Commands.hpp"
#include "MessageInput.hpp"
#include "MimeTree.hpp"

namespace postwright::tool {

std::string renderHelp() {
    return std::string(
               "Usage: postwright render FILE [--index N] [--plain] [--json]\n"
               "\n"
               "Prints the HTML fragment of the message's root part for a rich display (not JSON):\n"
               "  - an HTML part gives its body's inner HTML, with \"cid:\" references rewritten to the\n"
               "    renderer's scheme \"x-postwright-cid:\";\n"
               "  - a plain text part gives its text, escaped, in <div style=\"white-space: pre-wrap\">;\n"
               "  - an attachment gives a placeholder of the composer's vocabulary:\n"
               "    <span orw-mime-type=\"...\" orw-name=\"...\" orw-src=\"x-postwright-cid:...\">;\n"
               "  - multipart/alternative shows its HTML (or nested multipart) choice, mixed shows its text\n"
               "    and HTML children with attachments in between as placeholders and lists those after\n"
               "    the last text, related shows its HTML and only lists its attachments, report puts the\n"
               "    delivery status first.\n"
               "\n"
               "Options:\n"
               "  --plain   render for the plain-text display context instead (alternatives show their\n"
               "            plain text)\n"
               "  --json    print {\"html\": ..., \"relatedAttachments\": [identifiers]} instead: the\n"
               "            attachments the fragment refers to or lists\n"
               "\n") +
           kMessageFileHelp +
           "\n"
           "Example:\n"
           "  postwright render examples/multipart.eml\n";
}

int runRender(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"index"}, {"plain", "json"});
    if (!arguments.ok()) return usageError("render", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("render", "expects exactly one FILE");
    PWMessageContentsRef contents = readMessageContents(arguments, "render");
    PWMimePartRef root = contents ? positionalRootMimePart(contents) : nullptr;
    if (!root) return 1;
    int context = arguments.flag("plain") ? kMimeDisplayContextPlainText : kMimeDisplayContextRich;
    std::vector<PWMimePartRef> related;
    std::u16string html = root->htmlFragmentForContext(context, 0, &related);
    if (arguments.flag("json")) {
        Json identifiers = Json::array();
        for (const PWMimePartRef& part : related) identifiers.push_back(jsonText(part->identifier()));
        printJSON(Json{{"html", jsonText(html)}, {"relatedAttachments", identifiers}});
        return 0;
    }
    std::string out = toUTF8(html);
    out += '\n';
    std::fwrite(out.data(), 1, out.size(), stdout);
    return 0;
}

}  // namespace postwright::tool
