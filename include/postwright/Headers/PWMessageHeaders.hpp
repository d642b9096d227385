// PWMessageHeaders: a message's header block as an ordered, case-insensitive collection of fields.
//
// Built from raw message bytes (only the header block is read), from a dictionary, or from a message
// file. Lookups are case-insensitive and keep every duplicate in order of appearance. The raw stored
// values are the truth; typed views (subject, addresses, dates, identifiers, digests) are read from them
// on demand. An immutable collection may be shared between threads.
//
//     std::shared_ptr<PWMessageHeaders> headers = PWMessageHeaders::headersFromData(message);
//     OptString subject = headers->subject();              // decoded, unfolded, trimmed
//     std::vector<std::u16string> hops = headers->headersForKey(u"received");
//     std::u16string id = headers->contentIdentifier();   // 18 characters
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Export.hpp"
#include "postwright/Headers/HeaderEntryDictionary.hpp"
#include "postwright/Headers/HeaderNames.hpp"
#include "postwright/Headers/PWEmailAddress.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"
#include "postwright/Message/RFC2822IDHash.hpp"
#include "postwright/Mime/PWContentDisposition.hpp"
#include "postwright/Mime/PWContentType.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWMutableMessageHeaders;

// Where a collection came from.
enum class HeaderDataSource : int { InMemory = 0, MessageData = 1, MessageFile = 2 };

// A header block: an ordered, case-insensitive collection of fields with typed views of their values.
class PWMessageHeaders : public std::enable_shared_from_this<PWMessageHeaders> {
public:
    // ---- Construction -----------------------------------------------------------------------------------

    static std::shared_ptr<PWMessageHeaders> init();
    static std::shared_ptr<PWMessageHeaders> initWithHeaderEntryDictionary(HeaderEntryDictionary dictionary);
    // Field name to values, in the given order: every value becomes a mutable entry whose sort hint is a
    // running counter across the whole enumeration.
    static std::shared_ptr<PWMessageHeaders> initWithHeaderDictionary(
        const std::vector<std::pair<std::u16string, std::vector<std::u16string>>>& dictionary);
    // Parses the header block of message bytes (a whole message or only its header block). Empty data
    // gives nullptr without an error. A line that does not start with a field name empties the whole
    // collection (no error); a line without a colon, or a name starting "--", is dropped.
    static std::shared_ptr<PWMessageHeaders> headersFromData(const Data& data, ErrorRef* error = nullptr);
    // The header block of a message file (memory-mapped), parsed; nullptr when the file does not exist.
    static std::shared_ptr<PWMessageHeaders> headersFromRFC2822MessageAtPath(const std::string& path);
    static std::optional<Data> headerDataFromRFC2822MessageAtPath(const std::string& path);
    // The same for an emlx file (a byte-count line, the message, then a property list). The legacy
    // identifier of such files is not computed (legacyKeyfolioIdentifier stays nil).
    static std::shared_ptr<PWMessageHeaders> headersFromEmlxFileAtPath(const std::string& path,
                                                                       bool generateLegacyIdentifier = false);
    // The message bytes of an emlx file: the count of its first line, from the second line on.
    static std::optional<Data> messageDataFromEmlxData(const Data& emlx);

    virtual ~PWMessageHeaders() = default;

    // An immutable collection over the same entries; a mutable one sharing the entries.
    std::shared_ptr<PWMessageHeaders> copy() const;
    std::shared_ptr<PWMutableMessageHeaders> mutableCopy() const;

    virtual bool isMutable() const noexcept { return false; }
    HeaderEntryDictionary headerEntryDictionary() const;
    TextEncoding preferredEncoding() const;
    HeaderDataSource datasource() const;
    bool empty() const;

    // ---- Lookup (names are case-insensitive) --------------------------------------------------------

    // The first value of the field, encoded words decoded when asked, with every CR and LF removed (the
    // white space of folds stays). nullopt when there is no such field.
    OptString firstHeaderForKey(std::u16string_view key, bool decodeMime = true) const;
    // Every value of the field in order, decoded when asked, folds kept as stored.
    std::vector<std::u16string> headersForKey(std::u16string_view key, bool decodeMime = true) const;
    // The entries of the field in order (empty when absent).
    std::vector<PWMessageHeaderEntryRef> entriesForKey(std::u16string_view key) const;
    // One field found in raw CR LF header bytes without building a collection; nullopt when absent.
    static OptString valueForHeaderField(std::u16string_view name, const Data& data);

    // ---- Identifiers and digests --------------------------------------------------------------------

    // Message identifiers of the field's first value, each once, angle brackets kept. With validation
    // and more than one found, the ones too weak to thread on are dropped.
    std::vector<std::u16string> messageIdsInHeaderWithKey(std::u16string_view key, bool validate) const;
    // The 16-character digest of a Message-ID value (double base64 of its truncated MD5).
    static std::u16string digestForMessageIdValue(std::u16string_view value);
    // The digests and the hashes of identifiers already read (nullopt stays nullopt), for callers that
    // want both without reading the field twice.
    static std::optional<std::vector<std::u16string>> digestsForMessageIdValues(
        const std::optional<std::vector<std::u16string>>& identifiers);
    static std::optional<std::vector<RFC2822IDHash>> hashesForMessageIdValues(
        const std::optional<std::vector<std::u16string>>& identifiers);

    // First "Message-Id", decoded and unfolded, trimmed of "<", ">" and SPACE.
    OptString headerID() const;
    // In-Reply-To identifiers (validated) that do not also stand in To, Cc or Bcc; nullopt when none.
    std::optional<std::vector<std::u16string>> inReplyToIds() const;
    // References identifiers (validated); nullopt when none.
    std::optional<std::vector<std::u16string>> references() const;
    OptString headerIDDigest() const;
    std::optional<std::vector<std::u16string>> inReplyToDigests() const;
    std::optional<std::vector<std::u16string>> referenceDigests() const;
    std::optional<RFC2822IDHash> messageIdRFC2822Hash() const;
    std::optional<std::vector<RFC2822IDHash>> inReplytoRFC2822Hashes() const;
    std::optional<std::vector<RFC2822IDHash>> referenceRFC2822Hashes() const;

    // ---- Typed views ----------------------------------------------------------------------------------

    // First "Subject", decoded, trimmed, CR and LF removed.
    OptString subject() const;

    // The addresses of the field's first value (not decoded, unfolded; the address grammar decodes display
    // names itself); nullopt when the field is missing or one mailbox of it cannot be read.
    std::optional<PWEmailAddressList> emailAddressesForHeaderKey(std::u16string_view key) const;
    // The groups of the field's first value; plain mailboxes come as groups without a name.
    std::optional<PWEmailAddressGroupList> emailAddressGroupsForHeaderKey(std::u16string_view key) const;
    // The addresses of "From"; nullopt when there are none.
    std::optional<PWEmailAddressList> from() const;
    // The addresses of "Sender" as the address parser gives them.
    std::optional<PWEmailAddressList> sender() const;
    std::optional<PWEmailAddressGroupList> recipients() const;       // "To"
    std::optional<PWEmailAddressGroupList> ccRecipients() const;     // "Cc"
    std::optional<PWEmailAddressGroupList> bccRecipients() const;    // "Bcc"
    std::optional<PWEmailAddressGroupList> replyToRecipients() const;  // "Reply-To"

    // The first "Content-Type" / "Content-Disposition" (not decoded) read by the parameter parser;
    // nullopt when missing or malformed.
    std::optional<ParameterDictionary> contentTypeInfo() const;
    std::optional<ParameterDictionary> contentDispositionInfo() const;
    std::optional<PWContentType> contentType() const;
    std::optional<PWContentDisposition> contentDisposition() const;

    // The dates the "Date" field may stand for: the one strict reading, else the tolerant reader's dates
    // that are not later than now; empty without a Date value.
    std::vector<double> candidateSentDates() const;
    // The dates after the last ";" of every "Received" field, read the same way, in order.
    std::vector<double> possibleReceivedDates() const;
    // The one sent candidate; else, when there are received dates, the first candidate not later than a
    // received date (received dates in order); else the first candidate, or the first received date.
    std::optional<double> dateSent() const;
    // The first received date, else the first sent candidate.
    std::optional<double> dateReceived() const;

    // ---- Output ------------------------------------------------------------------------------------------

    // The whole header block: every field folded by its own entry (parsed fields as received, mutable
    // ones folded afresh), ordered by sort hint and then by name ignoring case, joined by CR LF (LF with
    // kFoldLineFeedOnly), without a final line end.
    std::u16string foldedHeaderStringWithOptions(unsigned options) const;
    std::u16string foldedHeaderString() const { return foldedHeaderStringWithOptions(2); }
    // One Content-Type or Content-Disposition parameter: quoted when it needs it, split into numbered
    // segments when long, and in the RFC 2231 extended form (utf-8, percent-encoded) when it holds
    // characters outside SPACE to "~". Segments are joined by ";" CR LF SPACE.
    static std::u16string foldedStringForParameterName(std::u16string_view name, std::u16string_view value,
                                                       const OptString& preferredLanguage = std::nullopt);
    // The value as Q-encoded words of at most 75 characters, with "Key: " in front when a key is given,
    // lines joined by CR LF; nullopt when no encoding can hold the value.
    static OptString mimeEncodedHeaderForKey(const OptString& key, std::u16string_view value,
                                             TextEncoding preferredEncoding, TextEncoding* encodingUsed);

    // ---- Content identifier ------------------------------------------------------------------------------

    // The 18-character content identifier: "X-Orwin-Composer-Id" when present, else the identifier part of
    // "X-Fennelgate-Id", else the digest of the seed of seven fields. Computed once and cached (a mutable
    // collection recomputes it after a change).
    std::u16string contentIdentifier() const;
    std::u16string postmarkIdentifier() const { return contentIdentifier(); }
    // Present but deliberately empty: it computes nothing. Callers that want the GMT form use
    // _generateContentIdentifierConvertingDateToGMT(true).
    void generateGMTContentIdentifier() const {}
    std::u16string _generateContentIdentifier() const { return _generateContentIdentifierConvertingDateToGMT(false); }
    std::u16string _generateContentIdentifierConvertingDateToGMT(bool convertDateToGMT) const;
    std::u16string _contentIdentifierSeed() const { return _contentIdentifierSeedConvertingDateToGMT(false); }
    // To, Cc, Bcc, From, Subject, Message-Id and Date (placeholders for missing ones) joined by "|",
    // white space removed.
    std::u16string _contentIdentifierSeedConvertingDateToGMT(bool convertDateToGMT) const;
    OptString hashForCompoundedHeaderValueString(std::u16string_view seed) const;
    // "%04lu" of the index of the seed's path-safe base64 SHA-256, then its first 14 characters.
    static OptString hashForCompoundedHeaderValueString(std::u16string_view seed, TextEncoding encoding);
    // The identifier of an older scheme kept for data written by a companion tool. It is not computed by
    // this library: always nullopt.
    OptString legacyKeyfolioIdentifier() const { return std::nullopt; }
    // The separate encoded-word decoder the seed uses for the subject (kept so identifiers stay stable).
    static std::u16string legacy_decodeMimeEncodedSubject(std::u16string_view subject);

protected:
    PWMessageHeaders() = default;
    HeaderEntryDictionary::ListRef listForKey(std::u16string_view key) const;

    mutable std::mutex mutex_;
    HeaderEntryDictionary dictionary_;
    TextEncoding preferredEncoding_ = kNoEncoding;  // parsed collections: the encoding the block was decoded with
    HeaderDataSource datasource_ = HeaderDataSource::InMemory;
    mutable OptString contentIdentifier_;
    // Set by every change of a mutable collection, cleared when the content identifier is computed.
    mutable bool mutated_ = false;
    // The dates read from "Date" and "Received", kept after the first reading (tolerant reading is
    // costly); a mutable collection drops them on every change.
    mutable std::optional<std::vector<double>> candidateSentDates_;
    mutable std::optional<std::vector<double>> possibleReceivedDates_;

    friend class PWMutableMessageHeaders;
};

using PWMessageHeadersRef = std::shared_ptr<PWMessageHeaders>;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
