// Reading the message a command works on, through the library's message contents: FILE may be a
// message (.eml), an emlx file or an mbox file, of which --index N picks one; "-" reads standard input.
#pragma once

#include <string>

#include "ToolSupport.hpp"
#include "postwright/Message/PWMessageContents.hpp"

namespace postwright::tool {

// The contents of the message named by the command's first positional argument and its --index option
// (the message at N of an mbox file, 0 the first). On failure prints a message and returns nullptr.
PWMessageContentsRef readMessageContents(Arguments& arguments, const char* command);

// The MIME tree of the contents with the root named "0" and its descendants by position ("0/1/0"), so
// that the tool's part identifiers do not depend on the message's content identifier. The tree becomes
// the contents' own. On failure prints a message and returns nullptr.
PWMimePartRef positionalRootMimePart(const PWMessageContentsRef& contents);

// The help paragraph on FILE and --index shared by the commands that read one message.
extern const char* const kMessageFileHelp;

}  // namespace postwright::tool
