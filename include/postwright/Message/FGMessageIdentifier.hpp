// FGMessageIdentifier: an account and a message's content identifier, packed into 23 bytes.
//
// The account identifier (12 base64url characters, or "LOCAL") packs into 9 bytes, the 18-character
// content identifier into 14, so that millions of identifiers compare with two wide loads and hash from 8
// bytes without touching text. Identifiers are immutable and interned process-wide: equal identifiers
// made through the `new…` functions are the same object.
//
//     auto id = FGMessageIdentifier::newWithStringValue(u"LOCAL/0123abcdefghijklmn");
//     id->stringRepresentation();        // u"LOCAL/0123abcdefghijklmn"
//     id == FGMessageIdentifier::newWithStringValue(u"LOCAL/0123abcdefghijklmn");   // same object
#pragma once

#include <nlohmann/json.hpp>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The content identifier of a message that could not be identified.
inline constexpr char16_t FGInvalidContentIdentifier[] = u"----INVALIDMESSAGE";
// The content identifier of contents that are not available locally.
inline constexpr char16_t FGUnavailableContentIdentifier[] = u"--NOT--AVAILABLE--";
// The content identifier of the nil message identifier (headers with none of the identifying fields).
inline constexpr char16_t FGNilContentIdentifier[] = u"7556WquxKLyMQyeLqA";

// An account identifier and a content identifier packed into 23 bytes, interned process-wide.
class FGMessageIdentifier {
public:
    enum Flags : uint8_t { kInterned = 2, kInvalidContent = 4, kUnavailableContent = 8 };
    enum Options : unsigned { kDoNotIntern = 2 };

    using AccountBytes = std::array<uint8_t, 9>;
    using ContentBytes = std::array<uint8_t, 14>;

    // Builds an identifier; unless options has kDoNotIntern the result is the interned one.
    static std::shared_ptr<const FGMessageIdentifier> newWithAccountIdentifier(std::u16string_view accountIdentifier,
                                                                               std::u16string_view contentIdentifier,
                                                                               unsigned options = 0);
    // "ACCOUNT/CONTENT", split at the first "/"; nullptr without text or without "/".
    static std::shared_ptr<const FGMessageIdentifier> newWithStringValue(const OptString& value, unsigned options = 0);
    // The interned identifier equal to this one; the argument itself (marked interned) when it is the first.
    static std::shared_ptr<const FGMessageIdentifier> canonicalIdentifierForIdentifier(
        std::shared_ptr<const FGMessageIdentifier> identifier);
    // A fresh, not interned identifier.
    static std::shared_ptr<const FGMessageIdentifier> initWithAccountIdentifier(std::u16string_view accountIdentifier,
                                                                                std::u16string_view contentIdentifier);

    // Made once each: no account with the nil content identifier (stored as invalid), and no account with
    // the unavailable sentinel.
    static std::shared_ptr<const FGMessageIdentifier> nilMessageIdentifier();
    static std::shared_ptr<const FGMessageIdentifier> unavailableMessageIdentifier();

    // For every cached account and every given content identifier, the interned identifier with those
    // bytes, where one exists.
    static std::vector<std::shared_ptr<const FGMessageIdentifier>> identifiersForContentIdentifiers(
        const std::vector<std::u16string>& contentIdentifiers);
    // False for the invalid and the nil content identifiers.
    static bool validateContentIdentifier(std::u16string_view contentIdentifier);

    std::u16string accountIdentifier() const;   // "LOCAL", else 12 base64url characters
    std::u16string contentIdentifier() const;   // the unavailable sentinel, else 18 base64url characters
    std::u16string stringRepresentation() const;
    std::u16string description() const { return stringRepresentation(); }

    // Same account and content bytes (flags are not compared).
    bool isEqual(const FGMessageIdentifier& other) const noexcept;
    bool isEqualTo(const FGMessageIdentifier& other) const noexcept { return isEqual(other); }
    bool operator==(const FGMessageIdentifier& other) const noexcept { return isEqual(other); }
    bool hasEqualContentIdentifierAs(const FGMessageIdentifier& other) const noexcept;
    bool hasEqualAccountIdentifierAs(const FGMessageIdentifier& other) const noexcept;
    // The SplitMix64 finaliser of the first 8 content bytes.
    uint64_t hash() const noexcept;

    bool isValid() const noexcept { return (flags() & kInvalidContent) == 0; }
    bool invalidContentIdentifier() const noexcept { return (flags() & kInvalidContent) != 0; }
    bool unavailableContent() const noexcept { return (flags() & kUnavailableContent) != 0; }
    bool isInterned() const noexcept { return (flags() & kInterned) != 0; }
    uint8_t flags() const noexcept { return flags_.load(std::memory_order_relaxed); }

    const AccountBytes& accountBytes() const noexcept { return account_; }
    const ContentBytes& contentBytes() const noexcept { return content_; }

    // The coded form: {"accountIdentifier": text, "contentIdentifier": text}.
    static constexpr bool supportsSecureCoding() { return true; }
    nlohmann::json encodeWithCoder() const;
    // The interned identifier of a coded form; nullptr when either value is missing or not text.
    static std::shared_ptr<const FGMessageIdentifier> initWithCoder(const nlohmann::json& coded);

    FGMessageIdentifier(const AccountBytes& account, const ContentBytes& content, uint8_t flags)
        : account_(account), content_(content), flags_(flags) {}

private:
    AccountBytes account_{};
    ContentBytes content_{};
    mutable std::atomic<uint8_t> flags_{0};
};

// Hash and equality functors for unordered containers of identifiers (by value, not by object).
struct FGMessageIdentifierHash {
    size_t operator()(const std::shared_ptr<const FGMessageIdentifier>& id) const noexcept {
        return id ? static_cast<size_t>(id->hash()) : 0;
    }
};
// Compares identifiers by value, not by object.
struct FGMessageIdentifierEqual {
    bool operator()(const std::shared_ptr<const FGMessageIdentifier>& a,
                    const std::shared_ptr<const FGMessageIdentifier>& b) const noexcept {
        return a && b ? a->isEqual(*b) : a == b;
    }
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
