// PWAmendmentResult: what one amendment gives back besides its change to the message: data to merge into
// the amended contents' userInfo (later amendments' keys win).
#pragma once

#include <nlohmann/json.hpp>

#include <memory>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The data an amendment hands back to merge into the amended contents' userInfo.
struct PWAmendmentResult {
    // null for a plain result.
    nlohmann::json userInfo;

    static std::shared_ptr<PWAmendmentResult> init() { return std::make_shared<PWAmendmentResult>(); }
};

using PWAmendmentResultRef = std::shared_ptr<PWAmendmentResult>;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
