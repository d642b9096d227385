#include "postwright/Html/HTMLErrors.hpp"

#include <string>

namespace postwright {

ErrorRef invalidSelectorError(std::u16string_view selectorText, std::u16string_view reason) {
    std::u16string debug(selectorText);
    debug += u": ";
    debug += reason;
    return makeError(kHTMLErrorDomain, static_cast<long>(HTMLErrorCode::InvalidSelector), u"Invalid CSS selector",
                     std::move(debug));
}

}  // namespace postwright
