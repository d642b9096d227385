// Bytes to a MIME tree: every leaf decoded, the tree rendered, a mutable copy changed and written back, and
// the untouched tree's bytes checked against the input.
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Mime/MimeRoundTrip.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"

using namespace postwright;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzz::silenceLibraryLog();
    Data input = Data::withStaticBytes(bytes, size);
    ErrorRef error;
    PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(input, u"0", &error);
    if (!root) return 0;
    if (!(root->mimeNSData() == input)) __builtin_trap();

    std::vector<PWMimePartRef> leaves = root->mimePartsPassingTest([](const PWMimePart& part) { return !part.hasSubParts(); });
    for (const PWMimePartRef& leaf : leaves) {
        if (leaf->isKindOfClass(PWTextHtmlMimePart::mimeClass())) {
            (void)leaf->htmlContent();
        } else if (leaf->isKindOfClass(PWTextMimePart::mimeClass())) {
            (void)leaf->plainContent();
        } else if (auto attachment = std::dynamic_pointer_cast<PWMimeAttachment>(leaf)) {
            (void)attachment->decodedAttachmentData();
            (void)attachment->isImage();
        } else {
            (void)leaf->plainContent();
            (void)leaf->transferDecodedData();
        }
        (void)leaf->filename();
        (void)leaf->decodedContentSize();
    }
    std::vector<PWMimePartRef> related;
    (void)root->htmlFragmentForContext(kMimeDisplayContextRich, 0, &related);
    (void)root->htmlFragmentForContext(kMimeDisplayContextPlainText, 0, nullptr);
    (void)root->containsPGPEncryption();
    (void)root->isWellFormed();

    // Change one leaf of a mutable copy and write the tree back; the rebuilt bytes must parse again.
    PWMimePartRef copy = root->mutableCopy();
    if (!copy) __builtin_trap();
    std::vector<PWMimePartRef> copiedLeaves = copy->mimePartsPassingTest([](const PWMimePart& part) { return !part.hasSubParts(); });
    if (!copiedLeaves.empty()) copiedLeaves[size % copiedLeaves.size()]->setCharset(u"utf-8");
    Data rebuilt = copy->mimeNSData();
    if (!PWMimePart::newMimePartWithRFC2822Data(rebuilt, u"0")) __builtin_trap();
    (void)copy->headers();
    (void)copy->mimePartByRemovingAttachments();
    return 0;
}
