// FGPostwrightMessage: the message object a host application handles.
//
// It owns a summary (FGMessageAbstract) and may keep the parsed contents in a cache: summary questions
// are answered from the abstract, structural ones from the cached contents. Fields that only subclasses
// and hosts fill are plain stored values that a bare message leaves nil or zero.
//
//     auto message = FGPostwrightMessage::initWithRFC2822Data(bytes, true);
//     message->subject();                     // from the abstract
//     message->rootMimePart();                // from the cached contents
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"
#include "postwright/Message/AmendmentDeclarations.hpp"
#include "postwright/Message/FGMessageAbstract.hpp"
#include "postwright/Message/FGMessageIdentifier.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class FGBaseMutableMessage;

// The message object a host handles: a summary, and the parsed contents when they are cached.
class FGPostwrightMessage : public std::enable_shared_from_this<FGPostwrightMessage> {
public:
    FGPostwrightMessage() = default;
    virtual ~FGPostwrightMessage() = default;

    static std::shared_ptr<FGPostwrightMessage> initWithMessageAbstract(std::shared_ptr<FGMessageAbstract> abstract);
    // The abstract of the contents; the contents are kept only when cachingContents is set.
    static std::shared_ptr<FGPostwrightMessage> initWithMessageContents(const PWMessageContentsRef& contents,
                                                                        bool cachingContents = true);
    // Parses the bytes (the parse error is dropped: broken data still gives a message).
    static std::shared_ptr<FGPostwrightMessage> initWithRFC2822Data(const Data& data, bool cacheContents);
    // Reads a message file (eml, emlx, or the first message of an mbox file).
    static std::shared_ptr<FGPostwrightMessage> initWithRFC2822FileAtURL(const std::string& path, bool cacheContents);

    // The cached contents (nullptr when not cached; nothing is read again).
    PWMessageContentsRef messageContents() const;
    // Caches a copy of the contents; the abstract is not rebuilt.
    void setMessageContents(const PWMessageContentsRef& contents);
    std::shared_ptr<FGMessageAbstract> abstract() const;

    // A mutable message (FGBaseMutableMessage.hpp) opened from the cached contents, unchanged, with this
    // message's "X-Orwin-Composer-Id" (none when it has none). An untouched copy gives back the contents.
    std::shared_ptr<FGBaseMutableMessage> mutableCopy() const;
    // A mutable message opened from the cached contents for amending: its headers are copied as they are.
    std::shared_ptr<FGBaseMutableMessage> amendableCopy() const;

    // A new message (caching its contents) made from the contents the amendment driver gives back
    // (PWMessageAmendment::contentsByApplyingAmendments, Amendments/PWMessageAmendment.hpp): the amendments
    // run in hint order on an amendable copy. nullptr, with the driver's error, when they fail.
    std::shared_ptr<FGPostwrightMessage> messageByApplyingAmendments(const PWMessageAmendmentList& amendments,
                                                                     const PWMessageAmendmentContextRef& context,
                                                                     uint64_t options, ErrorRef* error) const;

    // From the cached contents (nullptr when nothing is cached).
    PWMessageHeadersRef headers() const;
    PWMimePartRef rootMimePart() const;

    // From the abstract.
    OptString contentIdentifier() const;
    OptString subject() const;
    std::optional<PWEmailAddressList> sender() const;
    std::optional<PWEmailAddressList> from() const;
    std::optional<PWEmailAddressGroupList> recipients() const;
    std::optional<PWEmailAddressGroupList> ccRecipients() const;
    std::optional<PWEmailAddressGroupList> bccRecipients() const;
    std::optional<std::vector<std::u16string>> inReplyToDigests() const;
    uint64_t messageSize() const;
    std::optional<double> dateSent() const;
    OptString snippet() const;
    uint64_t numberOfAttachments() const;

    // Host slots, not interpreted here.
    uint16_t flagIndex() const { return flagIndex_.load(); }
    void setFlagIndex(uint16_t index) { flagIndex_.store(index); }
    uint64_t attributes() const { return attributes_.load(); }
    void setAttributes(uint64_t attributes) { attributes_.store(attributes); }

    // Stored values for subclasses and hosts; a bare message leaves them nil (false, zero), even where the
    // abstract holds the same information.
    bool isRead() const { return false; }
    OptString urlString() const { return std::nullopt; }
    std::shared_ptr<const FGMessageIdentifier> postmarkIdentifier() const { return nullptr; }
    OptString headerID() const { return std::nullopt; }
    OptString inReplyToID() const { return std::nullopt; }
    OptString headerIdDigest() const { return std::nullopt; }
    OptString inReplyToDigest() const { return std::nullopt; }
    std::optional<std::vector<std::u16string>> inReplyToIDs() const { return std::nullopt; }
    std::optional<std::vector<std::u16string>> references() const { return std::nullopt; }
    std::optional<PWEmailAddressGroupList> replyToRecipients() const { return std::nullopt; }
    std::optional<std::vector<std::u16string>> referenceDigests() const { return std::nullopt; }
    std::optional<std::vector<RFC2822IDHash>> inReplytoRFC2822Hashes() const { return std::nullopt; }
    std::optional<std::vector<RFC2822IDHash>> referenceRFC2822Hashes() const { return std::nullopt; }
    std::optional<RFC2822IDHash> messageIdRFC2822Hash() const { return std::nullopt; }
    std::optional<RFC2822IDHash> inReplyToRFC2822IDHash() const { return std::nullopt; }
    std::optional<double> dateReceived() const { return std::nullopt; }

private:
    mutable std::mutex mutex_;
    PWMessageContentsRef cachedMessageContents_;
    std::shared_ptr<FGMessageAbstract> abstract_;
    std::atomic<uint16_t> flagIndex_{0};
    std::atomic<uint64_t> attributes_{0};
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
