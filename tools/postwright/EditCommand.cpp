// postwright edit: a message opened as an editable message, changed, and written again.
#include "Commands.hpp"
#include "MessageComposing.hpp"
#include "MessageInput.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Message/FGBaseMutableMessage.hpp"
#include "postwright/Message/FGFileAttachment.hpp"
#include "postwright/Mime/MimeConstants.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"
#include "postwright/Mime/PWTextMimePart.hpp"

namespace postwright::tool {

std::string editHelp() {
    return std::string(
               "Usage: postwright edit FILE [--index N] [--for-amending] [--new-content-id]\n"
               "           [--subject TEXT] [--header NAME=VALUE]... [--remove-header NAME]...\n"
               "           [--text FILE|-] [--html FILE] [--attach FILE]... [--remove-attachments]\n"
               "           [--output FILE] [--tree]\n"
               "\n"
               "Opens a message as an editable message, applies the edits in the order listed here, and\n"
               "writes the message's bytes to standard output or FILE. With no edit the output is the\n"
               "input, byte for byte: nothing is rewritten. An edit of the headers alone keeps every\n"
               "body byte as it was (attachments are not decoded or encoded again), and keeps the line\n"
               "ends the message was stored with; a new body is written with CR LF.\n"
               "\n"
               "Opening:\n"
               "  --new-content-id      give the message a new X-Orwin-Composer-Id and a Message-Id made\n"
               "                        from it (as a composer does for a copy it will send again)\n"
               "  --for-amending        open it as amendments do: --new-content-id then changes nothing\n"
               "\n"
               "Headers:\n"
               "  --subject TEXT        the subject (encoded when it is not plain ASCII)\n"
               "  --header NAME=VALUE   set a field (repeatable); address fields (From, Sender, To, Cc,\n"
               "                        Bcc, Reply-To) are read as address lists; an empty VALUE removes\n"
               "                        the field. A value holding a line break never starts a line.\n"
               "  --remove-header NAME  remove every field of that name (repeatable)\n"
               "\n"
               "Body (any of these builds the body again, as a composer would):\n"
               "  --text FILE|-         the new plain text; without --html the message becomes plain\n"
               "                        text (an HTML version, which would no longer match, is dropped)\n"
               "  --html FILE           the new HTML; without --text the plain-text alternative is made\n"
               "                        from it. \"cid:ID\" attribute values name attachments, as in compose\n"
               "  --attach FILE         attach a file (repeatable)\n"
               "  --remove-attachments  drop the attachments the message had, and their places in its HTML\n"
               "                        (the files given with --attach are kept)\n"
               "When only attachments change, the text and HTML stay as the message shows them.\n"
               "\n"
               "Output:\n"
               "  --output FILE         write there instead of standard output; nothing is written unless\n"
               "                        the whole message was built\n"
               "  --tree                print the edited message's MIME tree (as `postwright tree`) instead\n"
               "\n") +
           kMessageFileHelp +
           "\n"
           "Examples:\n"
           "  postwright edit draft.eml --subject \"Re: figures\" --output draft.eml\n"
           "  postwright edit mail.mbox --index 2 --remove-attachments --tree\n";
}

namespace {

// The text of the message's text/plain parts (not HTML, not attachments), joined as an opened message
// joins its texts; nullopt when it has none.
OptString plainTextOfTextParts(const PWMimePartRef& root) {
    if (!root) return std::nullopt;
    std::vector<std::u16string> texts;
    for (const PWMimePartRef& part : root->mimePartsPassingTest(
             [](const PWMimePart& candidate) { return candidate.isMemberOfClass(PWTextMimePart::mimeClass()); })) {
        if (OptString text = part->plainContent()) texts.push_back(fgTrim(*text));
    }
    if (texts.empty()) return std::nullopt;
    return componentsJoinedBy(texts, u"\r\n");
}

// The HTML without the places of attachments: placeholders and images of the content-id scheme.
std::u16string htmlWithoutAttachmentPlaces(const std::u16string& html) {
    auto document = HTMLDocument::documentWithString(html);
    for (const HTMLElementRef& element : document->querySelectorAll(u"[orw-mime-type]")) element->removeFromParent();
    for (const HTMLElementRef& image : document->querySelectorAll(u"img[src]")) {
        if (hasPrefixIgnoringCase(image->attribute(u"src").value_or(u""), FGWebViewContentIdSchemeKey)) {
            image->removeFromParent();
        }
    }
    HTMLElementRef root = document->documentElement();
    return root ? root->outerHTML() : html;
}

}  // namespace

int runEdit(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList,
                        {"index", "output", "subject", "header", "remove-header", "text", "html", "attach"},
                        {"for-amending", "new-content-id", "remove-attachments", "tree"});
    if (!arguments.ok()) return usageError("edit", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("edit", "expects exactly one FILE");
    if (arguments.positionals()[0] == "-" && arguments.value("text") == "-") {
        return usageError("edit", "FILE and --text cannot both be read from standard input");
    }
    std::vector<std::pair<std::string, std::u16string>> fields;
    for (const std::string& assignment : arguments.values("header")) {
        size_t equals = assignment.find('=');
        if (equals == std::string::npos)
            return usageError("edit", "--header takes NAME=VALUE, not \"" + assignment + "\"");
        fields.emplace_back(assignment.substr(0, equals), fromUTF8(assignment.substr(equals + 1)));
    }

    // Everything that can fail is read before the message is touched.
    std::string problem;
    OptString text, html;
    if (std::optional<std::string> path = arguments.value("text")) {
        if (!(text = readTextArgument(*path, &problem))) return inputError(problem);
    }
    if (std::optional<std::string> path = arguments.value("html")) {
        if (!(html = readTextArgument(*path, &problem))) return inputError(problem);
        html = composerHTMLFromMessageHTML(*html);
    }
    FGAttachmentList added;
    if (!readAttachmentArguments(arguments.values("attach"), &added)) return 1;

    PWMessageContentsRef contents = readMessageContents(arguments, "edit");
    if (!contents) return 1;
    auto message = FGBaseMutableMessage::initWithMessageContents(contents, arguments.flag("for-amending"),
                                                                 arguments.flag("new-content-id"));

    if (std::optional<std::string> subject = arguments.value("subject")) message->setSubject(fromUTF8(*subject));
    for (const auto& [name, value] : fields) {
        if (std::string fieldProblem = setHeaderField(*message->headers(), name, value); !fieldProblem.empty()) {
            return inputError(fieldProblem);
        }
        message->markMutatedHeaders();
    }
    for (const std::string& name : arguments.values("remove-header")) {
        if (message->headers()->removeHeaderForKey(fromUTF8(name))) message->markMutatedHeaders();
    }

    bool removeAttachments = arguments.flag("remove-attachments");
    if (text || html || !added.empty() || removeAttachments) {
        PWMimePartRef root = contents->rootMimePart();
        bool showsHTML = root && !root->htmlParts().empty();
        // The body is built again from a plain text and an HTML that belong together.
        OptString newText = text ? text : (html ? std::nullopt : plainTextOfTextParts(root));
        OptString newHTML = html ? html : (text || !showsHTML ? std::nullopt : message->html());
        FGAttachmentList attachments = removeAttachments ? FGAttachmentList() : message->attachments();
        if (removeAttachments && newHTML && !html) newHTML = htmlWithoutAttachmentPlaces(*newHTML);
        attachments.insert(attachments.end(), added.begin(), added.end());
        message->setPlainText(newText);
        message->setHtml(newHTML);
        message->setAttachments(attachments);
        message->markMutatedBody();
    }

    PWMessageContentsRef edited = message->messageContents();
    if (!edited) return inputError("the edited message is empty: it has no headers, text or attachment");
    return writeMessageResult(edited, arguments);
}

}  // namespace postwright::tool
