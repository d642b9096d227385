#include "Mime/detail/MimeHeaderFields.hpp"

#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Lexical/ContentParameters.hpp"

namespace postwright::detail {

namespace {
constexpr std::u16string_view kParameterSeparator = u";\r\n ";

// Appends every parameter but the "@" keys to the pieces.
void appendParameters(const ParameterDictionary& info, std::vector<std::u16string>& pieces) {
    for (const auto& [name, value] : info) {
        if (!name.empty() && name.front() == u'@') continue;
        if (const auto* text = std::get_if<std::u16string>(&value)) {
            pieces.push_back(PWMessageHeaders::foldedStringForParameterName(name, *text));
        } else if (const auto* number = std::get_if<long long>(&value)) {
            pieces.push_back(PWMessageHeaders::foldedStringForParameterName(name, decimalString(*number)));
        }
    }
}
}  // namespace

std::u16string contentTypeFieldValue(const ParameterDictionary& contentType) {
    std::vector<std::u16string> pieces;
    std::u16string fullType = fgTrim(contentType.text(kContentTypeKeyFullType).value_or(u""));
    if (!fullType.empty()) pieces.push_back(std::move(fullType));
    appendParameters(contentType, pieces);
    return componentsJoinedBy(pieces, kParameterSeparator);
}

std::u16string contentDispositionFieldValue(const ParameterDictionary& disposition) {
    std::vector<std::u16string> pieces;
    pieces.push_back(disposition.text(kContentDispositionKeyType).value_or(std::u16string(kContentDispositionValueAttachment)));
    appendParameters(disposition, pieces);
    return componentsJoinedBy(pieces, kParameterSeparator);
}

OptString nonEmptyText(const OptString& text) {
    if (!text || text->empty()) return std::nullopt;
    return text;
}

}  // namespace postwright::detail
