// Bytes as a mailbox: every message the mbox reader finds becomes message contents with an abstract,
// encryption flags, attachments and a rendered document; the same bytes are also read as one message
// file. The reader must move forward on every message and hand out views inside the input.
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Message/FGMessageAbstract.hpp"
#include "postwright/Message/PWMBoxMessageContents.hpp"

using namespace postwright;

namespace {
void readContents(const PWMessageContentsRef& contents) {
    if (!contents) return;
    auto abstract = FGMessageAbstract::newWithMessageContents(contents);
    if (abstract->messageSize() != contents->size()) __builtin_trap();
    (void)contents->contentIdentifier();
    (void)contents->encryptionFlags();
    (void)contents->mimeAttachments();
    (void)contents->isWellFormed();
    (void)contents->headersInReplyToDigests();
    (void)contents->plainText();
    (void)contents->htmlDocumentWithContext(kMessageDisplayRich);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzz::silenceLibraryLog();
    Data input = Data::withStaticBytes(bytes, size);
    MboxReader reader(input);
    size_t previous = 0;
    bool first = true;
    while (std::optional<MboxReader::Message> message = reader.next()) {
        if (!first && message->position <= previous) __builtin_trap();
        if (message->position >= size || message->fromLine.bytes() < bytes ||
            message->fromLine.bytes() + message->fromLine.length() > bytes + size) {
            __builtin_trap();
        }
        first = false;
        previous = message->position;
        auto contents = PWMBoxMessageContents::newWithMessageData(message->data, message->fromLine);
        if (contents) {
            (void)contents->mboxFrom();
            (void)contents->mboxDate();
        }
        readContents(contents);
    }
    readContents(PWMessageContents::messageContentsWithFileData(input, "fuzz"));
    return 0;
}
