// postwright tree FILE: the MIME tree of a message as JSON.
#include "Commands.hpp"
#include "MessageInput.hpp"
#include "MimeTree.hpp"

namespace postwright::tool {

std::string treeHelp() {
    return std::string(
               "Usage: postwright tree FILE [--index N]\n"
               "\n"
               "Parses the message into its MIME tree and prints the tree as one JSON object, the root\n"
               "part with its children nested in \"children\". Each part shows:\n"
               "  identifier               its position: the root is \"0\", its children \"0/0\", \"0/1\", ...\n"
               "  class                    the class the type registry chose (PWTextMimePart,\n"
               "                           PWMultipartAlternativeMimePart, PWImageMimePart, ...)\n"
               "  type, subtype            the lower-cased MIME type\n"
               "  charset                  the effective charset (inherited from the parent when the part\n"
               "                           has none)\n"
               "  contentTransferEncoding  the effective transfer encoding, also inherited\n"
               "  contentType              the Content-Type info dictionary (\"@type\", \"@subtype\",\n"
               "                           \"@fulltype\" and one key per parameter), as `postwright parse\n"
               "                           content-type` prints it; a part without a usable Content-Type\n"
               "                           is text/plain\n"
               "  contentDisposition       the Content-Disposition info dictionary, or null. A Content-Type\n"
               "                           \"name\" fills a missing \"filename\", and an attachment without\n"
               "                           any name is called UNTITLED_ATTACHMENT.<subtype>\n"
               "  filename                 the file name (RFC 2231 pieces joined, encoded words decoded)\n"
               "  contentId                the Content-Id without angle brackets (the identifier when the\n"
               "                           part has none)\n"
               "  headerSize, size         bytes of the header block and of the whole part\n"
               "  decodedSize              bytes the body decodes to (the children's sum for a container)\n"
               "  children                 the parts of a multipart body, in order ([] for a leaf)\n"
               "\n"
               "Multiparts nested deeper than 64 levels are not split further: the deepest one keeps its\n"
               "body as content.\n"
               "\n") +
           kMessageFileHelp +
           "\n"
           "Example:\n"
           "  postwright tree examples/multipart.eml\n";
}

int runTree(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"index"}, {});
    if (!arguments.ok()) return usageError("tree", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("tree", "expects exactly one FILE");
    PWMessageContentsRef contents = readMessageContents(arguments, "tree");
    PWMimePartRef root = contents ? positionalRootMimePart(contents) : nullptr;
    if (!root) return 1;
    printJSON(jsonMimePart(*root));
    return 0;
}

}  // namespace postwright::tool
