// HTMLSerializer: the WHATWG HTML fragment serialisation algorithm over the document model.
//
// Elements are written with their tag name and attributes in order, attribute values in double quotes;
// void elements (br, img, meta, ...) get no end tag and no children; a template writes its contents.
// Text is escaped ("&" "&amp;", U+00A0 "&nbsp;", "<" "&lt;", ">" "&gt;") except inside the raw-text
// elements style, script, xmp, iframe, noembed, noframes and plaintext, whose text is written as it is.
// Attribute values escape "&", U+00A0, "\"", "<" and ">" (the standard's attribute mode, which also
// escapes the angle brackets so no attribute can be read back as markup). Comments are "<!--data-->",
// a document type "<!DOCTYPE name>". Foreign (SVG, MathML) elements are written by local name like HTML
// elements, never self-closed.
//
// One choice beyond the current standard: a "pre", "textarea" or "listing" element whose text starts with
// a line feed gets one extra line feed after its start tag, because the parser drops the first line feed
// after those start tags; without it, parse and serialise would lose a line each round.
//
// The noscript element is serialised as ordinary markup: the parser reads it with scripting disabled.
//
//     std::u16string html = serializeHTMLChildren(*document->body());   // the body's inner HTML
#pragma once

#include <string>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class HTMLNode;

// The node's children, serialised (innerHTML). For a template element, its contents.
std::u16string serializeHTMLChildren(const HTMLNode& node);
// The node itself: an element with its tags, a text node escaped as its parent requires, a comment or
// document type in its markup form; a document or fragment gives its children (outerHTML).
std::u16string serializeHTMLNode(const HTMLNode& node);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
