#include "postwright/Message/PWMessageContents.hpp"

#include "postwright/Base/DataScanner.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Message/FGMessageIdentifier.hpp"
#include "postwright/Message/PWMBoxMessageContents.hpp"
#include "postwright/Mime/AttachmentKinds.hpp"

namespace postwright {

std::shared_ptr<PWMessageContents> PWMessageContents::initWithContentIdentifier(const OptString& contentIdentifier,
                                                                                const Data& contentData,
                                                                                ErrorRef* error) {
    setSlot(error, nullptr);
    if (contentData.length() >= 5 && contentData.hasPrefix("From ")) {
        FGDataScanner scanner(contentData);
        std::shared_ptr<PWMBoxMessageContents> mbox;
        if (scanner.scanMboxMessageIntoMessageContents(&mbox, nullptr) && mbox) {
            if (contentIdentifier) mbox->contentIdentifier_ = *contentIdentifier;
            return mbox;
        }
    }
    std::shared_ptr<PWMessageContents> contents(new PWMessageContents());
    contents->initialise(contentIdentifier, contentData, error);
    return contents;
}

void PWMessageContents::initialise(const OptString& contentIdentifier, const Data& contentData, ErrorRef* error) {
    contentData_ = contentData;
    if (contentIdentifier) {
        contentIdentifier_ = *contentIdentifier;
        return;
    }
    ErrorRef headerError;
    PWMessageHeadersRef headers = headersWithError(&headerError);
    std::u16string identifier = headers ? headers->contentIdentifier() : std::u16string(FGInvalidContentIdentifier);
    if (identifier == FGNilContentIdentifier) identifier = FGInvalidContentIdentifier;
    contentIdentifier_ = std::move(identifier);
    setSlot(error, headerError);
}

std::u16string PWMessageContents::contentIdentifier() const {
    std::lock_guard lock(mutex_);
    return contentIdentifier_;
}

Data PWMessageContents::contentData() const { return contentData_; }

PWMessageHeadersRef PWMessageContents::headersWithError(ErrorRef* error) const {
    setSlot(error, nullptr);
    std::lock_guard lock(mutex_);
    if (headers_) return headers_;
    headerBlock_ = headerSubdata(contentData_);
    if (!headerBlock_) return nullptr;
    headers_ = PWMessageHeaders::headersFromData(*headerBlock_, error);
    return headers_;
}

std::optional<Data> PWMessageContents::bodyData() const { return bodySubdata(contentData()); }

PWMimePartRef PWMessageContents::rootMimePart() const {
    std::lock_guard lock(mutex_);
    if (rootMimePart_) return rootMimePart_;
    if (headers_ && headerBlock_) {
        rootMimePart_ =
            PWMimePart::newMimePartWithRFC2822Data(contentData_, contentIdentifier_, headers_, *headerBlock_);
    } else {
        rootMimePart_ = PWMimePart::newMimePartWithRFC2822Data(contentData_, contentIdentifier_);
    }
    if (!rootMimePart_) logMessage(u"Could Not Mime Parse data!");
    return rootMimePart_;
}

void PWMessageContents::setRootMimePart(PWMimePartRef root) {
    std::lock_guard lock(mutex_);
    rootMimePart_ = std::move(root);
}

bool PWMessageContents::isWellFormed() const {
    PWMimePartRef root = rootMimePart();
    return root && root->isWellFormed();
}

size_t PWMessageContents::size() const { return contentData().length(); }

size_t PWMessageContents::contentSize() const {
    PWMimePartRef root = rootMimePart();
    return root ? root->decodedContentSize() : 0;
}

std::vector<PWMimePartRef> PWMessageContents::mimeAttachments() const {
    PWMimePartRef root = rootMimePart();
    return root ? root->attachments() : std::vector<PWMimePartRef>();
}

PWMimePartRef PWMessageContents::mimeAttachmentWithContentId(std::u16string_view contentId) const {
    PWMimePartRef root = rootMimePart();
    return root ? root->mimeAttachmentWithContentId(contentId) : nullptr;
}

std::vector<PWMimePartRef> PWMessageContents::digitallySignedParts() const {
    PWMimePartRef root = rootMimePart();
    return root ? root->digitallySignedParts() : std::vector<PWMimePartRef>();
}

bool PWMessageContents::encrypted() const {
    for (const PWMimePartRef& attachment : mimeAttachments()) {
        if (auto pgp = std::dynamic_pointer_cast<PWPGPSignedMimePart>(attachment); pgp && pgp->encrypted()) return true;
        if (auto smime = std::dynamic_pointer_cast<PWSMIMESignedMimePart>(attachment); smime && smime->encrypted()) {
            return true;
        }
    }
    return false;
}

int PWMessageContents::encryptionMethod() const {
    PWMimePartRef root = rootMimePart();
    return root && root->containsPGPEncryption() ? 1 : 0;
}

uint64_t PWMessageContents::encryptionFlags() const {
    PWMimePartRef root = rootMimePart();
    if (!root) return 0;
    uint64_t flags = 0;
    if (root->containsPGPEncryption()) flags |= kMessagePGPEncrypted;
    if (!root->digitallySignedParts().empty()) flags |= kMessageDigitallySigned;
    return flags;
}

OptString PWMessageContents::headersMessageId() const {
    PWMessageHeadersRef headers = this->headers();
    return headers ? headers->firstHeaderForKey(PWMessageHeaderMessageIdKey) : std::nullopt;
}

std::optional<std::vector<std::u16string>> PWMessageContents::headersInReplyTos() const {
    {
        std::lock_guard lock(mutex_);
        if (inReplyToList_) return *inReplyToList_;
    }
    PWMessageHeadersRef headers = this->headers();
    std::optional<std::vector<std::u16string>> identifiers = headers ? headers->inReplyToIds() : std::nullopt;
    std::lock_guard lock(mutex_);
    inReplyToList_ = identifiers;
    return identifiers;
}

std::optional<std::vector<std::u16string>> PWMessageContents::headersReferences() const {
    {
        std::lock_guard lock(mutex_);
        if (referenceList_) return *referenceList_;
    }
    PWMessageHeadersRef headers = this->headers();
    std::optional<std::vector<std::u16string>> identifiers = headers ? headers->references() : std::nullopt;
    std::lock_guard lock(mutex_);
    referenceList_ = identifiers;
    return identifiers;
}

std::optional<std::vector<std::u16string>> PWMessageContents::headersInReplyTosDigests() const {
    PWMessageHeadersRef headers = this->headers();
    return headers ? headers->inReplyToDigests() : std::nullopt;
}

std::optional<std::vector<std::u16string>> PWMessageContents::headersReferenceDigests() const {
    PWMessageHeadersRef headers = this->headers();
    return headers ? headers->referenceDigests() : std::nullopt;
}

std::optional<std::vector<std::u16string>> PWMessageContents::headersInReplyToDigests() const {
    std::lock_guard lock(mutex_);
    return headersInReplyToDigests_;
}

void PWMessageContents::setHeadersInReplyToDigests(std::optional<std::vector<std::u16string>> digests) {
    std::lock_guard lock(mutex_);
    headersInReplyToDigests_ = std::move(digests);
}

nlohmann::json PWMessageContents::userInfo() const {
    std::lock_guard lock(mutex_);
    return userInfo_;
}

void PWMessageContents::setUserInfo(nlohmann::json userInfo) {
    std::lock_guard lock(mutex_);
    userInfo_ = std::move(userInfo);
}

std::u16string PWMessageContents::htmlEnvelopeWithContents(std::u16string_view text) {
    return std::u16string(
               u"<html>\n"
               u"<head>\n"
               u"<style type=\"text/css\">\n"
               u"pre { font-family: -apple-system, \"SF Pro Text\",system-ui; font-weight: 300; "
               u"font-size: 15px !important; line-height: 140%; }\n"
               u"body { background-color: #fff; }\n"
               u"</style>\n"
               u"</head>\n"
               u"<body>\n"
               u"<pre style=\"white-space: pre-wrap\">") +
           std::u16string(text) + u"</pre>\n</body>\n</html>\n";
}

OptString PWMessageContents::_persistentIDKeyForEmailAddresses(const PWEmailAddressList& addresses) {
    std::vector<std::u16string> keys;
    for (const auto& address : addresses) {
        if (!address) continue;
        OptString userAtDomain = address->userAtDomain();
        if (!userAtDomain) continue;
        std::u16string key = lowercase(*userAtDomain);
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(std::move(key));
    }
    if (keys.empty()) return std::nullopt;
    return componentsJoinedBy(keys, u",");
}

std::shared_ptr<PWMessageContents> PWMessageContents::messageContentsByReplacingMimeAttachments(
    const std::vector<PWMimePartRef>& attachments) const {
    PWMimePartRef root = rootMimePart();
    if (!root) return nullptr;
    PWMimePartRef replaced = root->mimePartByReplacingMimeAttachments(attachments);
    return replaced ? initWithHeaderAndBodyData(replaced->mimeNSData()) : nullptr;
}

std::shared_ptr<PWMessageContents> PWMessageContents::messageContentsByRemovingMimeAttachments() const {
    PWMimePartRef root = rootMimePart();
    if (!root) return nullptr;
    PWMimePartRef removed = root->mimePartByRemovingAttachments();
    return removed ? initWithHeaderAndBodyData(removed->mimeNSData()) : nullptr;
}

std::shared_ptr<PWMessageContents> PWMessageContents::copy() const {
    return std::const_pointer_cast<PWMessageContents>(shared_from_this());
}

std::shared_ptr<PWMutableMessageContents> PWMessageContents::mutableCopy() const {
    return PWMutableMessageContents::initWithHeaderAndBodyData(contentData());
}

// ---- Mutable contents ---------------------------------------------------------------------------------

std::shared_ptr<PWMutableMessageContents> PWMutableMessageContents::initWithContentIdentifier(
    const OptString& contentIdentifier, const Data& contentData) {
    std::shared_ptr<PWMutableMessageContents> contents(new PWMutableMessageContents());
    contents->contentData_ = contentData;
    OptString identifier = contentIdentifier;
    if (!identifier) {
        if (auto headers = PWMessageHeaders::headersFromData(contentData)) {
            identifier = headers->mutableCopy()->contentIdentifier();
        }
    }
    contents->contentIdentifier_ = identifier.value_or(FGInvalidContentIdentifier);
    PWMimePartRef root = PWMimePart::mutableMimePartWithRFC2822Data(contentData, identifier);
    if (root) {
        root->setMutable(true);
    } else {
        logMessage(u"Could Not Mime Parse data!");
    }
    contents->rootMimePart_ = root;
    return contents;
}

Data PWMutableMessageContents::contentData() const {
    PWMimePartRef root = rootMimePart();
    return root ? root->mimeNSData() : Data();
}

PWMessageHeadersRef PWMutableMessageContents::headersWithError(ErrorRef* error) const {
    setSlot(error, nullptr);
    PWMimePartRef root = rootMimePart();
    return root ? root->headers() : nullptr;
}

void PWMutableMessageContents::setHeaders(const PWMessageHeadersRef& headers) {
    if (PWMimePartRef root = rootMimePart()) root->setHeaders(headers);
}

std::u16string PWMutableMessageContents::contentIdentifier() const {
    PWMessageHeadersRef headers = this->headers();
    return headers ? headers->contentIdentifier() : std::u16string(FGInvalidContentIdentifier);
}

PWMimePartRef PWMutableMessageContents::rootMimePart() const {
    std::lock_guard lock(mutex_);
    return rootMimePart_;
}

void PWMutableMessageContents::setRootMimePart(PWMimePartRef root) {
    std::lock_guard lock(mutex_);
    rootMimePart_ = std::move(root);
}

std::shared_ptr<PWMessageContents> PWMutableMessageContents::copy() const {
    return PWMessageContents::initWithHeaderAndBodyData(contentData());
}

}  // namespace postwright
