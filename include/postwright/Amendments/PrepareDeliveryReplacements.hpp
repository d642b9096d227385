// The clean-up list of the prepare-delivery step: the content replacements that strip everything only the
// composer needed (editing attributes, cursor markers, signature and attachment decorations) from the HTML
// body of a message before it is sent. The delivery amendment uses it as its replacements.
//
//     FGContentReplacement::updateElementOrFragment(*document->body(), prepareDeliveryReplacements());
//
// The order matters: the signature container's id is renamed before a later rule addresses the new id, and
// class removal works on the class text, so removing "orwInlineAttachment" first also strips that prefix
// from the longer class names of the same element ("orwInlineAttachment orwInlineAttachmentImage" ends as
// "Image").
#pragma once

#include <vector>

#include "postwright/Amendments/FGContentReplacement.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The 37 rules, built once on first use and then shared (safe to call from any thread).
const std::vector<FGContentReplacement>& prepareDeliveryReplacements();

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
