#include "postwright/Headers/PWMutableMessageHeaders.hpp"

#include "postwright/Lexical/CharacterSetRFC2822.hpp"
#include "postwright/Lexical/DateFormat.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"

namespace postwright {

namespace {
constexpr char16_t kIdentifierTrim[] = u"<> \r\n";

bool isHeaderText(std::u16string_view text) {
    const CharacterSet& vchar = rfc2822VCHARSet();
    for (char16_t c : text) {
        if (!vchar.contains(c)) return false;
    }
    return true;
}
}  // namespace

std::shared_ptr<PWMutableMessageHeaders> PWMutableMessageHeaders::init() {
    return std::shared_ptr<PWMutableMessageHeaders>(new PWMutableMessageHeaders());
}

std::shared_ptr<PWMutableMessageHeaders> PWMutableMessageHeaders::initWithHeaderEntryDictionary(
    HeaderEntryDictionary dictionary) {
    auto headers = init();
    headers->dictionary_ = std::move(dictionary);
    return headers;
}

bool PWMutableMessageHeaders::mutated() const {
    std::lock_guard lock(mutex_);
    return mutated_;
}

size_t PWMutableMessageHeaders::addObserver(Observer observer) {
    std::lock_guard lock(observersMutex_);
    size_t token = nextObserverToken_++;
    observers_.emplace(token, std::move(observer));
    return token;
}

void PWMutableMessageHeaders::removeObserver(size_t token) {
    std::lock_guard lock(observersMutex_);
    observers_.erase(token);
}

void PWMutableMessageHeaders::notifyObservers(bool prior) {
    std::vector<Observer> current;
    {
        std::lock_guard lock(observersMutex_);
        for (const auto& [token, observer] : observers_) current.push_back(observer);
    }
    for (const Observer& observer : current) observer(prior);
}

void PWMutableMessageHeaders::changeDictionary(const std::function<void(HeaderEntryDictionary&)>& change,
                                               bool notify) {
    if (notify) notifyObservers(true);
    {
        std::lock_guard lock(mutex_);
        change(dictionary_);
        contentIdentifier_.reset();
        candidateSentDates_.reset();
        possibleReceivedDates_.reset();
        mutated_ = true;
    }
    if (notify) notifyObservers(false);
}

void PWMutableMessageHeaders::setHeader(const OptString& value, std::u16string_view key) {
    if (!value) {
        removeHeaderForKey(key);
        return;
    }
    std::u16string dictionaryKey = headerDictionaryKey(key);
    changeDictionary(
        [&](HeaderEntryDictionary& dictionary) {
            HeaderEntryDictionary::ListRef existing = dictionary.find(dictionaryKey);
            std::shared_ptr<PWMutableMessageHeaderEntry> entry;
            if (existing && existing->size() == 1) {
                entry = existing->front()->mutableCopy();
                entry->setValue(*value);
            } else {
                entry = PWMutableMessageHeaderEntry::newWithFieldName(std::u16string(key), *value, kDerivedSortHint);
            }
            dictionary.set(dictionaryKey,
                           std::make_shared<const HeaderEntryDictionary::EntryList>(
                               HeaderEntryDictionary::EntryList{std::move(entry)}));
        },
        true);
}

bool PWMutableMessageHeaders::removeHeaderForKey(std::u16string_view key) {
    std::u16string dictionaryKey = headerDictionaryKey(key);
    {
        std::lock_guard lock(mutex_);
        if (!dictionary_.find(dictionaryKey)) return false;
    }
    changeDictionary([&](HeaderEntryDictionary& dictionary) { dictionary.remove(dictionaryKey); }, true);
    return true;
}

void PWMutableMessageHeaders::addEntriesFromHeaders(const PWMessageHeaders& other) {
    HeaderEntryDictionary incoming = other.headerEntryDictionary();
    std::lock_guard lock(mutex_);
    uint64_t next = 0;
    for (const auto& entry : dictionary_.allEntries()) next = std::max(next, entry->sortHint() + 1);
    for (const auto& [key, list] : incoming.items()) {
        for (const PWMessageHeaderEntryRef& entry : *list) entry->setSortHint(next++);
        dictionary_.set(key, std::make_shared<const HeaderEntryDictionary::EntryList>(*list));
    }
    candidateSentDates_.reset();
    possibleReceivedDates_.reset();
}

void PWMutableMessageHeaders::setSubject(const OptString& subject) {
    if (!subject || subject->empty()) {
        removeHeaderForKey(PWMessageHeaderSubjectKey);
        return;
    }
    std::u16string text = removeCharacters(fgTrim(*subject), u"\r\n");
    if (!isHeaderText(text)) {
        TextEncoding preferred = preferredEncoding();
        if (preferred == kNoEncoding) preferred = kUTF8StringEncoding;
        OptString word = mimeWordWithString(text, preferred, nullptr);
        if (!word) word = mimeWordWithString(text, kUTF8StringEncoding, nullptr);
        // A subject too long for one encoded word on the "Subject: " line is written as several, which
        // the header writer folds (RFC 2047 section 2: at most 75 characters a word).
        constexpr size_t kRoomOnFirstLine = 78 - 9 - 1;  // after "Subject: ", before the space that folds
        if (word && word->size() > kRoomOnFirstLine) word = mimeWordsWithString(text, kRoomOnFirstLine);
        if (word) text = *word;
    }
    setHeader(text, PWMessageHeaderSubjectKey);
}

void PWMutableMessageHeaders::setHeaderID(std::u16string_view identifier) {
    setHeader(u"<" + trimCharacters(identifier, kIdentifierTrim) + u">", PWMessageHeaderMessageIdKey);
}

void PWMutableMessageHeaders::setIdentifierList(std::u16string_view key, const std::vector<std::u16string>& identifiers) {
    if (identifiers.empty()) {
        removeHeaderForKey(key);
        return;
    }
    std::vector<std::u16string> wrapped;
    for (const std::u16string& identifier : identifiers) {
        wrapped.push_back(u"<" + trimCharacters(identifier, kIdentifierTrim) + u">");
    }
    setHeader(componentsJoinedBy(wrapped, u", "), key);
}

void PWMutableMessageHeaders::setInReplyToIds(const std::vector<std::u16string>& identifiers) {
    setIdentifierList(PWMessageHeaderInReplyToKey, identifiers);
}

void PWMutableMessageHeaders::setReferences(const std::vector<std::u16string>& identifiers) {
    setIdentifierList(PWMessageHeaderReferencesKey, identifiers);
}

}  // namespace postwright

namespace postwright {

void PWMutableMessageHeaders::setDateSent(double date) { setHeader(rfc2822Date(date), PWMessageHeaderDateKey); }

void PWMutableMessageHeaders::setSender(const PWEmailAddressList& addresses) {
    setHeader(PWEmailAddress::rfc2822RepresentationForAddresses(addresses), PWMessageHeaderSenderKey);
}

void PWMutableMessageHeaders::setFrom(const PWEmailAddressList& addresses) {
    setHeader(PWEmailAddress::rfc2822RepresentationForAddresses(addresses), PWMessageHeaderFromKey);
}

void PWMutableMessageHeaders::setAddressField(std::u16string_view key, const std::vector<std::u16string>& forms) {
    if (forms.empty()) {
        removeHeaderForKey(key);
        return;
    }
    setHeader(componentsJoinedBy(forms, u","), key);
}

}  // namespace postwright
