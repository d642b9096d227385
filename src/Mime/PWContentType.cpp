#include "postwright/Mime/PWContentType.hpp"

#include "postwright/Base/Format.hpp"
#include "postwright/Lexical/ContentParameters.hpp"

namespace postwright {

PWContentType PWContentType::newWithContentTypeInfo(const ParameterDictionary& info) {
    PWContentType type;
    OptString fullType = info.text(kContentTypeKeyType);
    type.baseType = fullType.value_or(u"application");
    if (OptString subtype = info.text(kContentTypeKeySubtype)) {
        type.subType = *subtype;
    } else {
        std::vector<std::u16string> components =
            fullType ? componentsSeparatedBy(*fullType, u"/") : std::vector<std::u16string>();
        type.subType = components.size() == 2 ? components.back() : u"unknown";
    }
    type.parameters = info;
    return type;
}

std::u16string PWContentType::mimeType() const {
    return formatString(u"%@/%@", {baseType, subType});
}

OptString PWContentType::boundary() const {
    return parameters.text(kContentTypeKeyBoundary);
}

OptString PWContentType::name() const {
    return parameters.text(kContentTypeKeyName);
}

}  // namespace postwright
