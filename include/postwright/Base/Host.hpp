// The host application: the services an embedding mail client installs for the library.
//
// The library logs, looks up localized texts and finds its attachment directory through the shared
// Application object. Every service has a working default (log to stderr, English texts, a directory
// under the system's temporary directory), so nothing needs to be installed to use the library. Tests
// install fakes that record what they are given.
//
//     postwright::Application::shared().setLogger(std::make_shared<MyLogger>());
//     postwright::logForCategory("4904-trimming", u"Trimming node at start");
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class AddressBook;
class FGMessageEncryptionManager;  // Amendments/FGMessageEncryptionManager.hpp

// Where the library's log lines go; the host may install its own.
class Logger {
public:
    virtual ~Logger() = default;
    // One line of the log. category is empty for general lines (the system log).
    virtual void logForCategory(std::string_view category, std::u16string_view message) = 0;
};

// Writes "postwright[category]: message" lines to stderr.
class StandardErrorLogger : public Logger {
public:
    void logForCategory(std::string_view category, std::u16string_view message) override;
};

// Localized texts by key. Return nullopt for a key the table does not translate.
class StringTable {
public:
    virtual ~StringTable() = default;
    virtual OptString localizedString(std::u16string_view key, std::u16string_view table) = 0;
};

// Where attachments of a message are written: a folder per root part identifier.
class AttachmentDirectoryDelegate {
public:
    virtual ~AttachmentDirectoryDelegate() = default;
    virtual std::string pathToAttachmentDirectoryForIdentifier(std::u16string_view identifier) = 0;
};

// The host's services as the library finds them: logger, texts, attachment directory, address book.
class Application {
public:
    static Application& shared();

    std::shared_ptr<Logger> logger() const;
    void setLogger(std::shared_ptr<Logger> logger);  // nullptr restores the default

    std::shared_ptr<StringTable> strings() const;    // nullptr: the host translates nothing
    void setStrings(std::shared_ptr<StringTable> strings);

    std::shared_ptr<AttachmentDirectoryDelegate> attachmentDirectoryDelegate() const;
    void setAttachmentDirectoryDelegate(std::shared_ptr<AttachmentDirectoryDelegate> delegate);

    // The host's contacts (AddressBook.hpp); nullptr, the default, means no access to contacts.
    std::shared_ptr<AddressBook> addressBook() const;
    void setAddressBook(std::shared_ptr<AddressBook> addressBook);

    // The host's signing and encryption service, which the sign, encrypt and decrypt amendments call;
    // nullptr, the default, means none (those amendments then change nothing).
    std::shared_ptr<FGMessageEncryptionManager> messageEncryptionManager() const;
    void setMessageEncryptionManager(std::shared_ptr<FGMessageEncryptionManager> manager);

    // The host application's identifier, which names its folders (the decryption scratch folder); by
    // default "org.fgpostwright.library". An empty identifier restores the default.
    std::string bundleIdentifier() const;
    void setBundleIdentifier(std::string identifier);

    // The charsets the host expects unlabelled text to be in (a composer knows its user's locale: a
    // Russian user's mail is likely windows-1251 or koi8-r). Hints for charset detection, weighed with the
    // bytes and never over them (EncodingDetector.hpp); empty, the default, means none.
    std::vector<TextEncoding> preferredEncodings() const;
    void setPreferredEncodings(std::vector<TextEncoding> encodings);

private:
    Application();
    mutable std::mutex mutex_;
    std::shared_ptr<Logger> logger_;
    std::shared_ptr<StringTable> strings_;
    std::shared_ptr<AttachmentDirectoryDelegate> attachmentDirectoryDelegate_;
    std::shared_ptr<AddressBook> addressBook_;
    std::shared_ptr<FGMessageEncryptionManager> messageEncryptionManager_;
    std::string bundleIdentifier_;
    std::vector<TextEncoding> preferredEncodings_;
};

// Logs through the host's logger.
void logForCategory(std::string_view category, std::u16string_view message);
// A general log line (the system log of the text).
inline void logMessage(std::u16string_view message) { logForCategory({}, message); }

// Where a localized text is looked up.
enum class StringSource {
    Host,     // the host application's tables
    Library,  // the library's own table: the host may still override its keys
};

// The localized text for key: the host's translation when it has one, else the fallback text.
std::u16string localizedString(std::u16string_view key, std::u16string_view fallback,
                               StringSource source = StringSource::Host, std::u16string_view table = u"");

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
