#include "postwright/Amendments/PrepareDeliveryReplacements.hpp"

namespace postwright {

const std::vector<FGContentReplacement>& prepareDeliveryReplacements() {
    using R = FGContentReplacement;
    static const auto* list = new std::vector<FGContentReplacement>{
        R::removeID(u"FGMessageContent"),
        R::removeID(u"ORWContent"),
        R::removeQuery(u"span#fg-replace-cursor-position"),
        // An element named "FGSignatureContainer" with the class "none-signature".
        R::removeQuery(u"FGSignatureContainer.none-signature"),
        R::replaceID(u"FGSignatureContainer", u"fg-sig-container"),
        R::removeQuery(u"div.floatingLock"),
        R::removeAttribute(u"class", u"br.fg-editing-enabler"),
        R::removeAttribute(u"class", u".fg-line-end-blank"),
        R::removeAttribute(u"class", u".fg-after-image-space"),
        R::removeAttribute(u"title", u"div#fg-sig-container"),
        R::removeAttribute(u"contenteditable"),
        R::removeAttribute(u"spellcheck"),
        R::removeAttribute(u"ondrop"),
        R::removeAttribute(u"ondragstart"),
        R::removeAttribute(u"orw-object-id"),
        R::removeAttribute(u"orw-style"),
        R::removeAttribute(u"orw-options"),
        R::removeAttribute(u"orw-orig-size"),
        R::removeAttribute(u"displayInlineThumbnailSize"),
        R::removeAttribute(u"displayInlineImageMaxSize"),
        R::removeAttribute(u"inlineAVAttachmentFormat"),
        R::removeAttribute(u"inlineFileAttachmentFormat"),
        R::removeClass(u"orwInlineAttachment"),
        R::removeClass(u"orwInlineAttachmentNone"),
        R::removeClass(u"orwInlineAttachmentFilename"),
        R::removeClass(u"orwInlineAttachmentImage"),
        R::removeClass(u"orwInlineAttachmentThumbnail"),
        R::removeClass(u"orwInlineAttachmentIcon"),
        R::removeClass(u"orwInlineAttachmentVideo"),
        R::removeClass(u"orwInlineAttachmentAudio"),
        R::removeClass(u"orwAttachmentSection"),
        R::removeClass(u"orwAttachmentAVSection"),
        R::removeClass(u"orwAttachmentItem"),
        R::removeClass(u"orwAttachmentIcon"),
        R::removeClass(u"orwAttachmentDownload"),
        R::removeClass(u"orwAttachmentSimple"),
        R::removeClass(u"orwAttachmentText"),
    };
    return *list;
}

}  // namespace postwright
