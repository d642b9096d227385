#include "postwright/Base/Error.hpp"

namespace postwright {

ErrorRef makeError(std::string domain, long code, std::u16string localizedDescription,
                   std::optional<std::u16string> debugDescription, ErrorRef underlyingError,
                   std::map<std::string, std::u16string> userInfo) {
    auto error = std::make_shared<Error>();
    error->domain = std::move(domain);
    error->code = code;
    error->localizedDescription = std::move(localizedDescription);
    error->debugDescription = std::move(debugDescription);
    error->underlyingError = std::move(underlyingError);
    error->userInfo = std::move(userInfo);
    return error;
}

}  // namespace postwright
