#include "postwright/Headers/PWTokenSearchEmailAddress.hpp"

#include "postwright/Base/Format.hpp"

namespace postwright {

namespace {
struct Weights {
    std::mutex mutex;
    // Single-precision constants widened to double, as stored scores expect.
    double type = static_cast<double>(0.1f);
    double address = static_cast<double>(0.2f);
    double age = static_cast<double>(0.3f);
    double count = static_cast<double>(0.4f);
};

Weights& weights() {
    static Weights* shared = new Weights();
    return *shared;
}

double readWeight(double Weights::*field) {
    std::lock_guard lock(weights().mutex);
    return weights().*field;
}

void writeWeight(double Weights::*field, double value) {
    std::lock_guard lock(weights().mutex);
    weights().*field = value;
}

bool isNonEmpty(const OptString& text) {
    return text && !text->empty();
}

bool isWordCharacter(char16_t c) {
    return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c > 0x7F;
}
}  // namespace

std::shared_ptr<PWTokenSearchEmailAddress> PWTokenSearchEmailAddress::initWithAddressComment(const OptString& comment,
                                                                                             const OptString& userName,
                                                                                             const OptString& domain,
                                                                                             unsigned options) {
    auto address = std::make_shared<PWTokenSearchEmailAddress>(Passkey());
    address->initialise(comment, userName, domain, options);
    return address;
}

std::shared_ptr<PWTokenSearchEmailAddress> PWTokenSearchEmailAddress::initWithEmailAddress(
    const PWEmailAddress& other) {
    auto address = std::make_shared<PWTokenSearchEmailAddress>(Passkey());
    address->copyFrom(other);
    return address;
}

long PWTokenSearchEmailAddress::typeScore() const {
    std::lock_guard lock(scoresMutex_);
    return typeScore_;
}

void PWTokenSearchEmailAddress::setTypeScore(long score) {
    std::lock_guard lock(scoresMutex_);
    typeScore_ = score;
}

long PWTokenSearchEmailAddress::addressScore() const {
    std::lock_guard lock(scoresMutex_);
    return addressScore_;
}

void PWTokenSearchEmailAddress::setAddressScore(long score) {
    std::lock_guard lock(scoresMutex_);
    addressScore_ = score;
}

long PWTokenSearchEmailAddress::ageScore() const {
    std::lock_guard lock(scoresMutex_);
    return ageScore_;
}

void PWTokenSearchEmailAddress::setAgeScore(long score) {
    std::lock_guard lock(scoresMutex_);
    ageScore_ = score;
}

long PWTokenSearchEmailAddress::countScore() const {
    std::lock_guard lock(scoresMutex_);
    return countScore_;
}

void PWTokenSearchEmailAddress::setCountScore(long score) {
    std::lock_guard lock(scoresMutex_);
    countScore_ = score;
}

std::vector<int64_t> PWTokenSearchEmailAddress::addressIds() const {
    std::lock_guard lock(scoresMutex_);
    return addressIds_;
}

void PWTokenSearchEmailAddress::setAddressIds(std::vector<int64_t> addressIds) {
    std::lock_guard lock(scoresMutex_);
    addressIds_ = std::move(addressIds);
}

double PWTokenSearchEmailAddress::typeWeight() {
    return readWeight(&Weights::type);
}
void PWTokenSearchEmailAddress::setTypeWeight(double weight) {
    writeWeight(&Weights::type, weight);
}
double PWTokenSearchEmailAddress::addressWeight() {
    return readWeight(&Weights::address);
}
void PWTokenSearchEmailAddress::setAddressWeight(double weight) {
    writeWeight(&Weights::address, weight);
}
double PWTokenSearchEmailAddress::ageWeight() {
    return readWeight(&Weights::age);
}
void PWTokenSearchEmailAddress::setAgeWeight(double weight) {
    writeWeight(&Weights::age, weight);
}
double PWTokenSearchEmailAddress::countWeight() {
    return readWeight(&Weights::count);
}
void PWTokenSearchEmailAddress::setCountWeight(double weight) {
    writeWeight(&Weights::count, weight);
}

double PWTokenSearchEmailAddress::weightedScore() const {
    std::lock_guard lock(scoresMutex_);
    double score = static_cast<double>(ageScore_) * ageWeight();
    score += static_cast<double>(addressScore_) * addressWeight();
    score += static_cast<double>(typeScore_) * typeWeight();
    score += static_cast<double>(countScore_) * countWeight();
    return score;
}

std::u16string PWTokenSearchEmailAddress::description() const {
    double score = weightedScore();
    std::lock_guard lock(scoresMutex_);
    return PWEmailAddress::description() + formatString(u" weight: %0.1f (ag:%ld t:%ld ad:%ld c:%ld)",
                                                        {score, ageScore_, typeScore_, addressScore_, countScore_});
}

PWTokenSearchEmailAddress::SearchDisplayString PWTokenSearchEmailAddress::searchDisplayStringWithPrefix(
    std::u16string_view prefix) const {
    std::u16string line;
    auto append = [&line](const std::u16string& piece, const char16_t* open, const char16_t* close) {
        line += line.empty() ? piece : open + piece + close;
    };
    std::shared_ptr<const Contact> linked = contact();
    if (!linked || linked->emailAddresses.empty()) {
        if (isNonEmpty(addressComment())) line = *addressComment();
        if (OptString base = baseAddress()) append(*base, u" <", u">");
    } else {
        if (isNonEmpty(linked->fullName)) line = *linked->fullName;
        if (isNonEmpty(linked->nickname)) append(*linked->nickname, u" (", u")");
        OptString email;
        OptString identifier = emailIdentifier();
        for (const LabeledEmailAddress& value : linked->emailAddresses) {
            if (identifier && value.identifier == *identifier) email = value.value;
        }
        if (!email) email = baseAddress();
        if (email) append(*email, u" <", u">");
    }

    SearchDisplayString result{line, std::nullopt};
    if (prefix.empty()) return result;
    for (size_t at = 0; at + prefix.size() <= line.size(); ++at) {
        if (at > 0 && isWordCharacter(line[at - 1])) continue;
        if (equalsIgnoringCase(std::u16string_view(line).substr(at, prefix.size()), prefix)) {
            result.matchedPrefix = Range{at, prefix.size()};
            break;
        }
    }
    return result;
}

}  // namespace postwright
