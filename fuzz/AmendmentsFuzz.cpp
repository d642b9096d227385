// Stored amendment lists from arbitrary bytes, run over corpus-shaped messages. The first byte picks the
// context type and the message; the rest is read as a JSON list of amendment dictionaries (anything else
// is no list). Every amendment read back writes the same dictionary again; a run gives amended contents
// that are well formed and parse again, or an error, never both nothing and no error.
#include <nlohmann/json.hpp>

#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Amendments/PWMessageAmendment.hpp"
#include "postwright/Amendments/PWSignatureAmendment.hpp"

using namespace postwright;

namespace {

const char* const kMessages[] = {
    // A composed draft: HTML with an attachment placeholder between two paragraphs, and the attachment.
    "From: Ann <ann@example.com>\r\nTo: bob@example.org\r\nSubject: Draft\r\nX-Orwin-Composer-Id: "
    "abcdefghijklmnopqr\r\n"
    "MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=\"M\"\r\n\r\n--M\r\n"
    "Content-Type: text/html; charset=utf-8\r\n\r\n<p class=x>Before</p><p><span orw-mime-type=\"application/pdf\" "
    "orw-name=\"r.pdf\" orw-src=\"cid:r@example.com\">r.pdf</span></p><p><a "
    "href=\"orw-https://x.example\">After</a></p>\r\n"
    "--M\r\nContent-Type: application/pdf; name=r.pdf\r\nContent-Id: <r@example.com>\r\n"
    "Content-Transfer-Encoding: base64\r\n\r\nJVBERi0xLjQK\r\n--M--\r\n",
    // Plain text with LF line ends, a Bcc and a Sender.
    "From: a@example.com\nSender: a@example.com\nBcc: hidden@example.com\nSubject: plain\n\nJust text\n",
    // Alternative with an inline image.
    "From: c@example.com\r\nTo: Team: d@example.com;\r\nSubject: =?utf-8?Q?caf=C3=A9?=\r\nContent-Type: "
    "multipart/related; "
    "boundary=R\r\n\r\n--R\r\nContent-Type: multipart/alternative; boundary=A\r\n\r\n--A\r\nContent-Type: "
    "text/plain\r\n\r\n"
    "hi\r\n--A\r\nContent-Type: text/html\r\n\r\n<p>hi<img src=\"cid:i@x\"></p>\r\n--A--\r\n--R\r\n"
    "Content-Type: image/png\r\nContent-Id: <i@x>\r\nContent-Transfer-Encoding: "
    "base64\r\n\r\niVBORw0KGgo=\r\n--R--\r\n",
};

class PlainSignature : public PWSignatureModifier {
public:
    void updateMessage(FGBaseMutableMessage& message, const OptString&) override {
        message.setPlainText(message.plainText().value_or(u"") + u"\r\n-- \r\nsig");
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzz::silenceLibraryLog();
    static const bool registered = [] {
        PWMessageAmendment::registerStandardAmendmentClasses();
        PWSignatureAmendment::setSignatureModifier(std::make_shared<PlainSignature>());
        return true;
    }();
    (void)registered;
    if (size == 0) return 0;
    uint64_t contextType = bytes[0] % 5;
    const char* source = kMessages[(bytes[0] >> 3) % 3];
    PWAmendmentDictionary list = PWAmendmentDictionary::parse(bytes + 1, bytes + size, nullptr, false);
    if (list.is_discarded() || !list.is_array()) return 0;

    PWMessageAmendmentList amendments;
    for (const auto& entry : list) {
        PWMessageAmendmentRef amendment = PWMessageAmendment::newWithDictionaryRepresentation(entry);
        PWMessageAmendmentRef again =
            PWMessageAmendment::newWithDictionaryRepresentation(amendment->dictionaryRepresentation());
        if (again->jsonRepresentation() != amendment->jsonRepresentation()) __builtin_trap();
        amendments.push_back(amendment);
    }
    auto message = FGPostwrightMessage::initWithRFC2822Data(Data::withStaticBytes(source, strlen(source)), true);
    auto context = PWMessageAmendmentContext::newWithContextType(contextType);
    ErrorRef error;
    PWMessageContentsRef amended =
        PWMessageAmendment::contentsByApplyingAmendments(amendments, context, 0, *message, &error);
    if (!amended) {
        if (!error) __builtin_trap();
        return 0;
    }
    if (!amended->isWellFormed()) __builtin_trap();
    auto reread = PWMessageContents::initWithHeaderAndBodyData(amended->contentData());
    if (!reread || !reread->rootMimePart()) __builtin_trap();
    (void)reread->plainText();
    return 0;
}
