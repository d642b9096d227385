// PWDateSentAmendment (hint 10): stamps the sent date (the Date header) in context types 1, 2 and 4.
//
// It has no type identifier of its own: it answers the base's "NoAmendment", so its dictionary form comes
// back as a plain amendment, and it is never registered (it would take "NoAmendment" over). In every
// context it then checks the message: contents that are not well formed give code 1, "Setting Date
// amendment result is malformed".
//
//     auto stamp = PWDateSentAmendment::newWithDate(DateEnvironment::now());
//     // dictionary form: {"amendmentType": "NoAmendment", "date": "Tue, 5 Mar 2024 09:04:00 +0000"}
#pragma once

#include <optional>

#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Stamps the sent date in context types 1, 2 and 4.
class PWDateSentAmendment : public PWMessageAmendment {
public:
    static const PWAmendmentClass& amendmentClass();
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }

    // The date is the current moment (DateEnvironment::now()).
    static std::shared_ptr<PWDateSentAmendment> init();
    static std::shared_ptr<PWDateSentAmendment> newWithDate(std::optional<double> date);
    // "date" read with the RFC 2822 pattern "EEE, d MMM yyyy HH:mm:ss Z" (en_US); no date when it does not read.
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);

    std::optional<double> date() const noexcept { return date_; }

    // The base keys and "date" as the Date header writes it (left out without a date).
    PWAmendmentDictionary dictionaryRepresentation() const override;
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t options,
                                                          ErrorRef* error) override;

private:
    PWDateSentAmendment() = default;
    std::optional<double> date_;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
