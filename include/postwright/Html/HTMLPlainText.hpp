// The plain text of HTML: what a composed message's text/plain alternative says when its author wrote only
// HTML.
//
// The text follows what a reader of the rendered HTML sees, line by line: white space in ordinary text
// collapses to one space, "pre" keeps its text as written, "br" breaks the line, block elements (div, p,
// headings, list items, table rows, blockquote, ...) start and end lines, paragraphs and headings stand
// apart by one blank line, list items begin with "* " (or "1. ", "2. ", ... in an ordered list) indented
// two spaces per level of nesting, table cells are separated by a tab, and a link whose text differs from
// its web or mail address is followed by the address in angle brackets. Nothing of head, script, style,
// template, noscript or title elements shows, nor images. Lines lose their trailing blanks, runs of blank
// lines shrink to one, and the whole is trimmed.
//
//     auto document = HTMLDocument::documentWithString(u"<p>Hello <b>there</b></p><ul><li>one<li>two</ul>");
//     plainTextOfNode(*document->body());     // u"Hello there\n\n* one\n* two"
//
// The walk carries its own stack: any depth is safe.
#pragma once

#include <string>

#include "postwright/Export.hpp"
#include "postwright/Html/HTMLNode.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The plain text of the node's descendants (a text node gives its own text, collapsed).
std::u16string plainTextOfNode(const HTMLNode& node);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
