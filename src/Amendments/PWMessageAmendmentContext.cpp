#include "postwright/Amendments/PWMessageAmendmentContext.hpp"

namespace postwright {

std::shared_ptr<PWMessageAmendmentContext> PWMessageAmendmentContext::initWithContextType(uint64_t contextType,
                                                                                          nlohmann::json userInfo) {
    std::shared_ptr<PWMessageAmendmentContext> context(new PWMessageAmendmentContext());
    context->contextType_ = contextType;
    context->userInfo_ = std::move(userInfo);
    return context;
}

uint64_t PWMessageAmendmentContext::contextType() const {
    std::lock_guard lock(mutex_);
    return contextType_;
}

void PWMessageAmendmentContext::setContextType(uint64_t contextType) {
    std::lock_guard lock(mutex_);
    contextType_ = contextType;
}

nlohmann::json PWMessageAmendmentContext::userInfo() const {
    std::lock_guard lock(mutex_);
    return userInfo_;
}

void PWMessageAmendmentContext::setUserInfo(nlohmann::json userInfo) {
    std::lock_guard lock(mutex_);
    userInfo_ = std::move(userInfo);
}

OptString PWMessageAmendmentContext::identifier() const {
    std::lock_guard lock(mutex_);
    return identifier_;
}

void PWMessageAmendmentContext::setIdentifier(OptString identifier) {
    std::lock_guard lock(mutex_);
    identifier_ = std::move(identifier);
}

std::shared_ptr<PWAmendmentLogger> PWMessageAmendmentContext::logger() const {
    std::lock_guard lock(mutex_);
    return logger_;
}

void PWMessageAmendmentContext::setLogger(std::shared_ptr<PWAmendmentLogger> logger) {
    std::lock_guard lock(mutex_);
    logger_ = std::move(logger);
}

void PWMessageAmendmentContext::log(std::u16string_view line) const {
    if (std::shared_ptr<PWAmendmentLogger> sink = logger()) sink->log(line);
}

}  // namespace postwright
