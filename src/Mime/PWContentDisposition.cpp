#include "postwright/Mime/PWContentDisposition.hpp"

#include "postwright/Lexical/ContentParameters.hpp"

namespace postwright {

PWContentDisposition PWContentDisposition::newWithDispositionInfo(const ParameterDictionary& info) {
    PWContentDisposition disposition;
    disposition.dispositionType = info.text(kContentDispositionKeyType);
    disposition.parameters = info;
    disposition.parameters.remove(kContentDispositionKeyType);
    return disposition;
}

}  // namespace postwright
