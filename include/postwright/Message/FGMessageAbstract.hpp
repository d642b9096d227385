// FGMessageAbstract: the flat summary of one message that lists and thread views are filled from.
//
// Derived once from the header collection (and, for mbox messages, the envelope line), so that a message
// list never needs to keep a MIME tree. Every field has a getter and a setter; each field is read and
// written atomically with respect to itself.
//
//     auto abstract = FGMessageAbstract::newWithMessageContents(contents);
//     OptString subject = abstract->subject();
//     std::optional<PWEmailAddressList> sender = abstract->sender();   // one address, or nil
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "postwright/Export.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Message/PWMessageContents.hpp"
#include "postwright/Message/RFC2822IDHash.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The flat summary of one message that message lists and thread views are filled from.
class FGMessageAbstract {
public:
    FGMessageAbstract() = default;

    // The abstract of a header collection (nullptr headers: an empty abstract). The sender is the Sender
    // address, else the first From address; inferred blind recipients are the Delivered-To addresses that
    // no To, Cc, Bcc or Resent-To names, as one more unnamed group after the Bcc groups.
    static std::shared_ptr<FGMessageAbstract> newWithMessageHeaders(const PWMessageHeadersRef& headers);
    // The same from contents, with the mbox envelope as fallback sender and received date, and the size.
    static std::shared_ptr<FGMessageAbstract> newWithMessageContents(const PWMessageContentsRef& contents);
    // A copy carrying the fields that survive copying (not the inferred Bcc, Message-Id texts, digests of
    // references, hashes or encryption fields).
    std::shared_ptr<FGMessageAbstract> copy() const;

#define PW_ABSTRACT_FIELD(Type, name, Setter)                          \
    Type name() const {                                                \
        std::lock_guard lock(mutex_);                                  \
        return name##_;                                                \
    }                                                                  \
    void Setter(Type value) {                                          \
        std::lock_guard lock(mutex_);                                  \
        name##_ = std::move(value);                                    \
    }
    PW_ABSTRACT_FIELD(int16_t, encryptionMethod, setEncryptionMethod)
    PW_ABSTRACT_FIELD(OptString, contentIdentifier, setContentIdentifier)
    PW_ABSTRACT_FIELD(OptString, subject, setSubject)
    PW_ABSTRACT_FIELD(std::optional<double>, dateSent, setDateSent)
    PW_ABSTRACT_FIELD(std::optional<double>, dateReceived, setDateReceived)
    PW_ABSTRACT_FIELD(std::optional<PWEmailAddressList>, sender, setSender)
    PW_ABSTRACT_FIELD(std::optional<PWEmailAddressList>, from, setFrom)
    PW_ABSTRACT_FIELD(std::optional<PWEmailAddressGroupList>, recipients, setRecipients)
    PW_ABSTRACT_FIELD(std::optional<PWEmailAddressGroupList>, ccRecipients, setCcRecipients)
    PW_ABSTRACT_FIELD(std::optional<PWEmailAddressGroupList>, bccRecipients, setBccRecipients)
    PW_ABSTRACT_FIELD(std::optional<PWEmailAddressGroupList>, inferredBccRecipients, setInferredBccRecipients)
    PW_ABSTRACT_FIELD(std::optional<PWEmailAddressGroupList>, replyToRecipients, setReplyToRecipients)
    PW_ABSTRACT_FIELD(OptString, headerID, setHeaderID)
    PW_ABSTRACT_FIELD(std::optional<std::vector<std::u16string>>, inReplyToIds, setInReplyToIds)
    PW_ABSTRACT_FIELD(std::optional<std::vector<std::u16string>>, references, setReferences)
    PW_ABSTRACT_FIELD(OptString, headerIDDigest, setHeaderIDDigest)
    PW_ABSTRACT_FIELD(std::optional<std::vector<std::u16string>>, inReplyToDigests, setInReplyToDigests)
    PW_ABSTRACT_FIELD(std::optional<std::vector<std::u16string>>, referenceDigests, setReferenceDigests)
    PW_ABSTRACT_FIELD(std::optional<RFC2822IDHash>, messageIdRFC2822Hash, setMessageIdRFC2822Hash)
    PW_ABSTRACT_FIELD(std::optional<std::vector<RFC2822IDHash>>, inReplytoRFC2822Hashes, setInReplytoRFC2822Hashes)
    PW_ABSTRACT_FIELD(std::optional<std::vector<RFC2822IDHash>>, referenceRFC2822Hashes, setReferenceRFC2822Hashes)
    PW_ABSTRACT_FIELD(uint64_t, messageSize, setMessageSize)
    PW_ABSTRACT_FIELD(uint64_t, numberOfAttachments, setNumberOfAttachments)
    PW_ABSTRACT_FIELD(uint64_t, encryptionFlags, setEncryptionFlags)
    PW_ABSTRACT_FIELD(OptString, snippet, setSnippet)
#undef PW_ABSTRACT_FIELD

private:
    mutable std::mutex mutex_;
    int16_t encryptionMethod_ = 0;
    OptString contentIdentifier_;
    OptString subject_;
    std::optional<double> dateSent_;
    std::optional<double> dateReceived_;
    std::optional<PWEmailAddressList> sender_;
    std::optional<PWEmailAddressList> from_;
    std::optional<PWEmailAddressGroupList> recipients_;
    std::optional<PWEmailAddressGroupList> ccRecipients_;
    std::optional<PWEmailAddressGroupList> bccRecipients_;
    std::optional<PWEmailAddressGroupList> inferredBccRecipients_;
    std::optional<PWEmailAddressGroupList> replyToRecipients_;
    OptString headerID_;
    std::optional<std::vector<std::u16string>> inReplyToIds_;
    std::optional<std::vector<std::u16string>> references_;
    OptString headerIDDigest_;
    std::optional<std::vector<std::u16string>> inReplyToDigests_;
    std::optional<std::vector<std::u16string>> referenceDigests_;
    std::optional<RFC2822IDHash> messageIdRFC2822Hash_;
    std::optional<std::vector<RFC2822IDHash>> inReplytoRFC2822Hashes_;
    std::optional<std::vector<RFC2822IDHash>> referenceRFC2822Hashes_;
    uint64_t messageSize_ = 0;
    uint64_t numberOfAttachments_ = 0;
    uint64_t encryptionFlags_ = 0;
    OptString snippet_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
