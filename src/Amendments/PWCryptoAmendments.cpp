#include "postwright/Amendments/PWCryptoAmendments.hpp"

#include <sys/stat.h>

#include <filesystem>

#include "postwright/Amendments/FGMessageEncryptionManager.hpp"

namespace postwright {

namespace {

using ServiceOperation = PWMessageContentsRef (FGMessageEncryptionManager::*)(const PWMessageContentsRef&, ErrorRef*);

void applyService(FGBaseMutableMessage& message, ServiceOperation operation, ErrorRef* error) {
    std::shared_ptr<FGMessageEncryptionManager> service = Application::shared().messageEncryptionManager();
    if (!service) return;
    PWMessageContentsRef contents = message.messageContents();
    if (!contents) return;
    PWMessageContentsRef changed = ((*service).*operation)(contents, error);
    if (PWMimePartRef root = changed ? changed->rootMimePart() : nullptr) message.setRootMimePartOfContents(root);
}

// In its context, hands the message's contents to the host's service and puts the root of what comes back
// into the message.
PWAmendmentResultRef applyEncryptionService(FGBaseMutableMessage& message, const PWMessageAmendmentContext& context,
                                            uint64_t actsIn, ServiceOperation operation, ErrorRef* error) {
    setSlot(error, nullptr);
    if (context.contextType() == actsIn) applyService(message, operation, error);
    return PWAmendmentResult::init();
}

}  // namespace

// ---- Signing --------------------------------------------------------------------------------------------------

const PWAmendmentClass& PWCryptoSignAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWCryptoSignAmendment", u"CryptoSign",
                                      &PWCryptoSignAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWCryptoSignAmendment> PWCryptoSignAmendment::init() {
    return std::shared_ptr<PWCryptoSignAmendment>(new PWCryptoSignAmendment());
}

std::shared_ptr<PWMessageAmendment> PWCryptoSignAmendment::initWithDictionaryRepresentation(
    const PWAmendmentDictionary&) {
    return init();
}

PWAmendmentResultRef PWCryptoSignAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                             const PWMessageAmendmentContext& context,
                                                                             uint64_t, ErrorRef* error) {
    return applyEncryptionService(message, context, kPWAmendmentContextDelivery,
                                  &FGMessageEncryptionManager::contentsBySigningContents, error);
}

// ---- Encryption -----------------------------------------------------------------------------------------------

const PWAmendmentClass& PWEncryptAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWEncryptAmendment", u"Encrypt",
                                      &PWEncryptAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWEncryptAmendment> PWEncryptAmendment::init() {
    return std::shared_ptr<PWEncryptAmendment>(new PWEncryptAmendment());
}

std::shared_ptr<PWMessageAmendment> PWEncryptAmendment::initWithDictionaryRepresentation(const PWAmendmentDictionary&) {
    return init();
}

PWAmendmentResultRef PWEncryptAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                          const PWMessageAmendmentContext& context,
                                                                          uint64_t, ErrorRef* error) {
    return applyEncryptionService(message, context, kPWAmendmentContextDelivery,
                                  &FGMessageEncryptionManager::contentsByEncryptingContents, error);
}

// ---- Decryption -----------------------------------------------------------------------------------------------

const PWAmendmentClass& PWDecryptAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWDecryptAmendment", u"Decrypt",
                                      &PWDecryptAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWDecryptAmendment> PWDecryptAmendment::initWithPGPPrivateKey(const std::optional<Data>& pgpKey,
                                                                              const OptString& password) {
    std::shared_ptr<PWDecryptAmendment> amendment(new PWDecryptAmendment());
    amendment->pgpKey_ = pgpKey;
    amendment->password_ = password;
    return amendment;
}

std::shared_ptr<PWMessageAmendment> PWDecryptAmendment::initWithDictionaryRepresentation(const PWAmendmentDictionary&) {
    return initWithPGPPrivateKey(std::nullopt, std::nullopt);
}

std::string PWDecryptAmendment::messageDecryptionDirectory() {
    namespace fs = std::filesystem;
    std::error_code code;
    fs::path folder = fs::temp_directory_path(code) / Application::shared().bundleIdentifier() / "pgpDecryptionCache";
    if (code) return {};
    if (fs::exists(fs::symlink_status(folder, code)) && !fs::is_directory(fs::symlink_status(folder, code))) {
        fs::remove(folder, code);
    }
    fs::create_directories(folder, code);
    if (code || ::chmod(folder.c_str(), 0700) != 0) return {};
    return folder.string();
}

PWAmendmentResultRef PWDecryptAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                          const PWMessageAmendmentContext& context,
                                                                          uint64_t, ErrorRef* error) {
    return applyEncryptionService(message, context, kPWAmendmentContextDecryption,
                                  &FGMessageEncryptionManager::contentsByDecryptingContents, error);
}

}  // namespace postwright
