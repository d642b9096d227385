#include "Mime/detail/MimeHeaderFields.hpp"

#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Lexical/ContentParameters.hpp"

namespace postwright::detail {

namespace {
// The parameter writer joins RFC 2231 segments with CR LF; LF-stored parts are written with LF.
std::u16string withLineEnd(std::u16string text, std::u16string_view lineEnd) {
    return lineEnd == u"\r\n" ? text : replaceAll(text, u"\r\n", lineEnd);
}

std::u16string separator(std::u16string_view lineEnd) { return u";" + std::u16string(lineEnd) + u" "; }

// Appends every parameter but the "@" keys to the pieces.
void appendParameters(const ParameterDictionary& info, std::vector<std::u16string>& pieces,
                      std::u16string_view lineEnd) {
    for (const auto& [name, value] : info) {
        if (!name.empty() && name.front() == u'@') continue;
        // Parameter values that hold line breaks are written in the RFC 2231 extended form, so the only
        // breaks in a written parameter are its own segment continuations.
        if (const auto* text = std::get_if<std::u16string>(&value)) {
            // RFC 2045 section 5.1: a value is a token or a quoted string, so an empty one is quoted.
            if (text->empty()) {
                pieces.push_back(removeCharacters(name, u"\r\n") + u"=\"\"");
                continue;
            }
            pieces.push_back(withLineEnd(
                PWMessageHeaders::foldedStringForParameterName(removeCharacters(name, u"\r\n"), *text), lineEnd));
        } else if (const auto* number = std::get_if<long long>(&value)) {
            pieces.push_back(
                PWMessageHeaders::foldedStringForParameterName(removeCharacters(name, u"\r\n"), decimalString(*number)));
        }
    }
}
}  // namespace

std::u16string contentTypeFieldValue(const ParameterDictionary& contentType, std::u16string_view lineEnd) {
    std::vector<std::u16string> pieces;
    std::u16string fullType = fgTrim(removeCharacters(contentType.text(kContentTypeKeyFullType).value_or(u""), u"\r\n"));
    if (!fullType.empty()) pieces.push_back(std::move(fullType));
    appendParameters(contentType, pieces, lineEnd);
    return componentsJoinedBy(pieces, separator(lineEnd));
}

std::u16string contentDispositionFieldValue(const ParameterDictionary& disposition, std::u16string_view lineEnd) {
    std::vector<std::u16string> pieces;
    pieces.push_back(removeCharacters(
        disposition.text(kContentDispositionKeyType).value_or(std::u16string(kContentDispositionValueAttachment)),
        u"\r\n"));
    appendParameters(disposition, pieces, lineEnd);
    return componentsJoinedBy(pieces, separator(lineEnd));
}

void setFieldWrittenAsIs(HeaderEntryDictionary& dictionary, std::u16string_view name, const OptString& text) {
    std::u16string key = headerDictionaryKey(name);
    if (!text) {
        dictionary.remove(key);
        return;
    }
    HeaderEntryDictionary::ListRef existing = dictionary.find(key);
    PWMessageHeaderEntryRef entry;
    if (existing && existing->size() == 1) {
        const PWMessageHeaderEntryRef& only = existing->front();
        entry = PWMessageHeaderEntry::newWithFieldName(only->fieldName(), *text, only->sortHint());
    } else {
        entry = PWMessageHeaderEntry::newWithFieldName(std::u16string(name), *text, kDerivedSortHint);
    }
    dictionary.set(key, std::make_shared<const HeaderEntryDictionary::EntryList>(HeaderEntryDictionary::EntryList{entry}));
}

OptString nonEmptyText(const OptString& text) {
    if (!text || text->empty()) return std::nullopt;
    return text;
}

}  // namespace postwright::detail
