#include "postwright/Amendments/PWPrepareDeliveryAmendment.hpp"

#include "Amendments/detail/AmendmentDictionaries.hpp"
#include "postwright/Amendments/AmendmentError.hpp"
#include "postwright/Amendments/HTMLElementMessageCleanup.hpp"
#include "postwright/Amendments/PrepareDeliveryReplacements.hpp"
#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Html/HTMLDocument.hpp"

namespace postwright {

namespace {

// The composer's private headers, removed in this order.
constexpr std::u16string_view kComposerHeaders[] = {
    PWMessageHeaderContentIdOverrideKey, PWMessageHeaderComposerIdKey,          PWMessageHeaderSendingAccountKey,
    PWMessageHeaderSendAsPlainTextKey,   PWMessageHeaderMutablePersistentIDKey, PWMessageHeaderXUnsent};

bool isLineBreakCharacter(char16_t c) {
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

// A paragraph as the delivered HTML writes it: a div with the paragraph's attributes and children.
HTMLElementRef deliveredParagraph(const HTMLElement& paragraph, bool first) {
    HTMLElementRef copy = duplicateWithTagName(paragraph, u"div");
    copy->removeAttribute(u"class");
    if (first) copy->setAttribute(u"fg-note", u"");
    HTMLNodeRef firstChild = copy->firstChild();
    HTMLElementRef firstElement = firstChild ? firstChild->asElement() : nullptr;
    bool single = copy->childElementCount() == 1;
    if (single && firstElement && lowercase(firstElement->tagName()) == u"br") firstElement->removeAttribute(u"class");
    // An image alone, or an attachment placeholder alone, keeps its shape.
    bool keepsShape = single && firstElement &&
                      (lowercase(firstElement->tagName()) == u"img" ||
                       (lowercase(firstElement->tagName()) == u"span" && firstElement->hasAttribute(u"orw-id")));
    if (!keepsShape) {
        HTMLNodeRef last = copy->lastChild();
        HTMLElementRef lastElement = last ? last->asElement() : nullptr;
        if (lastElement && lowercase(lastElement->tagName()) != u"br") {
            copy->appendChild(HTMLElement::elementWithTagName(u"br"));
        }
    }
    return copy;
}

}  // namespace

const PWAmendmentClass& PWPrepareDeliveryAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWPrepareDeliveryAmendment", u"PrepareDelivery",
                                      &PWPrepareDeliveryAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWPrepareDeliveryAmendment> PWPrepareDeliveryAmendment::initWithXMailer(const OptString& xMailer) {
    std::shared_ptr<PWPrepareDeliveryAmendment> amendment(new PWPrepareDeliveryAmendment());
    if (xMailer) {
        std::u16string value = fgTrim(*xMailer);
        auto lineBreak = std::find_if(value.begin(), value.end(), isLineBreakCharacter);
        value.erase(lineBreak, value.end());
        if (!value.empty()) amendment->xMailerHeaderValue_ = value;
    }
    return amendment;
}

std::shared_ptr<PWMessageAmendment> PWPrepareDeliveryAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary& dictionary) {
    std::shared_ptr<PWPrepareDeliveryAmendment> amendment(new PWPrepareDeliveryAmendment());
    amendment->xMailerHeaderValue_ = detail::stringForKey(dictionary, "xmailer");
    return amendment;
}

const std::vector<FGContentReplacement>& PWPrepareDeliveryAmendment::replacements() {
    return prepareDeliveryReplacements();
}

PWAmendmentDictionary PWPrepareDeliveryAmendment::dictionaryRepresentation() const {
    PWAmendmentDictionary dictionary = baseDictionaryRepresentation();
    if (xMailerHeaderValue_) dictionary["xmailer"] = toUTF8(*xMailerHeaderValue_);
    return dictionary;
}

bool PWPrepareDeliveryAmendment::cleanUpHTML(FGBaseMutableMessage& message) const {
    OptString html = message.html();
    if (!html || html->empty()) return false;  // sent with the body it has
    auto document = HTMLDocument::documentWithString(*html);
    HTMLElementRef body = document->body();
    if (!body) return false;
    // The editor's private link scheme, replaced as text across tags and text alike.
    body->setInnerHTML(replaceAll(body->innerHTML(), u"orw-http", u"http"));
    bool first = true;
    for (const HTMLElementRef& paragraph : body->querySelectorAll(u"p")) {
        HTMLNodeRef parent = paragraph->parentNode();
        if (!parent) continue;
        parent->replaceChild(deliveredParagraph(*paragraph, first), paragraph);
        first = false;
    }
    FGContentReplacement::updateElementOrFragment(*body, replacements());
    message.setHtml(document->outerHTML());
    return true;
}

PWAmendmentResultRef PWPrepareDeliveryAmendment::resultByApplyingToMutableMessage(
    FGBaseMutableMessage& message, const PWMessageAmendmentContext& context, uint64_t, ErrorRef* error) {
    setSlot(error, nullptr);
    const OptString identifier = context.identifier();
    if (context.contextType() == kPWAmendmentContextDelivery) {
        OptString composerId = message.headers()->firstHeaderForKey(PWMessageHeaderComposerIdKey);
        if (!composerId)
            composerId = PWMessageHeaders::hashForCompoundedHeaderValueString(uuidString(), kASCIIStringEncoding);
        context.log(formatString(u"[Amendment %@] PrepareDelivery: removing composer headers", {identifier}));
        message.setDateSent(DateEnvironment::now());
        std::shared_ptr<PWMutableMessageHeaders> headers = message.headers();
        for (std::u16string_view key : kComposerHeaders) headers->removeHeaderForKey(key);

        OptString from = headers->firstHeaderForKey(PWMessageHeaderFromKey, false);
        OptString sender = headers->firstHeaderForKey(PWMessageHeaderSenderKey, false);
        if (sender && sender == from) headers->removeHeaderForKey(PWMessageHeaderSenderKey);
        if (xMailerHeaderValue_ && !xMailerHeaderValue_->empty()) {
            headers->setHeader(*xMailerHeaderValue_, PWMessageHeaderXMailerKey);
        }
        OptString domain;
        if (auto addresses = PWEmailAddress::emailAddressesFromHeaderValue(from); addresses && !addresses->empty()) {
            if (addresses->front()) domain = addresses->front()->domain();
        }
        std::u16string messageId = formatString(u"<%@@%@>", {composerId, domain});
        headers->setHeader(messageId, PWMessageHeaderMessageIdKey);
        context.log(formatString(u"[Amendment %@] PrepareDelivery: setting MessageId: %@", {identifier, messageId}));
        message.markMutatedHeaders();

        context.log(formatString(u"[Amendment %@] PrepareDelivery: cleaning up HTML", {identifier}));
        if (cleanUpHTML(message)) {
            context.log(formatString(u"[Amendment %@] PrepareDelivery: cleaned up HTML \U0001F3C1", {identifier}));
        }
    }
    if (messageIsWellFormed(message)) {
        context.log(formatString(u"[Amendment %@] PrepareDelivery:final message is well formed:", {identifier}));
    } else {
        context.log(
            formatString(u"[Amendment %@] \U0001F6D1 PrepareDelivery:final message is NOT well formed:", {identifier}));
        setSlot(error, preparedMessageMalformedError(description()));
    }
    return PWAmendmentResult::init();
}

}  // namespace postwright
