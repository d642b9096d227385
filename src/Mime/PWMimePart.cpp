// The MIME part core: creation from bytes, the designated initialiser, reading (with inherited charset
// and transfer encoding), the setters of mutable parts and the mutated flag, observation of the header
// collection, and the tree walks shared by every class. The registry lives in PWMimePartRegistry.cpp and
// the serialised form in PWMimePartSerialization.cpp.
#include "postwright/Mime/PWMimePart.hpp"

#include "Mime/detail/MimeHeaderFields.hpp"
#include "postwright/Base/Base64.hpp"
#include "postwright/Base/CharacterSet.hpp"
#include "postwright/Base/DataScanner.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/MimeError.hpp"
#include "postwright/Lexical/QuotedPrintable.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {
constexpr unsigned kMutableFlag = 1;
constexpr unsigned kMutatedFlag = 2;

const CharacterSet& whiteSpaceAndLineBreaks() {
    static const CharacterSet* set = new CharacterSet(CharacterSet::withPredicate(isWhitespaceOrNewline));
    return *set;
}

ParameterDictionary defaultContentType() {
    return ParameterDictionary{{u"@fulltype", u"text/plain"}, {u"@type", u"text"}, {u"@subtype", u"plain"}};
}

OptString lowercased(const OptString& text) {
    if (!text) return std::nullopt;
    return lowercase(*text);
}

std::u16string trimAngleBrackets(std::u16string_view text) { return trimCharacters(text, u"<>"); }

[[noreturn]] void throwNotMutable() { throw ProgrammingError("MimePart Is Not Mutable", "PWMimePart"); }
}  // namespace

// The header block, body and line delimiter of an entity, cut once: creation and the designated
// initialiser share one partition of the same trimmed bytes.
struct PWMimePart::EntityPartition {
    std::optional<Data> header;
    std::optional<Data> body;
    std::optional<Data> delimiter;

    // `headerOfData`, when given, is the header block partitionIntoHeaderData cuts from these same bytes.
    static EntityPartition of(const Data& data, const Data* headerOfData = nullptr) {
        EntityPartition partition;
        // Leading white space and blank lines are not part of the entity (RFC 2046 allows a line break
        // after the boundary line); trailing bytes stay, they belong to the body.
        std::optional<Data> trimmed = dataByTrimmingBytesInCharacterSet(data, whiteSpaceAndLineBreaks(), 1);
        if (!trimmed) return partition;
        bool untrimmed = trimmed->bytes() == data.bytes() && trimmed->length() == data.length();
        if (!(untrimmed && headerOfData && partition.followHeaderBlock(data, *headerOfData))) {
            partitionIntoHeaderData(*trimmed, &partition.header, &partition.body, kDelimiterAny, &partition.delimiter);
        }
        // An entity whose first line is no header field has no header block: a part that starts with its
        // blank line, or mail written without headers. All of it is body, rather than being read as a
        // header block without fields and lost.
        if (partition.header && !beginsWithHeaderField(*trimmed) && !trimmed->hasPrefix("From ")) {
            partition.header.reset();
            partition.body = *trimmed;
        }
        return partition;
    }

    // The partition of data whose header block is known: the blank line that ended the search is right
    // after the block, and its bytes tell its kind (a CR LF CR LF anywhere would have been found first, and
    // LF LF or CR CR cannot be part of one there). A block that is the whole data (no blank line, or one
    // at the very start) says nothing of the delimiter, so it is not used.
    bool followHeaderBlock(const Data& data, const Data& block) {
        if (block.bytes() != data.bytes() || block.empty() || block.length() >= data.length()) return false;
        Data rest = data.subdataFromLocation(block.length());
        size_t blankLine = 0;
        if (rest.hasPrefix("\r\n\r\n")) {
            blankLine = 4;
            delimiter = CRLFData();
        } else if (rest.hasPrefix("\n\n")) {
            blankLine = 2;
            delimiter = LFData();
        } else if (rest.hasPrefix("\r\r")) {
            blankLine = 2;
            delimiter = CRData();
        } else {
            return false;
        }
        header = block;
        if (rest.length() > blankLine) body = rest.subdataFromLocation(blankLine);
        return true;
    }

    // A field name (printable ASCII without the colon), optional blanks, then a colon.
    static bool beginsWithHeaderField(const Data& data) {
        size_t i = 0;
        while (i < data.length() && data[i] > ' ' && data[i] < 0x7F && data[i] != ':') ++i;
        if (i == 0) return false;
        while (i < data.length() && (data[i] == ' ' || data[i] == '\t')) ++i;
        return i < data.length() && data[i] == ':';
    }
};

// ---- Classes ------------------------------------------------------------------------------------------------

bool PWMimeClass::isSubclassOf(const PWMimeClass& other) const noexcept {
    for (const PWMimeClass* cls = this; cls; cls = cls->superclass) {
        if (cls == &other) return true;
    }
    return false;
}

const PWMimeClass& PWMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWMimePart", nullptr,
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWMimePart()); }};
    return descriptor;
}

PWMimePart::PWMimePart() = default;

PWMimePart::~PWMimePart() { stopObservingHeaders(); }

// ---- Creation -------------------------------------------------------------------------------------------------

PWMimePartRef PWMimePart::newMimePartWithRFC2822Data(const Data& data, const OptString& identifier, bool isMutable,
                                                     ErrorRef* error) {
    return createPart(data, identifier, isMutable, error, 0);
}

PWMimePartRef PWMimePart::newMimePartWithRFC2822Data(const Data& data, const OptString& identifier,
                                                     const PWMessageHeadersRef& headers, const Data& headerBlock,
                                                     ErrorRef* error) {
    return createPart(data, identifier, false, error, 0, headers, &headerBlock);
}

PWMimePartRef PWMimePart::createPart(const Data& data, const OptString& identifier, bool isMutable, ErrorRef* error,
                                     size_t depth, const PWMessageHeadersRef& parsedHeaders, const Data* parsedBlock) {
    setSlot(error, nullptr);
    if (data.empty()) return nullptr;
    EntityPartition partition = EntityPartition::of(data, parsedBlock);
    PWMessageHeadersRef headers;
    bool sameBlock = parsedHeaders && parsedBlock && partition.header &&
                     partition.header->bytes() == parsedBlock->bytes() &&
                     partition.header->length() == parsedBlock->length();
    if (sameBlock) {
        headers = parsedHeaders;
    } else if (partition.header) {
        ErrorRef headerError;
        headers = PWMessageHeaders::headersFromData(*partition.header, &headerError);
        if (headerError) {
            setSlot(error, headerParsingError(headerError));
            return nullptr;
        }
    }
    std::optional<ParameterDictionary> contentType, disposition;
    if (headers) {
        contentType = contentTypeDictionaryFromHeader(headers->firstHeaderForKey(kMimeHeaderContentType, false));
        disposition =
            contentDispositionDictionaryFromHeader(headers->firstHeaderForKey(kMimeHeaderContentDisposition, false));
    }
    OptString baseType = contentType ? contentType->text(kContentTypeKeyType) : std::nullopt;
    OptString subType = contentType ? contentType->text(kContentTypeKeySubtype) : std::nullopt;
    const PWMimeClass& cls = MimeClassForBaseType(baseType, subType, contentType ? &*contentType : nullptr,
                                                  disposition ? &*disposition : nullptr);
    PWMimePartRef part = cls.allocate();
    part->initialise(std::move(headers), std::move(contentType), std::move(disposition), data, identifier, isMutable,
                     error, depth, &partition);
    return part;
}

PWMimePartRef PWMimePart::initWithRFC2822Headers(const PWMessageHeadersRef& headers,
                                                 const std::optional<ParameterDictionary>& contentTypeInfo,
                                                 const std::optional<ParameterDictionary>& contentDispositionInfo,
                                                 const Data& data, const OptString& identifier, bool isMutable,
                                                 ErrorRef* error, const PWMimeClass& cls) {
    PWMimePartRef part = cls.allocate();
    part->initialise(headers, contentTypeInfo, contentDispositionInfo, data, identifier, isMutable, error, 0, nullptr);
    return part;
}

PWMimePartRef PWMimePart::init(const PWMimeClass& cls) {
    PWMimePartRef part = cls.allocate();
    part->headers_ = PWMessageHeaders::init();
    return part;
}

PWMimePartRef PWMimePart::initMutable(const PWMimeClass& cls) {
    PWMimePartRef part = cls.allocate();
    part->mutabilityFlags_ = kMutableFlag;
    auto headers = PWMutableMessageHeaders::init();
    part->headers_ = headers;
    part->observeHeaders(headers);
    return part;
}

void PWMimePart::initialise(PWMessageHeadersRef headers, std::optional<ParameterDictionary> contentTypeInfo,
                            std::optional<ParameterDictionary> contentDispositionInfo, const Data& data,
                            const OptString& identifier, bool isMutable, ErrorRef* error, size_t depth,
                            const EntityPartition* given) {
    setSlot(error, nullptr);
    {
        std::lock_guard lock(mutex_);
        mutabilityFlags_ = isMutable ? kMutableFlag : 0;
        contentIsBase64encoded_ = true;
        contentData_ = Data();
        sourceMimeData_ = data;
        if (isMutable) derivedMimeData_ = ChainedData(data);
    }
    EntityPartition partition = given ? *given : EntityPartition::of(data);

    // The header collection: the one given, else the entity's own, else an empty one.
    if (!headers && partition.header) headers = PWMessageHeaders::headersFromData(*partition.header);
    if (!headers) headers = PWMessageHeaders::init();
    if (isMutable && !headers->isMutable()) headers = headers->mutableCopy();

    ParameterDictionary contentType = contentTypeInfo ? std::move(*contentTypeInfo)
                                                      : contentTypeDictionaryFromHeader(headers->firstHeaderForKey(
                                                                                            kMimeHeaderContentType, false))
                                                            .value_or(defaultContentType());
    std::optional<ParameterDictionary> disposition =
        contentDispositionInfo ? std::move(contentDispositionInfo)
                               : contentDispositionDictionaryFromHeader(
                                     headers->firstHeaderForKey(kMimeHeaderContentDisposition, false));
    OptString transferEncoding = lowercased(headers->firstHeaderForKey(kMimeHeaderContentTransferEncoding));
    OptString contentId = headers->firstHeaderForKey(kMimeHeaderContentID);
    if (!contentId) contentId = identifier;
    if (contentId) contentId = trimAngleBrackets(*contentId);

    {
        std::lock_guard lock(mutex_);
        contentType_ = std::move(contentType);
        contentDisposition_ = std::move(disposition);
    }
    if (given) {
        // Parsing: the fields were just read from these very headers, so they are only stored (and
        // observed by a mutable part), not read a second time.
        {
            std::lock_guard lock(mutex_);
            headers_ = headers;
        }
        if (isMutable) observeHeaders(headers);
    } else {
        setHeaders(headers);
    }
    {
        std::lock_guard lock(mutex_);
        contentTransferEncoding_ = transferEncoding;
        contentId_ = contentId;
        identifier_ = identifier;
    }

    OptString type, boundary, name;
    {
        std::lock_guard lock(mutex_);
        type = lowercased(contentType_.text(kContentTypeKeyType));
        boundary = contentType_.text(kContentTypeKeyBoundary);
        name = contentType_.text(kContentTypeKeyName);
    }
    if (!name || name->empty()) name = unknownFileNameForInitialisation();

    // A multipart body is split into its parts unless the tree is already as deep as it may grow; a part
    // nested deeper keeps its body as content.
    std::vector<PWMimePartRef> children;
    if (type == kMimeTypeMultipart && boundary && !boundary->empty() && depth < kMimeMaxNestingDepth &&
        partition.body) {
        FGDataScanner scanner(*partition.body);
        std::vector<Data> bodyParts;
        if (scanner.scanMimeDataWithBoundary(boundary, partition.delimiter, nullptr, &bodyParts, nullptr, error)) {
            children.reserve(bodyParts.size());
            std::weak_ptr<PWMimePart> self = weak_from_this();
            for (size_t index = 0; index < bodyParts.size(); ++index) {
                OptString childIdentifier = formatString(u"%@/%ld", {identifier, static_cast<long>(index)});
                PWMimePartRef child = createPart(bodyParts[index], childIdentifier, isMutable, nullptr, depth + 1);
                if (!child || !child->type()) continue;
                {
                    std::lock_guard childLock(child->mutex_);
                    child->parent_ = self;
                }
                children.push_back(std::move(child));
            }
        }
    }

    std::lock_guard lock(mutex_);
    // Bytes without any line break (an empty part) take the line end of the part that holds them.
    sourceLineEnd_ = !partition.delimiter ? '?' : *partition.delimiter == LFData() ? '\n' : 0;
    // A Content-Type name (or an attachment's made-up one) becomes the file name.
    if (name && !name->empty() &&
        (!contentDisposition_ || !contentDisposition_->contains(kContentDispositionKeyFilename))) {
        if (!contentDisposition_) contentDisposition_ = ParameterDictionary();
        contentDisposition_->set(std::u16string(kContentDispositionKeyFilename), *name);
    }
    if (!children.empty()) {
        subParts_ = std::move(children);
    } else {
        contentData_ = partition.body.value_or(Data());
    }
    mutabilityFlags_ &= ~kMutatedFlag;
}

std::optional<ParameterDictionary> PWMimePart::contentTypeDictionaryFromHeader(const OptString& value) {
    if (!value) return std::nullopt;
    Scanner scanner = Scanner::emailAddressScannerWithString(*value);
    ParameterDictionary info;
    if (!scanner.scanRFC1341ContentTypeHeaderIntoDictionary(&info, nullptr)) return std::nullopt;
    return info;
}

std::optional<ParameterDictionary> PWMimePart::contentDispositionDictionaryFromHeader(const OptString& value) {
    if (!value) return std::nullopt;
    Scanner scanner = Scanner::emailAddressScannerWithString(*value);
    ParameterDictionary info;
    if (!scanner.scanRFC2183ContentDispositionHeaderIntoDictionary(&info, nullptr)) return std::nullopt;
    return info;
}

std::optional<PWContentType> PWMimePart::contentTypeFromHeaders(const PWMessageHeaders& headers) {
    auto info = contentTypeDictionaryFromHeader(headers.firstHeaderForKey(kMimeHeaderContentType, false));
    if (!info) return std::nullopt;
    return PWContentType::newWithContentTypeInfo(*info);
}

std::optional<PWContentDisposition> PWMimePart::contentDispositionFromHeaders(const PWMessageHeaders& headers) {
    auto info = contentDispositionDictionaryFromHeader(headers.firstHeaderForKey(kMimeHeaderContentDisposition, false));
    if (!info) return std::nullopt;
    return PWContentDisposition::newWithDispositionInfo(*info);
}

// ---- Reading --------------------------------------------------------------------------------------------------

PWMessageHeadersRef PWMimePart::headers() const {
    std::shared_ptr<PWMutableMessageHeaders> target;
    OptString transferEncoding;
    std::optional<ParameterDictionary> disposition;
    ParameterDictionary contentType;
    bool replaced = false;
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) return headers_;
        target = std::dynamic_pointer_cast<PWMutableMessageHeaders>(headers_);
        if (!target) {
            replaced = true;
            if (headers_) {
                target = headers_->mutableCopy();
            } else if (auto parsed = PWMessageHeaders::headersFromData(headerSubdata(sourceMimeData_).value_or(Data()))) {
                target = parsed->mutableCopy();
            } else {
                target = PWMutableMessageHeaders::init();
            }
        }
        transferEncoding = contentTransferEncoding_;
        disposition = contentDisposition_;
        contentType = contentType_;
    }
    if (replaced) const_cast<PWMimePart*>(this)->replaceObservedHeaders(target);

    // Bring the MIME fields in line with the part's fields. A field is written only when it says something
    // else, so that the fields of an unchanged part keep their received text; these writes are the part's
    // own bookkeeping and do not mark it mutated. The values are given unfolded (the writer folds a
    // mutable field itself, and would encode a value holding line breaks).
    struct Synchronising {
        std::atomic<int>& count;
        explicit Synchronising(std::atomic<int>& c) : count(c) { ++count; }
        ~Synchronising() { --count; }
    } synchronising(synchronisingHeaders_);
    OptString currentEncoding = target->firstHeaderForKey(kMimeHeaderContentTransferEncoding, false);
    if (!transferEncoding) {
        if (currentEncoding) target->removeHeaderForKey(kMimeHeaderContentTransferEncoding);
    } else if (!currentEncoding || lowercase(fgTrim(*currentEncoding)) != *transferEncoding) {
        target->setHeader(removeCharacters(*transferEncoding, u"\r\n"), kMimeHeaderContentTransferEncoding);
    }
    OptString currentDisposition = target->firstHeaderForKey(kMimeHeaderContentDisposition, false);
    if (!disposition) {
        if (currentDisposition) target->removeHeaderForKey(kMimeHeaderContentDisposition);
    } else if (contentDispositionDictionaryFromHeader(currentDisposition) != disposition) {
        target->setHeader(removeCharacters(detail::contentDispositionFieldValue(*disposition), u"\r\n"),
                          kMimeHeaderContentDisposition);
    }
    OptString currentType = target->firstHeaderForKey(kMimeHeaderContentType, false);
    if (!contentType.empty() && contentTypeDictionaryFromHeader(currentType) != contentType) {
        target->setHeader(removeCharacters(detail::contentTypeFieldValue(contentType), u"\r\n"),
                          kMimeHeaderContentType);
    }
    return target;
}

void PWMimePart::replaceObservedHeaders(const std::shared_ptr<PWMutableMessageHeaders>& headers) {
    stopObservingHeaders();
    {
        std::lock_guard lock(mutex_);
        headers_ = headers;
    }
    observeHeaders(headers);
}

OptString PWMimePart::type() const {
    std::lock_guard lock(mutex_);
    return lowercased(contentType_.text(kContentTypeKeyType));
}

OptString PWMimePart::subtype() const {
    std::lock_guard lock(mutex_);
    return lowercased(contentType_.text(kContentTypeKeySubtype));
}

std::u16string PWMimePart::MIMEtype() const { return formatString(u"%@/%@", {type(), subtype()}); }

ParameterDictionary PWMimePart::contentType() const {
    std::lock_guard lock(mutex_);
    return contentType_;
}

std::optional<ParameterDictionary> PWMimePart::contentDisposition() const {
    std::lock_guard lock(mutex_);
    return contentDisposition_;
}

OptString PWMimePart::boundary() const {
    std::lock_guard lock(mutex_);
    return contentType_.text(kContentTypeKeyBoundary);
}

OptString PWMimePart::contentId() const {
    std::lock_guard lock(mutex_);
    return contentId_;
}

OptString PWMimePart::charset() const {
    // Up the tree: each part's own lock is released before its parent's is taken.
    const PWMimePart* part = this;
    PWMimePartRef holder;
    while (part) {
        PWMimePartRef parent;
        {
            std::lock_guard lock(part->mutex_);
            if (part->charset_) return part->charset_;
            if (OptString own = detail::nonEmptyText(part->contentType_.text(u"charset"))) {
                part->charset_ = own;
                return own;
            }
            parent = part->parent_.lock();
        }
        holder = std::move(parent);
        part = holder.get();
    }
    return std::nullopt;
}

OptString PWMimePart::contentTransferEncoding() const {
    const PWMimePart* part = this;
    PWMimePartRef holder;
    while (part) {
        PWMimePartRef parent;
        {
            std::lock_guard lock(part->mutex_);
            if (part->contentTransferEncoding_) return part->contentTransferEncoding_;
            parent = part->parent_.lock();
        }
        holder = std::move(parent);
        part = holder.get();
    }
    return std::nullopt;
}

FGTransferEncodingKind PWMimePart::FGTransferEncoding() const {
    OptString encoding = contentTransferEncoding();
    if (!encoding) return kFGTransferEncodingOther;
    std::u16string lower = lowercase(*encoding);
    if (lower == kMimeTransferEncoding8Bit) return kFGTransferEncoding8Bit;
    if (lower == kMimeTransferEncoding7Bit) return kFGTransferEncoding7Bit;
    if (lower == kMimeTransferEncodingQuotedPrintable) return kFGTransferEncodingQuotedPrintable;
    if (lower == kMimeTransferEncodingBase64) return kFGTransferEncodingBase64;
    return kFGTransferEncodingOther;
}

TextEncoding PWMimePart::stringEncoding() const {
    OptString name = charset();
    if (!name) return kUTF8StringEncoding;
    if (equalsIgnoringCase(*name, kMimeContentEncodingISO8859)) return kISOLatin1StringEncoding;
    if (equalsIgnoringCase(*name, kMimeContentEncodingUTF8)) return kUTF8StringEncoding;
    if (equalsIgnoringCase(*name, kMimeContentEncodingUSASCII)) return kASCIIStringEncoding;
    if (equalsIgnoringCase(*name, u"windows-1252")) return kWindowsCP1252StringEncoding;
    TextEncoding encoding = PWencodingForCharSetName(*name);
    return isUnusableEncoding(encoding) ? kUTF8StringEncoding : encoding;
}

Data PWMimePart::contentData() const {
    std::lock_guard lock(mutex_);
    return contentData_;
}

OptString PWMimePart::contentString() const { return stringFromData(contentData(), stringEncoding()); }

Data PWMimePart::binaryContentData() const { return base64DecodedData(contentData()); }

Data PWMimePart::transferDecodedData() const {
    Data content = contentData();
    switch (FGTransferEncoding()) {
        case kFGTransferEncodingBase64:
            return base64DecodedData(content);
        case kFGTransferEncodingQuotedPrintable:
            return decodedQuotedPrintableDataWithOptions(content, 0, nullptr).value_or(content);
        default:
            return content;
    }
}

OptString PWMimePart::filename() const {
    std::optional<ParameterDictionary> disposition = contentDisposition();
    if (!disposition) return std::nullopt;
    std::u16string name;
    if (OptString text = disposition->text(kContentDispositionKeyFilename)) {
        name = *text;
    } else if (const SectionMap* sections = disposition->sections(u"filename*")) {
        // RFC 2231 continuations whose charset could not be resolved: the pieces in section order, read as
        // UTF-8 when they are, else byte for byte.
        std::string bytes;
        for (const auto& [number, piece] : *sections) bytes.append(piece.view());
        Data joined = Data::adopting(std::move(bytes));
        name = stringFromData(joined, kUTF8StringEncoding).value_or(fromLatin1(joined.view()));
    } else {
        return std::nullopt;
    }
    return decodedMimeEncodedString(trimCharacters(name, u"\""));
}

PWMimePartRef PWMimePart::rootMimePart() const {
    PWMimePartRef root = std::const_pointer_cast<PWMimePart>(shared_from_this());
    while (PWMimePartRef up = root->parent()) root = std::move(up);
    return root;
}

EncodingHints PWMimePart::encodingHints() const {
    EncodingHints hints;
    if (OptString own = charset()) {
        TextEncoding declared = PWencodingForCharSetName(*own);
        if (!isUnusableEncoding(declared)) hints.declared = declared;
    }
    auto add = [&](TextEncoding encoding) {
        if (isUnusableEncoding(encoding) || encoding == kASCIIStringEncoding || encoding == kUTF8StringEncoding) return;
        if (std::find(hints.message.begin(), hints.message.end(), encoding) == hints.message.end()) {
            hints.message.push_back(encoding);
        }
    };
    PWMimePartRef root = std::const_pointer_cast<PWMimePart>(shared_from_this());
    while (PWMimePartRef up = root->parent()) root = up;
    for (TextEncoding encoding : encodedWordEncodings(root->headerData().view())) add(encoding);
    if (root.get() != this) {
        for (TextEncoding encoding : encodedWordEncodings(headerData().view())) add(encoding);
    }
    // The other parts' own charsets, in tree order; the stack keeps depth out of the call stack.
    std::vector<PWMimePartRef> stack{root};
    while (!stack.empty()) {
        PWMimePartRef part = stack.back();
        stack.pop_back();
        if (part.get() != this) {
            if (OptString named = part->contentType().text(u"charset")) add(PWencodingForCharSetName(*named));
        }
        std::vector<PWMimePartRef> children = part->subParts();
        stack.insert(stack.end(), children.rbegin(), children.rend());
    }
    return hints;
}

PWMimePartRef PWMimePart::parent() const {
    std::lock_guard lock(mutex_);
    return parent_.lock();
}

std::vector<PWMimePartRef> PWMimePart::subParts() const {
    std::lock_guard lock(mutex_);
    return subParts_.value_or(std::vector<PWMimePartRef>());
}

bool PWMimePart::hasSubParts() const {
    std::lock_guard lock(mutex_);
    return subParts_ && !subParts_->empty();
}

OptString PWMimePart::identifier() const {
    std::lock_guard lock(mutex_);
    return identifier_;
}

bool PWMimePart::isMutable() const {
    std::lock_guard lock(mutex_);
    return mutabilityFlags_ & kMutableFlag;
}

bool PWMimePart::isMutated() const {
    std::lock_guard lock(mutex_);
    return (mutabilityFlags_ & kMutableFlag) && (mutabilityFlags_ & kMutatedFlag);
}

bool PWMimePart::contentIsBase64encoded() const {
    std::lock_guard lock(mutex_);
    return contentIsBase64encoded_;
}

size_t PWMimePart::headerSize() const { return headerData().length(); }

size_t PWMimePart::decodedSize() const {
    std::vector<PWMimePartRef> children = subParts();
    if (children.empty()) {
        if (FGTransferEncoding() == kFGTransferEncodingBase64) {
            Data content = contentData();
            return base64DecodedLength(content.bytes(), content.length());
        }
        return transferDecodedData().length();
    }
    size_t total = 0;
    for (const PWMimePartRef& child : children) total += child->decodedSize();
    return total;
}

bool PWMimePart::isWellFormed() const {
    Data bytes = mimeNSData();
    if (bytes.length() >= 3 && bytes.hasPrefix("\r\n")) return false;
    for (const PWMimePartRef& child : subParts()) {
        if (!child->isWellFormed()) return false;
    }
    return true;
}

std::u16string PWMimePart::description() const {
    std::u16string flags = isMutable() ? (isMutated() ? u" mutable, mutated" : u" mutable") : u"";
    return formatString(u"<%@ %@ %@%@>", {objectClass().name, identifier(), MIMEtype(), flags});
}

PWMimePartRef PWMimePart::copy() const { return newMimePartWithRFC2822Data(mimeNSData(), identifier(), false, nullptr); }

PWMimePartRef PWMimePart::mutableCopy() const {
    return newMimePartWithRFC2822Data(mimeNSData(), identifier(), true, nullptr);
}

// ---- Tree walks ------------------------------------------------------------------------------------------------

namespace {
// Visits the subtree in depth-first order, this part first, with its own stack; stops when visit says so.
void walkTree(const PWMimePartRef& root, const std::function<bool(const PWMimePartRef&)>& visit) {
    std::vector<PWMimePartRef> stack{root};
    while (!stack.empty()) {
        PWMimePartRef part = std::move(stack.back());
        stack.pop_back();
        if (!visit(part)) return;
        std::vector<PWMimePartRef> children = part->subParts();
        stack.insert(stack.end(), children.rbegin(), children.rend());
    }
}
}  // namespace

std::vector<PWMimePartRef> PWMimePart::mimePartsPassingTest(const std::function<bool(const PWMimePart&)>& test) const {
    std::vector<PWMimePartRef> found;
    walkTree(std::const_pointer_cast<PWMimePart>(shared_from_this()), [&](const PWMimePartRef& part) {
        if (test(*part)) found.push_back(part);
        return true;
    });
    return found;
}

PWMimePartRef PWMimePart::partWithContentID(std::u16string_view contentId) const {
    PWMimePartRef found;
    walkTree(std::const_pointer_cast<PWMimePart>(shared_from_this()), [&](const PWMimePartRef& part) {
        if (part->contentId() == contentId) found = part;
        return !found;
    });
    return found;
}

PWMimePartRef PWMimePart::mimeAttachmentWithContentId(std::u16string_view contentId) const {
    for (const PWMimePartRef& attachment : attachments()) {
        if (attachment->contentId() == contentId) return attachment;
    }
    return nullptr;
}

bool PWMimePart::containsPGPEncryption() const {
    bool found = false;
    walkTree(std::const_pointer_cast<PWMimePart>(shared_from_this()), [&](const PWMimePartRef& part) {
        std::u16string type = part->MIMEtype();
        if (type == u"application/pgp-encrypted") found = true;
        if (type == u"multipart/encrypted" &&
            equalsIgnoringCase(part->contentType().text(u"protocol").value_or(u""), u"application/pgp-encrypted")) {
            found = true;
        }
        return !found;
    });
    return found;
}

PWMimePartRef PWMimePart::mimePartByRemovingAttachments() const { return mutableCopy(); }

PWMimePartRef PWMimePart::mimePartByReplacingMimeAttachments(const std::vector<PWMimePartRef>&) const {
    return mutableCopy();
}

std::u16string PWMimePart::htmlFragmentForContext(int, unsigned, std::vector<PWMimePartRef>*) const { return {}; }

// ---- Mutability and observation ----------------------------------------------------------------------------

void PWMimePart::assertMutable() const {
    std::lock_guard lock(mutex_);
    if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
}

void PWMimePart::observeHeaders(const PWMessageHeadersRef& headers) {
    auto observable = std::dynamic_pointer_cast<PWMutableMessageHeaders>(headers);
    if (!observable) return;
    std::weak_ptr<PWMimePart> self = weak_from_this();
    size_t token = observable->addObserver([self](bool prior) {
        if (prior) return;
        if (PWMimePartRef part = self.lock()) part->headersDidChange();
    });
    std::lock_guard lock(mutex_);
    observerToken_ = token;
    observedHeaders_ = observable;
}

void PWMimePart::stopObservingHeaders() {
    std::shared_ptr<PWMessageHeaders> observed;
    size_t token = 0;
    {
        std::lock_guard lock(mutex_);
        observed = observedHeaders_.lock();
        token = observerToken_;
        observedHeaders_.reset();
        observerToken_ = 0;
    }
    if (auto observable = std::dynamic_pointer_cast<PWMutableMessageHeaders>(observed)) {
        observable->removeObserver(token);
    }
}

void PWMimePart::headersDidChange() {
    if (synchronisingHeaders_.load() != 0) return;
    markMutated();
}

void PWMimePart::markMutated() {
    // Up the tree without recursion; an immutable ancestor ends the walk, as its bytes never change.
    PWMimePart* part = this;
    PWMimePartRef holder;
    while (part) {
        PWMimePartRef parent;
        {
            std::lock_guard lock(part->mutex_);
            if (!(part->mutabilityFlags_ & kMutableFlag)) return;
            part->mutabilityFlags_ |= kMutatedFlag;
            part->derivedHeaderData_.reset();
            part->derivedMimeData_.reset();
            ++part->generation_;
            parent = part->parent_.lock();
        }
        holder = std::move(parent);
        part = holder.get();
    }
}

void PWMimePart::setMutated(bool mutated) {
    if (mutated) {
        markMutated();
        return;
    }
    std::lock_guard lock(mutex_);
    if (mutabilityFlags_ & kMutableFlag) mutabilityFlags_ &= ~kMutatedFlag;
}

void PWMimePart::setMutable(bool isMutable) {
    if (isMutable) {
        PWMessageHeadersRef headers;
        {
            std::lock_guard lock(mutex_);
            if (mutabilityFlags_ & kMutableFlag) return;
            mutabilityFlags_ |= kMutableFlag;
            derivedMimeData_ = ChainedData(sourceMimeData_);
            headers = headers_;
        }
        observeHeaders(headers);
        return;
    }
    if (!this->isMutable()) return;
    // The last serialised form becomes the source: build it first when a change is pending.
    Data bytes = mimeNSData();
    {
        std::lock_guard lock(mutex_);
        mutabilityFlags_ &= ~(kMutableFlag | kMutatedFlag);
        sourceMimeData_ = bytes;
        derivedMimeData_.reset();
        derivedHeaderData_.reset();
    }
    stopObservingHeaders();
}

// ---- Setters ------------------------------------------------------------------------------------------------

void PWMimePart::setHeaders(const PWMessageHeadersRef& headers) {
    bool isMutablePart;
    {
        std::lock_guard lock(mutex_);
        isMutablePart = mutabilityFlags_ & kMutableFlag;
        if (!isMutablePart) {
            headers_ = headers;
            return;
        }
    }
    stopObservingHeaders();
    PWMessageHeadersRef stored = headers;
    if (!stored) stored = PWMutableMessageHeaders::init();
    if (!stored->isMutable()) stored = stored->mutableCopy();
    {
        std::lock_guard lock(mutex_);
        headers_ = stored;
        readFieldsFromHeadersLocked(*stored);
    }
    observeHeaders(stored);
    markMutated();
}

void PWMimePart::readFieldsFromHeadersLocked(const PWMessageHeaders& headers) {
    if (auto contentType = contentTypeDictionaryFromHeader(headers.firstHeaderForKey(kMimeHeaderContentType, false))) {
        contentType_ = std::move(*contentType);
        charset_.reset();
    }
    if (OptString encoding = headers.firstHeaderForKey(kMimeHeaderContentTransferEncoding)) {
        contentTransferEncoding_ = lowercase(*encoding);
    }
    if (OptString value = headers.firstHeaderForKey(kMimeHeaderContentDisposition, false)) {
        contentDisposition_ = contentDispositionDictionaryFromHeader(value);
    }
    if (OptString contentId = headers.firstHeaderForKey(kMimeHeaderContentID)) {
        contentId_ = trimAngleBrackets(*contentId);
    }
}

void PWMimePart::setHeader(const OptString& value, std::u16string_view key) {
    std::shared_ptr<PWMutableMessageHeaders> copy;
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
        if (headers_) {
            copy = headers_->mutableCopy();
        } else if (auto parsed = PWMessageHeaders::headersFromData(headerSubdata(sourceMimeData_).value_or(Data()))) {
            copy = parsed->mutableCopy();
        } else {
            copy = PWMutableMessageHeaders::init();
        }
    }
    copy->setHeader(value, key);
    setHeaders(copy);
}

namespace {
// Writes "@type" or "@subtype" and keeps "@fulltype" in step when both halves are there.
void setTypeKey(ParameterDictionary& info, std::u16string_view key, const OptString& value) {
    if (value) {
        info.set(std::u16string(key), *value);
    } else {
        info.remove(key);
    }
    OptString type = info.text(kContentTypeKeyType), subtype = info.text(kContentTypeKeySubtype);
    if (type && subtype) info.set(std::u16string(kContentTypeKeyFullType), formatString(u"%@/%@", {type, subtype}));
}
}  // namespace

void PWMimePart::setType(const OptString& type) {
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
        if (contentType_.text(kContentTypeKeyType) == type) return;
        setTypeKey(contentType_, kContentTypeKeyType, type);
    }
    markMutated();
}

void PWMimePart::setSubtype(const OptString& subtype) {
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
        if (contentType_.text(kContentTypeKeySubtype) == subtype) return;
        setTypeKey(contentType_, kContentTypeKeySubtype, subtype);
    }
    markMutated();
}

void PWMimePart::setBoundary(const OptString& boundary) {
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
        if (contentType_.text(kContentTypeKeyBoundary) == boundary) return;
        if (boundary) {
            contentType_.set(std::u16string(kContentTypeKeyBoundary), *boundary);
        } else {
            contentType_.remove(kContentTypeKeyBoundary);
        }
    }
    markMutated();
}

void PWMimePart::setCharset(const OptString& charset) {
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
        if (charset_ == charset && contentType_.text(u"charset") == charset) return;
        charset_ = charset;
        if (charset) {
            contentType_.set(u"charset", *charset);
        } else {
            contentType_.remove(u"charset");
        }
    }
    markMutated();
}

void PWMimePart::setContentType(const ParameterDictionary& contentType) {
    assertMutable();
    // The current charset, own or inherited, is read before the lock: it may ask the ancestors.
    OptString current = contentType.contains(u"charset") ? std::nullopt : charset();
    {
        std::lock_guard lock(mutex_);
        if (contentType_ == contentType) return;
        contentType_ = contentType;
        if (OptString carried = contentType.text(u"charset")) {
            charset_ = carried;
        } else if (current) {
            contentType_.set(u"charset", *current);
        }
    }
    markMutated();
}

void PWMimePart::setContentDisposition(const std::optional<ParameterDictionary>& contentDisposition) {
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
        if (contentDisposition_ == contentDisposition) return;
        contentDisposition_ = contentDisposition;
    }
    markMutated();
}

void PWMimePart::setContentId(const OptString& contentId) {
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
        if (contentId_ == contentId) return;
        contentId_ = contentId;
        if (!identifier_) identifier_ = contentId;
    }
    markMutated();
}

void PWMimePart::setContentTransferEncoding(const OptString& encoding) {
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
        if (contentTransferEncoding_ == encoding) return;
        contentTransferEncoding_ = encoding;
    }
    markMutated();
}

void PWMimePart::setSubParts(const std::vector<PWMimePartRef>& subParts) {
    // A part among its own descendants would make every walk of the tree endless.
    PWMimePartRef holder;
    for (const PWMimePart* ancestor = this; ancestor; ancestor = holder.get()) {
        for (const PWMimePartRef& child : subParts) {
            if (child.get() == ancestor) throw ProgrammingError("A MimePart cannot contain itself", "PWMimePart");
        }
        holder = ancestor->parent();
    }
    std::vector<PWMimePartRef> previous;
    {
        std::lock_guard lock(mutex_);
        if (!(mutabilityFlags_ & kMutableFlag)) throwNotMutable();
        if (subParts_ && *subParts_ == subParts) return;
        previous = subParts_.value_or(std::vector<PWMimePartRef>());
        subParts_ = subParts;
    }
    // The container sets and clears its children's parent links; each child's lock is taken alone.
    std::weak_ptr<PWMimePart> self = weak_from_this();
    for (const PWMimePartRef& child : previous) {
        if (!child || std::find(subParts.begin(), subParts.end(), child) != subParts.end()) continue;
        std::lock_guard childLock(child->mutex_);
        if (child->parent_.lock().get() == this) child->parent_.reset();
    }
    for (const PWMimePartRef& child : subParts) {
        if (!child) continue;
        std::lock_guard childLock(child->mutex_);
        child->parent_ = self;
    }
    markMutated();
}

void PWMimePart::setContentData(const Data& data) {
    bool isMutablePart;
    {
        std::lock_guard lock(mutex_);
        bool sameView = contentData_.bytes() == data.bytes() && contentData_.length() == data.length();
        if (sameView || contentData_ == data) return;
        contentData_ = data;
        isMutablePart = mutabilityFlags_ & kMutableFlag;
    }
    if (isMutablePart) markMutated();
}

void PWMimePart::setBinaryContentData(const Data& data) {
    assertMutable();
    Base64Options options;
    options.lineBreaks = true;
    options.lineLength = 76;
    setContentData(Data::adopting(base64EncodedString(data, Base64Alphabet::Standard, options)));
}

}  // namespace postwright
