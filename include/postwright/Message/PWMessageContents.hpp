// PWMessageContents: one message as bytes, with its header collection and MIME tree built on first use.
//
// The contents keep the raw message exactly as received and parse nothing up front: the headers are
// parsed when first asked, the MIME tree likewise, each once. They answer what list and thread views need
// (identifiers, In-Reply-To and References, attachments, encryption and signature flags, sizes) without
// the caller walking the tree. PWMutableMessageContents is the editable form used while composing: its
// MIME tree is the master copy and its bytes, headers and identifier are derived from the tree.
//
//     auto contents = PWMessageContents::initWithHeaderAndBodyData(Data::mapFile("message.eml").value());
//     contents->contentIdentifier();                       // 18 characters
//     OptString subject = contents->headers()->subject();
//     for (const PWMimePartRef& attachment : contents->mimeAttachments()) ...
//
// Data that begins with an mbox "From " line makes a PWMBoxMessageContents (PWMBoxMessageContents.hpp).
// The caches are filled under the object's own lock, so contents may be shared between threads.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"
#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "postwright/Mime/PWMimePart.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWMutableMessageContents;

// Encryption flags of a message.
enum MessageEncryptionFlags : uint64_t {
    kMessagePGPEncrypted = 2,
    kMessageDigitallySigned = 0x4000,
};

// Display contexts of the HTML rendering.
enum MessageDisplayContext : int {
    kMessageDisplayRich = 0,
    kMessageDisplayPlainText = 1,
    kMessageDisplayEditing = 2,
};

// Watches a long rendering: the renderer stops early (giving what it has) when it answers true.
class RenderMonitor {
public:
    virtual ~RenderMonitor() = default;
    virtual bool isCancelled() const = 0;
};

// One message as bytes, with its header collection and MIME tree built on first use.
class PWMessageContents : public std::enable_shared_from_this<PWMessageContents> {
public:
    // The designated initialiser. Data of at least 5 bytes that begins with "From " is read as one mbox
    // message, and the result is then a PWMBoxMessageContents. Without an identifier the headers' content
    // identifier is taken ("----INVALIDMESSAGE" when there are no headers or they give the nil
    // identifier); the header error, if any, goes into the error slot. The MIME tree waits for its first use.
    static std::shared_ptr<PWMessageContents> initWithContentIdentifier(const OptString& contentIdentifier,
                                                                        const Data& contentData,
                                                                        ErrorRef* error = nullptr);
    static std::shared_ptr<PWMessageContents> initWithHeaderAndBodyData(const Data& contentData,
                                                                        ErrorRef* error = nullptr) {
        return initWithContentIdentifier(std::nullopt, contentData, error);
    }
    // A message file: an mbox file gives its first message, an emlx file its counted bytes, anything else
    // is message bytes. nullptr (with the file error) when the file cannot be read.
    static std::shared_ptr<PWMessageContents> messageContentsWithFile(const std::string& path, ErrorRef* error = nullptr);
    // The same for the bytes of a message file already in memory (standard input, say); url names it.
    static std::shared_ptr<PWMessageContents> messageContentsWithFileData(const Data& file, const std::string& url,
                                                                          ErrorRef* error = nullptr);
    // Whether a file's bytes are an emlx file: a first line holding only the message's byte count.
    static bool isEmlxFileData(const Data& file);
    static std::shared_ptr<PWMessageContents> messageContentsWithEmlxFileAtURL(const std::string& path,
                                                                               ErrorRef* error = nullptr);

    virtual ~PWMessageContents() = default;

    virtual bool isMutable() const { return false; }
    virtual std::u16string contentIdentifier() const;
    virtual Data contentData() const;
    // The file the contents were read from, if any.
    const std::optional<std::string>& url() const { return url_; }

    // The headers, parsed on first call and kept (a failed parse is tried again on the next call).
    virtual PWMessageHeadersRef headersWithError(ErrorRef* error) const;
    PWMessageHeadersRef headers() const { return headersWithError(nullptr); }
    // The body block of the raw data (not kept).
    std::optional<Data> bodyData() const;
    // The root of the MIME tree, parsed on first call and kept; nullptr (and the log line "Could Not Mime
    // Parse data!") when the data does not parse, tried again on the next call.
    virtual PWMimePartRef rootMimePart() const;
    virtual void setRootMimePart(PWMimePartRef root);
    bool isWellFormed() const;

    size_t size() const;         // raw bytes
    size_t contentSize() const;  // the tree's decoded size
    std::vector<PWMimePartRef> mimeAttachments() const;
    PWMimePartRef mimeAttachmentWithContentId(std::u16string_view contentId) const;
    std::vector<PWMimePartRef> digitallySignedParts() const;
    bool encrypted() const;
    int encryptionMethod() const;  // 1 when the tree holds PGP encryption, else 0
    uint64_t encryptionFlags() const;

    OptString headersMessageId() const;  // first "Message-Id", decoded and unfolded, brackets kept
    std::optional<std::vector<std::u16string>> headersInReplyTos() const;   // kept after the first call
    std::optional<std::vector<std::u16string>> headersReferences() const;   // kept after the first call
    std::optional<std::vector<std::u16string>> headersInReplyTosDigests() const;
    std::optional<std::vector<std::u16string>> headersReferenceDigests() const;
    // Digests set by callers (stored, not computed).
    std::optional<std::vector<std::u16string>> headersInReplyToDigests() const;
    void setHeadersInReplyToDigests(std::optional<std::vector<std::u16string>> digests);

    nlohmann::json userInfo() const;
    void setUserInfo(nlohmann::json userInfo);

    // A complete HTML page that shows the text preformatted. The text is inserted as it stands (not
    // escaped): callers escape text that is not HTML.
    static std::u16string htmlEnvelopeWithContents(std::u16string_view text);
    // The lower-cased userAtDomain of each address, duplicates and nils dropped, order kept, joined by
    // ","; nullopt for an empty result.
    static OptString _persistentIDKeyForEmailAddresses(const PWEmailAddressList& addresses);

    // New contents from the tree with attachments replaced (by content id) or removed, written out and
    // parsed again.
    std::shared_ptr<PWMessageContents> messageContentsByReplacingMimeAttachments(
        const std::vector<PWMimePartRef>& attachments) const;
    std::shared_ptr<PWMessageContents> messageContentsByRemovingMimeAttachments() const;

    // A complete HTML document of the message for a display context (rich, plain text, editing): the root
    // part's fragment in a page, or, for plain-text messages and the plain-text context, the text
    // preformatted in htmlEnvelopeWithContents. attachments receives the attachments the fragment refers
    // to. The monitor may cancel a long rendering (the document then holds what was rendered).
    std::u16string htmlDocumentWithContext(int context, const RenderMonitor* monitor = nullptr,
                                           std::vector<PWMimePartRef>* attachments = nullptr) const;
    // The plain text a reader would see: the part chosen for the plain-text context.
    OptString plainText() const;

    // Immutable contents are their own copy; the mutable copy re-parses the bytes.
    virtual std::shared_ptr<PWMessageContents> copy() const;
    std::shared_ptr<PWMutableMessageContents> mutableCopy() const;

protected:
    PWMessageContents() = default;
    void initialise(const OptString& contentIdentifier, const Data& contentData, ErrorRef* error);

    mutable std::mutex mutex_;
    std::u16string contentIdentifier_;
    Data contentData_;
    std::optional<std::string> url_;
    nlohmann::json userInfo_;
    mutable PWMessageHeadersRef headers_;
    mutable std::optional<Data> headerBlock_;  // the bytes headers_ was parsed from
    mutable PWMimePartRef rootMimePart_;
    mutable std::optional<std::optional<std::vector<std::u16string>>> inReplyToList_;
    mutable std::optional<std::optional<std::vector<std::u16string>>> referenceList_;
    std::optional<std::vector<std::u16string>> headersInReplyToDigests_;

    friend class PWMBoxMessageContents;
};

// The editable contents: the MIME tree is the master; bytes, headers and identifier follow it.
class PWMutableMessageContents : public PWMessageContents {
public:
    // Builds the mutable tree from the data (and, without an identifier, takes the headers' one). It does
    // not read mbox envelopes and reports no error.
    static std::shared_ptr<PWMutableMessageContents> initWithContentIdentifier(const OptString& contentIdentifier,
                                                                               const Data& contentData);
    static std::shared_ptr<PWMutableMessageContents> initWithHeaderAndBodyData(const Data& contentData) {
        return initWithContentIdentifier(std::nullopt, contentData);
    }

    bool isMutable() const override { return true; }
    // The root's serialised form, regenerated on every call.
    Data contentData() const override;
    PWMessageHeadersRef headersWithError(ErrorRef* error) const override;
    void setHeaders(const PWMessageHeadersRef& headers);
    // The root headers' identifier, recomputed after changes through the headers' own cache.
    std::u16string contentIdentifier() const override;
    PWMimePartRef rootMimePart() const override;
    void setRootMimePart(PWMimePartRef root) override;

    // Immutable contents parsed from the current bytes.
    std::shared_ptr<PWMessageContents> copy() const override;

private:
    PWMutableMessageContents() = default;
};

// A small record callers fill to show a message in a list.
struct PWMessageContentsSummary {
    std::u16string contentIdentifier;
    std::u16string snippet;
    uint64_t contentSize = 0;
    std::vector<std::u16string> attachmentFileNames;
    uint64_t encryptionFlags = 0;
};

using PWMessageContentsRef = std::shared_ptr<PWMessageContents>;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
