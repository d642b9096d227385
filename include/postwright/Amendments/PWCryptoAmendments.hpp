// The amendments that hand the message to the host's encryption service (Application's
// messageEncryptionManager, FGMessageEncryptionManager.hpp): PWCryptoSignAmendment ("CryptoSign", hint 98)
// and PWEncryptAmendment ("Encrypt", hint 99) in delivery context 4, so that they run last, and
// PWDecryptAmendment ("Decrypt", hint 10) in context 0. The root part of the contents the service gives
// back becomes the message's; without a service, or when it gives nothing back, the message stays as it
// is, and the service's error is passed on unchanged.
//
// The decrypt amendment carries a private key and its password, which are never written into the
// dictionary form; messageDecryptionDirectory() is the scratch folder for decrypted data.
#pragma once

#include <string>

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Base/Data.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Signs the message through the host's encryption service, last but one in delivery.
class PWCryptoSignAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }
    static std::shared_ptr<PWCryptoSignAmendment> init();
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);
    int64_t applicationOrderHint() const override { return 98; }
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWCryptoSignAmendment() = default;
};

// Encrypts the message through the host's encryption service, last in delivery.
class PWEncryptAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }
    static std::shared_ptr<PWEncryptAmendment> init();
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);
    int64_t applicationOrderHint() const override { return 99; }
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWEncryptAmendment() = default;
};

// Decrypts the message through the host's encryption service, in context 0.
class PWDecryptAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }
    static std::shared_ptr<PWDecryptAmendment> initWithPGPPrivateKey(const std::optional<Data>& pgpKey,
                                                                     const OptString& password);
    static std::shared_ptr<PWDecryptAmendment> newWithPGPPrivateKey(const std::optional<Data>& pgpKey,
                                                                    const OptString& password) {
        return initWithPGPPrivateKey(pgpKey, password);
    }
    // A decrypt amendment without key or password: the dictionary form never holds them.
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    // The scratch folder for decrypted data: the system's temporary folder, the host's bundle identifier
    // (Application::bundleIdentifier), then "pgpDecryptionCache". A plain file standing there is deleted; the
    // folder is made with its parents, mode 0700 (an existing one is brought back to 0700). The empty text
    // when it cannot be made.
    static std::string messageDecryptionDirectory();

    const std::optional<Data>& pgpKey() const noexcept { return pgpKey_; }
    const OptString& password() const noexcept { return password_; }
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWDecryptAmendment() = default;
    std::optional<Data> pgpKey_;
    OptString password_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
