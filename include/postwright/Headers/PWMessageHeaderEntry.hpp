// PWMessageHeaderEntry: one header field, and PWMutableMessageHeaderEntry, one whose value can change.
//
// An entry keeps its field name exactly as written and its value as stored: for parsed headers the raw
// text after the colon, trimmed, with interior folds (CR LF and white space) still in it. Parsed fields
// are written back exactly as they came; mutable entries are folded afresh when written.
//
//     auto entry = PWMessageHeaderEntry::newWithFieldName(u"subject", u"Hello", kDerivedSortHint);
//     entry->dictionaryKey();          // u"SUBJECT"
//     entry->sortHint();               // 6, the rank of "subject"
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "postwright/Base/Text.hpp"
#include "postwright/Export.hpp"
#include "postwright/Headers/HeaderNames.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWMutableMessageHeaderEntry;

// Fold options: lines end in LF alone (4) instead of CR LF; continuation lines begin with TAB (8).
enum HeaderFoldOptions : unsigned {
    kFoldLineFeedOnly = 4,
    kFoldTabContinuation = 8,
};

// One header field as received: its name as written and its raw value.
class PWMessageHeaderEntry : public std::enable_shared_from_this<PWMessageHeaderEntry> {
public:
    // A hint of kDerivedSortHint takes the rank of the field name (sortHintForHeaderKey).
    static std::shared_ptr<PWMessageHeaderEntry> newWithFieldName(std::u16string fieldName, OptString value,
                                                                  uint64_t sortHint);
    virtual ~PWMessageHeaderEntry() = default;

    const std::u16string& fieldName() const noexcept { return fieldName_; }
    // The field name upper-cased: the key of the collection's dictionary.
    std::u16string dictionaryKey() const;
    // The canonical capitalisation of the field name ("Message-Id").
    std::u16string capitalizedHeaderName() const { return capitalizedHeaderKey(fieldName_); }
    virtual OptString value() const { return value_; }
    uint64_t sortHint() const noexcept { return sortHint_.load(std::memory_order_relaxed); }
    // Merging writes new hints into the entries it takes over (they are shared with their collection).
    void setSortHint(uint64_t hint) noexcept { sortHint_.store(hint, std::memory_order_relaxed); }
    virtual bool isMutable() const noexcept { return false; }

    // "%@: %@" of the field name as written and the stored value (folds as received).
    std::u16string description() const;
    // The field as it is written out. An immutable entry writes "%@: %@" untouched; a mutable one folds.
    virtual OptString foldedHeaderWithOption(unsigned options) const;

    // An immutable entry is its own copy.
    std::shared_ptr<PWMessageHeaderEntry> copy() { return shared_from_this(); }
    virtual std::shared_ptr<PWMutableMessageHeaderEntry> mutableCopy() const;

protected:
    PWMessageHeaderEntry(std::u16string fieldName, OptString value, uint64_t sortHint)
        : fieldName_(std::move(fieldName)), value_(std::move(value)), sortHint_(sortHint) {}

    std::u16string fieldName_;
    OptString value_;
    std::atomic<uint64_t> sortHint_;
};

// A header field whose value can change; it is folded afresh when written.
class PWMutableMessageHeaderEntry : public PWMessageHeaderEntry {
public:
    static std::shared_ptr<PWMutableMessageHeaderEntry> newWithFieldName(std::u16string fieldName, OptString value,
                                                                         uint64_t sortHint);

    OptString value() const override;
    void setValue(OptString value);
    bool isMutable() const noexcept override { return true; }

    // The field folded for output (see HeaderFolding), without a final line end; nullopt when the value
    // is nil or cannot be expressed in header text.
    OptString foldedHeaderWithOption(unsigned options) const override {
        return foldedHeaderWithOption(options, nullptr);
    }
    // The same, also breaking after any of the extra delimiters (for example ",") when a line has no
    // white space to break at.
    OptString foldedHeaderWithOption(unsigned options, const std::vector<std::u16string>* addedDelimiters) const;

    // A new mutable entry with the same name, value and hint.
    std::shared_ptr<PWMutableMessageHeaderEntry> mutableCopy() const override;
    std::shared_ptr<PWMutableMessageHeaderEntry> copyEntry() const { return mutableCopy(); }

private:
    using PWMessageHeaderEntry::PWMessageHeaderEntry;
    mutable std::mutex mutex_;
};

using PWMessageHeaderEntryRef = std::shared_ptr<PWMessageHeaderEntry>;

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
