#include "postwright/Amendments/PWBodyAmendment.hpp"

#include "postwright/Html/HTMLDocument.hpp"

namespace postwright {

const PWAmendmentClass& PWBodyAmendment::amendmentClass() {
    static const PWAmendmentClass cls{u"PWBodyAmendment", u"Body", &PWBodyAmendment::initWithDictionaryRepresentation};
    return cls;
}

std::shared_ptr<PWBodyAmendment> PWBodyAmendment::newWithBodyTemplate(const OptString& bodyTemplate) {
    std::shared_ptr<PWBodyAmendment> amendment(new PWBodyAmendment());
    amendment->bodyTemplate_ = bodyTemplate;
    return amendment;
}

std::shared_ptr<PWMessageAmendment> PWBodyAmendment::initWithDictionaryRepresentation(const PWAmendmentDictionary&) {
    return newWithBodyTemplate(std::nullopt);
}

PWAmendmentResultRef PWBodyAmendment::resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                                       const PWMessageAmendmentContext&, uint64_t,
                                                                       ErrorRef* error) {
    setSlot(error, nullptr);
    if (!bodyTemplate_) return PWAmendmentResult::init();
    if (OptString text = message.plainText())
        message.setPlainText(replaceAll(*bodyTemplate_, kPWBodyPlaceholder, *text));

    OptString html = message.html();
    std::vector<std::u16string> pieces = componentsSeparatedBy(*bodyTemplate_, kPWBodyPlaceholder);
    if (!html || pieces.size() != 2) return PWAmendmentResult::init();
    auto document = HTMLDocument::documentWithString(*html);
    HTMLElementRef body = document->body();
    if (!body) return PWAmendmentResult::init();
    bool added = false;
    if (!pieces[0].empty()) {
        HTMLElementRef before = document->createElement(u"div");
        before->setTextContent(pieces[0]);
        body->insertBefore(before, body->firstChild());  // the empty body gets it appended
        added = true;
    }
    if (!pieces[1].empty()) {
        HTMLElementRef after = document->createElement(u"div");
        after->setTextContent(pieces[1]);
        body->appendChild(after);
        added = true;
    }
    if (added) message.setHtml(document->outerHTML());
    return PWAmendmentResult::init();
}

}  // namespace postwright
