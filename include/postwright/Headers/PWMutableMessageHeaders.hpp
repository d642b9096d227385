// PWMutableMessageHeaders: the editable header collection used while composing and amending.
//
// Fields are set, replaced, removed and merged; typed setters turn identifiers, subjects (and, with the
// address and date units, addresses and dates) into header text. Every change clears the cached content
// identifier and sets the `mutated` flag, which stays set until the identifier is computed again.
// Observers of "headerEntryDictionary" are told before and after each change made through setHeader and
// removeHeaderForKey (outside the collection's lock, so an observer may read the collection).
//
//     auto headers = PWMutableMessageHeaders::init();
//     headers->setHeader(u"Hello", u"subject");      // value first, then the name
//     headers->setHeader(std::nullopt, u"Subject");  // no value removes the field
#pragma once

#include <functional>
#include <map>

#include "postwright/Export.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The editable header collection used while composing and amending.
class PWMutableMessageHeaders : public PWMessageHeaders {
public:
    static std::shared_ptr<PWMutableMessageHeaders> init();
    // A mutable copy of the dictionary (the entry lists and entries themselves are shared).
    static std::shared_ptr<PWMutableMessageHeaders> initWithHeaderEntryDictionary(HeaderEntryDictionary dictionary);

    bool isMutable() const noexcept override { return true; }
    // True when something changed since the content identifier was last computed.
    bool mutated() const;

    // Sets the field to the value. One existing entry of that name keeps its written name and place and
    // takes the value; otherwise (none, or several) a single new entry replaces them with the name as
    // passed and the rank of the name as sort hint. No value removes the field.
    void setHeader(const OptString& value, std::u16string_view key);
    // Removes every entry of the name; true when there was one.
    bool removeHeaderForKey(std::u16string_view key);
    // Takes over every field of the other collection, replacing fields of the same name here. The taken
    // entries get sort hints after all existing ones (written into the shared entries). Merging neither
    // notifies observers nor clears the content identifier.
    void addEntriesFromHeaders(const PWMessageHeaders& other);

    // Nil or empty removes "Subject"; otherwise trimmed, line breaks removed, and written as an encoded
    // word when it is not plain header text.
    void setSubject(const OptString& subject);
    // "Date" = the date's RFC 2822 text in the current zone.
    void setDateSent(double date);
    // "Sender" / "From" = the addresses' RFC 2822 forms joined by ", "; no address removes the field.
    void setSender(const PWEmailAddressList& addresses);
    void setFrom(const PWEmailAddressList& addresses);
    // "To", "Cc", "Bcc", "Reply-To" = the RFC 2822 forms joined by a bare ","; groups are accepted as well
    // as addresses. An empty list removes the field.
    void setRecipients(const PWEmailAddressList& addresses) { setAddressField(PWMessageHeaderToKey, formsOf(addresses)); }
    void setRecipients(const PWEmailAddressGroupList& groups) { setAddressField(PWMessageHeaderToKey, formsOf(groups)); }
    void setCcRecipients(const PWEmailAddressList& addresses) { setAddressField(PWMessageHeaderCcKey, formsOf(addresses)); }
    void setCcRecipients(const PWEmailAddressGroupList& groups) { setAddressField(PWMessageHeaderCcKey, formsOf(groups)); }
    void setBccRecipients(const PWEmailAddressList& addresses) {
        setAddressField(PWMessageHeaderBccKey, formsOf(addresses));
    }
    void setBccRecipients(const PWEmailAddressGroupList& groups) { setAddressField(PWMessageHeaderBccKey, formsOf(groups)); }
    void setReplyToRecipients(const PWEmailAddressList& addresses) {
        setAddressField(PWMessageHeaderReplyToKey, formsOf(addresses));
    }
    void setReplyToRecipients(const PWEmailAddressGroupList& groups) {
        setAddressField(PWMessageHeaderReplyToKey, formsOf(groups));
    }
    // "Message-Id" = "<id>" of the value trimmed of "<", ">", SPACE, CR and LF.
    void setHeaderID(std::u16string_view identifier);
    // Each identifier trimmed and wrapped in angle brackets, joined with ", "; an empty list removes.
    void setInReplyToIds(const std::vector<std::u16string>& identifiers);
    void setReferences(const std::vector<std::u16string>& identifiers);

    // Observation of "headerEntryDictionary": prior is true before a change, false after it.
    using Observer = std::function<void(bool prior)>;
    size_t addObserver(Observer observer);
    void removeObserver(size_t token);

protected:
    PWMutableMessageHeaders() = default;
    void notifyObservers(bool prior);
    void changeDictionary(const std::function<void(HeaderEntryDictionary&)>& change, bool notify);
    void setIdentifierList(std::u16string_view key, const std::vector<std::u16string>& identifiers);
    template <typename List>
    static std::vector<std::u16string> formsOf(const List& items) {
        std::vector<std::u16string> forms;
        for (const auto& item : items) {
            if (!item) continue;
            if (OptString form = item->rfc2822Representation()) forms.push_back(*form);
        }
        return forms;
    }
    void setAddressField(std::u16string_view key, const std::vector<std::u16string>& forms);

    std::mutex observersMutex_;
    std::map<size_t, Observer> observers_;
    size_t nextObserverToken_ = 1;

    friend class PWMessageHeaders;
};

using PWMutableMessageHeadersRef = std::shared_ptr<PWMutableMessageHeaders>;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
