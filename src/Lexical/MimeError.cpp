#include "postwright/Lexical/MimeError.hpp"

#include "postwright/Base/Host.hpp"

namespace postwright {

namespace {
// The platform's description of a byte buffer: its bytes in hexadecimal between angle brackets.
std::u16string describeBytes(const Data& data) {
    static const char digits[] = "0123456789abcdef";
    std::u16string text = u"<";
    for (size_t i = 0; i < data.length(); ++i) {
        if (i && i % 4 == 0) text.push_back(u' ');
        text.push_back(static_cast<char16_t>(digits[data[i] >> 4]));
        text.push_back(static_cast<char16_t>(digits[data[i] & 15]));
    }
    text.push_back(u'>');
    return text;
}
}  // namespace

ErrorRef multipartParsingError(const OptString& boundary, const std::optional<Data>& lineDelimiter) {
    std::map<std::string, std::u16string> userInfo;
    userInfo["boundary"] = boundary.value_or(u"<NO BOUNDARY>");
    userInfo["lineDelimiter"] = lineDelimiter ? describeBytes(*lineDelimiter) : u"<NO LINEBREAK>";
    return makeError(kMimeErrorDomain, static_cast<long>(MimeErrorCode::MultipartParsing),
                     localizedString(u"MIME_ERROR:MULTIPART_PARSING", u"Could not parse multipart Mime structure",
                                     StringSource::Library),
                     std::nullopt, nullptr, std::move(userInfo));
}

ErrorRef headerParsingError(ErrorRef underlyingError) {
    return makeError(kMimeErrorDomain, static_cast<long>(MimeErrorCode::HeaderParsing),
                     localizedString(u"MIME_ERROR:HEADER_PARSING", u"Could not parse the headers of a Mime part",
                                     StringSource::Library),
                     std::nullopt, std::move(underlyingError));
}

}  // namespace postwright
