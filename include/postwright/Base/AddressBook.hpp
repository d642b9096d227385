// AddressBook: the host's contacts, as the library sees them.
//
// E-mail addresses link themselves to the contact that owns them, show the contact's name, and are made
// from a contact's labelled e-mail values. The host installs its address book on the Application object
// (Host.hpp); without one the library has no access to contacts, so linking does nothing and no address
// has a contact name.
//
//     class MyBook : public postwright::AddressBook { ... };
//     postwright::Application::shared().setAddressBook(std::make_shared<MyBook>());
//     address->loadContact();   // links the contact whose e-mail values hold address->userAtDomain()
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// One labelled e-mail value of a contact ("home": "ann@example.com"), with its stable identifier.
struct LabeledEmailAddress {
    std::u16string identifier;
    OptString label;
    std::u16string value;
};

// A contact of the host's address book, with the fields the library reads.
struct Contact {
    std::u16string identifier;
    OptString fullName;  // the name formatted in full-name style, nil when the contact has none
    OptString nickname;
    std::vector<LabeledEmailAddress> emailAddresses;
    // False for a contact fetched without the keys the library reads (names, nickname, e-mail values);
    // the library then fetches it again by identifier.
    bool hasDescriptorKeys = true;
};

enum class ContactsAuthorizationStatus { NotDetermined, Restricted, Denied, Authorized, Limited };

// The host's address book: implemented by the host and installed on Application::shared().
class AddressBook {
public:
    virtual ~AddressBook() = default;
    // Only Authorized (full access) lets the library read contacts.
    virtual ContactsAuthorizationStatus authorizationStatus() = 0;
    // The unified contact with the identifier, with the keys the library reads; nullptr when there is none
    // (a failed fetch also fills the error slot).
    virtual std::shared_ptr<const Contact> contactWithIdentifier(std::u16string_view identifier, ErrorRef* error) = 0;
    // The contacts that have the e-mail address among their values, best match first.
    virtual std::vector<std::shared_ptr<const Contact>> contactsMatchingEmailAddress(std::u16string_view emailAddress,
                                                                                     ErrorRef* error) = 0;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
