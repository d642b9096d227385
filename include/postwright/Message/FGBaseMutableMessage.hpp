// FGBaseMutableMessage: the editable message that a composer fills and that amendments change.
//
// The message keeps its editable pieces apart: a mutable header collection (the one source of truth for
// every header-backed property), the plain text, the HTML as one document string, and two attachment lists
// (files, and the inline resources of the HTML). It regenerates a complete PWMessageContents on demand,
// lazily and only when something changed, by building a MIME tree, writing it out and parsing the bytes
// back. A message opened from contents and left alone gives back those very contents.
//
//     auto draft = FGBaseMutableMessage::newWithHeaders(headers, u"Hello", u"<p>Hello</p>", {report}, 0);
//     draft->setSubject(u"Quarterly report");
//     Data bytes = draft->messageContents()->contentData();
//
//     auto edit = FGBaseMutableMessage::initWithMessageContents(contents);
//     edit->setSubject(u"Re: " + edit->subject().value_or(u""));    // body bytes are kept as they were
//
// Which tree comes out (no attachments: just the body, with charset "utf-8" when it has none):
//   plain text only                        text/plain (quoted-printable, UTF-8)
//   HTML (and its plain text)              multipart/alternative (text/plain, text/html)
//   HTML showing inline resources          multipart/related (multipart/alternative (plain, html), resources)
//   any of these and attachments           multipart/mixed (body, attachments...)
// The plain text of an HTML message is the HTML's plain text (HTMLPlainText.hpp) unless one was set, and
// none at all with the creation option kFGMessageCreationHTMLOnly. The HTML part's text is the stored HTML
// string; the composer's content-id URLs in it ("x-postwright-cid:ID") are written as the RFC 2392 URLs of
// the message ("cid:ID"), so that any reader finds the inline resources.
//
// The HTML building of the composer (one HTML body, or a body cut into pieces around attachments for
// delivery) is described with its operations below.
//
// Threads: the message's lock guards its fields, but a message is meant to be edited from one thread at a
// time. Broken contract: setContentIdentifier throws ProgrammingError "Should not be setting the
// contentIdentifier directly".
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "postwright/Amendments/FGContentReplacement.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"
#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Message/FGMimeUpdateContext.hpp"
#include "postwright/Message/PWMessageContents.hpp"
#include "postwright/Mime/FGMessageAttachment.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// What changed since the message was opened (mutationFlags()).
enum FGMessageMutationFlags : int64_t {
    kFGMessageMutatedHeaders = 1,    // markMutatedHeaders, or opened with a new content identifier
    kFGMessageMutatedPlainText = 2,  // setPlainText, and the force-plain-text request (one bit for both)
    kFGMessageMutatedHTML = 4,       // setHtml
    kFGMessageMutatedBody = 8,       // markMutatedBody: the body changed by other means (the attachments)
};

// Options given when a message is created (creationFlags()).
enum FGMessageCreationFlags : uint64_t {
    kFGMessageCreationNoComposerId = 1,  // write no "X-Orwin-Composer-Id" (a copied one is removed)
    kFGMessageCreationHTMLOnly = 2,      // with an HTML body, no plain-text alternative is made
};

// The display context whose rendering an opened message edits (PWMessageContents::htmlDocumentWithContext).
inline constexpr int kFGMessageEditingDisplayContext = kMessageDisplayEditing;

// The editable message: headers, plain text, HTML and attachments, regenerated into contents on demand.
class FGBaseMutableMessage : public std::enable_shared_from_this<FGBaseMutableMessage> {
public:
    // ---- Creation ---------------------------------------------------------------------------------------

    // An empty message whose only header is a new "X-Orwin-Composer-Id" (makeNewContentID()).
    static std::shared_ptr<FGBaseMutableMessage> init();
    // Opens existing contents. The headers become a mutable copy of the contents' headers. With
    // createNewContentId (and not forAmending) the message gets a new "X-Orwin-Composer-Id" and the
    // Message-Id "<CONTENT-ID#8 UUID CHARACTERS@FROM DOMAIN>" (a fresh UUID when From has no domain), and
    // counts as mutated; otherwise it counts as unchanged. The HTML (the contents rendered for editing), the
    // plain text (the plain content of every text part, any subtype, trimmed, joined by CR LF) and the
    // attachments (the contents' attachments) are read from the contents when first asked for.
    static std::shared_ptr<FGBaseMutableMessage> initWithMessageContents(const PWMessageContentsRef& contents,
                                                                         bool forAmending = false,
                                                                         bool createNewContentId = false);
    // A new message: a mutable copy of the headers (an empty collection for nullptr) whose
    // "X-Orwin-Composer-Id" is removed with kFGMessageCreationNoComposerId and otherwise set to the headers'
    // content identifier; then the plain text, the HTML and the attachments are set (so the body counts as
    // changed, even when both texts are nullopt).
    static std::shared_ptr<FGBaseMutableMessage> newWithHeaders(const PWMessageHeadersRef& headers,
                                                                const OptString& plainTextBody,
                                                                const OptString& htmlBody,
                                                                const FGAttachmentList& attachments, uint64_t options);
    // A new random content identifier (18 characters), made from a UUID.
    static std::u16string makeNewContentID();
    // A new message of the same class opened from this one's current messageContents(), unchanged.
    std::shared_ptr<FGBaseMutableMessage> mutableCopy() const;

    virtual ~FGBaseMutableMessage() = default;
    FGBaseMutableMessage(const FGBaseMutableMessage&) = delete;
    FGBaseMutableMessage& operator=(const FGBaseMutableMessage&) = delete;

    // ---- Header-backed properties ----------------------------------------------------------------------
    //
    // Getters read the header collection; setters write it and then markMutatedHeaders().

    OptString subject() const;
    void setSubject(const OptString& subject);
    OptString headerID() const;
    // "<id>"; nullopt removes the Message-Id.
    void setHeaderID(const OptString& identifier);
    std::optional<PWEmailAddressList> sender() const;
    void setSender(const PWEmailAddressList& addresses);
    std::optional<PWEmailAddressList> from() const;
    void setFrom(const PWEmailAddressList& addresses);
    // Recipient lists take groups or plain addresses; an empty list removes the field.
    std::optional<PWEmailAddressGroupList> recipients() const;
    void setRecipients(const PWEmailAddressGroupList& groups);
    void setRecipients(const PWEmailAddressList& addresses);
    std::optional<PWEmailAddressGroupList> ccRecipients() const;
    void setCcRecipients(const PWEmailAddressGroupList& groups);
    void setCcRecipients(const PWEmailAddressList& addresses);
    std::optional<PWEmailAddressGroupList> bccRecipients() const;
    void setBccRecipients(const PWEmailAddressGroupList& groups);
    void setBccRecipients(const PWEmailAddressList& addresses);
    std::optional<PWEmailAddressGroupList> replyToRecipients() const;
    void setReplyToRecipients(const PWEmailAddressGroupList& groups);
    void setReplyToRecipients(const PWEmailAddressList& addresses);
    std::optional<double> dateSent() const;
    void setDateSent(double date);
    // nullopt is ignored: nothing is written and nothing is marked.
    std::optional<std::vector<std::u16string>> inReplyToIDs() const;
    void setInReplyToIDs(const std::optional<std::vector<std::u16string>>& identifiers);
    std::optional<std::vector<std::u16string>> references() const;
    void setReferences(const std::optional<std::vector<std::u16string>>& identifiers);
    // Read only: setDateReceived does nothing.
    std::optional<std::vector<std::u16string>> inReplyToDigests() const;
    std::optional<double> dateReceived() const;
    void setDateReceived(double) {}
    std::u16string contentIdentifier() const;
    // Always throws ProgrammingError "Should not be setting the contentIdentifier directly".
    [[noreturn]] void setContentIdentifier(const std::u16string& identifier);

    // ---- Body -----------------------------------------------------------------------------------------------

    OptString plainText() const;
    // Stores the text, drops the generated contents, sets kFGMessageMutatedPlainText.
    void setPlainText(const OptString& text);
    OptString html() const;
    // Stores the HTML, drops the generated contents, sets kFGMessageMutatedHTML.
    void setHtml(const OptString& html);
    // Reads and writes the kFGMessageMutatedPlainText bit only (the generated contents stay), so it answers
    // true after any setPlainText.
    bool forcePlainText() const;
    void setForcePlainText(bool force);
    // Plain stored values: setting them marks nothing (markMutatedBody says the body changed).
    FGAttachmentList attachments() const;
    void setAttachments(const FGAttachmentList& attachments);
    FGAttachmentList htmlRelatedAttachments() const;
    void setHtmlRelatedAttachments(const FGAttachmentList& attachments);

    // Drops the generated contents and sets kFGMessageMutatedHeaders.
    void markMutatedHeaders();
    // Drops the generated contents and sets kFGMessageMutatedBody, so that the next messageContents() builds
    // the body again (after the attachment lists changed, say).
    void markMutatedBody();
    // The header collection (read under the message's lock). Edits made on it directly are seen by the
    // next messageContents().
    std::shared_ptr<PWMutableMessageHeaders> headers() const;

    int64_t mutationFlags() const;
    uint64_t creationFlags() const;
    // The contents the message was opened from (nullptr for a new message), and the last generated ones.
    PWMessageContentsRef sourceContents() const;
    PWMessageContentsRef generatedContents() const;

    // ---- Contents ---------------------------------------------------------------------------------------------

    // The current complete message: the generated contents when there are some; the source contents when
    // nothing changed (same object, same bytes); otherwise newly generated contents, which are kept and whose
    // headers become the message's header collection. nullptr when there is nothing to generate.
    PWMessageContentsRef messageContents();
    // Generates contents from the pieces: with a body change (bits 2, 4 or 8), the tree of
    // buildRootMimePartWithPlainText from the plain text, the HTML document and the attachments followed by
    // the HTML-related attachments; with only headers changed, a mutable copy of the source's root part (its
    // bytes are not decoded or encoded again). The amendments and the error slot are not used.
    PWMessageContentsRef buildMessageContentsWithAmendments(const PWMessageAmendmentList& amendments = {},
                                                            ErrorRef* error = nullptr);
    // nullptr for no text or an empty one; else a new text/plain part (UTF-8 when it needs more than ASCII,
    // quoted-printable).
    PWMimePartRef buildPlainTextPartWithText(const OptString& text, const PWMessageAmendmentList& amendments = {});
    // Assembles the tree (see the table above). attachments that the HTML does not show go into a
    // multipart/mixed after the body; one whose part has no bytes is left out.
    PWMimePartRef buildRootMimePartWithPlainText(const OptString& plainText,
                                                 const std::shared_ptr<HTMLDocument>& htmlDocument,
                                                 const FGAttachmentList& attachments,
                                                 const PWMessageAmendmentList& amendments = {});
    // Contents made from a root part: the root is given a copy of the message's headers with its own
    // Content-Type, Content-Disposition and Content-Transfer-Encoding (and "MIME-Version: 1.0" when missing),
    // written out (a leading CR LF dropped) and parsed back as mutable contents, whose headers become the
    // message's header collection.
    std::shared_ptr<PWMutableMessageContents> mutableContentsWithMimePart(const PWMimePartRef& root);

    // Runs the amendments over this message itself, in the order given (no sorting, no driver): each changes
    // the message, and their results' userInfo is merged into the contents' userInfo. The first error stops
    // the run (what was applied stays applied): nullptr and that error. Otherwise a new message of the same
    // class opened from the amended contents. The error slot is cleared on entry.
    std::shared_ptr<FGBaseMutableMessage> messageByApplyingAmendments(const PWMessageAmendmentList& amendments,
                                                                      const PWMessageAmendmentContextRef& context,
                                                                      uint64_t options, ErrorRef* error);

    // Puts a new root part into the message's contents (the sign, encrypt and decrypt amendments put the
    // host service's result there): a message that is still its source contents gets generated contents
    // first, so the source stays as it was. The root becomes mutable and its header collection becomes the
    // message's own, so later header edits reach the new tree.
    void setRootMimePartOfContents(const PWMimePartRef& root);

    // The content replacements that strip editing-only markup from the composer's HTML, built once: remove
    // the id "FGEditingContainer"; remove "span.orwIconLabel"; remove the attributes "orw-src",
    // "orw-icon-src", "orw-id", "orw-name", "orw-mime-type", "orw-maxes", "orw-prepared"; remove the class
    // "fg-editing-block".
    static const std::vector<FGContentReplacement>& replacements();

    // ---- HTML message building ----------------------------------------------------------------------------
    //
    // The composer edits one HTML document in which attachments stand as placeholder elements: an element
    // carrying "orw-mime-type" (the attachment's type), "orw-src" (its resource URL) and "orw-name" (its file
    // name), usually a span. The document's editing container is the element with id "FGEditingContainer",
    // else the body. Attachment lists are passed in and out: each operation leaves in the list the
    // attachments that are still to be attached separately.

    // One HTML body. nullptr for no document (the list stays as it is). The attachments whose resource URL
    // is the "src" of an element of the document (under the content-id scheme, compared as written) are
    // embedded: the HTML part (the stored HTML string, UTF-8, quoted-printable) goes first into a
    // multipart/related, each embedded attachment after it as a copy whose disposition is "inline" for an
    // image and "attachment" otherwise. The others stay in the list.
    PWMimePartRef buildHTMLPartWithDocument(const std::shared_ptr<HTMLDocument>& document,
                                            FGAttachmentList* attachments,
                                            const PWMessageAmendmentList& amendments = {});
    // The editing container's content as an ordered list of runs of ordinary content (document fragments)
    // and attachment elements: a child of the container that is, or whose whole visible text is, a
    // placeholder standing alone (no text or other placeholder beside it in its parent) becomes an
    // attachment element of its own; everything else is content. The document is not changed (children are
    // cloned).
    std::vector<HTMLNodeRef> partFragmentsFromDocument(const HTMLDocument& document);
    // A body from the fragment list. When content or an image follows a non-image attachment, the body is
    // cut there: a multipart/mixed of HTML pieces and attachments in document order, then the attachments
    // left in the list (which is emptied). Otherwise one HTML part, wrapped in multipart/related with the
    // attachments whose resource URL an <img src> shows (once per image); those leave the list. The
    // replacements() are applied to the HTML first.
    PWMimePartRef buildHTMLPartWithFragments(const std::vector<HTMLNodeRef>& fragments, FGAttachmentList* attachments,
                                             const FGMimeUpdateContext& context);
    // The part of the attachment an attachment element stands for: the first of the list whose resource URL
    // is the element's "orw-src", which then leaves the list. nullptr (the list unchanged) for a node that is
    // not an element, an element without a usable "orw-src" URL, or a URL no attachment has.
    PWMimePartRef attachmentPartFromElement(const HTMLNodeRef& node, FGAttachmentList* attachments);
    // Rebuilds the whole tree for delivery from the HTML (head style sheets removed: all of them with
    // forcePlainText, else the composer's "local-styles") and the attachments: for type 0 on an Exchange
    // account, placeholders of non-image attachments become "(NAME)" in emphasis and every attachment goes
    // after the body; otherwise buildHTMLPartWithFragments decides. The plain text is the HTML's (none with
    // kFGMessageCreationHTMLOnly). The new contents become the generated contents and their headers the
    // message's header collection. Returns the new root.
    PWMimePartRef updateMimePartsWithContext(const FGMimeUpdateContext& context);

protected:
    FGBaseMutableMessage() = default;
    // A new, empty message of the receiver's class (subclasses override it so that copies keep their class).
    virtual std::shared_ptr<FGBaseMutableMessage> newMessageOfSameClass() const;
    // The setup of initWithMessageContents, on a new instance.
    void openContents(const PWMessageContentsRef& contents, bool forAmending, bool createNewContentId);

private:
    // Fills the HTML and plain text from the source contents the first time either is needed.
    void loadBodyFromSourceIfNeeded() const;
    void replaceHeaders(const std::shared_ptr<PWMutableMessageHeaders>& headers);
    void setMutationBits(int64_t bits, bool dropGeneratedContents);
    template <typename Setter>
    void writeHeaders(Setter setter);

    mutable std::mutex mutex_;
    mutable FGAttachmentList attachments_;  // filled from the source contents when first asked for
    FGAttachmentList htmlRelatedAttachments_;
    PWMessageContentsRef sourceContents_;
    PWMessageContentsRef generatedContents_;
    int64_t mutationFlags_ = 0;
    uint64_t creationFlags_ = 0;
    mutable OptString plainText_;
    mutable OptString html_;
    mutable bool plainTextLoaded_ = true;
    mutable bool htmlLoaded_ = true;
    mutable bool attachmentsLoaded_ = true;
    std::shared_ptr<PWMutableMessageHeaders> headers_;
    // Set when the header collection is changed directly (not through the message's setters) while no
    // contents are generated, so that the change is written even if the collection's own mutated flag was
    // cleared meanwhile (by computing its content identifier).
    std::shared_ptr<std::atomic<bool>> headersEdited_;
    size_t headersObserverToken_ = 0;
};

using FGBaseMutableMessageRef = std::shared_ptr<FGBaseMutableMessage>;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
