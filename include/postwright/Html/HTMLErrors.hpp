// The HTML layer's error vocabulary: its domain, codes and the records built from them.
//
//     ErrorRef error;
//     if (!CSSSelector::selectorWithString(u"p:hover", &error))
//         assert(error->domain == kHTMLErrorDomain && error->code == long(HTMLErrorCode::InvalidSelector));
#pragma once

#include <string_view>

#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

inline constexpr const char* kHTMLErrorDomain = "com.fennelgate.postwright.html";

enum class HTMLErrorCode : long {
    InvalidSelector = 1,  // selector text that is not a supported CSS selector
};

// "Invalid CSS selector", with the selector text and the reason in the debug description
// ("p:hover: pseudo-classes are not supported").
ErrorRef invalidSelectorError(std::u16string_view selectorText, std::u16string_view reason);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
