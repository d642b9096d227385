#include "postwright/Headers/PWMessageHeaderEntry.hpp"

#include <array>

namespace postwright {

namespace {
struct RankList {
    uint64_t base;
    std::vector<std::u16string_view> names;
};

const std::array<RankList, 4>& rankLists() {
    static const std::array<RankList, 4> lists = {{
        {0, {u"from", u"sender", u"date", u"to", u"cc", u"bcc", u"subject", u"message-id", u"in-reply-to",
             u"references", u"received", u"delivered-to"}},
        {20, {u"resent-from", u"resent-sender", u"resent-to", u"resent-cc", u"resent-bcc", u"resent-msg-id",
              u"orig-date", u"trace"}},
        {40, {u"x-mailer", u"x-orwin-composer-id", u"x-orwin-composer-sending-account-id",
              u"x-orwin-composer-send-as-plain-text", u"x-orwin-local-mutable-message-id", u"x-fennelgate-id",
              u"x-keyfolio"}},
        {60, {u"mime-version", u"content-type", u"content-transfer-encoding", u"content-id", u"content-disposition"}},
    }};
    return lists;
}
}  // namespace

uint64_t sortHintForHeaderKey(std::u16string_view name) {
    std::u16string lower = lowercase(name);
    for (const RankList& list : rankLists()) {
        for (size_t i = 0; i < list.names.size(); ++i) {
            if (list.names[i] == lower) return list.base + i;
        }
    }
    // Unlisted names: the product-extension list's length past its base for "x-" names, and (deliberately)
    // the same length past the MIME base for "content-" names.
    const size_t extensions = rankLists()[2].names.size();
    if (hasPrefix(lower, u"x-")) return 40 + extensions;
    if (hasPrefix(lower, u"content-")) return 60 + extensions;
    return 100;
}

std::shared_ptr<PWMessageHeaderEntry> PWMessageHeaderEntry::newWithFieldName(std::u16string fieldName, OptString value,
                                                                             uint64_t sortHint) {
    if (sortHint == kDerivedSortHint) sortHint = sortHintForHeaderKey(fieldName);
    return std::shared_ptr<PWMessageHeaderEntry>(
        new PWMessageHeaderEntry(std::move(fieldName), std::move(value), sortHint));
}

std::u16string PWMessageHeaderEntry::dictionaryKey() const { return uppercase(fieldName_); }

std::u16string PWMessageHeaderEntry::description() const {
    return fieldName_ + u": " + value().value_or(u"(null)");
}

OptString PWMessageHeaderEntry::foldedHeaderWithOption(unsigned) const { return description(); }

std::shared_ptr<PWMutableMessageHeaderEntry> PWMessageHeaderEntry::mutableCopy() const {
    return PWMutableMessageHeaderEntry::newWithFieldName(fieldName_, value(), sortHint());
}

std::shared_ptr<PWMutableMessageHeaderEntry> PWMutableMessageHeaderEntry::newWithFieldName(std::u16string fieldName,
                                                                                           OptString value,
                                                                                           uint64_t sortHint) {
    if (sortHint == kDerivedSortHint) sortHint = sortHintForHeaderKey(fieldName);
    return std::shared_ptr<PWMutableMessageHeaderEntry>(
        new PWMutableMessageHeaderEntry(std::move(fieldName), std::move(value), sortHint));
}

OptString PWMutableMessageHeaderEntry::value() const {
    std::lock_guard lock(mutex_);
    return value_;
}

void PWMutableMessageHeaderEntry::setValue(OptString value) {
    std::lock_guard lock(mutex_);
    value_ = std::move(value);
}

std::shared_ptr<PWMutableMessageHeaderEntry> PWMutableMessageHeaderEntry::mutableCopy() const {
    return PWMutableMessageHeaderEntry::newWithFieldName(fieldName_, value(), sortHint());
}

}  // namespace postwright
