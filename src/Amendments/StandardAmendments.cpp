// The library's amendment classes, for hosts that register them all at once.
#include "postwright/Amendments/PWAddRecipientAmendment.hpp"
#include "postwright/Amendments/PWApplyFormatAmendment.hpp"
#include "postwright/Amendments/PWBodyAmendment.hpp"
#include "postwright/Amendments/PWCryptoAmendments.hpp"
#include "postwright/Amendments/PWFragmentMimePartAmendment.hpp"
#include "postwright/Amendments/PWHeaderAmendment.hpp"
#include "postwright/Amendments/PWMakePlainTextAmendment.hpp"
#include "postwright/Amendments/PWPlaceholderExpansionAmendment.hpp"
#include "postwright/Amendments/PWPrepareDeliveryAmendment.hpp"
#include "postwright/Amendments/PWSignatureAmendment.hpp"
#include "postwright/Amendments/PWSubjectAmendment.hpp"

namespace postwright {

void PWMessageAmendment::registerStandardAmendmentClasses() {
    // The date-sent and remove-Bcc amendments answer "NoAmendment": registering them would turn every plain
    // amendment read back from a dictionary into one of them.
    for (const PWAmendmentClass* cls :
         {&PWAddRecipientAmendment::amendmentClass(), &PWApplyFormatAmendment::amendmentClass(),
          &PWBodyAmendment::amendmentClass(), &PWCryptoSignAmendment::amendmentClass(),
          &PWDecryptAmendment::amendmentClass(), &PWEncryptAmendment::amendmentClass(),
          &PWFragmentMimePartAmendment::amendmentClass(), &PWHeaderAmendment::amendmentClass(),
          &PWMakePlainTextAmendment::amendmentClass(), &PWPlaceholderExpansionAmendment::amendmentClass(),
          &PWPrepareDeliveryAmendment::amendmentClass(), &PWSignatureAmendment::amendmentClass(),
          &PWSubjectAmendment::amendmentClass(), &PWUploadAttachmentAmendment::amendmentClass()}) {
        registerMessageAmendmentClass(*cls);
    }
}

}  // namespace postwright
