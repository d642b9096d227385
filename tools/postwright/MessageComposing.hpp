// What the commands that write messages (compose, edit) share: header fields set the way a user means
// them, text files, the HTML's inline-resource URLs, and writing the result.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ToolSupport.hpp"
#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "postwright/Message/PWMessageContents.hpp"
#include "postwright/Mime/FGMessageAttachment.hpp"

namespace postwright::tool {

// Sets one header field. Address fields (From, Sender, To, Cc, Bcc, Reply-To) are read as address lists and
// written in their RFC 2822 form, so that a display name is encoded and the address stays readable;
// Subject goes through the subject setter (trimmed, encoded when needed); any other field is written as
// given (the header writer encodes it when it is not plain header text). An empty value removes the field.
// Returns what is wrong, or the empty text.
std::string setHeaderField(PWMutableMessageHeaders& headers, std::string_view name, std::u16string_view value);

// The text of a file, or of standard input for "-": UTF-8 (a leading byte-order mark dropped), else read
// by the library's charset detection. nullopt, with the reason in error, when it cannot be read.
std::optional<std::u16string> readTextArgument(const std::string& path, std::string* error);

// HTML as a user writes it, as the composer keeps it: attribute values that begin with "cid:" (RFC 2392
// references to a part by its content id) are written under the composer's content-id URL scheme, so that
// the attachments they name become the HTML's inline resources.
std::u16string composerHTMLFromMessageHTML(std::u16string_view html);

// The files of --attach, as attachments. On a file that cannot be attached, prints why and returns false.
bool readAttachmentArguments(const std::vector<std::string>& paths, FGAttachmentList* attachments);

// Writes the bytes to standard output, or to the file (through a temporary file beside it, renamed into
// place only once everything is written). Returns the exit status.
int writeMessageBytes(const Data& bytes, const std::optional<std::string>& outputPath);
// The commands' result: the message's bytes, or with --tree its MIME tree as `postwright tree` prints it,
// written as writeMessageBytes writes.
int writeMessageResult(const PWMessageContentsRef& contents, const Arguments& arguments);

// The MIME tree of message bytes as `postwright tree` prints it.
Json treeJsonOfMessageBytes(const Data& bytes);

}  // namespace postwright::tool
