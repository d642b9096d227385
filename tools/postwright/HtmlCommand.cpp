// postwright html ACTION [...]: the HTML document model on a file (normalize, select, clean).
#include <cstdio>

#include "Commands.hpp"
#include "ToolSupport.hpp"
#include "postwright/Amendments/FGContentReplacement.hpp"
#include "postwright/Amendments/PrepareDeliveryReplacements.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Html/CSSSelector.hpp"
#include "postwright/Html/HTMLDocument.hpp"

namespace postwright::tool {

namespace {

// The file's text: UTF-8 when the bytes are valid UTF-8, else the detected encoding.
std::optional<std::u16string> readHTML(const std::string& path) {
    std::optional<Data> data = readInput(path);
    if (!data) return std::nullopt;
    if (auto text = stringFromData(*data, kUTF8StringEncoding)) return text;
    TextEncoding used = kNoEncoding;
    return newByDecodingData(*data, &used);
}

void printLine(std::u16string_view text) {
    std::string line = toUTF8(text);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
}

}  // namespace

std::string htmlHelp() {
    return "Usage: postwright html normalize [FILE|-]\n"
           "       postwright html select SELECTOR [FILE|-]\n"
           "       postwright html clean [FILE|-]\n"
           "\n"
           "Parses FILE as an HTML document with the library's HTML5 parser and prints HTML (not\n"
           "JSON). FILE is read as UTF-8, or in the encoding detected when it is not valid UTF-8;\n"
           "without FILE, or with \"-\", standard input is read.\n"
           "\n"
           "Actions:\n"
           "  normalize   the document element's outer HTML: what the parser made of the text,\n"
           "              serialised (implied html, head and body elements, closed tags, quoted\n"
           "              attributes, escaped text)\n"
           "  select      the outer HTML of every element under the document that matches the CSS\n"
           "              SELECTOR, one per line, in document order. Supported: type, *, #id,\n"
           "              .class, [attr], [attr=v], [attr~=v], [attr|=v], [attr^=v], [attr$=v],\n"
           "              [attr*=v], compound selectors, descendant and child (>) combinators and\n"
           "              selector lists (,). An invalid selector is a usage error.\n"
           "  clean       applies the delivery clean-up list (editor-only ids, attributes, classes\n"
           "              and elements of the composer) to the body and prints the body's inner HTML\n"
           "\n"
           "Examples:\n"
           "  echo '<p class=a>One<p>Two' | postwright html normalize\n"
           "  postwright html select 'a[href^=\"https:\"]' message.html\n"
           "  echo '<div contenteditable=true id=FGMessageContent>Hi</div>' | postwright html clean -\n";
}

int runHtml(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {}, {});
    if (!arguments.ok()) return usageError("html", arguments.error());
    const auto& positionals = arguments.positionals();
    if (positionals.empty()) return usageError("html", "expects an action: normalize, select or clean");
    const std::string& action = positionals[0];
    size_t fileIndex = action == "select" ? 2 : 1;
    if (action != "normalize" && action != "select" && action != "clean") {
        return usageError("html", "unknown action \"" + action + "\"");
    }
    if (action == "select" && positionals.size() < 2) return usageError("html", "select expects a SELECTOR");
    if (positionals.size() > fileIndex + 1) return usageError("html", "expects at most one FILE");

    std::shared_ptr<const CSSSelector> selector;
    if (action == "select") {
        ErrorRef error;
        selector = CSSSelector::selectorWithString(fromUTF8(positionals[1]), &error);
        if (!selector) {
            return usageError("html", "invalid selector: " + toUTF8(error->debugDescription.value_or(u"")));
        }
    }
    std::optional<std::u16string> html = readHTML(positionals.size() > fileIndex ? positionals[fileIndex] : "-");
    if (!html) return 1;
    auto document = HTMLDocument::documentWithString(*html);

    if (action == "normalize") {
        if (HTMLElementRef root = document->documentElement()) printLine(root->outerHTML());
    } else if (action == "select") {
        for (const HTMLElementRef& element : document->elementsMatchingSelector(*selector)) {
            printLine(element->outerHTML());
        }
    } else if (HTMLElementRef body = document->body()) {
        FGContentReplacement::updateElementOrFragment(*body, prepareDeliveryReplacements());
        printLine(body->innerHTML());
    }
    return 0;
}

}  // namespace postwright::tool
