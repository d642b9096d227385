// PWMessageAmendment: a named, serialisable change of a message, the registry of amendment types, and the
// driver that runs a list of amendments over a message.
//
// Hosts store amendments as dictionaries or JSON ({"amendmentType": "Header", "headerKey": ..., ...}) and
// rebuild them by type identifier; the identifier must have been registered (the base type "NoAmendment"
// always is). A list runs in the order of the amendments' hints (lower first; equal hints keep their
// order), each on the same editable copy of the message, and the driver logs and checks every step.
//
//     PWMessageAmendment::registerMessageAmendmentClass(PWHeaderAmendment::amendmentClass());
//     auto header = PWMessageAmendment::newWithDictionaryRepresentation(
//         {{"amendmentType", "Header"}, {"headerKey", "X-Rule"}, {"headerValue", "7"}});
//     ErrorRef error;
//     PWMessageContentsRef amended = PWMessageAmendment::contentsByApplyingAmendments({header}, *message, &error);
//
// C++ has no class objects, so an amendment class is described by a PWAmendmentClass (name, type
// identifier, and its dictionary initialiser); the registry maps identifiers to class names, and classes
// are found by name among those ever registered.
//
// Run order of a full set: every hint-10 amendment (AddRecipient, Body, Decrypt, Header,
// PlaceholderExpansion, Signature, Subject, UploadAttachment, the date-sent one), then DeliverPlainText
// 20, ApplyFormat 24, PrepareDelivery 25, FragmentMimeParts 26, the remove-Bcc one 30, CryptoSign 98 and
// Encrypt 99.
//
// Broken contract: an amendment that changes nothing, applied to a message without well-formed contents,
// and the driver finding a malformed result without an error slot, throw ProgrammingError "amended contents
// is not well formed".
#pragma once

#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Amendments/PWAmendmentResult.hpp"
#include "postwright/Amendments/PWMessageAmendmentContext.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Export.hpp"
#include "postwright/Message/FGBaseMutableMessage.hpp"
#include "postwright/Message/FGPostwrightMessage.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class PWMessageAmendment;

// The dictionary form of an amendment: keys in the order written.
using PWAmendmentDictionary = nlohmann::ordered_json;

// An amendment class as the registry sees it.
struct PWAmendmentClass {
    std::u16string_view name;
    // The type identifier; nullopt for a class that has none (it cannot be registered).
    std::optional<std::u16string_view> identifier;
    // A new instance of the class made from a dictionary form.
    std::shared_ptr<PWMessageAmendment> (*initWithDictionaryRepresentation)(const PWAmendmentDictionary& dictionary);
};

// A named, serialisable change of a message; the registry of types and the driver of lists.
class PWMessageAmendment : public std::enable_shared_from_this<PWMessageAmendment> {
public:
    static const PWAmendmentClass& amendmentClass();
    virtual const PWAmendmentClass& objectClass() const { return amendmentClass(); }

    virtual ~PWMessageAmendment() = default;
    PWMessageAmendment(const PWMessageAmendment&) = delete;
    PWMessageAmendment& operator=(const PWMessageAmendment&) = delete;

    // ---- Registry ---------------------------------------------------------------------------------------

    // Maps the class's identifier to its name (a later class with the same identifier replaces the earlier
    // one). A class without an identifier is not registered; the log line
    // "Error Rule Action Class "NAME" is not properly identified" says so. The base class is always there.
    static void registerMessageAmendmentClass(const PWAmendmentClass& cls);
    // Every registered identifier, in no particular order.
    static std::vector<std::u16string> registeredIdentifiers();
    // The class registered for the identifier, or nullptr.
    static const PWAmendmentClass* classForAmendmentTypeIdentifier(std::u16string_view identifier);
    // Registers every amendment class of the library that answers an identifier of its own: all but the
    // date-sent and remove-Bcc ones, which answer "NoAmendment" and would take that identifier over.
    static void registerStandardAmendmentClasses();

    // ---- Making amendments ----------------------------------------------------------------------------------

    // A plain amendment, which changes nothing.
    static std::shared_ptr<PWMessageAmendment> init();
    // The base keeps nothing of the dictionary.
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(
        const PWAmendmentDictionary& dictionary);
    // An instance of the class registered for "amendmentType" (a plain amendment when that is missing or not
    // registered), made from the same dictionary.
    static std::shared_ptr<PWMessageAmendment> newWithDictionaryRepresentation(const PWAmendmentDictionary& dictionary);
    // An instance of cls made from JSON bytes (fragments allowed; bytes that do not parse count as null).
    static std::shared_ptr<PWMessageAmendment> initWithJsonRepresentation(
        std::string_view json, const PWAmendmentClass& cls = amendmentClass());

    // ---- What an amendment is ---------------------------------------------------------------------------

    // {"amendmentType": identifier} followed by the class's own keys.
    virtual PWAmendmentDictionary dictionaryRepresentation() const;
    // The dictionary form as compact JSON, keys in the order written.
    std::string jsonRepresentation() const;
    // Lower runs first; 10 unless the class says otherwise.
    virtual int64_t applicationOrderHint() const { return 10; }
    // "<CLASS-NAME JSON>", as the log lines and error texts show an amendment.
    std::u16string description() const;

    // Changes the message in place and returns what to merge into its contents' userInfo, or sets the
    // error (and may still return a result). The error slot is cleared on entry. The base changes nothing:
    // it requires the message's current contents to be well formed (see above) and returns an empty result.
    virtual PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                  const PWMessageAmendmentContext& context,
                                                                  uint64_t options, ErrorRef* error);

    // ---- The driver ----------------------------------------------------------------------------------------

    // Runs the amendments, sorted by hint, on an amendable copy of the message (the message itself never
    // changes), logging each step to the context's logger and to the host's logger ("4904-ℹ️" when the
    // visible text kept its length, "4904-🛑" when it did not). The first error stops the run: nullptr and
    // that error. Otherwise the results' userInfo is merged into the contents' userInfo and the amended
    // contents come back when they are well formed; when they are not, nullptr with the code 1 error (or,
    // without an error slot, ProgrammingError). The error slot is cleared on entry.
    static PWMessageContentsRef contentsByApplyingAmendments(const PWMessageAmendmentList& amendments,
                                                             const PWMessageAmendmentContextRef& context,
                                                             uint64_t options, const FGPostwrightMessage& message,
                                                             ErrorRef* error);
    // The same with a new context of type 1, no userInfo and options 0.
    static PWMessageContentsRef contentsByApplyingAmendments(const PWMessageAmendmentList& amendments,
                                                             const FGPostwrightMessage& message, ErrorRef* error);
    // The amendments in run order: by hint, equal hints in their given order.
    static PWMessageAmendmentList sortedByApplicationOrder(const PWMessageAmendmentList& amendments);

protected:
    PWMessageAmendment() = default;
    // For the amendments that check the message after their change: false when the message's current
    // contents (generated if needed) are missing or not well formed.
    static bool messageIsWellFormed(FGBaseMutableMessage& message);
    // The dictionary form of the base: {"amendmentType": identifier}.
    PWAmendmentDictionary baseDictionaryRepresentation() const;
};

// A list's description for log lines and error texts: "(" then each amendment's description, ", " between.
std::u16string descriptionOfAmendments(const PWMessageAmendmentList& amendments);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
