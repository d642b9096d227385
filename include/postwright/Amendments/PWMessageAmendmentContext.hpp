// PWMessageAmendmentContext: why a list of amendments runs, and what the host hands along with it.
//
// The context type gates what the amendments do: 0 decrypts, 1 is the default run, 2 strips Bcc and
// stamps the sent date, 3 inserts the signature, 4 is the delivery of a composed message (signature,
// plain-text delivery, prepare delivery, MIME fragmentation, signing and encryption). userInfo is free
// data of the host (the MIME fragmentation amendment reads "deliveryAccountIsExchange"); identifier names
// the run in the log lines written to logger.
//
//     auto context = PWMessageAmendmentContext::newWithContextType(kPWAmendmentContextDelivery);
//     context->setIdentifier(u"send-42");
//     context->setLogger(std::make_shared<MyLogger>());
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The context types the library's amendments act in.
enum PWAmendmentContextType : uint64_t {
    kPWAmendmentContextDecryption = 0,
    kPWAmendmentContextDefault = 1,
    kPWAmendmentContextStripBcc = 2,
    kPWAmendmentContextSignature = 3,
    kPWAmendmentContextDelivery = 4,
};

// Receives the lines of an amendment run ("[Amendment  ID] Applying ...").
class PWAmendmentLogger {
public:
    virtual ~PWAmendmentLogger() = default;
    virtual void log(std::u16string_view line) = 0;
};

// Why a list of amendments runs, the host's data for it, and where its log lines go.
class PWMessageAmendmentContext {
public:
    static std::shared_ptr<PWMessageAmendmentContext> initWithContextType(uint64_t contextType,
                                                                          nlohmann::json userInfo = nullptr);
    static std::shared_ptr<PWMessageAmendmentContext> newWithContextType(uint64_t contextType) {
        return initWithContextType(contextType);
    }
    static std::shared_ptr<PWMessageAmendmentContext> newWithContextType(uint64_t contextType,
                                                                         nlohmann::json userInfo) {
        return initWithContextType(contextType, std::move(userInfo));
    }

    uint64_t contextType() const;
    void setContextType(uint64_t contextType);
    // null when the host gave none.
    nlohmann::json userInfo() const;
    void setUserInfo(nlohmann::json userInfo);
    OptString identifier() const;
    void setIdentifier(OptString identifier);
    // nullptr: nothing is logged.
    std::shared_ptr<PWAmendmentLogger> logger() const;
    void setLogger(std::shared_ptr<PWAmendmentLogger> logger);
    // Writes the line to the logger, if there is one.
    void log(std::u16string_view line) const;

private:
    PWMessageAmendmentContext() = default;
    mutable std::mutex mutex_;
    uint64_t contextType_ = 0;
    nlohmann::json userInfo_;
    OptString identifier_;
    std::shared_ptr<PWAmendmentLogger> logger_;
};

using PWMessageAmendmentContextRef = std::shared_ptr<PWMessageAmendmentContext>;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
