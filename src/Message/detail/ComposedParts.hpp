// Parts as the message builders put them into the trees they make.
#pragma once

#include <memory>
#include <string_view>

#include "postwright/Mime/PWMimePart.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"

namespace postwright::detail {

// The part itself when it belongs to no tree and was made by the program (a new attachment's part);
// otherwise a copy parsed from its bytes, so that the tree it came from keeps its child. The copy's line
// ends are CR LF (a part stored with bare LF would otherwise mix line ends in the new message), unless its
// transfer encoding is "binary", whose bytes are never touched.
PWMimePartRef partForNewTree(const PWMimePartRef& part);
// The same as a mutable copy, always a copy.
PWMimePartRef mutableCopyForNewTree(const PWMimePartRef& part);

// A new text/html part (UTF-8, quoted-printable) of the composer's HTML, with the composer's content-id URLs
// ("x-postwright-cid:ID", any case) written as the message's own RFC 2392 URLs ("cid:ID"): the percent-encoding
// of both is the same, so only the scheme changes.
std::shared_ptr<PWTextHtmlMimePart> htmlPartWithComposerHTML(std::u16string_view html);

}  // namespace postwright::detail
