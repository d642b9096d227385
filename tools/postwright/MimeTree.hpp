// Shared pieces of the MIME commands (tree, text, render, extract, roundtrip, and inspect later): reading
// a message file of any kind into its MIME tree, and a part as JSON.
#pragma once

#include <optional>
#include <string>

#include "ToolSupport.hpp"
#include "postwright/Mime/PWMimePart.hpp"

namespace postwright::tool {

// The message bytes of a file's contents: the first message of an mbox file (a file that begins with a
// "From " line), the counted bytes of an emlx file (a first line of digits only), else the bytes as they
// are. nullopt when an mbox or emlx file holds no message.
std::optional<Data> messageBytesOfFile(const Data& file);

// Reads FILE ("-": standard input) and parses the message into its root part (identifier "0"). On failure
// prints a message and returns nullptr.
PWMimePartRef readRootMimePart(const std::string& path);

// A part and its children as JSON: identifier, class, type, subtype, charset, contentTransferEncoding,
// contentType (the info dictionary as `postwright parse content-type` prints it), contentDisposition (the
// info dictionary or null), filename, contentId, headerSize, size (raw bytes), decodedSize, children.
Json jsonMimePart(const PWMimePart& part);

// The help paragraph on FILE shared by the MIME commands.
extern const char* const kMimeFileHelp;

}  // namespace postwright::tool
