// PWMimePart: a node of the MIME tree, the class registry that picks a node's class from its type, and the
// serialised form of a node.
//
// A part is made from the raw bytes of one entity (header block, blank line, body). Its class comes from
// two registries keyed by MIME type: the general one (text, multipart, message headers) and the attachment
// one (application, image, audio, video, calendar, embedded messages, signatures, other text). A multipart
// part splits its body into children, recursively, down to kMimeMaxNestingDepth levels. Bodies are views of
// the bytes the tree was parsed from: nothing is copied. A part parsed immutable never changes; a mutable
// part tracks changes so that its bytes are rebuilt (headers folded afresh, children joined with their
// boundary), and a change anywhere discards the cached bytes of every ancestor.
//
//     PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message, u"0");
//     for (const PWMimePartRef& part : root->textParts()) std::u16string text = *part->plainContent();
//     Data same = root->mimeNSData();                            // the input, byte for byte
//
//     PWMimePartRef draft = root->mutableCopy();
//     draft->subParts()[0]->setCharset(u"utf-8");                // the root is now mutated
//     Data rebuilt = draft->mimeNSData();
//
// Classes. C++ has no class objects, so a class of the tree is described by a PWMimeClass: its name, its
// superclass and a factory. Every part class has a static mimeClass() and answers objectClass(); the
// registries map types to descriptors. registerMimePartClasses() makes the registrations of the type table
// once; every operation that consults a registry calls it first.
//
// Threads. Parts may be read from several threads. Each part guards its fields with its own mutex;
// inherited values (charset, transfer encoding) are read from the parent after the child's own fields, so
// locks are only ever taken child before parent, and a container never holds its lock while it asks a
// child for anything. Each registry has its own mutex.
//
// Broken contracts: every setter of an immutable part throws ProgrammingError "MimePart Is Not Mutable"
// (sourceFile "PWMimePart"); the serialiser throws the three CR LF texts of mimeData().
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/EncodingDetector.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Export.hpp"
#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "postwright/Lexical/ParameterDictionary.hpp"
#include "postwright/Mime/MimeConstants.hpp"
#include "postwright/Mime/PWContentDisposition.hpp"
#include "postwright/Mime/PWContentType.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWMimePart;
using PWMimePartRef = std::shared_ptr<PWMimePart>;

// A class of the MIME tree as the registries see it.
struct PWMimeClass {
    std::u16string_view name;
    const PWMimeClass* superclass;  // nullptr for PWMimePart
    PWMimePartRef (*allocate)();    // a new, not yet initialised instance of the class

    // True for this class and every class that derives from other.
    bool isSubclassOf(const PWMimeClass& other) const noexcept;
    // True for PWMimeAttachment and its subclasses: their types live in the attachment registry.
    bool isAttachmentKind() const noexcept;
};

// A node of the MIME tree, made from the bytes of one entity.
class PWMimePart : public std::enable_shared_from_this<PWMimePart> {
public:
    static const PWMimeClass& mimeClass();
    virtual const PWMimeClass& objectClass() const { return mimeClass(); }
    // Kind tests against a class descriptor: isKindOfClass includes subclasses, isMemberOfClass does not.
    bool isKindOfClass(const PWMimeClass& cls) const noexcept { return objectClass().isSubclassOf(cls); }
    bool isMemberOfClass(const PWMimeClass& cls) const noexcept { return &objectClass() == &cls; }

    virtual ~PWMimePart();
    PWMimePart(const PWMimePart&) = delete;
    PWMimePart& operator=(const PWMimePart&) = delete;

    // ---- Registry ---------------------------------------------------------------------------------------

    // Makes the registrations of the type table (text, multipart, message headers in the general registry;
    // the attachment kinds in the attachment registry), once per process. Safe to call from any thread.
    static void registerMimePartClasses();
    // Records cls under the lower-cased type in the registry of the nearest registry class it derives from
    // (PWMimeAttachment's for attachment kinds, else the general one). A later registration replaces.
    static void registerForMimeType(const PWMimeClass& cls, std::u16string_view type);
    // The class of the general registry for a type: the whole lower-cased type, else its first component
    // followed by "/*"; nullptr when neither is registered. (PWMimeAttachment::classForMimeType asks the
    // attachment registry the same way.)
    static const PWMimeClass* classForMimeType(std::u16string_view type);
    // The class that represents a part of that type and disposition: the attachment registry first when
    // the disposition says "attachment" or the base type is "application", else the general one, then the
    // attachment one; an application/octet-stream (or application/unknown) attachment whose file name has
    // an extension takes the general class of that extension's type; the attachment flag forces an
    // attachment class; with nothing found, "Unknown MimeType: %@ , using generic MimePart" is logged and
    // PWMimePart is used. Never fails.
    static const PWMimeClass& MimeClassForBaseType(const OptString& baseType, const OptString& subType,
                                                   const ParameterDictionary* contentType,
                                                   const ParameterDictionary* contentDisposition);
    // The MIME type registered for a file-name extension (Base's table), nullopt when unknown.
    static OptString mimeTypeForFilenameExtension(std::u16string_view extension);

    // ---- Creation -----------------------------------------------------------------------------------------

    // Parses one entity and builds the part (and its children) with the class its type selects. Empty data
    // gives nullptr without an error. A header block that cannot be decoded gives nullptr and the MIME
    // error code 1 with the header error underneath. A multipart body that cannot be split leaves the
    // multipart error (code 2) in the slot, but the part is returned with its whole body as content. The
    // slot is cleared on entry.
    static PWMimePartRef newMimePartWithRFC2822Data(const Data& data, const OptString& identifier, bool isMutable,
                                                    ErrorRef* error);
    static PWMimePartRef newMimePartWithRFC2822Data(const Data& data, const OptString& identifier,
                                                    ErrorRef* error = nullptr) {
        return newMimePartWithRFC2822Data(data, identifier, false, error);
    }
    static PWMimePartRef mutableMimePartWithRFC2822Data(const Data& data, const OptString& identifier,
                                                        ErrorRef* error = nullptr) {
        return newMimePartWithRFC2822Data(data, identifier, true, error);
    }
    // The immutable root of a message whose header block is parsed already (message contents parse it
    // first): `headers`, read from `headerBlock`, the header block that headerSubdata cuts from `data`, serve
    // the root when its own header block is those same bytes, so that the block is neither searched for nor
    // parsed and decoded twice.
    static PWMimePartRef newMimePartWithRFC2822Data(const Data& data, const OptString& identifier,
                                                    const PWMessageHeadersRef& headers, const Data& headerBlock,
                                                    ErrorRef* error = nullptr);

    // The designated initialiser, on an instance of cls: headers, content-type and disposition info that
    // are not given are read from the data's header block. Always returns a part (the error slot may still
    // hold a multipart error).
    static PWMimePartRef initWithRFC2822Headers(const PWMessageHeadersRef& headers,
                                                const std::optional<ParameterDictionary>& contentTypeInfo,
                                                const std::optional<ParameterDictionary>& contentDispositionInfo,
                                                const Data& data, const OptString& identifier, bool isMutable,
                                                ErrorRef* error, const PWMimeClass& cls = mimeClass());
    static PWMimePartRef initWithRFC2822Data(const Data& data, const OptString& identifier, bool isMutable,
                                             ErrorRef* error, const PWMimeClass& cls = mimeClass()) {
        return initWithRFC2822Headers(nullptr, std::nullopt, std::nullopt, data, identifier, isMutable, error, cls);
    }
    static PWMimePartRef initImmutableWithRFC2822Data(const Data& data, const OptString& identifier,
                                                      const PWMimeClass& cls = mimeClass()) {
        return initWithRFC2822Data(data, identifier, false, nullptr, cls);
    }
    // An immutable part with empty headers and content; a mutable one with an empty mutable collection.
    static PWMimePartRef init(const PWMimeClass& cls = mimeClass());
    static PWMimePartRef initMutable(const PWMimeClass& cls = mimeClass());
    // initMutable for a part class known at compile time.
    template <class T>
    static std::shared_ptr<T> initMutableOf() {
        return std::static_pointer_cast<T>(initMutable(T::mimeClass()));
    }

    // The info dictionary of a Content-Type or Content-Disposition value (RFC 2045, RFC 2183); nullopt for
    // no value or one that does not scan.
    static std::optional<ParameterDictionary> contentTypeDictionaryFromHeader(const OptString& value);
    static std::optional<ParameterDictionary> contentDispositionDictionaryFromHeader(const OptString& value);
    // The same on the first field of a header collection (without encoded-word decoding), as records.
    static std::optional<PWContentType> contentTypeFromHeaders(const PWMessageHeaders& headers);
    static std::optional<PWContentDisposition> contentDispositionFromHeaders(const PWMessageHeaders& headers);

    // ---- Reading --------------------------------------------------------------------------------------------

    // The header collection. A mutable part first brings its Content-Transfer-Encoding, Content-Disposition
    // and Content-Type fields in line with its fields, writing a field only when its meaning changes, so
    // reading never marks the part mutated.
    PWMessageHeadersRef headers() const;

    OptString type() const;                  // "@type", lower-cased
    OptString basetype() const { return type(); }
    OptString subtype() const;               // "@subtype", lower-cased
    std::u16string MIMEtype() const;         // "type/subtype" ("(null)" for a missing half)
    ParameterDictionary contentType() const;
    std::optional<ParameterDictionary> contentDisposition() const;
    OptString boundary() const;
    OptString contentId() const;
    // The own "charset" parameter when not empty (then cached), else the parent's charset.
    OptString charset() const;
    // The own Content-Transfer-Encoding (lower-cased), else the parent's.
    OptString contentTransferEncoding() const;
    FGTransferEncodingKind FGTransferEncoding() const;
    // The encoding the charset names: ISO Latin 1, UTF-8, ASCII, Windows-1252 by name, any other name
    // through the charset table; UTF-8 when there is no charset or the name is unknown.
    TextEncoding stringEncoding() const;
    // What the message says about charsets, for reading this part's bytes when their own charset fails
    // or is missing: the part's charset (declared), the charsets the other parts of its tree declare and
    // those of the encoded words in the root's and the part's header blocks (message). The host's
    // preferred encodings are added by the decoding itself. Walks the whole tree: ask only when detection
    // is needed.
    EncodingHints encodingHints() const;

    // The body as it stands in the message, still transfer-encoded (empty for a split multipart).
    Data contentData() const;
    Data bodyData() const { return contentData(); }
    // The raw body read with stringEncoding(), without transfer decoding; nullopt when that fails.
    OptString contentString() const;
    // The raw body read as base64, characters outside the alphabet ignored.
    Data binaryContentData() const;
    // The body with its transfer encoding undone (base64, quoted-printable; anything else as it stands).
    // Quoted-printable that does not decode gives the body as it stands.
    Data transferDecodedData() const;
    // The disposition's "filename" (or its joined RFC 2231 pieces), trimmed of double quotes at both ends
    // and with encoded words decoded; nullopt when there is none.
    OptString filename() const;

    PWMimePartRef rootMimePart() const;
    PWMimePartRef parent() const;
    // The children in body order; empty for a leaf.
    std::vector<PWMimePartRef> subParts() const;
    bool hasSubParts() const;
    OptString identifier() const;
    bool isMutable() const;
    bool isMutated() const;
    bool contentIsBase64encoded() const;
    // Bytes of the header block (headerData()).
    size_t headerSize() const;
    // Bytes the body decodes to: the transfer-decoded length of a leaf, the sum of the children's for a
    // container (base64 is measured without decoding).
    size_t decodedSize() const;
    // False when the serialised bytes (at least 3 of them) begin with CR LF, or a child is not well formed.
    bool isWellFormed() const;
    // "<Class identifier type/subtype flags>" for diagnostics.
    std::u16string description() const;

    // A new immutable (mutable) part parsed from this part's mimeData(), with the same identifier.
    PWMimePartRef copy() const;
    PWMimePartRef mutableCopy() const;

    // ---- Tree queries (recursing through children; depth is bounded by kMimeMaxNestingDepth for parsed
    // trees, and by the program for trees it builds) -------------------------------------------------------

    // Leaves answer for themselves: an attachment is its own attachment, a text part its own text part.
    virtual std::vector<PWMimePartRef> attachments() const { return {}; }
    virtual std::vector<PWMimePartRef> textParts() const { return {}; }
    virtual std::vector<PWMimePartRef> htmlParts() const { return {}; }
    virtual std::vector<PWMimePartRef> digitallySignedParts() const { return {}; }
    // The parts of the subtree, this one first, that pass the test, in depth-first order.
    virtual std::vector<PWMimePartRef> mimePartsPassingTest(const std::function<bool(const PWMimePart&)>& test) const;
    // The first part of the subtree (depth first, this one first) with that content id.
    virtual PWMimePartRef partWithContentID(std::u16string_view contentId) const;
    // The same among the attachments of the subtree.
    virtual PWMimePartRef mimeAttachmentWithContentId(std::u16string_view contentId) const;
    virtual bool isApplePartialContentData() const { return false; }
    virtual bool isExchangeHTMLAfterPart() const { return false; }
    virtual bool shouldDisplayAsPlainText() const { return false; }
    // The decoded size as the text classes count it (characters of text); decodedSize() for other leaves.
    virtual size_t decodedContentSize() const { return decodedSize(); }
    // The body as HTML or plain text; nullopt for parts that are neither.
    virtual OptString htmlContent() const { return std::nullopt; }
    virtual OptString plainContent() const { return std::nullopt; }
    // A mutable copy without the attachments of the subtree (nullptr for an attachment itself), or with
    // each attachment replaced by the one of the list that has the same content id.
    virtual PWMimePartRef mimePartByRemovingAttachments() const;
    virtual PWMimePartRef mimePartByReplacingMimeAttachments(const std::vector<PWMimePartRef>& attachments) const;
    // True when the subtree holds a multipart/encrypted part whose "protocol" is
    // "application/pgp-encrypted", or a part of type "application/pgp-encrypted".
    bool containsPGPEncryption() const;

    // The part as an HTML fragment for a display context (kMimeDisplayContextPlainText or a rich one).
    // relatedAttachments, when given, receives the attachments the fragment refers to or lists. A generic
    // part gives the empty text.
    virtual std::u16string htmlFragmentForContext(int context, unsigned options,
                                                  std::vector<PWMimePartRef>* relatedAttachments) const;

    // ---- Changing (mutable parts only) ---------------------------------------------------------------------
    //
    // Each setter throws "MimePart Is Not Mutable" on an immutable part, does nothing when given the value
    // already held, and otherwise stores the value and marks the part (and its ancestors) mutated.

    // Replaces the collection; a mutable part re-reads Content-Type, Content-Transfer-Encoding,
    // Content-Disposition and Content-Id from it and observes it (any change of it marks the part mutated).
    void setHeaders(const PWMessageHeadersRef& headers);
    // Sets one field on a mutable copy of the headers (nil removes it) and stores the copy.
    void setHeader(const OptString& value, std::u16string_view key);
    void setType(const OptString& type);
    void setSubtype(const OptString& subtype);
    void setBoundary(const OptString& boundary);
    void setCharset(const OptString& charset);
    // Stores the info; its "charset" becomes the charset, or else the current charset (own or inherited)
    // is written into it.
    void setContentType(const ParameterDictionary& contentType);
    void setContentDisposition(const std::optional<ParameterDictionary>& contentDisposition);
    // Also becomes the identifier of a part that has none.
    void setContentId(const OptString& contentId);
    void setContentTransferEncoding(const OptString& encoding);
    // Sets each child's parent link; a child already under another container is not taken from it. A list
    // that holds this part or one of its ancestors throws ProgrammingError "A MimePart cannot contain
    // itself" (sourceFile "PWMimePart"), before the mutability assertion.
    void setSubParts(const std::vector<PWMimePartRef>& subParts);
    // Stores the raw body. Unlike the other setters it is allowed on an immutable part, whose serialised
    // form then stays its source bytes; on a mutable part it marks the part mutated.
    void setContentData(const Data& data);
    void setBodyData(const Data& data) { setContentData(data); }
    // Stores the bytes as base64 text in lines of 76 characters.
    void setBinaryContentData(const Data& data);
    // true: the part becomes mutable, observes its headers, and keeps its source bytes as its serialised
    // form. false: the last serialised form becomes the source, observation stops. Other calls do nothing.
    void setMutable(bool isMutable);
    // On a mutable part only: sets or clears the mutated flag; setting discards the cached bytes of this
    // part and marks every ancestor mutated.
    void setMutated(bool mutated);
    void clearDerivedData() { setMutated(true); }

    // ---- Serialisation ---------------------------------------------------------------------------------------

    // The header block without its blank line: the source's for an unchanged part, else rebuilt from the
    // header collection and the fields, and cached. The received fields are written as they came;
    // Content-Type and Content-Disposition one parameter per continuation line; Content-Transfer-Encoding
    // and Content-Id ("<id>") folded by the header writer with TAB continuations; UTF-8.
    Data headerData() const;
    // The whole entity as regions: the source bytes of an unchanged part, else the rebuilt header, a blank
    // line and the content or the children between "--boundary" lines, ending with the close delimiter
    // (no epilogue, no line break after it); children that are not changed are views of their source.
    // A rebuilt part uses CR LF, or LF when it was parsed from bytes stored with bare LF line ends (so that
    // the children it keeps as received are still found). A boundary that occurs at the start of a line
    // of some child is replaced by a newBoundary()-style one before writing. Throws ProgrammingError
    // "header data has invalid CRLF head", "partData %@ has invalid CRLF head" or "final mime data has
    // invalid CRLF head" (sourceFile "PWMimePart") should a piece still begin with CR LF once its leading
    // line ends are stripped.
    ChainedData mimeData() const;
    // mimeData() as one contiguous buffer (flattened once, then cached with the part's bytes).
    Data mimeNSData() const;
    // The bytes as readable text: printable ASCII as it is, CR and LF and other bytes escaped (\r \n \xHH),
    // a line break after every LF.
    std::u16string debugAscii() const;

protected:
    PWMimePart();

    // Throws "MimePart Is Not Mutable" unless the part is mutable.
    void assertMutable() const;
    // The name the initialiser gives a part whose Content-Type has no "name": attachments answer their
    // unknownFileName(), every other class nothing.
    virtual OptString unknownFileNameForInitialisation() const { return std::nullopt; }

    mutable std::mutex mutex_;

private:
    struct EntityPartition;

    // parsedHeaders, when given, were read from parsedBlock and are used if the entity's header block is
    // that view.
    static PWMimePartRef createPart(const Data& data, const OptString& identifier, bool isMutable, ErrorRef* error,
                                    size_t depth, const PWMessageHeadersRef& parsedHeaders = nullptr,
                                    const Data* parsedBlock = nullptr);
    void initialise(PWMessageHeadersRef headers, std::optional<ParameterDictionary> contentTypeInfo,
                    std::optional<ParameterDictionary> contentDispositionInfo, const Data& data,
                    const OptString& identifier, bool isMutable, ErrorRef* error, size_t depth,
                    const EntityPartition* partition);

    // Observation of a mutable header collection: any change of it marks the part mutated.
    void observeHeaders(const PWMessageHeadersRef& headers);
    void stopObservingHeaders();
    void replaceObservedHeaders(const std::shared_ptr<PWMutableMessageHeaders>& headers);
    void headersDidChange();
    // Reads the MIME fields from the headers wherever they are present (setHeaders of a mutable part).
    void readFieldsFromHeadersLocked(const PWMessageHeaders& headers);
    // Marks this part mutated (discarding its cached bytes) and walks up the ancestors doing the same.
    void markMutated();

    PWMessageHeadersRef headers_;
    size_t observerToken_ = 0;
    std::weak_ptr<PWMessageHeaders> observedHeaders_;
    // Non-zero while headers() writes the fields it derives itself: those writes are not changes of the part.
    mutable std::atomic<int> synchronisingHeaders_{0};

    ParameterDictionary contentType_;
    std::optional<ParameterDictionary> contentDisposition_;
    OptString contentTransferEncoding_;
    mutable OptString charset_;  // the own "charset" parameter once read
    OptString contentId_;
    OptString identifier_;

    Data sourceMimeData_;
    mutable std::optional<ChainedData> derivedMimeData_;
    mutable std::optional<Data> derivedHeaderData_;
    // Counts changes, so that bytes rebuilt outside the lock are cached only when nothing changed meanwhile.
    uint64_t generation_ = 0;
    Data contentData_;
    std::optional<std::vector<PWMimePartRef>> subParts_;
    std::weak_ptr<PWMimePart> parent_;
    bool contentIsBase64encoded_ = false;
    unsigned mutabilityFlags_ = 0;  // bit 0: mutable; bit 1: mutated
    // '\n' when the part was parsed from bytes stored with bare LF line ends (it is then rebuilt with LF
    // line ends, like the children it keeps as received); 0 for CR LF, and for a part without source; '?'
    // for source bytes without any line break, which are rebuilt with the line ends of their container.
    char sourceLineEnd_ = 0;
    // Whether the part is rebuilt with LF line ends (its own source's, else its nearest ancestor's).
    bool rebuildsWithLineFeeds() const;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
