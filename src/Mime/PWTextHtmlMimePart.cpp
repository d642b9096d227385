#include "postwright/Mime/PWTextHtmlMimePart.hpp"

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/QuotedPrintable.hpp"

namespace postwright {

namespace {
// The charset a <meta http-equiv="content-type" content="text/html; charset=X"> element names, for every
// such element in document order. The body is read lossily as ASCII: only the markup matters here.
std::vector<std::u16string> metaCharsets(const Data& body) {
    std::vector<std::u16string> names;
    auto document = parseHTMLDocument(fromLatin1(body.view()));
    for (const HTMLElementRef& meta : document->querySelectorAll(u"meta")) {
        if (!equalsIgnoringCase(meta->attribute(u"http-equiv").value_or(u""), u"content-type")) continue;
        for (const std::u16string& piece : componentsSeparatedBy(meta->attribute(u"content").value_or(u""), u";")) {
            std::vector<std::u16string> halves = componentsSeparatedBy(piece, u"=");
            if (halves.size() == 2 && lowercase(fgTrim(halves[0])) == u"charset") {
                names.push_back(trimCharacters(fgTrim(halves[1]), u"\"'"));
            }
        }
    }
    return names;
}
}  // namespace

const PWMimeClass& PWTextHtmlMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWTextHtmlMimePart", &PWTextMimePart::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWTextHtmlMimePart()); }};
    return descriptor;
}

OptString PWTextHtmlMimePart::htmlContent() const {
    Data body = contentData();
    if (body.empty()) return std::nullopt;
    const TextEncoding encoding = stringEncoding();
    std::u16string transfer = lowercase(contentTransferEncoding().value_or(u""));

    if (transfer == kMimeTransferEncodingQuotedPrintable) {
        ErrorRef error;
        if (OptString text = decodedQuotedPrintableStringWithEncoding(body, encoding, 0, &error,
                                                                      [this] { return encodingHints(); })) {
            return text;
        }
        // A malformed escape: the body is shown as the text it is, not as markup.
        if (error && error->domain == kQuotedPrintableErrorDomain && error->code == kMalformedQuotedPrintableErrorCode) {
            return stringByEscapingForHTMLContent(decodeTextBody(body, encoding, this).value_or(u""));
        }
        return u"";
    }
    if (transfer == kMimeTransferEncoding7Bit) {
        return decodeTextBody(body, encoding == kNoEncoding ? kASCIIStringEncoding : encoding, this);
    }
    if (transfer == kMimeTransferEncodingBase64) {
        Data bytes = base64DecodedData(body);
        if (OptString text = decodeTextBody(bytes, encoding, this)) return text;
        return stringByEscapingForHTMLContent(stringFromData(bytes, encoding).value_or(u""));
    }

    // No transfer encoding, 8bit, binary or anything else.
    if (OptString text = stringFromData(body, encoding)) return text;
    for (const std::u16string& name : metaCharsets(body)) {
        TextEncoding named = PWencodingForCharSetName(name);
        if (isUnusableEncoding(named)) continue;
        if (OptString text = stringFromData(body, named)) return text;
    }
    TextEncoding used = kNoEncoding;
    OptString text = newByDecodingData(body, encodingHints(), &used);
    logMessage(formatString(u"No transfer encoding provided and utf8 didn't work -- but %ld did", {static_cast<long>(used)}));
    return text;
}

size_t PWTextHtmlMimePart::decodedContentSize() const {
    OptString html = htmlContent();
    return html ? html->size() : 0;
}

std::u16string PWTextHtmlMimePart::htmlFragmentForContext(int, unsigned, std::vector<PWMimePartRef>*) const {
    OptString html = htmlContent();
    if (!html || html->empty()) return {};
    auto document = parseHTMLDocument(*html);
    // Inline resources are referred to by content id (RFC 2392); the renderer serves them under its own scheme.
    for (const HTMLElementRef& element : document->querySelectorAll(u"*")) {
        for (const HTMLAttribute& attribute : std::vector<HTMLAttribute>(element->attributes())) {
            std::u16string value = fgTrim(attribute.value);
            if (hasPrefixIgnoringCase(value, u"cid:")) {
                element->setAttribute(attribute.name, std::u16string(FGWebViewContentIdSchemeKey) + value.substr(4));
            }
        }
    }
    HTMLElementRef body = document->body();
    return body ? body->innerHTML() : std::u16string();
}

std::shared_ptr<PWTextHtmlMimePart> PWTextHtmlMimePart::initMutableWithHtmlString(
    std::u16string_view html, TextEncoding encoding, const OptString& contentTransferEncoding) {
    return std::static_pointer_cast<PWTextHtmlMimePart>(
        initMutableWithText(mimeClass(), u"html", html, encoding, contentTransferEncoding));
}

}  // namespace postwright
