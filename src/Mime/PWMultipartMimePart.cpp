#include "postwright/Mime/PWMultipartMimePart.hpp"

#include <algorithm>

#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Mime/AttachmentKinds.hpp"
#include "postwright/Mime/MessageHeaderParts.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"

namespace postwright {

namespace {
// The related-attachments list of a fragment: each attachment once, in the order first met.
void addUnique(std::vector<PWMimePartRef>& list, const PWMimePartRef& part) {
    if (part && std::find(list.begin(), list.end(), part) == list.end()) list.push_back(part);
}

template <typename Query>
std::vector<PWMimePartRef> gather(const std::vector<PWMimePartRef>& children, Query query) {
    std::vector<PWMimePartRef> found;
    for (const PWMimePartRef& child : children) {
        std::vector<PWMimePartRef> more = query(*child);
        found.insert(found.end(), more.begin(), more.end());
    }
    return found;
}

template <typename Content>
OptString joinedContent(const std::vector<PWMimePartRef>& children, Content content) {
    std::u16string joined;
    bool any = false;
    for (const PWMimePartRef& child : children) {
        OptString text = content(*child);
        if (!text || text->empty()) continue;
        joined += *text;
        any = true;
    }
    if (!any) return std::nullopt;
    return fgTrim(joined);
}

// A container of only text parts (and no HTML) is shown as plain text.
bool showsAsPlainText(const PWMimePart& container) {
    size_t textCount = container.textParts().size();
    return textCount > 0 && container.htmlParts().empty() && container.subParts().size() >= textCount;
}
}  // namespace

// ---- Classes ------------------------------------------------------------------------------------------------

const PWMimeClass& PWMultipartMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWMultipartMimePart", &PWMimePart::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWMultipartMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWMultipartMixedMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWMultipartMixedMimePart", &PWMultipartMimePart::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWMultipartMixedMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWMultipartAlternativeMimePart::mimeClass() {
    static const PWMimeClass descriptor{
        u"PWMultipartAlternativeMimePart", &PWMultipartMimePart::mimeClass(),
        []() -> PWMimePartRef { return PWMimePartRef(new PWMultipartAlternativeMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWMultipartRelatedMimePart::mimeClass() {
    static const PWMimeClass descriptor{
        u"PWMultipartRelatedMimePart", &PWMultipartMimePart::mimeClass(),
        []() -> PWMimePartRef { return PWMimePartRef(new PWMultipartRelatedMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWMultipartReportMimePart::mimeClass() {
    static const PWMimeClass descriptor{
        u"PWMultipartReportMimePart", &PWMultipartMimePart::mimeClass(),
        []() -> PWMimePartRef { return PWMimePartRef(new PWMultipartReportMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWMultipartSignedMimePart::mimeClass() {
    static const PWMimeClass descriptor{
        u"PWMultipartSignedMimePart", &PWMultipartMixedMimePart::mimeClass(),
        []() -> PWMimePartRef { return PWMimePartRef(new PWMultipartSignedMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWMultipartEncryptedMimePart::mimeClass() {
    static const PWMimeClass descriptor{
        u"PWMultipartEncryptedMimePart", &PWMultipartMimePart::mimeClass(),
        []() -> PWMimePartRef { return PWMimePartRef(new PWMultipartEncryptedMimePart()); }};
    return descriptor;
}

// ---- Builders ---------------------------------------------------------------------------------------------

std::u16string PWMultipartMimePart::newBoundary() {
    return formatString(kMimeMultipartBoundaryFormatString, {uuidString()});
}

std::shared_ptr<PWMultipartMimePart> PWMultipartMimePart::initMutableWithSubtype(std::u16string_view subtype,
                                                                                 const OptString& boundary) {
    const PWMimeClass* cls = classForMimeType(u"multipart/" + std::u16string(subtype));
    if (!cls || !cls->isSubclassOf(mimeClass())) cls = &mimeClass();
    auto part = std::static_pointer_cast<PWMultipartMimePart>(initMutable(*cls));
    part->setType(std::u16string(kMimeTypeMultipart));
    part->setSubtype(std::u16string(subtype));
    part->setBoundary(boundary ? *boundary : newBoundary());
    part->setSubParts({});
    return part;
}

void PWMultipartMimePart::addPart(const PWMimePartRef& part, bool) {
    if (!isMutable()) {
        logMessage(u"Cannot Mutate Multipart part");
        return;
    }
    if (!part) return;
    std::vector<PWMimePartRef> children = subParts();
    if (std::find(children.begin(), children.end(), part) != children.end()) return;
    children.push_back(part);
    setSubParts(children);
}

std::shared_ptr<PWMultipartAlternativeMimePart> PWMultipartAlternativeMimePart::initMutableWithPlainPart(
    const PWMimePartRef& plainPart, const PWMimePartRef& htmlPart) {
    auto part = std::static_pointer_cast<PWMultipartAlternativeMimePart>(
        initMutableWithSubtype(kMimeMultipartSubtypeAlternative));
    part->addPart(plainPart);
    part->addPart(htmlPart);
    part->setCharset(std::u16string(kMimeContentEncodingUSASCII));
    return part;
}

std::shared_ptr<PWMultipartRelatedMimePart> PWMultipartRelatedMimePart::initMutableWithHtmlPart(
    const PWMimePartRef& htmlPart, const std::vector<PWMimePartRef>& relatedParts) {
    auto part =
        std::static_pointer_cast<PWMultipartRelatedMimePart>(initMutableWithSubtype(kMimeMultipartSubtypeRelated));
    part->addPart(htmlPart);
    for (const PWMimePartRef& related : relatedParts) part->addPart(related);
    ParameterDictionary current = part->contentType();
    ParameterDictionary reduced;
    for (std::u16string_view key : {kContentTypeKeyType, kContentTypeKeySubtype, kContentTypeKeyFullType}) {
        if (const ParameterValue* value = current.get(key)) reduced.set(std::u16string(key), *value);
    }
    reduced.set(std::u16string(kContentTypeKeyFullType),
                formatString(u"%@/%@", {current.text(kContentTypeKeyType), current.text(kContentTypeKeySubtype)}));
    if (const ParameterValue* boundary = current.get(kContentTypeKeyBoundary)) reduced.set(u"boundary", *boundary);
    part->setContentType(reduced);
    return part;
}

std::shared_ptr<PWMultipartSignedMimePart> PWMultipartSignedMimePart::initMutableWithSignedData(
    const Data& signedData, std::u16string_view armoredSignature) {
    PWMimePartRef signedPart = newMimePartWithRFC2822Data(signedData, u"0");
    if (!signedPart) return nullptr;
    auto part = std::static_pointer_cast<PWMultipartSignedMimePart>(initMutableWithSubtype(u"signed"));
    ParameterDictionary contentType = part->contentType();
    contentType.set(u"protocol", u"application/pgp-signature");
    contentType.set(u"micalg", u"pgp-sha512");
    part->setContentType(contentType);

    auto signature = initMutableOf<PWPGPSignedMimePart>();
    signature->setContentType(ParameterDictionary{{u"@type", u"application"},
                                                  {u"@subtype", u"pgp-signature"},
                                                  {u"@fulltype", u"application/pgp-signature"},
                                                  {u"name", u"signature.asc"}});
    signature->setContentTransferEncoding(std::u16string(kMimeTransferEncoding7Bit));
    signature->setContentDisposition(ParameterDictionary{{u"@type", u"attachment"}, {u"filename", u"signature.asc"}});
    signature->setContentData(Data::adopting(toUTF8(armoredSignature)));
    part->setSubParts({signedPart, signature});
    return part;
}

// ---- Queries ----------------------------------------------------------------------------------------------

std::vector<PWMimePartRef> PWMultipartMimePart::attachments() const {
    // The text children of an alternative container are its bodies, not attachments.
    bool alternative = subtype() == kMimeMultipartSubtypeAlternative;
    std::vector<PWMimePartRef> found;
    for (const PWMimePartRef& child : subParts()) {
        if (alternative && child->type() == u"text") {
            OptString sub = child->subtype();
            if (sub == u"plain" || sub == u"html") continue;
        }
        std::vector<PWMimePartRef> more = child->attachments();
        found.insert(found.end(), more.begin(), more.end());
    }
    return found;
}

std::vector<PWMimePartRef> PWMultipartMimePart::textParts() const {
    return gather(subParts(), [](const PWMimePart& child) { return child.textParts(); });
}

std::vector<PWMimePartRef> PWMultipartMimePart::htmlParts() const {
    return gather(subParts(), [](const PWMimePart& child) { return child.htmlParts(); });
}

std::vector<PWMimePartRef> PWMultipartMimePart::digitallySignedParts() const {
    return gather(subParts(), [](const PWMimePart& child) { return child.digitallySignedParts(); });
}

bool PWMultipartMimePart::isApplePartialContentData() const {
    for (const PWMimePartRef& child : subParts()) {
        if (child->isApplePartialContentData()) return true;
    }
    return false;
}

size_t PWMultipartMimePart::decodedContentSize() const {
    size_t total = headerSize();
    for (const PWMimePartRef& child : subParts()) total += child->decodedContentSize();
    return total;
}

OptString PWMultipartMimePart::htmlContent() const {
    return joinedContent(subParts(), [](const PWMimePart& child) { return child.htmlContent(); });
}

OptString PWMultipartMimePart::plainContent() const {
    return joinedContent(subParts(), [](const PWMimePart& child) { return child.plainContent(); });
}

PWMimePartRef PWMultipartMimePart::copyWithChildren(
    const std::function<PWMimePartRef(const PWMimePart&)>& rebuild) const {
    PWMimePartRef copy = mutableCopy();
    if (!copy) return nullptr;
    std::vector<PWMimePartRef> children;
    for (const PWMimePartRef& child : subParts()) {
        if (PWMimePartRef rebuilt = rebuild(*child)) children.push_back(std::move(rebuilt));
    }
    copy->setSubParts(children);
    return copy;
}

PWMimePartRef PWMultipartMimePart::mimePartByRemovingAttachments() const {
    return copyWithChildren([](const PWMimePart& child) { return child.mimePartByRemovingAttachments(); });
}

PWMimePartRef PWMultipartMimePart::mimePartByReplacingMimeAttachments(
    const std::vector<PWMimePartRef>& attachments) const {
    return copyWithChildren(
        [&](const PWMimePart& child) { return child.mimePartByReplacingMimeAttachments(attachments); });
}

bool PWMultipartMixedMimePart::shouldDisplayAsPlainText() const { return showsAsPlainText(*this); }

PWMimePartRef PWMultipartAlternativeMimePart::mimePartWithContext(int context) const {
    if (context == kMimeDisplayContextPlainText) {
        std::vector<PWMimePartRef> texts = textParts();
        return texts.empty() ? nullptr : texts.front();
    }
    for (const PWMimePartRef& child : subParts()) {
        if (child->type() == kMimeTypeMultipart || child->MIMEtype() == u"text/html") return child;
    }
    return nullptr;
}

bool PWMultipartAlternativeMimePart::shouldDisplayAsPlainText() const {
    PWMimePartRef chosen = mimePartWithContext(0);
    return chosen && chosen->shouldDisplayAsPlainText();
}

bool PWMultipartSignedMimePart::digitallySigned() const {
    return MIMEtype() == u"multipart/signed" &&
           equalsIgnoringCase(contentType().text(u"protocol").value_or(u""), u"application/pgp-signature");
}

std::vector<PWMimePartRef> PWMultipartSignedMimePart::digitallySignedParts() const {
    if (digitallySigned()) return {std::const_pointer_cast<PWMimePart>(shared_from_this())};
    return PWMultipartMimePart::digitallySignedParts();
}

PWMimePartRef PWMultipartSignedMimePart::signaturePart() const {
    for (const PWMimePartRef& child : subParts()) {
        if (child->isKindOfClass(PWPGPSignedMimePart::mimeClass())) return child;
    }
    return nullptr;
}

// ---- Fragments --------------------------------------------------------------------------------------------

std::u16string PWMultipartMimePart::htmlFragmentForContext(int context, unsigned options,
                                                           std::vector<PWMimePartRef>* relatedAttachments) const {
    return mixedFragment(context, options, relatedAttachments, false);
}

std::u16string PWMultipartReportMimePart::htmlFragmentForContext(int context, unsigned options,
                                                                 std::vector<PWMimePartRef>* relatedAttachments) const {
    return mixedFragment(context, options, relatedAttachments, true);
}

std::u16string PWMultipartMimePart::mixedFragment(int context, unsigned options,
                                                  std::vector<PWMimePartRef>* relatedAttachments, bool report) const {
    std::vector<PWMimePartRef> related = relatedAttachments ? *relatedAttachments : std::vector<PWMimePartRef>();
    if (context != kMimeDisplayContextPlainText && showsAsPlainText(*this)) context = kMimeDisplayContextPlainText;

    auto isShown = [report](const PWMimePart& child) {
        if (report) {
            for (const PWMimeClass* cls : {&PWTextHtmlMimePart::mimeClass(), &PWMultipartMimePart::mimeClass(),
                                           &PWTextMimePart::mimeClass(), &PWMessageDeliveryStatusMimePart::mimeClass(),
                                           &PWMessageGlobalHeadersMimePart::mimeClass()}) {
                if (child.isMemberOfClass(*cls)) return true;
            }
            return false;
        }
        return child.isKindOfClass(PWTextHtmlMimePart::mimeClass()) ||
               child.isKindOfClass(PWMultipartMimePart::mimeClass()) ||
               child.isKindOfClass(PWTextMimePart::mimeClass()) || child.isKindOfClass(PWTextAnyAttachment::mimeClass());
    };

    // Children after the last one shown are only listed. With no child to show, nothing is cut off.
    std::vector<PWMimePartRef> children = subParts();
    std::optional<size_t> lastShown;
    size_t lastExchange = 0;
    for (size_t index = 0; index < children.size(); ++index) {
        if (isShown(*children[index])) lastShown = index;
        if (children[index]->isExchangeHTMLAfterPart()) lastExchange = index;
    }
    const size_t cutOff = lastShown ? std::max(*lastShown, lastExchange) : children.size();

    std::u16string fragments;
    for (size_t index = 0; index < children.size(); ++index) {
        const PWMimePartRef& child = children[index];
        unsigned childOptions = options;
        if (report && child->isKindOfClass(PWMessageRFC822MimePart::mimeClass())) {
            addUnique(related, child);
            auto message = std::static_pointer_cast<PWMimeAttachment>(child);
            // The made-up name of an attachment without one does not count as a name.
            OptString name = message->attachmentFilename();
            if (!name || name->empty() || *name == message->unknownFileName()) {
                message->setAlternativeTitle(
                    formatString(u"%@.eml", {localizedString(u"ATTS: ORIGINAL MESSAGE", u"")}));
            }
        } else if (child->isKindOfClass(PWMimeAttachment::mimeClass()) && !child->isExchangeHTMLAfterPart()) {
            addUnique(related, child);
            childOptions |= kMimeFragmentOptionInlineAttachment;
        }
        if (index > cutOff) continue;
        std::vector<PWMimePartRef> reported;
        std::u16string fragment = child->htmlFragmentForContext(context, childOptions, &reported);
        for (const PWMimePartRef& part : reported) addUnique(related, part);
        if (report && child->isMemberOfClass(PWMessageDeliveryStatusMimePart::mimeClass())) {
            fragments.insert(0, fragment);
        } else {
            fragments += fragment;
        }
    }
    setSlot(relatedAttachments, std::move(related));
    return fgTrim(fragments);
}

std::u16string PWMultipartRelatedMimePart::htmlFragmentForContext(int context, unsigned options,
                                                                  std::vector<PWMimePartRef>* relatedAttachments) const {
    std::vector<PWMimePartRef> related = relatedAttachments ? *relatedAttachments : std::vector<PWMimePartRef>();
    std::u16string fragments;
    for (const PWMimePartRef& child : subParts()) {
        // The HTML refers to its attachments by content id: they are listed, not rendered.
        if (child->isKindOfClass(PWMimeAttachment::mimeClass())) {
            addUnique(related, child);
            continue;
        }
        std::vector<PWMimePartRef> reported;
        fragments += child->htmlFragmentForContext(context, options, &reported);
        for (const PWMimePartRef& part : reported) addUnique(related, part);
    }
    setSlot(relatedAttachments, std::move(related));
    return fgTrim(fragments);
}

std::u16string PWMultipartAlternativeMimePart::htmlFragmentForContext(
    int context, unsigned options, std::vector<PWMimePartRef>* relatedAttachments) const {
    PWMimePartRef chosen = mimePartWithContext(context);
    if (!chosen) {
        chosen = mimePartWithContext(kMimeDisplayContextPlainText);
        context = kMimeDisplayContextPlainText;
    }
    if (!chosen) return {};
    return fgTrim(chosen->htmlFragmentForContext(context, options, relatedAttachments));
}

}  // namespace postwright
