// PWContentType: a typed view of a Content-Type info dictionary (ContentParameters.hpp).
//
//     PWContentType type = PWContentType::newWithContentTypeInfo(info);
//     if (type.mimeType() == u"multipart/mixed") split(type.boundary());
//
// A plain value record: copies are independent, equality compares all three fields.
#pragma once

#include <string>

#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"
#include "postwright/Lexical/ParameterDictionary.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A Content-Type value: type, subtype and parameters.
struct PWContentType {
    std::u16string baseType;
    std::u16string subType;
    // The whole info dictionary, the "@" keys included.
    ParameterDictionary parameters;

    // Builds the record from Content-Type info. The base type is "@type" as it stands, or "application"
    // when there is none. The subtype is "@subtype"; without it, "@type" split at "/" gives its second
    // component when it has exactly two, else "unknown". The parameters are a copy of the whole
    // dictionary, "@type", "@subtype" and "@fulltype" included (callers rely on finding them there).
    static PWContentType newWithContentTypeInfo(const ParameterDictionary& info);

    // "baseType/subType".
    std::u16string mimeType() const;
    // The "boundary" and "name" parameters, when they are text.
    OptString boundary() const;
    OptString name() const;

    bool operator==(const PWContentType&) const = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
