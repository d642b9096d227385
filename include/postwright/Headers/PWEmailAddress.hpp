// PWEmailAddress: one mailbox, a display name (the address comment), a local part and a domain, or, when
// the text could not be understood, an invalid address that keeps the raw text.
//
// Addresses are made from header values, user input, dictionaries, the pasteboard and address-book
// contacts, and give back the forms the rest of the library needs: the RFC 2822 form, display strings, a
// digest and the lower-cased base address. Equal addresses hash equally, so they work in unordered
// containers (PWEmailAddressHash, PWEmailAddressEqual), and canonicalEmailAddressForEmailAddress shares one
// object per address across the process.
//
//     auto ann = PWEmailAddress::initWithRawAddress(u"Ann Example <Ann@Example.com>");
//     ann->userAtDomain();           // "Ann@Example.com"
//     ann->rfc2822Representation();  // "\"Ann Example\" <ann@example.com>"
//
// Every part given to an initialiser is sanitised: trimmed, and each LF written as the two characters
// "\n" (each CR as "\r"), so no part can carry a line break into a header. Construction options are the
// address option bits of Lexical/AddressGrammar.hpp: 1 validates the parts, 2 detects mail-sploits, 4
// builds phrases up. The parts never change after construction; the contact link, the caller data and the
// flags are guarded by the address's own lock.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Base/AddressBook.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWEmailAddress;
using PWEmailAddressList = std::vector<std::shared_ptr<PWEmailAddress>>;

// The pasteboard type of the dictionary form, and the plain-string type (UTF-8 text).
inline constexpr const char* ORWPasteboardTypeEmailAddress = "com.fennelgate.PWEmailAddressPasteboardType";
inline constexpr const char* kPasteboardTypePlainString = "text/plain;charset=utf-8";

enum class PasteboardReadingOptions { AsPropertyList, AsString };

// One mailbox (display name, local part, domain), or an invalid address that keeps its raw text.
class PWEmailAddress {
protected:
    // Restricts construction to the initialisers, which return shared objects.
    struct Passkey {
        explicit Passkey() = default;
    };

public:
    explicit PWEmailAddress(Passkey) {}
    virtual ~PWEmailAddress() = default;
    PWEmailAddress(const PWEmailAddress&) = delete;
    PWEmailAddress& operator=(const PWEmailAddress&) = delete;

    // ---- Construction -----------------------------------------------------------------------------------

    // The designated initialiser. The parts are sanitised; with option bit 1 the address is valid only
    // when local part and domain are non-empty and the domain is two or more labels of letters, digits and
    // "-" ending in a label of two or more letters. An invalid address keeps its parts rebuilt as its raw
    // text ("Comment <user@domain>" or "user@domain", "@domain" only when the domain is non-empty) and
    // has no comment, local part or domain.
    static std::shared_ptr<PWEmailAddress> initWithAddressComment(const OptString& comment, const OptString& userName,
                                                                  const OptString& domain, unsigned options = 1);
    static std::shared_ptr<PWEmailAddress> emailAddressWithComment(const OptString& comment, const OptString& userName,
                                                                   const OptString& domain) {
        return initWithAddressComment(comment, userName, domain, 1);
    }
    // Splits the address at its first "@" (no "@": all of it is the local part and the domain is empty);
    // options 1.
    static std::shared_ptr<PWEmailAddress> initWithAddressComment(const OptString& comment,
                                                                  std::u16string_view emailAddress);
    // Reads one mailbox from the text (with the invalid fallback) and builds it with options 1; when the
    // result is not valid, the whole raw text becomes its invalid raw address. Encoded words are not
    // decoded here.
    static std::shared_ptr<PWEmailAddress> initWithRawAddress(std::u16string_view rawAddress, unsigned options = 4);
    static std::shared_ptr<PWEmailAddress> emailAddressWithRawAddress(std::u16string_view rawAddress) {
        return initWithRawAddress(rawAddress, 4);
    }
    // Reads one mailbox without the invalid fallback and keeps what was read, unvalidated.
    static std::shared_ptr<PWEmailAddress> initWithCommentedAddress(std::u16string_view text, unsigned options = 4);
    // An address with nothing but its invalid raw text.
    static std::shared_ptr<PWEmailAddress> initWithInvalidRawAddress(std::u16string_view rawAddress,
                                                                     unsigned options = 4);
    // The reverse of dictionaryRepresentation. With a "contactIdentifier" and full access to contacts, the
    // address comes from that contact (see initWithContact) with the trimmed "addressComment" as its
    // comment; otherwise from "addressComment", "userName" and "domain" with options 1.
    static std::shared_ptr<PWEmailAddress> initWithDictionaryRepresentation(const nlohmann::ordered_json& dictionary);
    // The plain-string type reads the string as a raw address; any other type reads a dictionary.
    static std::shared_ptr<PWEmailAddress> initWithPasteboardPropertyList(const nlohmann::ordered_json& propertyList,
                                                                          std::string_view type);
    // The contact's e-mail value with the identifier (no identifier: its first non-empty value), with
    // the contact's full name as comment, linked to the contact. nullptr (and a log line) when the contact
    // has no e-mail values or none fits.
    static std::shared_ptr<PWEmailAddress> initWithContact(const std::shared_ptr<const Contact>& contact,
                                                           const OptString& identifier);

    // The addresses of a header value, mailbox after mailbox, separated by commas: encoded words in display
    // names and local parts are decoded, and the invalid text of a broken mailbox becomes its raw address.
    // Reading stops at the first mailbox not followed by a comma. nullopt for nil text, and, after the log
    // line "\n\t\t<value>\n\t\t\t\tERROR: <error>", when a mailbox cannot be read at all (one bad mailbox
    // spoils the list, by design). Option bit 2 marks addresses whose decoding showed a mail-sploit.
    static std::optional<PWEmailAddressList> emailAddressesFromHeaderValue(const OptString& value,
                                                                           unsigned options = 2);
    // The RFC 2822 forms of the addresses (nils left out) joined with ", "; nullopt when there are none.
    static OptString rfc2822RepresentationForAddresses(const PWEmailAddressList& addresses);

    // The process-wide member equal to the address; the address itself becomes the member when there is
    // none yet.
    static std::shared_ptr<PWEmailAddress> canonicalEmailAddressForEmailAddress(
        const std::shared_ptr<PWEmailAddress>& address);

    // A new address with the same parts, raw text, contact link, e-mail identifier, caller data, flags and
    // mail-sploit mark (nothing is sanitised again).
    std::shared_ptr<PWEmailAddress> copy() const;

    // ---- Parts --------------------------------------------------------------------------------------------

    const OptString& addressComment() const { return addressComment_; }
    const OptString& userName() const { return userName_; }
    const OptString& domain() const { return domain_; }
    const OptString& invalidRawAddress() const { return invalidRawAddress_; }

    // ---- Derived forms ------------------------------------------------------------------------------------

    // "user@domain" when both parts are non-empty, else nil. The case of both parts is kept.
    OptString userAtDomain() const;
    OptString sanitizedUserAtDomain() const { return userAtDomain(); }
    const OptString& sanitizedAddressComment() const { return addressComment_; }
    // userAtDomain lower-cased and trimmed.
    OptString baseAddress() const;
    // The comment when non-empty, else userAtDomain.
    OptString displayName() const;
    // "Comment <user@domain>", or "user@domain" without a comment; nil without userAtDomain.
    OptString displayAddress() const;
    // "user@domain (Comment)", with the same fallbacks.
    OptString invertedDisplayAddress() const;
    // The RFC 2822 form: the comment as an atom, or quoted with its double quotes escaped, or as an encoded
    // word (ISO Latin 1 preferred) when it is not ASCII; then the lower-cased base address, in angle
    // brackets after a comment. Without a comment, the base address alone (nil without one).
    OptString rfc2822Representation() const;
    // The short hash of the first non-nil of the RFC 2822 form, the display address and the raw text.
    OptString digest() const;
    // No invalid raw text, and a userAtDomain.
    bool valid() const;
    // "<PWEmailAddress: 0x... ContactID:id> display address", or "<PWEmailAddress: 0x...> (INVALID) raw".
    virtual std::u16string description() const;
    // "type" = "address", then "contactName", "contactIdentifier", "addressComment", "userName", "domain",
    // "emailIdentifier", in that order; nil values are left out.
    nlohmann::ordered_json dictionaryRepresentation() const;

    // ---- Identity -----------------------------------------------------------------------------------------

    // The same object; or both without userAtDomain and comment and with equal raw texts (both nil counts
    // as equal); or equal base addresses (case-insensitive, or both nil) and equal comments (or both nil).
    bool isEqual(const PWEmailAddress* other) const;
    bool isEqualTo(const PWEmailAddress* other) const { return isEqual(other); }
    // Consistent with isEqual: built from exactly what isEqual compares.
    size_t hash() const;
    // Display addresses equal ignoring case and diacritics, or base addresses ignoring case, or (neither
    // having a base address) raw texts ignoring case and diacritics, or comments ignoring case and
    // diacritics.
    bool isEquivalentToAddress(const PWEmailAddress* other) const;

    // ---- Contacts ------------------------------------------------------------------------------------------

    std::shared_ptr<const Contact> contact() const;
    // Calls loadContact first when asked to.
    std::shared_ptr<const Contact> contactLoadIfNoneFound(bool loadIfNoneFound);
    // Links the contact only when none is linked yet.
    void setContact(std::shared_ptr<const Contact> contact);
    // Links the contact and remembers which of its e-mail values this address is.
    void updateFromContact(std::shared_ptr<const Contact> contact, const OptString& identifier);
    // Links the first contact that has userAtDomain among its e-mail values, and takes the identifier of the
    // (last) value that equals userAtDomain exactly. Nothing happens when a contact is linked already or the
    // host grants no full access to contacts. A failed fetch is logged.
    void loadContact();
    OptString emailIdentifier() const;
    // The linked contact's full name, nil when unlinked.
    OptString contactName() const;
    OptString contactNameOrAddressComment() const;

    // ---- Caller data ---------------------------------------------------------------------------------------

    nlohmann::ordered_json auxiliaryInfo() const;
    // Sets one key of the caller data; a null value removes the key.
    void setAuxiliaryInfo(const nlohmann::ordered_json& value, const std::string& key);
    unsigned long flags() const;
    void setFlags(unsigned long flags);
    long long persistenceId() const;
    void setPersistenceId(long long persistenceId);
    bool isMailSploited() const;
    void setIsMailSploited(bool isMailSploited);

    // ---- Pasteboard ----------------------------------------------------------------------------------------

    // ORWPasteboardTypeEmailAddress, then the plain-string type.
    static std::vector<std::string> readableTypesForPasteboard();
    static std::vector<std::string> writableTypesForPasteboard();
    static PasteboardReadingOptions readingOptionsForType(std::string_view type);
    // The dictionary form for ORWPasteboardTypeEmailAddress, the RFC 2822 form (a string, or null) otherwise.
    nlohmann::ordered_json pasteboardPropertyListForType(std::string_view type) const;

protected:
    // The designated initialiser's work on a fresh object.
    void initialise(const OptString& comment, const OptString& userName, const OptString& domain, unsigned options);
    // Copies every field of other into this fresh object.
    void copyFrom(const PWEmailAddress& other);
    virtual const char16_t* className() const { return u"PWEmailAddress"; }

private:
    OptString addressComment_;
    OptString userName_;
    OptString domain_;
    OptString invalidRawAddress_;

    mutable std::mutex mutex_;
    OptString emailIdentifier_;
    std::shared_ptr<const Contact> contact_;
    nlohmann::ordered_json auxiliaryInfo_ = nlohmann::ordered_json::object();
    unsigned long flags_ = 0;
    long long persistenceId_ = 0;
    bool isMailSploited_ = false;
};

// Functors for unordered containers of shared addresses: hashing and equality follow isEqual.
struct PWEmailAddressHash {
    size_t operator()(const std::shared_ptr<PWEmailAddress>& address) const { return address ? address->hash() : 0; }
};
// Compares addresses by value (lower-cased base address and comment), not by object.
struct PWEmailAddressEqual {
    bool operator()(const std::shared_ptr<PWEmailAddress>& a, const std::shared_ptr<PWEmailAddress>& b) const {
        return a && b ? a->isEqual(b.get()) : a == b;
    }
};

inline bool operator==(const PWEmailAddress& a, const PWEmailAddress& b) {
    return a.isEqual(&b);
}

}  // namespace postwright
POSTWRIGHT_PUBLIC_END

// Hashes addresses by value (lower-cased base address and comment), as PWEmailAddressHash does.
template <>
struct std::hash<postwright::PWEmailAddress> {
    size_t operator()(const postwright::PWEmailAddress& address) const { return address.hash(); }
};
