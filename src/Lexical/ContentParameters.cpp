// Content-Type (RFC 2045 section 5.1) and Content-Disposition (RFC 2183) values with their parameters,
// including RFC 2231 continuations, charsets and percent-escapes, and RFC 2047 encoded words in values.
#include "postwright/Lexical/ContentParameters.hpp"

#include <unordered_map>

#include "postwright/Base/Format.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {

// RFC 2045 section 5.1: token characters, printable ASCII without the tspecials.
const CharacterSet& subtypeCharacterSet() {
    static const CharacterSet set = [] {
        CharacterSet s = CharacterSet::withRanges({{0x21, 0x7E - 0x21 + 1}});
        s.removeCharacters(u"()<>@,;:\\/[]?=\"");
        return s;
    }();
    return set;
}

// RFC 2231 section 7: attribute-char, the token characters without "*", "'" and "%".
const CharacterSet& attributeCharacterSet() {
    static const CharacterSet set = [] {
        CharacterSet s = subtypeCharacterSet();
        s.removeCharacters(u"'*%");
        return s;
    }();
    return set;
}

bool isUsable(TextEncoding encoding) {
    return !isUnusableEncoding(encoding);
}

char16_t lowercased(char16_t c) {
    if (c < 0x80) return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c | 0x20) : c;
    std::u16string lower = lowercase(std::u16string_view(&c, 1));
    return lower.empty() ? c : lower[0];
}

// One run of the parameter list, shared by both headers. Every parameter, continued or not, is gathered
// as numbered sections under its lower-cased name with the charset it declared; joining turns the
// sections into text at the end. The output keeps the order in which parameters first stored a value.
class ParameterListParser {
public:
    ParameterListParser(Scanner& scanner, bool disposition) : scanner_(scanner), disposition_(disposition) {}

    // The loop over "; name=value" until the end. False on a failure that restores the whole header.
    bool parse() {
        size_t previous = std::u16string::npos;
        while (!scanner_.isAtEnd()) {
            if (scanner_.scanLocation() == previous) return false;
            previous = scanner_.scanLocation();
            scanner_.scanFoldingWhiteSpace();
            if (!scanner_.scanString(u";")) return false;
            scanner_.scanFoldingWhiteSpace();
            if (disposition_) {
                Step step = scanDispositionSpecial();
                if (step == Step::Fail) return false;
                if (step == Step::Next) continue;
            }
            Step step = scanParameter();
            if (step == Step::Fail) return false;
            if (step == Step::Stop) return true;
        }
        return true;
    }

    // Appends the parameters to info, every continued parameter joined into text where its charset
    // resolves; one whose charset does not stays under "name*" as its sections.
    void joinInto(ParameterDictionary& info) const {
        for (const Slot& slot : order_) {
            if (slot.parameter == kNoParameter) {
                info.set(slot.directKey, *directValues_.get(slot.directKey));
                continue;
            }
            const Parameter& parameter = parameters_[slot.parameter];
            TextEncoding encoding = PWencodingForCharSetName(parameter.charset ? *parameter.charset : u"utf-8");
            if (!isUsable(encoding)) {
                info.set(parameter.name + u"*", parameter.sections);
                continue;
            }
            // RFC 2231 section 3: sections may arrive in any order; they join in numeric order.
            std::string bytes;
            for (const auto& [number, section] : parameter.sections) bytes.append(section.view());
            // Joined, the sections leave no "name*" entry; bytes that are not text in the charset leave no
            // entry at all.
            OptString text = stringFromBytes(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), encoding);
            if (!text) continue;
            if (hasPrefix(*text, u"=?") && hasSuffix(*text, u"?=")) text = decodedMimeEncodedString(*text);
            info.set(parameter.name, std::move(*text));
        }
    }

private:
    enum class Step { Continue, Next, Stop, Fail };

    struct Parameter {
        std::u16string name;  // lower-cased, without "*"
        OptString charset;    // as declared (possibly empty); nil until a value is read
        SectionMap sections;
        bool stored = false;  // has a place in the output order
    };
    static constexpr size_t kNoParameter = static_cast<size_t>(-1);
    struct Slot {
        std::u16string directKey;  // for the values stored as they are (size, dates)
        size_t parameter = kNoParameter;
    };

    // RFC 2183 section 2: the size and the three dates have values of their own kinds.
    Step scanDispositionSpecial() {
        for (std::u16string_view date : {u"creation-date", u"modification-date", u"read-date"}) {
            if (!scanner_.scanString(date)) continue;
            if (!scanner_.scanString(u"=")) return Step::Fail;
            OptString quoted;
            if (scanner_.scanQuotedStringIntoString(&quoted, nullptr) && quoted) {
                storeDirect(std::u16string(date), std::move(*quoted));
            }
            return Step::Next;
        }
        if (scanner_.scanString(u"size")) {
            if (!scanner_.scanString(u"=")) return Step::Fail;
            long long size = 0;
            if (scanner_.scanLongLong(&size)) storeDirect(u"size", size);
            return Step::Next;
        }
        return Step::Continue;
    }

    Step scanParameter() {
        std::u16string name;
        if (!scanner_.scanCharactersFromSet(attributeCharacterSet(), &name)) {
            scanner_.scanFoldingWhiteSpace();  // an empty parameter, as in ";;"
            return Step::Next;
        }
        Parameter& parameter = parameterNamed(lowercase(name));
        // RFC 2231 sections 3 and 4: "name*n" is section n, a trailing "*" marks an encoded value.
        uint64_t section = 0;
        bool encoded = false;
        if (scanner_.scanString(u"*")) {
            unsigned long long number = 0;
            if (scanner_.scanUnsignedLongLong(&number)) {
                section = number;
                encoded = scanner_.scanString(u"*");
            } else {
                encoded = true;
            }
        }
        scanner_.scanFoldingWhiteSpace();
        if (!scanner_.scanString(u"=")) return Step::Fail;
        scanner_.scanFoldingWhiteSpace();

        OptString quoted;
        if (scanner_.scanQuotedStringIntoString(&quoted, nullptr)) {
            if (!parameter.charset) parameter.charset = u"utf-8";
            TextEncoding encoding = PWencodingForCharSetName(*parameter.charset);
            if (!isUsable(encoding)) return Step::Continue;
            if (std::optional<Data> bytes = dataFromString(decodedMimeEncodedString(quoted.value_or(u"")), encoding)) {
                store(parameter, section, std::move(*bytes));
            }
            return Step::Continue;
        }
        if (!encoded && !parameter.charset) {
            OptString token;
            if (!scanner_.scanRFC2045TokenIntoString(&token)) return disposition_ ? Step::Stop : Step::Fail;
            parameter.charset = u"utf-8";
            if (std::optional<Data> bytes = dataFromString(decodedMimeEncodedString(*token), kUTF8StringEncoding)) {
                store(parameter, section, std::move(*bytes));
            }
            return Step::Continue;
        }
        return scanExtendedValue(parameter, section);
    }

    // RFC 2231 section 4: charset'language'percent-encoded-text; the prefix only on the first section
    // that declares the charset.
    Step scanExtendedValue(Parameter& parameter, uint64_t section) {
        if (!parameter.charset) {
            std::u16string declared;
            scanner_.scanUpToString(u"'", &declared);
            parameter.charset = std::move(declared);
            scanner_.scanString(u"'");
            scanner_.scanUpToString(u"'");  // the language is not kept
            scanner_.scanString(u"'");
        }
        TextEncoding encoding = PWencodingForCharSetName(parameter.charset->empty() ? u"utf-8" : *parameter.charset);
        // Unresolvable: nothing is stored and the value stays unread, for the next iteration to fail on.
        if (!isUsable(encoding)) return Step::Continue;

        std::string bytes;
        while (!scanner_.isAtEnd()) {
            if (scanner_.currentCharacter() == u'%' && scanner_.remainder().size() >= 3) {
                bytes.push_back(
                    static_cast<char>(ahex2int(scanner_.characterAtOffset(1), scanner_.characterAtOffset(2))));
                scanner_.advance(3);
                continue;
            }
            std::u16string run;
            if (!scanner_.scanCharactersFromSet(attributeCharacterSet(), &run)) break;
            appendAttributeRun(bytes, run, disposition_ ? kASCIIStringEncoding : encoding);
        }
        // The value ends at ";" (left for the loop) or a line break; anything else is malformed.
        if (!scanner_.isAtEnd() && scanner_.currentCharacter() != u';' && !scanner_.scanString(u"\r\n")) {
            return Step::Fail;
        }
        store(parameter, section, Data::adopting(std::move(bytes)));
        return Step::Continue;
    }

    // Attribute characters are printable ASCII; most charsets write them as themselves.
    void appendAttributeRun(std::string& bytes, std::u16string_view run, TextEncoding encoding) {
        auto known = asciiCompatible_.find(encoding);
        if (known == asciiCompatible_.end()) {
            static const std::u16string all = [] {
                std::u16string text;
                for (char16_t c = 0x21; c < 0x7F; ++c) {
                    if (attributeCharacterSet().contains(c)) text.push_back(c);
                }
                return text;
            }();
            known = asciiCompatible_.emplace(encoding, bytesFromString(all, encoding) == toUTF8(all)).first;
        }
        if (known->second) {
            for (char16_t c : run) bytes.push_back(static_cast<char>(c));
        } else if (std::optional<std::string> converted = bytesFromString(run, encoding)) {
            bytes += *converted;
        }
    }

    Parameter& parameterNamed(std::u16string name) {
        auto [found, inserted] = parameterIndex_.try_emplace(name, parameters_.size());
        if (inserted) parameters_.push_back(Parameter{std::move(name)});
        return parameters_[found->second];
    }

    // A later section with the same number replaces the earlier one.
    void store(Parameter& parameter, uint64_t section, Data bytes) {
        parameter.sections[section] = std::move(bytes);
        if (parameter.stored) return;
        parameter.stored = true;
        order_.push_back(Slot{{}, static_cast<size_t>(&parameter - parameters_.data())});
    }

    void storeDirect(std::u16string key, ParameterValue value) {
        if (!directValues_.contains(key)) order_.push_back(Slot{key, kNoParameter});
        directValues_.set(std::move(key), std::move(value));
    }

    Scanner& scanner_;
    bool disposition_;
    std::vector<Parameter> parameters_;
    std::unordered_map<std::u16string, size_t> parameterIndex_;
    std::vector<Slot> order_;
    ParameterDictionary directValues_;
    std::unordered_map<TextEncoding, bool> asciiCompatible_;
};

// Runs the parameter loop after the type and hands back the dictionary.
bool finishHeader(Scanner& scanner, size_t start, bool disposition, ParameterDictionary& info,
                  ParameterDictionary* result) {
    ParameterListParser parser(scanner, disposition);
    if (!parser.parse()) {
        scanner.setScanLocation(start);
        return false;
    }
    if (result) {
        parser.joinInto(info);
        *result = std::move(info);
    }
    return true;
}

}  // namespace

int ahex2int(char16_t first, char16_t second) {
    auto value = [](char16_t c) {
        int code = lowercased(c);
        return code < 0x3A ? code - 0x30 : (code & 7) + 9;
    };
    return value(first) * 16 + value(second);
}

bool Scanner::scanRFC1341ContentTypeHeaderIntoDictionary(ParameterDictionary* result, ErrorRef*) {
    size_t start = location_;
    ParameterDictionary info;
    scanFoldingWhiteSpace();
    // The major type as scanned, lower-cased: what "@fulltype" is made of (nil for an unknown type).
    OptString scannedType;
    std::u16string matched;
    for (std::u16string_view type :
         {u"application", u"audio", u"image", u"message", u"multipart", u"text", u"txt", u"video"}) {
        if (scanString(type, &matched)) {
            scannedType = lowercase(matched);
            info.set(std::u16string(kContentTypeKeyType), *scannedType);
            break;
        }
    }
    if (!scannedType) {
        if (scanString(u"x-")) {
            std::u16string name;
            if (!scanUpToString(u"/", &name)) {
                location_ = start;
                return false;
            }
            scannedType = lowercase(name);
            info.set(std::u16string(kContentTypeKeyType), u"x-" + *scannedType);
        } else if (scanUpToString(u"/")) {
            info.set(std::u16string(kContentTypeKeyType), u"application");  // unknown major types
        }
    }
    std::u16string subtype;
    if (!scanString(u"/") || !scanCharactersFromSet(subtypeCharacterSet(), &subtype)) {
        location_ = start;
        return false;
    }
    subtype = lowercase(subtype);
    info.set(std::u16string(kContentTypeKeySubtype), subtype);
    info.set(std::u16string(kContentTypeKeyFullType), formatString(u"%@/%@", {scannedType, subtype}));
    return finishHeader(*this, start, false, info, result);
}

bool Scanner::scanRFC2183ContentDispositionHeaderIntoDictionary(ParameterDictionary* result, ErrorRef* error) {
    setSlot(error, nullptr);
    size_t start = location_;
    ParameterDictionary info;
    scanFoldingWhiteSpace();
    std::u16string matched;
    if (scanString(kContentDispositionValueInline, &matched) ||
        scanString(kContentDispositionValueAttachment, &matched)) {
        info.set(std::u16string(kContentDispositionKeyType), lowercase(matched));
        scanFoldingWhiteSpace();
    } else if (scanString(u"x-")) {
        std::u16string name;
        if (!scanCharactersFromSet(attributeCharacterSet(), &name)) {
            location_ = start;
            return false;
        }
        info.set(std::u16string(kContentDispositionKeyType), u"x-" + name);
    } else {
        info.set(std::u16string(kContentDispositionKeyType), std::u16string(kContentDispositionValueAttachment));
    }
    return finishHeader(*this, start, true, info, result);
}

}  // namespace postwright
