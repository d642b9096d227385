// FGMessageEncryptionManager: the host's signing and encryption service.
//
// The sign, encrypt and decrypt amendments hand the message's current contents to the service installed on
// the application object and put the root part of what comes back into the message. The service takes
// whole contents and gives back new contents, or nullptr with an error that is passed on unchanged.
//
//     Application::shared().setMessageEncryptionManager(std::make_shared<MySMIMEService>(keys));
#pragma once

#include <memory>

#include "postwright/Base/Error.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Export.hpp"
#include "postwright/Message/PWMessageContents.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The host's signing and encryption service, called by the sign, encrypt and decrypt amendments.
class FGMessageEncryptionManager {
public:
    virtual ~FGMessageEncryptionManager() = default;
    virtual PWMessageContentsRef contentsBySigningContents(const PWMessageContentsRef& contents, ErrorRef* error) = 0;
    virtual PWMessageContentsRef contentsByEncryptingContents(const PWMessageContentsRef& contents,
                                                              ErrorRef* error) = 0;
    virtual PWMessageContentsRef contentsByDecryptingContents(const PWMessageContentsRef& contents,
                                                              ErrorRef* error) = 0;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
