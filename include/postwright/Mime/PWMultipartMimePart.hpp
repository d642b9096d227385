// PWMultipartMimePart and its subtypes: the containers of the MIME tree.
//
// Parsing is PWMimePart's (it fills the children); a container adds the builders of new containers, the
// queries that walk the children, and the rules that decide which children a display shows and in which
// order (htmlFragmentForContext). Queries and fragments recurse through the children: a parsed tree is at
// most kMimeMaxNestingDepth levels deep, a built one as deep as its builder made it.
//
//     auto alternative = PWMultipartAlternativeMimePart::initMutableWithPlainPart(plain, html);
//     auto mixed = PWMultipartMimePart::initMutableWithSubtype(u"mixed");
//     mixed->addPart(alternative);
//     mixed->addPart(attachment);
//     std::vector<PWMimePartRef> related;
//     std::u16string html = mixed->htmlFragmentForContext(kMimeDisplayContextRich, 0, &related);
//
// Which children are shown:
//   mixed (and signed, and any other multipart): text, HTML, containers and other text attachments are
//     shown; attachments are listed and get the option bit kMimeFragmentOptionInlineAttachment. Children
//     after the last shown child are only listed. A container of only text parts shows as plain text.
//   related: every child that is not an attachment is shown; attachments are only listed (the HTML refers to
//     them by content id).
//   report: like mixed, but only text, HTML, generic multiparts, delivery status and returned headers (by
//     exact class) are shown; the delivery status comes first; the returned message is listed, titled
//     "ATTS: ORIGINAL MESSAGE" (localized) plus ".eml" when it has no name of its own.
//   alternative: the child for the context (the first text part for plain text; the first multipart or
//     text/html child for rich contexts), else the plain-text choice rendered as plain text, else nothing.
#pragma once

#include <string>
#include <vector>

#include "postwright/Export.hpp"
#include "postwright/Mime/PWMimePart.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A container of the MIME tree (multipart/*).
class PWMultipartMimePart : public PWMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

    // "MailOrwin=_" followed by a fresh UUID (36 upper-case characters): never the same twice.
    static std::u16string newBoundary();
    // A new mutable container of type "multipart", the subtype, the boundary (a newBoundary() when none is
    // given) and no children. Its class is the one the general registry holds for "multipart/<subtype>", so
    // a container built as "alternative" chooses among its children as a parsed one does.
    static std::shared_ptr<PWMultipartMimePart> initMutableWithSubtype(std::u16string_view subtype,
                                                                       const OptString& boundary = std::nullopt);

    // Appends the part (the children list is replaced, so the container and its ancestors are mutated and
    // the part's parent is set). A null part, or one already among the children, is ignored. On an
    // immutable container, logs "Cannot Mutate Multipart part" and changes nothing. encodeHeaders is
    // accepted for callers that pass it; header text is always encoded when it is written.
    void addPart(const PWMimePartRef& part, bool encodeHeaders = false);

    // ---- Queries over the children, in order ----

    // Every child's attachments; an alternative container skips its text/plain and text/html children.
    std::vector<PWMimePartRef> attachments() const override;
    std::vector<PWMimePartRef> textParts() const override;
    std::vector<PWMimePartRef> htmlParts() const override;
    std::vector<PWMimePartRef> digitallySignedParts() const override;
    bool isApplePartialContentData() const override;
    // headerSize() plus the children's decodedContentSize().
    size_t decodedContentSize() const override;
    // The children's non-empty results joined with nothing between them, then trimmed; nullopt when none.
    OptString htmlContent() const override;
    OptString plainContent() const override;
    // A mutable copy whose children are rebuilt from each child's own result.
    PWMimePartRef mimePartByRemovingAttachments() const override;
    PWMimePartRef mimePartByReplacingMimeAttachments(const std::vector<PWMimePartRef>& attachments) const override;

    // The mixed rules (see above); subtypes with their own rules override it.
    std::u16string htmlFragmentForContext(int context, unsigned options,
                                          std::vector<PWMimePartRef>* relatedAttachments) const override;

protected:
    PWMultipartMimePart() = default;
    // Children shown by the mixed rules; the report rules pass their own test.
    std::u16string mixedFragment(int context, unsigned options, std::vector<PWMimePartRef>* relatedAttachments,
                                 bool report) const;
    // Rebuilds a mutable copy of this container with the given children.
    PWMimePartRef copyWithChildren(const std::function<PWMimePartRef(const PWMimePart&)>& rebuild) const;
};

// multipart/mixed: every child in order.
class PWMultipartMixedMimePart : public PWMultipartMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }
    // True when there are text parts, no HTML parts, and at least as many children as text parts.
    bool shouldDisplayAsPlainText() const override;

protected:
    PWMultipartMixedMimePart() = default;
};

// multipart/alternative: one child, the one that suits the display context.
class PWMultipartAlternativeMimePart : public PWMultipartMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

    // An "alternative" container holding the plain part, then the HTML part, with charset "us-ascii".
    static std::shared_ptr<PWMultipartAlternativeMimePart> initMutableWithPlainPart(const PWMimePartRef& plainPart,
                                                                                   const PWMimePartRef& htmlPart);
    // Plain-text context: the first of textParts(). Rich contexts: the first child that is a multipart or
    // exactly "text/html". nullptr when there is none.
    PWMimePartRef mimePartWithContext(int context) const;
    // The answer of the part chosen for context 0; false when there is none.
    bool shouldDisplayAsPlainText() const override;
    std::u16string htmlFragmentForContext(int context, unsigned options,
                                          std::vector<PWMimePartRef>* relatedAttachments) const override;

protected:
    PWMultipartAlternativeMimePart() = default;
};

// multipart/related: a document and the parts it refers to.
class PWMultipartRelatedMimePart : public PWMultipartMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

    // A "related" container holding the HTML part and then the related parts; its content type keeps only
    // "@type", "@subtype", "@fulltype" and "boundary".
    static std::shared_ptr<PWMultipartRelatedMimePart> initMutableWithHtmlPart(
        const PWMimePartRef& htmlPart, const std::vector<PWMimePartRef>& relatedParts);
    std::u16string htmlFragmentForContext(int context, unsigned options,
                                          std::vector<PWMimePartRef>* relatedAttachments) const override;

protected:
    PWMultipartRelatedMimePart() = default;
};

// multipart/report: a human-readable part and the machine-readable report.
class PWMultipartReportMimePart : public PWMultipartMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }
    std::u16string htmlFragmentForContext(int context, unsigned options,
                                          std::vector<PWMimePartRef>* relatedAttachments) const override;

protected:
    PWMultipartReportMimePart() = default;
};

// multipart/signed: the signed content and its signature.
class PWMultipartSignedMimePart : public PWMultipartMixedMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

    // A "signed" container (protocol "application/pgp-signature", micalg "pgp-sha512") whose first child is
    // parsed from the signed bytes and whose second is the armored signature as an attachment
    // "signature.asc" (application/pgp-signature, 7bit). nullptr when the signed bytes do not parse.
    static std::shared_ptr<PWMultipartSignedMimePart> initMutableWithSignedData(const Data& signedData,
                                                                               std::u16string_view armoredSignature);
    // True for multipart/signed with protocol "application/pgp-signature".
    bool digitallySigned() const;
    // The container itself when it is digitally signed, else the children's.
    std::vector<PWMimePartRef> digitallySignedParts() const override;
    // The first child that is a PWPGPSignedMimePart.
    PWMimePartRef signaturePart() const;

protected:
    PWMultipartSignedMimePart() = default;
};

// Encrypted content (RFC 1847): its children are the control part and the encrypted payload, shown as
// attachments; decrypting belongs to the host's encryption manager.
class PWMultipartEncryptedMimePart : public PWMultipartMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWMultipartEncryptedMimePart() = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
