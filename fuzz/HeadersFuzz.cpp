// Header blocks: parsing, every lookup and typed view, the content identifier, and fold-then-parse of
// every field's value.
#include <cstdint>

#include "postwright/Headers/PWMutableMessageHeaders.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    ErrorRef error;
    auto headers = PWMessageHeaders::headersFromData(Data::withBytes(bytes, size), &error);
    if (!headers) return 0;
    (void)headers->subject();
    (void)headers->headerID();
    (void)headers->inReplyToIds();
    (void)headers->references();
    (void)headers->referenceRFC2822Hashes();
    (void)headers->contentIdentifier();
    (void)headers->foldedHeaderString();
    (void)PWMessageHeaders::valueForHeaderField(u"subject", Data::withStaticBytes(bytes, size));
    if (size < 4096) {
        (void)headers->dateSent();
        (void)headers->dateReceived();
    }
    // Fold every value as a mutable field and parse the result back: exactly one field must come back.
    size_t fields = 0;
    HeaderEntryDictionary dictionary = headers->headerEntryDictionary();
    for (const auto& [key, list] : dictionary.items()) {
        for (const auto& entry : *list) {
            if (++fields > 64) return 0;
            OptString value = entry->value();
            if (!value) continue;
            auto field = PWMutableMessageHeaderEntry::newWithFieldName(u"X-Fuzz", *value, kDerivedSortHint);
            OptString folded = field->foldedHeaderWithOption(2);
            if (!folded) continue;
            auto reparsed = PWMessageHeaders::headersFromData(Data::adopting(toUTF8(*folded) + "\r\n\r\n"));
            if (!reparsed || reparsed->headerEntryDictionary().size() != 1) __builtin_trap();
        }
    }
    return 0;
}
