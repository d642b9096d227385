// embed: the smallest application built on FGPostwright. It reads one message file (eml, emlx or mbox)
// and prints the subject, the sender and the file names of the attachments.
//
//     embed message.eml
#include <cstdio>
#include <memory>

#include <postwright/Base/Text.hpp>
#include <postwright/Message/PWMessageContents.hpp>
#include <postwright/Mime/PWMimeAttachment.hpp>

using namespace postwright;

namespace {

// Attachments name themselves from Content-Disposition; any other part from Content-Type's name.
OptString attachmentName(const PWMimePartRef& part) {
    if (auto attachment = std::dynamic_pointer_cast<PWMimeAttachment>(part)) {
        if (OptString name = attachment->attachmentFilename()) return name;
    }
    return part->filename();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: embed MESSAGE-FILE\n");
        return 2;
    }
    ErrorRef error;
    std::shared_ptr<PWMessageContents> message = PWMessageContents::messageContentsWithFile(argv[1], &error);
    if (!message) {
        std::fprintf(stderr, "embed: %s\n", toUTF8(error->localizedDescription).c_str());
        return 1;
    }
    PWMessageHeadersRef headers = message->headers();
    OptString sender;
    if (auto from = headers ? headers->from() : std::nullopt; from && !from->empty()) {
        sender = from->front()->displayAddress();
    }
    std::printf("Subject: %s\n", toUTF8(headers ? headers->subject().value_or(u"") : u"").c_str());
    std::printf("From: %s\n", toUTF8(sender.value_or(u"")).c_str());
    for (const PWMimePartRef& part : message->mimeAttachments()) {
        std::printf("Attachment: %s\n", toUTF8(attachmentName(part).value_or(u"(no name)")).c_str());
    }
    return 0;
}
