// The amendment types the message model names in its operations (they are defined in Amendments/): the
// messages run amendments over themselves, and the builders hand them on.
#pragma once

#include <memory>
#include <vector>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWMessageAmendment;
class PWMessageAmendmentContext;
using PWMessageAmendmentRef = std::shared_ptr<PWMessageAmendment>;
using PWMessageAmendmentList = std::vector<PWMessageAmendmentRef>;
using PWMessageAmendmentContextRef = std::shared_ptr<PWMessageAmendmentContext>;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
