// Scanner: the structured-field scanner, a cursor over immutable header text.
//
// The cursor counts UTF-16 code units, matches literals case-insensitively unless told otherwise, and
// skips nothing on its own. Every grammar operation returns a success flag and fills optional result and
// error slots (nullptr: not asked). A failed operation restores the scan location, except where its
// comment says otherwise. Errors go only into a supplied slot and carry the domain
// "com.fennelgate.postwright.emailparser" (EmailParserError.hpp).
//
//     Scanner scanner = Scanner::emailAddressScannerWithString(u"(note) <id@host>");
//     OptString id;
//     if (scanner.scanMessageIdIntoString(&id)) ...   // id == u"<id@host>"
//
// The grammar operations are grouped by the standard they implement: RFC 2822 tokens here; addresses,
// MIME parameters, encoded words and dates further down, each implemented in its own source file.
// A scanner is used by one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Base/CharacterSet.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Deepest comment nesting the scanner follows; a deeper comment ends the scan as unclosed.
inline constexpr int kMaxCommentNesting = 256;

class ParameterDictionary;  // ParameterDictionary.hpp

class Scanner {
public:
    explicit Scanner(std::u16string string) : string_(std::move(string)) {}

    // A scanner over the text (an empty text for nil), case-insensitive, skipping nothing.
    static Scanner emailAddressScannerWithString(const OptString& string);
    static Scanner emailAddressScannerWithString(std::u16string_view string) {
        return Scanner(std::u16string(string));
    }
    static Scanner emailAddressScannerWithString(const std::u16string& string) { return Scanner(string); }
    static Scanner emailAddressScannerWithString(const char16_t* string) {
        return Scanner(std::u16string(string));
    }

    // ---- Cursor -------------------------------------------------------------------------------------

    const std::u16string& string() const noexcept { return string_; }
    size_t scanLocation() const noexcept { return location_; }
    void setScanLocation(size_t location) noexcept { location_ = location < string_.size() ? location : string_.size(); }
    bool caseSensitive() const noexcept { return caseSensitive_; }
    void setCaseSensitive(bool caseSensitive) noexcept { caseSensitive_ = caseSensitive; }
    bool isAtEnd() const noexcept { return location_ >= string_.size(); }
    // The code unit at the location, or 0 at the end.
    char16_t currentCharacter() const noexcept { return characterAtOffset(0); }
    // The code unit k places after the location, or 0 beyond the end.
    char16_t characterAtOffset(size_t k) const noexcept {
        return location_ + k < string_.size() ? string_[location_ + k] : char16_t(0);
    }
    // Moves forward by n; fails (without moving) only when that would pass the end.
    bool advance(size_t n) noexcept;
    std::u16string_view remainder() const noexcept { return std::u16string_view(string_).substr(location_); }

    // ---- Platform scanning primitives (these write their slot only on success) ------------------------

    // The literal at the location (case-insensitive unless caseSensitive()).
    bool scanString(std::u16string_view literal, std::u16string* into = nullptr);
    // The longest non-empty run of members of the set.
    bool scanCharactersFromSet(const CharacterSet& set, std::u16string* into = nullptr);
    // Everything up to the first member of the set (or the end); false when nothing was passed over.
    bool scanUpToCharactersFromSet(const CharacterSet& set, std::u16string* into = nullptr);
    // Everything up to the next occurrence of the text (or the end); false when nothing was passed over.
    bool scanUpToString(std::u16string_view text, std::u16string* into = nullptr);
    // An optionally signed decimal integer (ASCII digits); overflow clamps and consumes every digit.
    bool scanInteger(long* value);
    bool scanLongLong(long long* value);
    bool scanUnsignedLongLong(unsigned long long* value);

    // ---- RFC 2822 lexical tokens ----------------------------------------------------------------------

    // CR LF or a bare LF (never a bare CR). A line break that is the last code unit is not consumed.
    bool scanCRLF();
    // FWS: white space, one line break, white space, each optional; the consumed text verbatim.
    bool scanRFC2822FoldingWhiteSpaceIntoString(OptString* result);
    bool scanRFC2822FoldingWhiteSpace() { return scanRFC2822FoldingWhiteSpaceIntoString(nullptr); }
    bool scanFoldingWhiteSpace() { return scanRFC2822FoldingWhiteSpaceIntoString(nullptr); }
    // CFWS: folding white space and comments, comments discarded. White space stays consumed even when a
    // comment after it fails.
    bool scanRFC2822CommentFoldingWhiteSpace();
    // A comment; the result is its content without the outer parentheses, nested comments kept with
    // theirs and folds reduced to one SPACE. Unclosed: code 1, location back at the "(".
    bool scanRFC2822CommentIntoString(OptString* result, ErrorRef* error);
    // "\" and one character of rfc2822TextSet; the result is that character. Never raises.
    bool scanQuotedPairIntoString(OptString* result, ErrorRef* error);
    // A run of atom characters (no surrounding CFWS).
    bool scanRFC2822AtomIntoString(OptString* result, ErrorRef* error);
    // A dot-atom with CFWS around it. A trailing dot when refused raises code 10 and leaves the location
    // just after the dot (not restored); when allowed it is kept in the text.
    bool scanRFC2822DotAtomIntoString(OptString* result, ErrorRef* error) {
        return scanRFC2822DotAtomIntoString(result, false, error);
    }
    bool scanRFC2822DotAtomIntoString(OptString* result, bool allowTrailingDot, ErrorRef* error);
    // A run of the extended quoted-text class, or a quoted pair.
    bool scanRFC2822QContentIntoString(OptString* result, ErrorRef* error);
    // The strict quoted string, CFWS around it; the result is the content without the quotes, with
    // SPACE turned into "_" when the content is a whole encoded word. Unclosed: code 3, location restored
    // to before the leading CFWS.
    bool scanRFC2822QuotedStringIntoString(OptString* result, ErrorRef* error);
    // The lenient quoted string of MIME parameter values (no CFWS). Unclosed: code 3 with an error slot;
    // without one the text up to the end is accepted. A character it cannot consume (above 0xFE): code 11
    // and restore with an error slot; without one it fails where it stands.
    bool scanQuotedStringIntoString(OptString* result, ErrorRef* error);
    // An atom, else a strict quoted string.
    bool scanRFC2822WordIntoString(OptString* result, ErrorRef* error);
    // A phrase. Options bit 1 asks for the built-up text (words unquoted, "." kept, CFWS as one SPACE);
    // otherwise a phrase of more than one word is handed back as its raw source text, trimmed. Errors of
    // inner words stay in the slot even when the phrase succeeds.
    bool scanRFC2822PhraseIntoString(OptString* result, unsigned options, ErrorRef* error);
    // Reserved: always fails and consumes nothing.
    bool scanRFC2822DisplayNamePhraseIntoString(OptString* result, ErrorRef* error);
    // A dot-atom (trailing dot allowed), else a strict quoted string re-wrapped in double quotes.
    bool scanLocalPartIntoString(OptString* result, ErrorRef* error);
    // A run of dtext, else a quoted pair; on failure the result slot is cleared.
    bool scanDomainContentIntoString(OptString* result, ErrorRef* error);
    // "[" ... "]" with CFWS around; the contents joined by single SPACEs. Unclosed: code 4.
    bool scanDomainLiteralIntoString(OptString* result, ErrorRef* error);
    // A dot-atom (trailing dot refused), else a domain literal.
    bool scanDomainIntoString(OptString* result, ErrorRef* error);
    // The obsolete domain: always fails and consumes nothing.
    bool scanObsDomainIntoString(OptString* result);
    // The obsolete route: consumes CFWS and always fails.
    bool scanObsRoute();
    // A lenient domain: an atom run followed by atom characters, "." and "@".
    bool scanDomainDotAtomIntoString(OptString* result);
    // A message id, skipping any text before its "<"; the result keeps both angle brackets.
    bool scanMessageIdIntoString(OptString* result);
    // RFC 2045 token: 0x21-0x7E without ()<>@,;"/[]?= (colon and backslash are token characters).
    bool scanRFC2045TokenIntoString(OptString* result);
    // RFC 2047 token: the RFC 2045 token without "." either.
    bool scanRFC2047TokenIntoString(OptString* result);

    // ---- Encoded words (RFC 2047; MimeEncoding.cpp) ---------------------------------------------------

    // One encoded word "=?charset?Q|B?encoded-text?=" at the location, decoded to text.
    // The charset is an RFC 2047 token; a "*" in it splits off an RFC 2231 language, which goes into
    // languageUsed (the slot is left alone when there is none). The resolved encoding goes into
    // encodingUsed (kInvalidEncoding for an unknown charset). mailSploited is cleared once the word is
    // decoded and set when its bytes held a NUL byte; every NUL is then shown as backslash-zero.
    // Options bit 1 lets the encoded text contain SPACE. The result slot is required: without it the
    // word is scanned but the operation fails. A word that fails after its encoding letter is tried once
    // more with bit 1 when options is 0, so that words a faulty encoder filled with spaces still decode.
    // On failure the location is restored.
    bool scanRFC2047EncodedWordIntoString(OptString* result, unsigned options, TextEncoding* encodingUsed,
                                          OptString* languageUsed, bool* mailSploited);
    bool scanRFC2047EncodedWordIntoString(OptString* result, TextEncoding* encodingUsed, OptString* languageUsed,
                                          bool* mailSploited) {
        return scanRFC2047EncodedWordIntoString(result, 0, encodingUsed, languageUsed, mailSploited);
    }
    // One encoded word as raw text, not decoded. Only the "?" after the first character is required (the
    // "=" is not tested); the encoding letter must be Q or B and the word must end in "?=", otherwise
    // code 6 (MalformedMimeData) goes into the error slot, which is not cleared on entry, and the
    // location is restored. The result is the text from the start through "?=".
    bool scanMimeEncodedWordIntoString(OptString* result, ErrorRef* error);

    // ---- Addresses (RFC 2822 section 3.4; AddressGrammar.cpp) -------------------------------------------
    //
    // Options are the address option bits of AddressGrammar.hpp. Address lists are vectors: an empty
    // vector is the nil list. PWEmailAddress and PWEmailAddressGroup (Headers/) are declared by their first
    // mention below. The forms without options that build phrases up pass 4 (kAddressOptionBuiltUpPhrases).
    // Only the addr-spec and the angle-addr raise errors of their own; a failed attempt
    // inside a longer operation that the grammar then recovers from leaves nothing in the caller's slot.

    // addr-spec: local part "@" domain. No local part: fails with no new error (a quoted-string error of
    // the local part stays). No "@", or no domain after it: code 5, local part slot cleared. Restores.
    bool scanAddrSpecIntoLocalName(OptString* localName, OptString* domain, ErrorRef* error);
    // angle-addr: CFWS "<" addr-spec ">" CFWS. On success the error slot is cleared. A missing ">" after a
    // good addr-spec raises code 4; a failed addr-spec clears the slot (its code 5 is not passed on).
    bool scanAngularAddrSpecIntoLocalName(OptString* localName, OptString* domain, ErrorRef* error);
    // The same with a built-up phrase between the angle brackets.
    bool scanAngularPhraseIntoString(OptString* result, ErrorRef* error);
    // A display name: a phrase, built up with option bit 4 (the form without options always builds up).
    bool scanDisplayName(OptString* result, ErrorRef* error) { return scanDisplayName(result, 4, error); }
    bool scanDisplayName(OptString* result, unsigned options, ErrorRef* error);
    // name-addr: an optional display name and an angle-addr. The display name comes back trimmed. On
    // failure the trimmed display name goes into the invalid slot and the location is restored.
    bool scanNameAddrIntoDisplayName(OptString* displayName, OptString* localName, OptString* domain, OptString* invalid,
                                     unsigned options, ErrorRef* error);
    bool scanNameAddrIntoDisplayName(OptString* displayName, OptString* localName, OptString* domain, OptString* invalid,
                                     ErrorRef* error) {
        return scanNameAddrIntoDisplayName(displayName, localName, domain, invalid, 1, error);
    }
    // One mailbox: name-addr, else addr-spec (display name nil; the invalid slot is cleared), else, with an
    // invalid slot and not at ";", the invalid fallback: a phrase (the location then stays before the next
    // comma, or after the phrase when there is none), or the text up to the next comma or the end. The
    // fallback succeeds whenever it consumes something, so with an invalid slot the read fails only at
    // ";" or when nothing can be consumed. The error slot receives the successful branch's error (nil, or
    // code 10 when a domain's dot-atom ended in a dot before a domain literal); the fallback leaves it.
    bool scanRFC2822EmailAddressIntoDisplayName(OptString* displayName, OptString* localName, OptString* domain,
                                                OptString* invalid, unsigned options, ErrorRef* error);
    bool scanRFC2822EmailAddressIntoDisplayName(OptString* displayName, OptString* localName, OptString* domain,
                                                OptString* invalid, ErrorRef* error) {
        return scanRFC2822EmailAddressIntoDisplayName(displayName, localName, domain, invalid, 4, error);
    }
    bool scanRFC2822EmailAddressIntoDisplayName(OptString* displayName, OptString* localName, OptString* domain,
                                                ErrorRef* error) {
        return scanRFC2822EmailAddressIntoDisplayName(displayName, localName, domain, nullptr, 4, error);
    }
    // One mailbox as a PWEmailAddress. An invalid fallback gives an invalid address holding the raw source
    // text read; otherwise encoded words in the display name and local part are decoded and the address is
    // built with the options (bit 2 then marks it mail-sploited when a decoded word smuggled a NUL or the
    // decoded display name holds a line break). Fails, with a null address, when no mailbox can be read.
    bool scanPWEmailAddress(std::shared_ptr<class PWEmailAddress>* address, unsigned options, ErrorRef* error);
    // The same, always reporting success.
    bool scanRFC2822EmailAddressIntoPWEMailAddress(std::shared_ptr<PWEmailAddress>* address, unsigned options,
                                                   ErrorRef* error);
    // mailbox-list: mailboxes with optional commas between them, stopping before a group name (a phrase
    // and ":") or where a mailbox cannot be read. Succeeds when the location moved.
    bool scanRFC2822MailboxList(std::vector<std::shared_ptr<PWEmailAddress>>* list, unsigned options, ErrorRef* error);
    // A group name: a phrase followed at once by ":", then folding white space.
    bool scanRFC2822EmailGroupIntoGroupName(OptString* groupName, unsigned options, ErrorRef* error);
    // A group: name ":" [mailbox-list] [";"] (the ";" is tolerated missing). The list slot is required and
    // cleared on entry.
    bool scanRFC2822EmailGroupIntoGroupName(OptString* groupName, std::vector<std::shared_ptr<PWEmailAddress>>* mailboxList,
                                            unsigned options, ErrorRef* error);
    // address-list: groups and runs of plain mailboxes, each run an unnamed group, so every address ends up
    // in a group. Fails at the end of the text, and when an inner operation leaves an error record (then
    // the location is restored and the list is empty).
    bool scanRFC2822AddressListIntoPWEmailAddressGroups(std::vector<std::shared_ptr<class PWEmailAddressGroup>>* groups,
                                                        unsigned options, ErrorRef* error);
    // Reserved: they always fail and consume nothing.
    bool scanGroupIntoGroupName(OptString* groupName, std::vector<std::shared_ptr<PWEmailAddress>>* addresses,
                                ErrorRef* error);
    bool scanAddrSpecIntoLocalName(OptString* localName, OptString* domain, OptString* invalid, ErrorRef* error);

    // ---- Content-Type and Content-Disposition parameters (RFC 2045, 2183, 2231; ContentParameters.cpp) -

    // The value of a Content-Type header, from the location: "type/subtype" and its parameters, with
    // RFC 2231 continuations, charsets and percent-escapes resolved and encoded words in values decoded.
    // The keys are described in ContentParameters.hpp. Known major types are matched as prefixes, "x-"
    // types keep their name, any other major type becomes "application". On success the dictionary goes
    // into result (continued parameters are joined only when result is given); on failure the location
    // is restored. The error slot is never written: no failure produces a record.
    bool scanRFC1341ContentTypeHeaderIntoDictionary(ParameterDictionary* result, ErrorRef* error);
    // The value of a Content-Disposition header: "inline", "attachment", an "x-" type, or else
    // "attachment" without consuming anything (an unknown type then fails the parameter list unless the
    // value ends there). "size" is an integer, the three date parameters are kept as quoted text. A
    // parameter without a value ends the list successfully. The error slot is cleared on entry and never
    // written otherwise.
    bool scanRFC2183ContentDispositionHeaderIntoDictionary(ParameterDictionary* result, ErrorRef* error);

    // ---- Dates (RFC 2822 section 3.3; DateFormat.cpp) ----------------------------------------------------

    // The strict RFC 2822 date-time: [day-name ... ","] day month year FWS hh:mm[:ss] [zone]. The date slot
    // is set to nil on entry and receives the date on success; the location is then after the zone.
    // Options: 1 accepts a two-digit numeric month ("01"-"12") where the month name is missing; 3 also
    // reads the first number as the month ("05/03/2024" is 3 May). Two-digit years below 50 are 20xx,
    // 50-999 get 1900 added (so "100" is 2000). Zone: "+hhmm"/"-hhmm", a US zone name, a military letter
    // (RFC 822 signs: "A" is one hour behind GMT), else GMT; names match as prefixes, so "CET" reads as
    // "C". A missing day or year is not checked (the calendar then refuses day 0); an impossible date,
    // a missing ":" or white space before the time fails. Failure restores the location.
    bool scanRFC2822DateTimeIntoDate(std::optional<double>* date, unsigned options = 0);
    // The tolerant reader: guesses dates from free text. First every pattern pair of the user's locale
    // styles and fixed date and time patterns votes, counting only dates before today; the dates come back
    // most votes first. When none fits, the day name, zone, time, month, day and year are picked out one by
    // one; a numeric month that disagrees with the day name also gives the date with day and month
    // swapped. The dates slot is set to nil on entry. False for empty text or when the pieces lack a day,
    // month, year, hour or minute; otherwise at least one date (now, when nothing better was found).
    static bool scanNonConformantDateString(std::u16string_view text, std::optional<std::vector<double>>* dates);

private:
    bool scanComment(OptString* result, ErrorRef* error, int depth, bool* tooDeep);
    // The phrase scanner's common case, read in one pass: see ScannerRFC2822.cpp.
    bool scanPlainPhrase(OptString* result, unsigned options);
    // Whether the "(" at the position has a matching ")" later in the text (quoted pairs respected). A
    // comment without one can never close, so its scan is skipped: the matches are found once per scanner,
    // which keeps repeated attempts over hostile text (every mailbox of a list) linear.
    bool commentCanClose(size_t position) const;
    mutable std::vector<uint32_t> closingParentheses_;

    std::u16string string_;
    size_t location_ = 0;
    bool caseSensitive_ = false;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
