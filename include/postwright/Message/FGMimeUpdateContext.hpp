// FGMimeUpdateContext: what a rebuild of a message's MIME tree for delivery needs to know.
//
// FGBaseMutableMessage::updateMimePartsWithContext rebuilds a composed message from its HTML document and
// attachment list; the context says what kind of update it is (the MIME fragmentation amendment uses 0),
// whether the message goes out through an Exchange account (attachment placeholders then become their
// names in brackets and every attachment goes after the body), and which amendments are in force (handed
// on to the plain-text builder).
//
//     auto context = FGMimeUpdateContext::initWithType(0, /*isExchangeDelivery=*/false);
//     PWMimePartRef root = message->updateMimePartsWithContext(context);
#pragma once

#include <cstdint>

#include "postwright/Export.hpp"
#include "postwright/Message/AmendmentDeclarations.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The kind of MIME rebuild for delivery, whether the account is Exchange, and the amendments in force.
struct FGMimeUpdateContext {
    uint64_t type = 0;
    bool isExchangeDelivery = false;
    // Empty unless the caller fills it.
    PWMessageAmendmentList amendments;

    static FGMimeUpdateContext initWithType(uint64_t type, bool isExchangeDelivery) {
        return FGMimeUpdateContext{type, isExchangeDelivery, {}};
    }
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
