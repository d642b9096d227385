// PWTokenSearchEmailAddress: an address found by a recipient search, with the scores that rank it.
//
//     auto hit = PWTokenSearchEmailAddress::initWithEmailAddress(*address);
//     hit->setAgeScore(10); hit->setCountScore(1);
//     double rank = hit->weightedScore();
//     auto line = hit->searchDisplayStringWithPrefix(u"an");   // "Ann Example <ann@example.com>", match at 0
//
// The weights are class-wide: initially the single-precision values 0.1, 0.2, 0.3 and 0.4 widened to
// double (0.10000000149011612 ...), kept exactly so because stored scores are compared with them.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Export.hpp"
#include "postwright/Headers/PWEmailAddress.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// An address found by a recipient search, with the scores that rank it.
class PWTokenSearchEmailAddress : public PWEmailAddress {
public:
    explicit PWTokenSearchEmailAddress(Passkey key) : PWEmailAddress(key) {}

    // A search result built like PWEmailAddress::initWithAddressComment.
    static std::shared_ptr<PWTokenSearchEmailAddress> initWithAddressComment(const OptString& comment,
                                                                             const OptString& userName,
                                                                             const OptString& domain,
                                                                             unsigned options = 1);
    // A search result for an existing address (its fields copied, nothing sanitised again); scores 0.
    static std::shared_ptr<PWTokenSearchEmailAddress> initWithEmailAddress(const PWEmailAddress& address);

    long typeScore() const;
    void setTypeScore(long score);
    long addressScore() const;
    void setAddressScore(long score);
    long ageScore() const;
    void setAgeScore(long score);
    long countScore() const;
    void setCountScore(long score);
    // The stored address identifiers this result stands for.
    std::vector<int64_t> addressIds() const;
    void setAddressIds(std::vector<int64_t> addressIds);

    static double typeWeight();
    static void setTypeWeight(double weight);
    static double addressWeight();
    static void setAddressWeight(double weight);
    static double ageWeight();
    static void setAgeWeight(double weight);
    static double countWeight();
    static void setCountWeight(double weight);

    // age x ageWeight + address x addressWeight + type x typeWeight + count x countWeight, summed in that
    // order in double precision.
    double weightedScore() const;
    // The address's description followed by " weight: 3.6 (ag:10 t:2 ad:5 c:1)".
    std::u16string description() const override;

    // The line shown in a completion list, and where the typed prefix matches it (case-insensitive, at the
    // start of a word), when it does.
    struct SearchDisplayString {
        std::u16string text;
        std::optional<Range> matchedPrefix;
    };
    // Without a linked contact (or one without e-mail values): "Comment <base address>" or the base address.
    // With one: the contact's full name, its nickname as " (nickname)" (alone without a name), then the
    // contact's e-mail value that this address is (else the base address) as " <...>" (bare when alone).
    SearchDisplayString searchDisplayStringWithPrefix(std::u16string_view prefix) const;

protected:
    const char16_t* className() const override { return u"PWTokenSearchEmailAddress"; }

private:
    mutable std::mutex scoresMutex_;
    long typeScore_ = 0;
    long addressScore_ = 0;
    long ageScore_ = 0;
    long countScore_ = 0;
    std::vector<int64_t> addressIds_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
