#include "postwright/Base/Host.hpp"

#include "postwright/Base/AddressBook.hpp"

#include <unistd.h>

#include <cstdio>
#include <filesystem>

namespace postwright {

void StandardErrorLogger::logForCategory(std::string_view category, std::u16string_view message) {
    std::string line = "postwright";
    if (!category.empty()) {
        line += "[";
        line += category;
        line += "]";
    }
    line += ": ";
    line += toUTF8(message);
    line += "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

namespace {
class TemporaryAttachmentDirectory : public AttachmentDirectoryDelegate {
public:
    std::string pathToAttachmentDirectoryForIdentifier(std::u16string_view identifier) override {
        std::error_code error;
        std::filesystem::path base = std::filesystem::temp_directory_path(error);
        if (error) base = "/tmp";
        std::string safe;
        for (char c : toUTF8(identifier)) safe.push_back(c == '/' ? '_' : c);
        if (safe.empty()) safe = "message";
        return (base / ("postwright-attachments-" + std::to_string(::getuid())) / safe).string();
    }
};
}  // namespace

namespace {
constexpr std::string_view kDefaultBundleIdentifier = "org.fgpostwright.library";
}  // namespace

Application::Application()
    : logger_(std::make_shared<StandardErrorLogger>()),
      attachmentDirectoryDelegate_(std::make_shared<TemporaryAttachmentDirectory>()) {}

Application& Application::shared() {
    static Application* application = new Application();
    return *application;
}

std::shared_ptr<Logger> Application::logger() const {
    std::lock_guard lock(mutex_);
    return logger_;
}

void Application::setLogger(std::shared_ptr<Logger> logger) {
    std::lock_guard lock(mutex_);
    logger_ = logger ? std::move(logger) : std::make_shared<StandardErrorLogger>();
}

std::shared_ptr<StringTable> Application::strings() const {
    std::lock_guard lock(mutex_);
    return strings_;
}

void Application::setStrings(std::shared_ptr<StringTable> strings) {
    std::lock_guard lock(mutex_);
    strings_ = std::move(strings);
}

std::shared_ptr<AttachmentDirectoryDelegate> Application::attachmentDirectoryDelegate() const {
    std::lock_guard lock(mutex_);
    return attachmentDirectoryDelegate_;
}

void Application::setAttachmentDirectoryDelegate(std::shared_ptr<AttachmentDirectoryDelegate> delegate) {
    std::lock_guard lock(mutex_);
    attachmentDirectoryDelegate_ = delegate ? std::move(delegate) : std::make_shared<TemporaryAttachmentDirectory>();
}

std::shared_ptr<AddressBook> Application::addressBook() const {
    std::lock_guard lock(mutex_);
    return addressBook_;
}

void Application::setAddressBook(std::shared_ptr<AddressBook> addressBook) {
    std::lock_guard lock(mutex_);
    addressBook_ = std::move(addressBook);
}

std::shared_ptr<FGMessageEncryptionManager> Application::messageEncryptionManager() const {
    std::lock_guard lock(mutex_);
    return messageEncryptionManager_;
}

void Application::setMessageEncryptionManager(std::shared_ptr<FGMessageEncryptionManager> manager) {
    std::lock_guard lock(mutex_);
    messageEncryptionManager_ = std::move(manager);
}

std::string Application::bundleIdentifier() const {
    std::lock_guard lock(mutex_);
    return bundleIdentifier_.empty() ? std::string(kDefaultBundleIdentifier) : bundleIdentifier_;
}

void Application::setBundleIdentifier(std::string identifier) {
    std::lock_guard lock(mutex_);
    bundleIdentifier_ = std::move(identifier);
}

std::vector<TextEncoding> Application::preferredEncodings() const {
    std::lock_guard lock(mutex_);
    return preferredEncodings_;
}

void Application::setPreferredEncodings(std::vector<TextEncoding> encodings) {
    std::lock_guard lock(mutex_);
    preferredEncodings_ = std::move(encodings);
}

void logForCategory(std::string_view category, std::u16string_view message) {
    Application::shared().logger()->logForCategory(category, message);
}

std::u16string localizedString(std::u16string_view key, std::u16string_view fallback, StringSource,
                               std::u16string_view table) {
    // The library's own table holds only English texts, which are the fallbacks themselves; both sources
    // therefore come down to the host's translation or the fallback.
    if (std::shared_ptr<StringTable> strings = Application::shared().strings()) {
        if (OptString translated = strings->localizedString(key, table)) return *translated;
    }
    return std::u16string(fallback);
}

}  // namespace postwright
