// FGMessageAttachment: what a message being composed holds as an attachment.
//
// The editable message (FGBaseMutableMessage) keeps two lists of attachment objects: the files attached to
// the message, and the inline resources its HTML shows. Either kind of object answers the MIME part that
// goes into the message and, usually, the URL under which the composer's HTML refers to it. Two kinds exist:
// the attachments of a message that was opened for editing (PWMimeAttachment parts answer for themselves)
// and files a user adds (FGFileAttachment, in Message/).
//
//     for (const FGMessageAttachmentRef& attachment : message->attachments()) {
//         PWMimePartRef part = attachment->mimePart();            // what is written into the message
//         OptString url = attachment->resourceURL();              // "x-postwright-cid:..." in the HTML
//     }
#pragma once

#include <memory>
#include <vector>

#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWMimePart;

// An attachment object of a message being composed: the part it adds and its URL in the HTML.
class FGMessageAttachment {
public:
    virtual ~FGMessageAttachment() = default;

    // The part that stands for the attachment in a message; nullptr when there is nothing to attach.
    virtual std::shared_ptr<PWMimePart> mimePart() const = 0;
    // The URL under which the composer's HTML refers to the attachment (an <img src> of an inline image, the
    // "orw-src" of a placeholder); nullopt when it has none.
    virtual OptString resourceURL() const = 0;
};

using FGMessageAttachmentRef = std::shared_ptr<FGMessageAttachment>;
using FGAttachmentList = std::vector<FGMessageAttachmentRef>;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
