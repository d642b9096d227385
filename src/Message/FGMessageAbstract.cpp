#include "postwright/Message/FGMessageAbstract.hpp"

#include "postwright/Base/Format.hpp"
#include "postwright/Message/PWMBoxMessageContents.hpp"

namespace postwright {

namespace {
// Every address of Sender and From must have a digest (the address layer never makes one without).
void requireDigests(const std::optional<PWEmailAddressList>& addresses, const PWMessageHeaders& headers,
                    std::u16string_view key) {
    if (!addresses) return;
    for (const auto& address : *addresses) {
        if (!address || !address->digest()) {
            OptString rawValue = headers.firstHeaderForKey(key, false);
            throw ProgrammingError(toUTF8(formatString(u"Invalid address for header %@", {rawValue})));
        }
    }
}

OptString lowerUserAtDomain(const std::shared_ptr<PWEmailAddress>& address) {
    OptString userAtDomain = address ? address->userAtDomain() : std::nullopt;
    if (!userAtDomain) return std::nullopt;
    return lowercase(*userAtDomain);
}

// Addresses that Delivered-To names but no To, Cc, Bcc or Resent-To does: the blind recipients.
std::optional<PWEmailAddressGroupList> inferredBlindRecipients(const PWMessageHeaders& headers,
                                                               const std::optional<PWEmailAddressGroupList>& to,
                                                               const std::optional<PWEmailAddressGroupList>& cc,
                                                               const std::optional<PWEmailAddressGroupList>& bcc) {
    std::vector<std::u16string> deliveredTo = headers.headersForKey(PWMessageHeaderDeliveredToKey, true);
    if (deliveredTo.empty()) return std::nullopt;
    std::optional<PWEmailAddressGroupList> resentTo = headers.emailAddressGroupsForHeaderKey(PWMessageHeaderResentToKey);

    PWEmailAddressList candidates;
    for (const std::u16string& value : deliveredTo) {
        std::optional<PWEmailAddressGroupList> groups = PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(value);
        if (!groups) continue;
        for (const auto& group : *groups) {
            for (const auto& address : group->addresses()) {
                bool present = std::any_of(candidates.begin(), candidates.end(),
                                           [&](const auto& other) { return other->isEqual(address.get()); });
                if (!present) candidates.push_back(address);
            }
        }
    }
    // Compared by lower-cased user@domain: a Delivered-To written in other case is the same recipient.
    std::vector<std::u16string> named;
    const std::optional<PWEmailAddressGroupList>* lists[] = {&to, &cc, &bcc, &resentTo};
    for (const auto* groups : lists) {
        if (!*groups) continue;
        for (const auto& group : **groups) {
            for (const auto& address : group->addresses()) {
                if (OptString key = lowerUserAtDomain(address)) named.push_back(*key);
            }
        }
    }
    PWEmailAddressList blind;
    for (const auto& address : candidates) {
        OptString key = lowerUserAtDomain(address);
        if (key && std::find(named.begin(), named.end(), *key) != named.end()) continue;
        blind.push_back(address);
    }
    if (blind.empty()) return std::nullopt;
    PWEmailAddressGroupList groups = bcc.value_or(PWEmailAddressGroupList());
    groups.push_back(PWEmailAddressGroup::addressGroupWithGroupName(std::nullopt, blind));
    return groups;
}
}  // namespace

std::shared_ptr<FGMessageAbstract> FGMessageAbstract::newWithMessageHeaders(const PWMessageHeadersRef& headers) {
    auto abstract = std::make_shared<FGMessageAbstract>();
    if (!headers) return abstract;
    abstract->contentIdentifier_ = headers->contentIdentifier();
    if (OptString subject = headers->firstHeaderForKey(PWMessageHeaderSubjectKey, true)) {
        abstract->subject_ = removeCharacters(*subject, u"\r");
    }
    abstract->dateSent_ = headers->dateSent();
    abstract->dateReceived_ = headers->dateReceived();
    abstract->headerIDDigest_ = headers->headerIDDigest();
    abstract->messageIdRFC2822Hash_ = headers->messageIdRFC2822Hash();
    std::optional<std::vector<std::u16string>> inReplyTo = headers->inReplyToIds();
    abstract->inReplyToDigests_ = PWMessageHeaders::digestsForMessageIdValues(inReplyTo);
    abstract->inReplytoRFC2822Hashes_ = PWMessageHeaders::hashesForMessageIdValues(inReplyTo);
    abstract->references_ = headers->references();
    abstract->referenceRFC2822Hashes_ = PWMessageHeaders::hashesForMessageIdValues(abstract->references_);
    abstract->recipients_ = headers->recipients();
    abstract->ccRecipients_ = headers->ccRecipients();
    abstract->bccRecipients_ = headers->bccRecipients();
    abstract->replyToRecipients_ = headers->replyToRecipients();
    abstract->inferredBccRecipients_ =
        inferredBlindRecipients(*headers, abstract->recipients_, abstract->ccRecipients_, abstract->bccRecipients_);

    std::optional<PWEmailAddressList> sender = headers->emailAddressesForHeaderKey(PWMessageHeaderSenderKey);
    requireDigests(sender, *headers, PWMessageHeaderSenderKey);
    if (sender && !sender->empty()) abstract->sender_ = PWEmailAddressList{sender->front()};
    std::optional<PWEmailAddressList> from = headers->emailAddressesForHeaderKey(PWMessageHeaderFromKey);
    requireDigests(from, *headers, PWMessageHeaderFromKey);
    abstract->from_ = from;
    if (!abstract->sender_ && from && !from->empty()) abstract->sender_ = PWEmailAddressList{from->front()};
    return abstract;
}

std::shared_ptr<FGMessageAbstract> FGMessageAbstract::newWithMessageContents(const PWMessageContentsRef& contents) {
    auto abstract = newWithMessageHeaders(contents ? contents->headers() : nullptr);
    if (!contents) return abstract;
    if (auto mbox = std::dynamic_pointer_cast<PWMBoxMessageContents>(contents)) {
        if (!abstract->from_) {
            if (auto envelopeSender = mbox->mboxFrom()) abstract->from_ = PWEmailAddressList{envelopeSender};
        }
        bool sentMissing = !abstract->dateSent_ || *abstract->dateSent_ <= 0;
        bool receivedMissing = !abstract->dateReceived_ || *abstract->dateReceived_ <= 0;
        if (sentMissing && receivedMissing) abstract->dateReceived_ = mbox->mboxDate();
    }
    abstract->messageSize_ = contents->size();
    return abstract;
}

std::shared_ptr<FGMessageAbstract> FGMessageAbstract::copy() const {
    auto copy = std::make_shared<FGMessageAbstract>();
    std::lock_guard lock(mutex_);
    copy->contentIdentifier_ = contentIdentifier_;
    copy->dateSent_ = dateSent_;
    copy->dateReceived_ = dateReceived_;
    copy->subject_ = subject_;
    copy->sender_ = sender_;
    copy->from_ = from_;
    copy->recipients_ = recipients_;
    copy->ccRecipients_ = ccRecipients_;
    copy->bccRecipients_ = bccRecipients_;
    copy->headerIDDigest_ = headerIDDigest_;
    copy->inReplyToDigests_ = inReplyToDigests_;
    copy->replyToRecipients_ = replyToRecipients_;
    copy->references_ = references_;
    copy->snippet_ = snippet_;
    copy->messageSize_ = messageSize_;
    copy->numberOfAttachments_ = numberOfAttachments_;
    return copy;
}

}  // namespace postwright
