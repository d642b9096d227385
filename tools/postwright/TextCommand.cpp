// postwright text FILE: the plain text a reader of the message sees.
#include <cstdio>

#include "Commands.hpp"
#include "MessageInput.hpp"
#include "MimeTree.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"

namespace postwright::tool {

namespace {
// The text of a part as a reader sees it: the plain alternative of an alternative container, the text
// of the shown children of other containers, the text of HTML without its markup; attachments give none.
OptString readerText(const PWMimePartRef& part) {
    if (auto alternative = std::dynamic_pointer_cast<PWMultipartAlternativeMimePart>(part)) {
        PWMimePartRef chosen = alternative->mimePartWithContext(kMimeDisplayContextPlainText);
        if (!chosen) chosen = alternative->mimePartWithContext(kMimeDisplayContextRich);
        return chosen ? readerText(chosen) : std::nullopt;
    }
    if (part->hasSubParts()) {
        std::vector<std::u16string> texts;
        for (const PWMimePartRef& child : part->subParts()) {
            OptString text = readerText(child);
            if (text && !text->empty()) texts.push_back(*text);
        }
        if (texts.empty()) return std::nullopt;
        return componentsJoinedBy(texts, u"\n\n");
    }
    if (part->isKindOfClass(PWMimeAttachment::mimeClass())) return std::nullopt;
    if (part->isKindOfClass(PWTextHtmlMimePart::mimeClass())) {
        OptString html = part->htmlContent();
        if (!html) return std::nullopt;
        auto document = HTMLDocument::documentWithString(*html);
        return document->body() ? fgTrim(document->body()->textContent()) : std::u16string();
    }
    return part->plainContent();
}
}  // namespace

std::string textHelp() {
    return std::string(
               "Usage: postwright text FILE [--index N]\n"
               "\n"
               "Prints the plain text a reader of the message sees, decoded from its transfer encoding\n"
               "and charset (with fallbacks when the declared charset is wrong). Of a multipart/alternative\n"
               "the plain-text choice is shown (its first text part); the shown children of other\n"
               "containers follow each other separated by a blank line; an HTML part without a plain\n"
               "alternative shows the text of its markup. Attachments show nothing: list them with\n"
               "`postwright tree`, write them out with `postwright extract`.\n"
               "\n") +
           kMessageFileHelp +
           "\n"
           "Example:\n"
           "  postwright text examples/simple.eml\n";
}

int runText(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"index"}, {});
    if (!arguments.ok()) return usageError("text", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("text", "expects exactly one FILE");
    PWMessageContentsRef contents = readMessageContents(arguments, "text");
    PWMimePartRef root = contents ? positionalRootMimePart(contents) : nullptr;
    if (!root) return 1;
    std::string text = toUTF8(readerText(root).value_or(u""));
    text += '\n';
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
}

}  // namespace postwright::tool
