#include "postwright/Headers/PWMessageHeaders.hpp"

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/EncodingDetector.hpp"
#include "postwright/Headers/HeaderError.hpp"
#include "postwright/Headers/PWMutableMessageHeaders.hpp"
#include "postwright/Lexical/CharacterSetRFC2822.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {
bool isWSP(char16_t c) { return c == u' ' || c == u'\t'; }
bool isLineEnd(char16_t c) { return c == u'\r' || c == u'\n'; }

// The field parser of a decoded header block. Entry lists are gathered locally and stored once, so a block
// of any number of same-named fields parses in linear time.
class HeaderBlockParser {
public:
    explicit HeaderBlockParser(const std::u16string& text) : text_(text) {}

    HeaderEntryDictionary parse() {
        const CharacterSet& fieldName = rfc2822FTextSet();
        const size_t n = text_.size();
        size_t i = 0;
        uint64_t counter = 0;
        while (i < n) {
            size_t iterationStart = i;
            size_t nameStart = i;
            while (i < n && fieldName.contains(text_[i])) ++i;
            if (i == nameStart) {
                // A line that does not begin with a field name spoils the whole block.
                lists_.clear();
                order_.clear();
                return build();
            }
            size_t nameEnd = i;
            while (i < n && isWSP(text_[i])) ++i;
            bool hasColon = i < n && text_[i] == u':';
            if (hasColon) ++i;
            while (i < n && isWSP(text_[i])) ++i;
            size_t valueStart = i;
            while (i < n && !isLineEnd(text_[i])) ++i;
            size_t valueEnd = i;
            while (i < n && isLineEnd(text_[i])) ++i;
            while (i < n && isWSP(text_[i])) {  // folded continuation lines
                while (i < n && !isLineEnd(text_[i])) ++i;
                valueEnd = i;
                while (i < n && isLineEnd(text_[i])) ++i;
            }
            std::u16string_view name(text_.data() + nameStart, nameEnd - nameStart);
            if (hasColon && !hasPrefix(name, u"--")) {
                auto entry = PWMessageHeaderEntry::newWithFieldName(
                    std::u16string(name), fgTrim(std::u16string_view(text_.data() + valueStart, valueEnd - valueStart)),
                    counter++);
                add(headerDictionaryKey(name), std::move(entry));
            }
            if (i == iterationStart) break;
        }
        return build();
    }

private:
    void add(std::u16string key, PWMessageHeaderEntryRef entry) {
        auto [slot, inserted] = positions_.try_emplace(key, order_.size());
        if (inserted) {
            order_.push_back(std::move(key));
            lists_.emplace_back();
        }
        lists_[slot->second].push_back(std::move(entry));
    }

    HeaderEntryDictionary build() {
        HeaderEntryDictionary dictionary;
        for (size_t i = 0; i < order_.size(); ++i) {
            dictionary.set(order_[i], std::make_shared<const HeaderEntryDictionary::EntryList>(std::move(lists_[i])));
        }
        return dictionary;
    }

    const std::u16string& text_;
    std::unordered_map<std::u16string, size_t> positions_;
    std::vector<std::u16string> order_;
    std::vector<HeaderEntryDictionary::EntryList> lists_;
};

// Header bytes to text through the charset detector (ASCII, the ISO-2022 escape forms, UTF-8, the legacy
// charsets weighed with the charsets of the block's own encoded words, Windows-1252). Plain ASCII, nearly
// every block, is read without asking it.
std::optional<std::u16string> decodeHeaderBlock(const Data& block, TextEncoding* used) {
    if (block.findByte(0x1B) == Data::npos) {
        if (std::optional<std::u16string> ascii = stringFromData(block, kASCIIStringEncoding)) {
            *used = kASCIIStringEncoding;
            return ascii;
        }
    }
    EncodingHints hints;
    hints.message = encodedWordEncodings(block.view());
    return newByDecodingData(block, hints, used);
}

}  // namespace

// ---- Construction ---------------------------------------------------------------------------------------

std::shared_ptr<PWMessageHeaders> PWMessageHeaders::init() {
    return std::shared_ptr<PWMessageHeaders>(new PWMessageHeaders());
}

std::shared_ptr<PWMessageHeaders> PWMessageHeaders::initWithHeaderEntryDictionary(HeaderEntryDictionary dictionary) {
    auto headers = init();
    headers->dictionary_ = std::move(dictionary);
    return headers;
}

std::shared_ptr<PWMessageHeaders> PWMessageHeaders::initWithHeaderDictionary(
    const std::vector<std::pair<std::u16string, std::vector<std::u16string>>>& dictionary) {
    HeaderEntryDictionary entries;
    uint64_t counter = 0;
    for (const auto& [name, values] : dictionary) {
        HeaderEntryDictionary::EntryList list;
        for (const std::u16string& value : values) {
            list.push_back(PWMutableMessageHeaderEntry::newWithFieldName(name, value, counter++));
        }
        std::u16string key = headerDictionaryKey(name);
        if (auto existing = entries.find(key)) list.insert(list.begin(), existing->begin(), existing->end());
        entries.set(key, std::make_shared<const HeaderEntryDictionary::EntryList>(std::move(list)));
    }
    return initWithHeaderEntryDictionary(std::move(entries));
}

std::shared_ptr<PWMessageHeaders> PWMessageHeaders::headersFromData(const Data& data, ErrorRef* error) {
    setSlot(error, nullptr);
    if (data.empty()) return nullptr;
    std::optional<Data> header;
    partitionIntoHeaderData(data, &header, nullptr, kDelimiterAny, nullptr);
    TextEncoding used = kASCIIStringEncoding;
    std::optional<std::u16string> text = header ? decodeHeaderBlock(*header, &used) : std::nullopt;
    if (!text) {
        setSlot(error, makeError(kHeaderErrorDomain, static_cast<long>(HeaderErrorCode::UndecodableHeader),
                                 u"Scanning for header key found nil", u"Scanning for header key found nil"));
        return nullptr;
    }
    auto headers = initWithHeaderEntryDictionary(HeaderBlockParser(*text).parse());
    headers->preferredEncoding_ = used;
    headers->datasource_ = HeaderDataSource::MessageData;
    return headers;
}

std::optional<Data> PWMessageHeaders::headerDataFromRFC2822MessageAtPath(const std::string& path) {
    std::optional<Data> file = Data::mapFile(path);
    if (!file) return std::nullopt;
    std::optional<Data> header = headerSubdata(*file);
    if (!header) return std::nullopt;
    // A copy: the caller may keep it after the file changes.
    return Data::withBytes(header->bytes(), header->length());
}

std::shared_ptr<PWMessageHeaders> PWMessageHeaders::headersFromRFC2822MessageAtPath(const std::string& path) {
    std::optional<Data> header = headerDataFromRFC2822MessageAtPath(path);
    if (!header) return nullptr;
    auto headers = headersFromData(*header);
    if (headers) headers->datasource_ = HeaderDataSource::MessageFile;
    return headers;
}

std::optional<Data> PWMessageHeaders::messageDataFromEmlxData(const Data& emlx) {
    size_t lineEnd = emlx.findByte('\n');
    if (lineEnd == Data::npos) return std::nullopt;
    size_t count = 0;
    bool digits = false;
    for (size_t i = 0; i < lineEnd; ++i) {
        uint8_t c = emlx[i];
        if (c == ' ' || c == '\t' || c == '\r') continue;
        if (c < '0' || c > '9' || count > (SIZE_MAX - 9) / 10) return std::nullopt;
        count = count * 10 + (c - '0');
        digits = true;
    }
    if (!digits) return std::nullopt;
    return emlx.subdata(lineEnd + 1, count);
}

std::shared_ptr<PWMessageHeaders> PWMessageHeaders::headersFromEmlxFileAtPath(const std::string& path, bool) {
    std::optional<Data> file = Data::mapFile(path);
    if (!file) return nullptr;
    std::optional<Data> message = messageDataFromEmlxData(*file);
    if (!message) return nullptr;
    std::optional<Data> header = headerSubdata(*message);
    if (!header) return nullptr;
    auto headers = headersFromData(Data::withBytes(header->bytes(), header->length()));
    if (headers) headers->datasource_ = HeaderDataSource::MessageFile;
    return headers;
}

std::shared_ptr<PWMessageHeaders> PWMessageHeaders::copy() const {
    auto headers = init();
    std::lock_guard lock(mutex_);
    headers->dictionary_ = dictionary_;
    headers->preferredEncoding_ = preferredEncoding_;
    headers->datasource_ = datasource_;
    return headers;
}

std::shared_ptr<PWMutableMessageHeaders> PWMessageHeaders::mutableCopy() const {
    std::lock_guard lock(mutex_);
    auto headers = PWMutableMessageHeaders::initWithHeaderEntryDictionary(dictionary_);
    headers->preferredEncoding_ = preferredEncoding_;
    headers->datasource_ = datasource_;
    return headers;
}

HeaderEntryDictionary PWMessageHeaders::headerEntryDictionary() const {
    std::lock_guard lock(mutex_);
    return dictionary_;
}

TextEncoding PWMessageHeaders::preferredEncoding() const {
    std::lock_guard lock(mutex_);
    return preferredEncoding_;
}

HeaderDataSource PWMessageHeaders::datasource() const {
    std::lock_guard lock(mutex_);
    return datasource_;
}

bool PWMessageHeaders::empty() const {
    std::lock_guard lock(mutex_);
    return dictionary_.empty();
}

// ---- Lookup ---------------------------------------------------------------------------------------------

HeaderEntryDictionary::ListRef PWMessageHeaders::listForKey(std::u16string_view key) const {
    std::u16string dictionaryKey = headerDictionaryKey(key);
    std::lock_guard lock(mutex_);
    return dictionary_.find(dictionaryKey);
}

std::vector<PWMessageHeaderEntryRef> PWMessageHeaders::entriesForKey(std::u16string_view key) const {
    HeaderEntryDictionary::ListRef list = listForKey(key);
    return list ? *list : std::vector<PWMessageHeaderEntryRef>();
}

OptString PWMessageHeaders::firstHeaderForKey(std::u16string_view key, bool decodeMime) const {
    HeaderEntryDictionary::ListRef list = listForKey(key);
    if (!list || list->empty()) return std::nullopt;
    OptString value = list->front()->value();
    if (!value) return std::nullopt;
    if (decodeMime) return removeCharacters(decodedMimeEncodedString(*value), u"\r\n");
    return removeCharacters(*value, u"\r\n");
}

std::vector<std::u16string> PWMessageHeaders::headersForKey(std::u16string_view key, bool decodeMime) const {
    std::vector<std::u16string> values;
    HeaderEntryDictionary::ListRef list = listForKey(key);
    if (!list) return values;
    for (const PWMessageHeaderEntryRef& entry : *list) {
        OptString value = entry->value();
        if (!value) continue;
        values.push_back(decodeMime ? decodedMimeEncodedString(*value) : *value);
    }
    return values;
}

OptString PWMessageHeaders::valueForHeaderField(std::u16string_view name, const Data& data) {
    auto matches = [&](const std::string& field) -> OptString {
        size_t colon = field.find(':');
        if (colon == std::string::npos) return std::nullopt;
        std::optional<std::u16string> fieldName = stringFromBytes(reinterpret_cast<const uint8_t*>(field.data()),
                                                                  colon, kASCIIStringEncoding);
        if (!fieldName || !equalsIgnoringCase(trimWhitespace(*fieldName), name)) return std::nullopt;
        std::optional<std::u16string> value = stringFromBytes(
            reinterpret_cast<const uint8_t*>(field.data()) + colon + 1, field.size() - colon - 1, kASCIIStringEncoding);
        if (!value) return std::nullopt;
        return fgTrim(*value);
    };
    std::string current;
    bool haveField = false;
    size_t offset = 0;
    while (offset < data.length()) {
        if (data.subdataFromLocation(offset).hasPrefix("\r\n\r\n")) break;
        size_t lineEnd = data.find("\r\n", offset);
        if (lineEnd == Data::npos) lineEnd = data.length();
        std::string_view line = data.view().substr(offset, lineEnd - offset);
        offset = lineEnd + 2;
        if (line.empty()) break;
        if (line[0] == ' ' || line[0] == '\t') {
            current.append(line);
            continue;
        }
        if (haveField) {
            if (OptString value = matches(current)) return value;
        }
        current.assign(line);
        haveField = true;
    }
    if (haveField) return matches(current);
    return std::nullopt;
}

// ---- Identifiers and digests ----------------------------------------------------------------------------

std::vector<std::u16string> PWMessageHeaders::messageIdsInHeaderWithKey(std::u16string_view key, bool validate) const {
    std::vector<std::u16string> identifiers;
    OptString value = firstHeaderForKey(key);
    if (!value) return identifiers;
    Scanner scanner = Scanner::emailAddressScannerWithString(*value);
    while (!scanner.isAtEnd()) {
        size_t before = scanner.scanLocation();
        OptString identifier;
        if (scanner.scanMessageIdIntoString(&identifier) && identifier &&
            std::find(identifiers.begin(), identifiers.end(), *identifier) == identifiers.end()) {
            identifiers.push_back(*identifier);
        }
        scanner.scanRFC2822CommentIntoString(nullptr, nullptr);
        scanner.scanFoldingWhiteSpace();
        scanner.scanString(u",");
        scanner.scanCRLF();
        if (scanner.scanLocation() == before) break;
    }
    if (validate && identifiers.size() > 1) {
        for (size_t i = identifiers.size(); i-- > 0;) {
            if (!RFC2822IDHash::validateRFC2822MessageIdValue(identifiers[i])) {
                identifiers.erase(identifiers.begin() + static_cast<std::ptrdiff_t>(i));
            }
        }
    }
    return identifiers;
}

std::u16string PWMessageHeaders::digestForMessageIdValue(std::u16string_view value) {
    MD5Digest md5 = md5Digest(trimCharacters(value, u"<> "));
    std::string once = base64EncodedString(md5.data(), 9);
    std::string twice = base64EncodedString(reinterpret_cast<const uint8_t*>(once.data()), once.size());
    return fromLatin1(twice);
}

OptString PWMessageHeaders::headerID() const {
    OptString value = firstHeaderForKey(PWMessageHeaderMessageIdKey);
    if (!value) return std::nullopt;
    return trimCharacters(*value, u"<> ");
}

std::optional<std::vector<std::u16string>> PWMessageHeaders::inReplyToIds() const {
    std::vector<std::u16string> identifiers = messageIdsInHeaderWithKey(PWMessageHeaderInReplyToKey, true);
    if (identifiers.empty()) return std::nullopt;
    for (const char16_t* recipients : {PWMessageHeaderToKey, PWMessageHeaderCcKey, PWMessageHeaderBccKey}) {
        for (const std::u16string& other : messageIdsInHeaderWithKey(recipients, false)) {
            identifiers.erase(std::remove(identifiers.begin(), identifiers.end(), other), identifiers.end());
        }
    }
    if (identifiers.empty()) return std::nullopt;
    return identifiers;
}

std::optional<std::vector<std::u16string>> PWMessageHeaders::references() const {
    std::vector<std::u16string> identifiers = messageIdsInHeaderWithKey(PWMessageHeaderReferencesKey, true);
    if (identifiers.empty()) return std::nullopt;
    return identifiers;
}

OptString PWMessageHeaders::headerIDDigest() const {
    OptString value = firstHeaderForKey(PWMessageHeaderMessageIdKey, false);
    if (!value) return std::nullopt;
    return digestForMessageIdValue(*value);
}

std::optional<std::vector<std::u16string>> PWMessageHeaders::digestsForMessageIdValues(
    const std::optional<std::vector<std::u16string>>& identifiers) {
    if (!identifiers) return std::nullopt;
    std::vector<std::u16string> digests;
    for (const std::u16string& identifier : *identifiers) digests.push_back(digestForMessageIdValue(identifier));
    return digests;
}

std::optional<std::vector<RFC2822IDHash>> PWMessageHeaders::hashesForMessageIdValues(
    const std::optional<std::vector<std::u16string>>& identifiers) {
    if (!identifiers) return std::nullopt;
    std::vector<RFC2822IDHash> hashes;
    for (const std::u16string& identifier : *identifiers) {
        hashes.push_back(RFC2822IDHash::newWithRFC2822MessageIdValue(identifier));
    }
    return hashes;
}

std::optional<std::vector<std::u16string>> PWMessageHeaders::inReplyToDigests() const { return digestsForMessageIdValues(inReplyToIds()); }

std::optional<std::vector<std::u16string>> PWMessageHeaders::referenceDigests() const { return digestsForMessageIdValues(references()); }

std::optional<RFC2822IDHash> PWMessageHeaders::messageIdRFC2822Hash() const {
    OptString identifier = headerID();
    if (!identifier) return std::nullopt;
    return RFC2822IDHash::newWithRFC2822MessageIdValue(*identifier);
}

std::optional<std::vector<RFC2822IDHash>> PWMessageHeaders::inReplytoRFC2822Hashes() const {
    return hashesForMessageIdValues(inReplyToIds());
}

std::optional<std::vector<RFC2822IDHash>> PWMessageHeaders::referenceRFC2822Hashes() const {
    return hashesForMessageIdValues(references());
}

// ---- Typed views ----------------------------------------------------------------------------------------

OptString PWMessageHeaders::subject() const {
    OptString value = firstHeaderForKey(PWMessageHeaderSubjectKey);
    if (!value) return std::nullopt;
    return fgTrim(*value);
}

}  // namespace postwright
