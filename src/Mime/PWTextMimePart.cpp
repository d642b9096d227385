#include "postwright/Mime/PWTextMimePart.hpp"

#include "postwright/Base/Base64.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/QuotedPrintable.hpp"

namespace postwright {

namespace {
OptString trimmed(const OptString& text) {
    if (!text) return std::nullopt;
    return fgTrim(*text);
}
}  // namespace

OptString decodeTextBody(const Data& bytes, TextEncoding encoding, const PWMimePart* part) {
    if (OptString text = stringFromData(bytes, encoding)) return text;
    EncodingHints hints = part ? part->encodingHints() : EncodingHints();
    if (!isUnusableEncoding(encoding)) hints.declared = encoding;
    TextEncoding used = kNoEncoding;
    return newByDecodingData(bytes, hints, &used);
}

const PWMimeClass& PWTextMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWTextMimePart", &PWMimePart::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWTextMimePart()); }};
    return descriptor;
}

OptString PWTextMimePart::plainContent() const {
    Data body = contentData();
    if (body.empty()) return std::nullopt;
    const TextEncoding encoding = stringEncoding();
    if (subtype() != u"plain") return trimmed(decodeTextBody(body, encoding, this));

    OptString transferEncoding = contentTransferEncoding();
    if (!transferEncoding) {
        // No transfer encoding: the declared charset when the bytes are valid in it, else detection.
        if (OptString name = charset(); name && !name->empty()) {
            TextEncoding declared = PWencodingForCharSetName(*name);
            if (!isUnusableEncoding(declared)) {
                if (OptString text = stringFromData(body, declared)) return fgTrim(*text);
            }
        }
        TextEncoding used = kNoEncoding;
        if (OptString text = newByDecodingData(body, encodingHints(), &used)) return fgTrim(*text);
        return trimmed(decodeTextBody(body, encoding, this));
    }
    std::u16string lower = lowercase(*transferEncoding);
    if (lower == kMimeTransferEncodingQuotedPrintable) {
        // Untrimmed on purpose: the blank lines a sender put at either end are part of the text.
        return decodedQuotedPrintableStringWithEncoding(body, encoding, 0, nullptr, [this] { return encodingHints(); });
    }
    if (lower == kMimeTransferEncodingBase64) return trimmed(decodeTextBody(base64DecodedData(body), encoding, this));
    // 8bit and anything else: the encoding, else detection that weighs it with the message's hints.
    return trimmed(decodeTextBody(body, encoding, this));
}

size_t PWTextMimePart::decodedContentSize() const {
    OptString text = plainContent();
    return text ? text->size() : 0;
}

std::u16string PWTextMimePart::htmlFragmentForContext(int, unsigned, std::vector<PWMimePartRef>*) const {
    OptString text = plainContent();
    if (!text || text->empty()) return {};
    return u"<div style=\"white-space: pre-wrap\">" + stringByEscapingForHTMLContent(*text) + u"</div>";
}

std::shared_ptr<PWTextMimePart> PWTextMimePart::initMutableWithPlainText(std::u16string_view text,
                                                                         TextEncoding encoding,
                                                                         const OptString& contentTransferEncoding) {
    return std::static_pointer_cast<PWTextMimePart>(
        initMutableWithText(mimeClass(), u"plain", text, encoding, contentTransferEncoding));
}

PWMimePartRef PWTextMimePart::initMutableWithText(const PWMimeClass& cls, std::u16string_view subtype,
                                                  std::u16string_view text, TextEncoding encoding,
                                                  const OptString& contentTransferEncoding) {
    PWMimePartRef part = initMutable(cls);
    part->setType(u"text");
    part->setSubtype(std::u16string(subtype));
    std::u16string normalised = stringByNormalizingLineEndsToCRLF(text);
    std::u16string transfer = lowercase(contentTransferEncoding.value_or(u""));

    Data body;
    TextEncoding used = encoding;
    std::optional<std::string> encoded;
    if (transfer == kMimeTransferEncodingQuotedPrintable) {
        TextEncoding chosen = kNoEncoding;
        if (OptString quoted = quotedPrintableStringForPlainTextBody(normalised, encoding, &chosen)) {
            encoded = toUTF8(*quoted);
            used = chosen;
        }
    }
    if (!encoded) {
        if (isUnusableEncoding(used) || !canBeConvertedToEncoding(normalised, used)) used = kUTF8StringEncoding;
        std::string bytes = bytesFromString(normalised, used).value_or(toUTF8(normalised));
        if (transfer == kMimeTransferEncodingBase64) {
            Base64Options options;
            options.lineBreaks = true;
            bytes = base64EncodedString(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
                                        Base64Alphabet::Standard, options);
        }
        encoded = std::move(bytes);
    }
    body = Data::adopting(std::move(*encoded));

    part->setContentTransferEncoding(contentTransferEncoding);
    part->setCharset(PWcharSetNameForEncoding(used));
    part->setContentData(body);
    part->setHeaders(part->headers());
    return part;
}

}  // namespace postwright
