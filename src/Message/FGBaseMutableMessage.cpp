#include "postwright/Message/FGBaseMutableMessage.hpp"

#include <atomic>

#include "Message/detail/ComposedParts.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Html/HTMLPlainText.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Mime/MimeConstants.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"
#include "postwright/Mime/PWTextMimePart.hpp"

namespace postwright {

namespace {
constexpr int64_t kBodyMutations = kFGMessageMutatedPlainText | kFGMessageMutatedHTML | kFGMessageMutatedBody;

// The text of the message's text parts, as an opened message starts editing it.
OptString joinedTextOfTextParts(const PWMimePartRef& root) {
    if (!root) return std::nullopt;
    std::vector<std::u16string> texts;
    for (const PWMimePartRef& part : root->mimePartsPassingTest(
             [](const PWMimePart& candidate) { return candidate.isKindOfClass(PWTextMimePart::mimeClass()); })) {
        if (OptString text = part->plainContent()) texts.push_back(fgTrim(*text));
    }
    return componentsJoinedBy(texts, u"\r\n");
}

FGAttachmentList attachmentObjectsOf(const std::vector<PWMimePartRef>& parts) {
    FGAttachmentList attachments;
    for (const PWMimePartRef& part : parts) {
        if (auto attachment = std::dynamic_pointer_cast<FGMessageAttachment>(part)) attachments.push_back(attachment);
    }
    return attachments;
}
}  // namespace

// ---- Creation -----------------------------------------------------------------------------------------------

std::shared_ptr<FGBaseMutableMessage> FGBaseMutableMessage::init() {
    std::shared_ptr<FGBaseMutableMessage> message(new FGBaseMutableMessage());
    auto headers = PWMutableMessageHeaders::init();
    headers->setHeader(makeNewContentID(), PWMessageHeaderComposerIdKey);
    message->replaceHeaders(headers);
    return message;
}

std::shared_ptr<FGBaseMutableMessage> FGBaseMutableMessage::initWithMessageContents(
    const PWMessageContentsRef& contents, bool forAmending, bool createNewContentId) {
    std::shared_ptr<FGBaseMutableMessage> message(new FGBaseMutableMessage());
    message->openContents(contents, forAmending, createNewContentId);
    return message;
}

std::shared_ptr<FGBaseMutableMessage> FGBaseMutableMessage::newMessageOfSameClass() const {
    return std::shared_ptr<FGBaseMutableMessage>(new FGBaseMutableMessage());
}

void FGBaseMutableMessage::openContents(const PWMessageContentsRef& contents, bool forAmending,
                                        bool createNewContentId) {
    PWMessageHeadersRef sourceHeaders = contents ? contents->headers() : nullptr;
    std::shared_ptr<PWMutableMessageHeaders> headers =
        sourceHeaders ? sourceHeaders->mutableCopy() : PWMutableMessageHeaders::init();
    int64_t flags = 0;
    if (createNewContentId && !forAmending) {
        headers->setHeader(makeNewContentID(), PWMessageHeaderComposerIdKey);
        OptString domain;
        if (auto from = headers->from(); from && !from->empty() && from->front()) domain = from->front()->domain();
        if (!domain || domain->empty()) domain = uuidString();
        std::u16string messageId =
            formatString(u"<%@#%@@%@>", {headers->contentIdentifier(), uuidString().substr(0, 8), domain});
        headers->setHeader(messageId, PWMessageHeaderMessageIdKey);
        flags = kFGMessageMutatedHeaders;
    }
    {
        std::lock_guard lock(mutex_);
        mutationFlags_ = flags;
        sourceContents_ = contents;
        bool fromSource = contents != nullptr;
        htmlLoaded_ = plainTextLoaded_ = attachmentsLoaded_ = !fromSource;
    }
    replaceHeaders(headers);
}

std::shared_ptr<FGBaseMutableMessage> FGBaseMutableMessage::newWithHeaders(const PWMessageHeadersRef& headers,
                                                                           const OptString& plainTextBody,
                                                                           const OptString& htmlBody,
                                                                           const FGAttachmentList& attachments,
                                                                           uint64_t options) {
    std::shared_ptr<FGBaseMutableMessage> message(new FGBaseMutableMessage());
    message->creationFlags_ = options;
    std::shared_ptr<PWMutableMessageHeaders> copy = headers ? headers->mutableCopy() : PWMutableMessageHeaders::init();
    if (options & kFGMessageCreationNoComposerId) {
        copy->removeHeaderForKey(PWMessageHeaderComposerIdKey);
    } else {
        copy->setHeader(copy->contentIdentifier(), PWMessageHeaderComposerIdKey);
    }
    message->replaceHeaders(copy);
    message->setPlainText(plainTextBody);
    message->setHtml(htmlBody);
    message->setAttachments(attachments);
    return message;
}

std::u16string FGBaseMutableMessage::makeNewContentID() {
    std::u16string uuid = uuidString();
    return PWMessageHeaders::hashForCompoundedHeaderValueString(uuid, kASCIIStringEncoding).value_or(uuid);
}

std::shared_ptr<FGBaseMutableMessage> FGBaseMutableMessage::mutableCopy() const {
    PWMessageContentsRef contents = const_cast<FGBaseMutableMessage*>(this)->messageContents();
    std::shared_ptr<FGBaseMutableMessage> copy = newMessageOfSameClass();
    copy->openContents(contents, false, false);
    return copy;
}

// ---- Headers --------------------------------------------------------------------------------------------------

std::shared_ptr<PWMutableMessageHeaders> FGBaseMutableMessage::headers() const {
    std::lock_guard lock(mutex_);
    return headers_;
}

void FGBaseMutableMessage::replaceHeaders(const std::shared_ptr<PWMutableMessageHeaders>& headers) {
    // The observer holds only the flag, never the message: the collection may outlive the message (it is
    // also the generated contents' root headers).
    auto edited = std::make_shared<std::atomic<bool>>(false);
    size_t token = headers->addObserver([edited](bool prior) {
        if (!prior) edited->store(true);
    });
    std::shared_ptr<PWMutableMessageHeaders> previous;
    size_t previousToken;
    {
        std::lock_guard lock(mutex_);
        previous = std::exchange(headers_, headers);
        previousToken = std::exchange(headersObserverToken_, token);
        headersEdited_ = edited;
    }
    if (previous) previous->removeObserver(previousToken);
}

template <typename Setter>
void FGBaseMutableMessage::writeHeaders(Setter setter) {
    setter(*headers());
    markMutatedHeaders();
}

OptString FGBaseMutableMessage::subject() const {
    return headers()->subject();
}
void FGBaseMutableMessage::setSubject(const OptString& subject) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setSubject(subject); });
}

OptString FGBaseMutableMessage::headerID() const {
    return headers()->headerID();
}
void FGBaseMutableMessage::setHeaderID(const OptString& identifier) {
    writeHeaders([&](PWMutableMessageHeaders& headers) {
        if (identifier) {
            headers.setHeaderID(*identifier);
        } else {
            headers.removeHeaderForKey(PWMessageHeaderMessageIdKey);
        }
    });
}

std::optional<PWEmailAddressList> FGBaseMutableMessage::sender() const {
    return headers()->sender();
}
void FGBaseMutableMessage::setSender(const PWEmailAddressList& addresses) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setSender(addresses); });
}

std::optional<PWEmailAddressList> FGBaseMutableMessage::from() const {
    return headers()->from();
}
void FGBaseMutableMessage::setFrom(const PWEmailAddressList& addresses) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setFrom(addresses); });
}

std::optional<PWEmailAddressGroupList> FGBaseMutableMessage::recipients() const {
    return headers()->recipients();
}
void FGBaseMutableMessage::setRecipients(const PWEmailAddressGroupList& groups) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setRecipients(groups); });
}
void FGBaseMutableMessage::setRecipients(const PWEmailAddressList& addresses) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setRecipients(addresses); });
}

std::optional<PWEmailAddressGroupList> FGBaseMutableMessage::ccRecipients() const {
    return headers()->ccRecipients();
}
void FGBaseMutableMessage::setCcRecipients(const PWEmailAddressGroupList& groups) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setCcRecipients(groups); });
}
void FGBaseMutableMessage::setCcRecipients(const PWEmailAddressList& addresses) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setCcRecipients(addresses); });
}

std::optional<PWEmailAddressGroupList> FGBaseMutableMessage::bccRecipients() const {
    return headers()->bccRecipients();
}
void FGBaseMutableMessage::setBccRecipients(const PWEmailAddressGroupList& groups) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setBccRecipients(groups); });
}
void FGBaseMutableMessage::setBccRecipients(const PWEmailAddressList& addresses) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setBccRecipients(addresses); });
}

std::optional<PWEmailAddressGroupList> FGBaseMutableMessage::replyToRecipients() const {
    return headers()->replyToRecipients();
}
void FGBaseMutableMessage::setReplyToRecipients(const PWEmailAddressGroupList& groups) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setReplyToRecipients(groups); });
}
void FGBaseMutableMessage::setReplyToRecipients(const PWEmailAddressList& addresses) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setReplyToRecipients(addresses); });
}

std::optional<double> FGBaseMutableMessage::dateSent() const {
    return headers()->dateSent();
}
void FGBaseMutableMessage::setDateSent(double date) {
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setDateSent(date); });
}

std::optional<std::vector<std::u16string>> FGBaseMutableMessage::inReplyToIDs() const {
    return headers()->inReplyToIds();
}
void FGBaseMutableMessage::setInReplyToIDs(const std::optional<std::vector<std::u16string>>& identifiers) {
    if (!identifiers) return;
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setInReplyToIds(*identifiers); });
}

std::optional<std::vector<std::u16string>> FGBaseMutableMessage::references() const {
    return headers()->references();
}
void FGBaseMutableMessage::setReferences(const std::optional<std::vector<std::u16string>>& identifiers) {
    if (!identifiers) return;
    writeHeaders([&](PWMutableMessageHeaders& headers) { headers.setReferences(*identifiers); });
}

std::optional<std::vector<std::u16string>> FGBaseMutableMessage::inReplyToDigests() const {
    return headers()->inReplyToDigests();
}
std::optional<double> FGBaseMutableMessage::dateReceived() const {
    return headers()->dateReceived();
}

std::u16string FGBaseMutableMessage::contentIdentifier() const {
    return headers()->contentIdentifier();
}
void FGBaseMutableMessage::setContentIdentifier(const std::u16string&) {
    throw ProgrammingError("Should not be setting the contentIdentifier directly");
}

// ---- Body -----------------------------------------------------------------------------------------------------

void FGBaseMutableMessage::loadBodyFromSourceIfNeeded() const {
    PWMessageContentsRef source;
    bool needHtml, needText, needAttachments;
    {
        std::lock_guard lock(mutex_);
        source = sourceContents_;
        needHtml = !htmlLoaded_;
        needText = !plainTextLoaded_;
        needAttachments = !attachmentsLoaded_;
    }
    if (!source || !(needHtml || needText || needAttachments)) return;
    // The contents are read outside the lock: rendering and parsing take their own locks.
    OptString html, text;
    FGAttachmentList attachments;
    if (needHtml) html = source->htmlDocumentWithContext(kFGMessageEditingDisplayContext);
    if (needText) text = joinedTextOfTextParts(source->rootMimePart());
    if (needAttachments) attachments = attachmentObjectsOf(source->mimeAttachments());
    std::lock_guard lock(mutex_);
    if (needHtml && !htmlLoaded_) {
        html_ = std::move(html);
        htmlLoaded_ = true;
    }
    if (needText && !plainTextLoaded_) {
        plainText_ = std::move(text);
        plainTextLoaded_ = true;
    }
    if (needAttachments && !attachmentsLoaded_) {
        attachments_ = std::move(attachments);
        attachmentsLoaded_ = true;
    }
}

void FGBaseMutableMessage::setMutationBits(int64_t bits, bool dropGeneratedContents) {
    std::lock_guard lock(mutex_);
    mutationFlags_ |= bits;
    if (dropGeneratedContents) generatedContents_ = nullptr;
}

OptString FGBaseMutableMessage::plainText() const {
    loadBodyFromSourceIfNeeded();
    std::lock_guard lock(mutex_);
    return plainText_;
}

void FGBaseMutableMessage::setPlainText(const OptString& text) {
    {
        std::lock_guard lock(mutex_);
        plainText_ = text;
        plainTextLoaded_ = true;
    }
    setMutationBits(kFGMessageMutatedPlainText, true);
}

OptString FGBaseMutableMessage::html() const {
    loadBodyFromSourceIfNeeded();
    std::lock_guard lock(mutex_);
    return html_;
}

void FGBaseMutableMessage::setHtml(const OptString& html) {
    {
        std::lock_guard lock(mutex_);
        html_ = html;
        htmlLoaded_ = true;
    }
    setMutationBits(kFGMessageMutatedHTML, true);
}

bool FGBaseMutableMessage::forcePlainText() const {
    std::lock_guard lock(mutex_);
    return (mutationFlags_ & kFGMessageMutatedPlainText) != 0;
}

void FGBaseMutableMessage::setForcePlainText(bool force) {
    std::lock_guard lock(mutex_);
    if (force) {
        mutationFlags_ |= kFGMessageMutatedPlainText;
    } else {
        mutationFlags_ &= ~static_cast<int64_t>(kFGMessageMutatedPlainText);
    }
}

FGAttachmentList FGBaseMutableMessage::attachments() const {
    loadBodyFromSourceIfNeeded();
    std::lock_guard lock(mutex_);
    return attachments_;
}

void FGBaseMutableMessage::setAttachments(const FGAttachmentList& attachments) {
    std::lock_guard lock(mutex_);
    attachments_ = attachments;
    attachmentsLoaded_ = true;
}

FGAttachmentList FGBaseMutableMessage::htmlRelatedAttachments() const {
    std::lock_guard lock(mutex_);
    return htmlRelatedAttachments_;
}

void FGBaseMutableMessage::setHtmlRelatedAttachments(const FGAttachmentList& attachments) {
    std::lock_guard lock(mutex_);
    htmlRelatedAttachments_ = attachments;
}

void FGBaseMutableMessage::markMutatedHeaders() {
    setMutationBits(kFGMessageMutatedHeaders, true);
}
void FGBaseMutableMessage::markMutatedBody() {
    setMutationBits(kFGMessageMutatedBody, true);
}

int64_t FGBaseMutableMessage::mutationFlags() const {
    std::lock_guard lock(mutex_);
    return mutationFlags_;
}

uint64_t FGBaseMutableMessage::creationFlags() const {
    std::lock_guard lock(mutex_);
    return creationFlags_;
}

PWMessageContentsRef FGBaseMutableMessage::sourceContents() const {
    std::lock_guard lock(mutex_);
    return sourceContents_;
}

PWMessageContentsRef FGBaseMutableMessage::generatedContents() const {
    std::lock_guard lock(mutex_);
    return generatedContents_;
}

// ---- Contents -------------------------------------------------------------------------------------------------

PWMessageContentsRef FGBaseMutableMessage::messageContents() {
    std::shared_ptr<PWMutableMessageHeaders> headers;
    {
        std::lock_guard lock(mutex_);
        if (generatedContents_) return generatedContents_;
        headers = headers_;
        if (mutationFlags_ == 0 && !headersEdited_->load() && !headers->mutated()) return sourceContents_;
    }
    PWMessageContentsRef generated = buildMessageContentsWithAmendments();
    std::lock_guard lock(mutex_);
    generatedContents_ = generated;
    return generated;
}

PWMessageContentsRef FGBaseMutableMessage::buildMessageContentsWithAmendments(const PWMessageAmendmentList&,
                                                                              ErrorRef*) {
    PWMimePartRef root;
    if (mutationFlags() & kBodyMutations) {
        FGAttachmentList list = attachments();
        FGAttachmentList related = htmlRelatedAttachments();
        list.insert(list.end(), related.begin(), related.end());
        OptString html = this->html();
        OptString text = plainText();
        std::shared_ptr<HTMLDocument> document = html ? HTMLDocument::documentWithString(*html) : nullptr;
        if ((creationFlags() & kFGMessageCreationHTMLOnly) && document) text.reset();
        root = buildRootMimePartWithPlainText(text, document, list);
    } else if (PWMessageContentsRef source = sourceContents()) {
        // A mutable copy of the source's root: the same bytes, parsed again, so that only the header block
        // is written anew and every body stays a view of the source. The copy gets no identifier: a rebuilt
        // part writes its content id, and one made up from an identifier does not belong in the headers.
        if (PWMimePartRef sourceRoot = source->rootMimePart()) {
            root = PWMimePart::mutableMimePartWithRFC2822Data(sourceRoot->mimeNSData(), std::nullopt);
        }
    }
    if (!root) return nullptr;
    return mutableContentsWithMimePart(root);
}

PWMimePartRef FGBaseMutableMessage::buildPlainTextPartWithText(const OptString& text, const PWMessageAmendmentList&) {
    if (!text || text->empty()) return nullptr;
    return PWTextMimePart::initMutableWithPlainText(*text, kUTF8StringEncoding,
                                                    std::u16string(kMimeTransferEncodingQuotedPrintable));
}

PWMimePartRef FGBaseMutableMessage::buildRootMimePartWithPlainText(const OptString& plainText,
                                                                   const std::shared_ptr<HTMLDocument>& htmlDocument,
                                                                   const FGAttachmentList& attachments,
                                                                   const PWMessageAmendmentList& amendments) {
    FGAttachmentList remaining = attachments;
    PWMimePartRef htmlPart;
    OptString text = plainText;
    if (htmlDocument) {
        htmlPart = buildHTMLPartWithDocument(htmlDocument, &remaining, amendments);
        if (!text && !(creationFlags() & kFGMessageCreationHTMLOnly)) {
            HTMLElementRef body = htmlDocument->body();
            text = body ? plainTextOfNode(*body) : std::u16string();
        }
    }
    PWMimePartRef plainPart = buildPlainTextPartWithText(text, amendments);

    PWMimePartRef body = plainPart ? plainPart : htmlPart;
    if (plainPart && htmlPart) {
        // An HTML body with inline resources becomes related(alternative(plain, html), resources...).
        std::vector<PWMimePartRef> children;
        if (htmlPart->isKindOfClass(PWMultipartRelatedMimePart::mimeClass())) children = htmlPart->subParts();
        if (!children.empty() && children.front()->isKindOfClass(PWTextHtmlMimePart::mimeClass())) {
            PWMimePartRef alternative =
                PWMultipartAlternativeMimePart::initMutableWithPlainPart(plainPart, children.front());
            std::vector<PWMimePartRef> resources(children.begin() + 1, children.end());
            body = resources.empty() ? alternative
                                     : PWMultipartRelatedMimePart::initMutableWithHtmlPart(alternative, resources);
        } else {
            body = PWMultipartAlternativeMimePart::initMutableWithPlainPart(plainPart, htmlPart);
        }
    }

    if (remaining.empty()) {
        if (body && !body->charset()) body->setCharset(std::u16string(kMimeContentEncodingUTF8));
        return body;
    }
    auto mixed = PWMultipartMimePart::initMutableWithSubtype(kMimeMultipartSubtypeMixed);
    if (body) mixed->addPart(body, true);
    for (const FGMessageAttachmentRef& attachment : remaining) {
        PWMimePartRef part = attachment ? attachment->mimePart() : nullptr;
        if (!part || part->contentData().empty()) continue;
        mixed->addPart(detail::partForNewTree(part), true);
    }
    return mixed;
}

std::shared_ptr<PWMutableMessageContents> FGBaseMutableMessage::mutableContentsWithMimePart(const PWMimePartRef& root) {
    std::shared_ptr<PWMutableMessageHeaders> headers = this->headers()->mutableCopy();
    PWMessageHeadersRef rootHeaders = root->headers();
    for (std::u16string_view key :
         {kMimeHeaderContentType, kMimeHeaderContentDisposition, kMimeHeaderContentTransferEncoding}) {
        OptString value = rootHeaders ? rootHeaders->firstHeaderForKey(key, false) : std::nullopt;
        // Writing the value a field already has would only fold it afresh.
        if (headers->firstHeaderForKey(key, false) != value) headers->setHeader(value, key);
    }
    if (!headers->firstHeaderForKey(PWMessageHeaderMIMEVersionKey, false)) {
        // Written as RFC 2045 spells it: a field set on the collection would be written "Mime-Version".
        HeaderEntryDictionary dictionary = headers->headerEntryDictionary();
        dictionary.set(
            headerDictionaryKey(PWMessageHeaderMIMEVersionKey),
            std::make_shared<const HeaderEntryDictionary::EntryList>(HeaderEntryDictionary::EntryList{
                PWMessageHeaderEntry::newWithFieldName(PWMessageHeaderMIMEVersionKey, u"1.0", kDerivedSortHint)}));
        headers = PWMutableMessageHeaders::initWithHeaderEntryDictionary(std::move(dictionary));
    }
    root->setHeaders(headers);

    Data bytes = root->mimeNSData();
    if (bytes.hasPrefix("\r\n")) bytes = bytes.subdata(2, bytes.length() - 2);
    std::shared_ptr<PWMutableMessageContents> contents = PWMutableMessageContents::initWithHeaderAndBodyData(bytes);
    auto parsedHeaders = std::dynamic_pointer_cast<PWMutableMessageHeaders>(contents->headers());
    replaceHeaders(parsedHeaders ? parsedHeaders : PWMutableMessageHeaders::init());
    return contents;
}

void FGBaseMutableMessage::setRootMimePartOfContents(const PWMimePartRef& root) {
    if (!root) return;
    PWMessageContentsRef contents = messageContents();
    if (!contents || !contents->isMutable()) {
        markMutatedHeaders();
        contents = messageContents();
    }
    if (!contents) return;
    root->setMutable(true);
    contents->setRootMimePart(root);
    if (auto headers = std::dynamic_pointer_cast<PWMutableMessageHeaders>(root->headers())) replaceHeaders(headers);
}

const std::vector<FGContentReplacement>& FGBaseMutableMessage::replacements() {
    static const std::vector<FGContentReplacement> list = {
        FGContentReplacement::removeID(u"FGEditingContainer"),
        FGContentReplacement::removeQuery(u"span.orwIconLabel"),
        FGContentReplacement::removeAttribute(u"orw-src"),
        FGContentReplacement::removeAttribute(u"orw-icon-src"),
        FGContentReplacement::removeAttribute(u"orw-id"),
        FGContentReplacement::removeAttribute(u"orw-name"),
        FGContentReplacement::removeAttribute(u"orw-mime-type"),
        FGContentReplacement::removeAttribute(u"orw-maxes"),
        FGContentReplacement::removeAttribute(u"orw-prepared"),
        FGContentReplacement::removeClass(u"fg-editing-block"),
    };
    return list;
}

}  // namespace postwright
