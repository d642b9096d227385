// PWContentDisposition: a typed view of a Content-Disposition info dictionary (ContentParameters.hpp).
//
//     PWContentDisposition disposition = PWContentDisposition::newWithDispositionInfo(info);
//     bool inline_ = disposition.dispositionType == u"inline";
//
// A plain value record: copies are independent, equality compares both fields.
#pragma once

#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"
#include "postwright/Lexical/ParameterDictionary.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// A Content-Disposition value: its type and its parameters.
struct PWContentDisposition {
    // "@type" of the info (nil when it has none, or it is not text).
    OptString dispositionType;
    // The info without "@type": "filename", "size", unjoined "filename*" sections and the rest.
    ParameterDictionary parameters;

    static PWContentDisposition newWithDispositionInfo(const ParameterDictionary& info);

    bool operator==(const PWContentDisposition&) const = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
