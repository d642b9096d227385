// HTMLParser: HTML5 parsing of documents and fragments into the library's document model.
//
// Parsing follows the WHATWG tokenizer and tree construction (through gumbo). The text is handed over as
// UTF-8; unpaired surrogates become U+FFFD. Three limits keep hostile input cheap:
//
// - kHTMLMaxNestingDepth. Before the text reaches the tree builder, a scan that follows the tree
//   builder's main rules (implied end tags, formatting elements that reopen, tables, foreign content)
//   estimates how deep each start tag would land. A non-void start tag that would land deeper than the
//   limit is cut from the text together with its end tag; the text inside it stays where it was.
//   Raw-text elements (script, style, textarea, title, ...) are never cut. Browsers flatten at a
//   similar depth.
// - kHTMLMaxReopenedFormattingElements, plus one per 16 bytes of input. The tree builder reopens (copies)
//   formatting elements that an enclosing element closed before each run of text, which hostile input can
//   repeat until the tree grows with the square of the text. Past this many reopened elements in one
//   parse, such a formatting element gets an end tag inserted where it was closed, and stays closed.
// - kHTMLMaxParseErrors. Parse errors past this count are not recorded.
//
// The document counts the tags these limits cut or inserted (HTMLDocument::repairedTagCount); ordinary
// mail gives 0. Positions of parse errors then refer to the repaired text.
//
// Parse errors carry their WHATWG code names ("unexpected-character-in-attribute-name",
// "unexpected-solidus-in-tag"). Tree-construction errors, which the standard does not name, get the names
// "unexpected-start-tag", "unexpected-end-tag", "unexpected-character", "unexpected-comment",
// "unexpected-doctype", "unexpected-eof" and "non-void-html-element-start-tag-with-trailing-solidus".
//
//     auto document = parseHTMLDocument(u"<p>a<b>b</p>");
//     for (const HTMLParseError& error : document->parseErrors()) log(error.code);
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class HTMLDocument;
class HTMLDocumentFragment;
class HTMLElement;

inline constexpr size_t kHTMLMaxNestingDepth = 512;
inline constexpr size_t kHTMLMaxReopenedFormattingElements = 10000;
inline constexpr size_t kHTMLMaxParseErrors = 1000;

// One parse error the HTML parser reported, under its WHATWG code name.
struct HTMLParseError {
    std::u16string code;  // the WHATWG error code, e.g. "unexpected-solidus-in-tag"
    unsigned line = 0;    // 1-based line of the input
    unsigned column = 0;  // 1-based column, in characters
    bool operator==(const HTMLParseError&) const = default;
};

// Parses a whole document. Never fails: any text gives a document with html, head and body elements.
std::shared_ptr<HTMLDocument> parseHTMLDocument(std::u16string_view html);

// Parses html as the contents of an element named contextTag in the given namespace (the WHATWG fragment
// parsing algorithm) and returns the nodes in a new fragment. A context the parser does not know behaves
// as a "div". errors, when given, receives the parse errors (cleared on entry); repairedTagCount, when
// given, the number of tags the limits cut or inserted.
std::shared_ptr<HTMLDocumentFragment> parseHTMLFragment(std::u16string_view html, const HTMLElement& context,
                                                        std::vector<HTMLParseError>* errors = nullptr,
                                                        size_t* repairedTagCount = nullptr);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
