#include "postwright/Message/FGMessageIdentifier.hpp"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Error.hpp"

namespace postwright {

static_assert(std::char_traits<char16_t>::length(FGUnavailableContentIdentifier) == 18,
              "FGUnavailableContentIdentifier Incorrect length");

namespace {
constexpr FGMessageIdentifier::AccountBytes kLocalAccount = {0, 0, 0, 0, 0, 0, 0, 0, 0xFF};
constexpr char16_t kLocal[] = u"LOCAL";

// The account cache and the interned set share one lock, held across lookup and insertion.
struct SharedTables {
    std::mutex mutex;
    std::unordered_map<std::u16string, FGMessageIdentifier::AccountBytes> accounts{{kLocal, kLocalAccount}};
    std::unordered_set<std::shared_ptr<const FGMessageIdentifier>, FGMessageIdentifierHash, FGMessageIdentifierEqual>
        interned;
};

SharedTables& tables() {
    static SharedTables* shared = new SharedTables();
    return *shared;
}

// base64url decoding of an ASCII text into exactly N bytes (characters outside the alphabet are skipped,
// missing bytes stay zero).
template <size_t N>
std::array<uint8_t, N> decodeInto(std::u16string_view text) {
    std::array<uint8_t, N> bytes{};
    Data decoded = base64DecodedData(text, Base64Alphabet::URLSafe);
    std::memcpy(bytes.data(), decoded.bytes(), std::min(N, decoded.length()));
    return bytes;
}

std::u16string encode(const uint8_t* bytes, size_t length, size_t characters) {
    std::string text = base64EncodedString(bytes, length, Base64Alphabet::URLSafe, {.padding = false});
    return fromLatin1(std::string_view(text).substr(0, characters));
}

FGMessageIdentifier::AccountBytes accountBytesFor(std::u16string_view accountIdentifier) {
    SharedTables& shared = tables();
    std::lock_guard lock(shared.mutex);
    auto cached = shared.accounts.find(std::u16string(accountIdentifier));
    if (cached != shared.accounts.end()) return cached->second;
    if (accountIdentifier.size() != 12) return {};
    FGMessageIdentifier::AccountBytes bytes = decodeInto<9>(accountIdentifier);
    shared.accounts.emplace(std::u16string(accountIdentifier), bytes);
    return bytes;
}
}  // namespace

std::shared_ptr<const FGMessageIdentifier> FGMessageIdentifier::initWithAccountIdentifier(
    std::u16string_view accountIdentifier, std::u16string_view contentIdentifier) {
    std::u16string_view content = contentIdentifier == FGNilContentIdentifier
                                      ? std::u16string_view(FGInvalidContentIdentifier)
                                      : contentIdentifier;
    uint8_t flags = 0;
    if (content == FGUnavailableContentIdentifier) flags |= kUnavailableContent;
    if (content == FGInvalidContentIdentifier) flags |= kInvalidContent;
    ContentBytes contentBytes{};
    if (content.size() == 18) contentBytes = decodeInto<14>(std::u16string(content) + u"0");
    return std::make_shared<const FGMessageIdentifier>(accountBytesFor(accountIdentifier), contentBytes, flags);
}

std::shared_ptr<const FGMessageIdentifier> FGMessageIdentifier::canonicalIdentifierForIdentifier(
    std::shared_ptr<const FGMessageIdentifier> identifier) {
    if (!identifier) return nullptr;
    SharedTables& shared = tables();
    std::lock_guard lock(shared.mutex);
    auto found = shared.interned.find(identifier);
    if (found != shared.interned.end()) return *found;
    identifier->flags_.fetch_or(kInterned, std::memory_order_relaxed);
    shared.interned.insert(identifier);
    return identifier;
}

std::shared_ptr<const FGMessageIdentifier> FGMessageIdentifier::newWithAccountIdentifier(
    std::u16string_view accountIdentifier, std::u16string_view contentIdentifier, unsigned options) {
    auto identifier = initWithAccountIdentifier(accountIdentifier, contentIdentifier);
    if (options & kDoNotIntern) return identifier;
    return canonicalIdentifierForIdentifier(std::move(identifier));
}

std::shared_ptr<const FGMessageIdentifier> FGMessageIdentifier::newWithStringValue(const OptString& value,
                                                                                   unsigned options) {
    if (!value || value->empty()) return nullptr;
    size_t slash = value->find(u'/');
    if (slash == std::u16string::npos) return nullptr;
    return newWithAccountIdentifier(std::u16string_view(*value).substr(0, slash),
                                    std::u16string_view(*value).substr(slash + 1), options & 0xFFu);
}

std::shared_ptr<const FGMessageIdentifier> FGMessageIdentifier::nilMessageIdentifier() {
    static const auto identifier = newWithAccountIdentifier(u"", FGNilContentIdentifier);
    return identifier;
}

std::shared_ptr<const FGMessageIdentifier> FGMessageIdentifier::unavailableMessageIdentifier() {
    static const auto identifier = newWithAccountIdentifier(u"", FGUnavailableContentIdentifier);
    return identifier;
}

std::vector<std::shared_ptr<const FGMessageIdentifier>> FGMessageIdentifier::identifiersForContentIdentifiers(
    const std::vector<std::u16string>& contentIdentifiers) {
    std::vector<ContentBytes> contents;
    for (const std::u16string& content : contentIdentifiers) {
        if (content.size() == 18) contents.push_back(decodeInto<14>(content + u"0"));
    }
    std::vector<std::shared_ptr<const FGMessageIdentifier>> found;
    SharedTables& shared = tables();
    std::lock_guard lock(shared.mutex);
    for (const auto& [name, account] : shared.accounts) {
        for (const ContentBytes& content : contents) {
            auto probe = std::make_shared<const FGMessageIdentifier>(account, content, 0);
            auto hit = shared.interned.find(probe);
            if (hit == shared.interned.end()) continue;
            bool already = false;
            for (const auto& existing : found) already = already || existing == *hit;
            if (!already) found.push_back(*hit);
        }
    }
    return found;
}

bool FGMessageIdentifier::validateContentIdentifier(std::u16string_view contentIdentifier) {
    return contentIdentifier != FGInvalidContentIdentifier && contentIdentifier != FGNilContentIdentifier;
}

std::u16string FGMessageIdentifier::accountIdentifier() const {
    if (account_ == kLocalAccount) return kLocal;
    return encode(account_.data(), account_.size(), 12);
}

std::u16string FGMessageIdentifier::contentIdentifier() const {
    if (unavailableContent()) return FGUnavailableContentIdentifier;
    return encode(content_.data(), content_.size(), 18);
}

std::u16string FGMessageIdentifier::stringRepresentation() const {
    return accountIdentifier() + u"/" + contentIdentifier();
}

bool FGMessageIdentifier::isEqual(const FGMessageIdentifier& other) const noexcept {
    return account_ == other.account_ && content_ == other.content_;
}

bool FGMessageIdentifier::hasEqualContentIdentifierAs(const FGMessageIdentifier& other) const noexcept {
    return content_ == other.content_;
}

bool FGMessageIdentifier::hasEqualAccountIdentifierAs(const FGMessageIdentifier& other) const noexcept {
    return account_ == other.account_;
}

uint64_t FGMessageIdentifier::hash() const noexcept {
    uint64_t x = 0;
    for (int i = 7; i >= 0; --i) x = (x << 8) | content_[static_cast<size_t>(i)];
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ull;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebull;
    return x ^ (x >> 31);
}

nlohmann::json FGMessageIdentifier::encodeWithCoder() const {
    return {{"accountIdentifier", toUTF8(accountIdentifier())}, {"contentIdentifier", toUTF8(contentIdentifier())}};
}

std::shared_ptr<const FGMessageIdentifier> FGMessageIdentifier::initWithCoder(const nlohmann::json& coded) {
    if (!coded.is_object()) return nullptr;
    auto account = coded.find("accountIdentifier");
    auto content = coded.find("contentIdentifier");
    if (account == coded.end() || content == coded.end() || !account->is_string() || !content->is_string()) {
        return nullptr;
    }
    return newWithAccountIdentifier(fromUTF8(account->get<std::string>()), fromUTF8(content->get<std::string>()));
}

}  // namespace postwright
