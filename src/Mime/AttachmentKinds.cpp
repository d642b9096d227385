// The class descriptors of the attachment kinds, and what the signature kinds add.
#include "postwright/Mime/AttachmentKinds.hpp"

namespace postwright {

const PWMimeClass& PWApplicationMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWApplicationMimePart", &PWMimeAttachment::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWApplicationMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWApplicationPdfMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWApplicationPdfMimePart", &PWApplicationMimePart::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWApplicationPdfMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWApplicationRTFDMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWApplicationRTFDMimePart", &PWApplicationMimePart::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWApplicationRTFDMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWAudioMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWAudioMimePart", &PWMimeAttachment::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWAudioMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWImageMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWImageMimePart", &PWMimeAttachment::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWImageMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWVideoMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWVideoMimePart", &PWMimeAttachment::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWVideoMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWCalendarEventMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWCalendarEventMimePart", &PWMimeAttachment::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWCalendarEventMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWTextAnyAttachment::mimeClass() {
    static const PWMimeClass descriptor{u"PWTextAnyAttachment", &PWMimeAttachment::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWTextAnyAttachment()); }};
    return descriptor;
}

const PWMimeClass& PWMessageMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWMessageMimePart", &PWMimeAttachment::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWMessageMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWMessageRFC822MimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWMessageRFC822MimePart", &PWMessageMimePart::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWMessageRFC822MimePart()); }};
    return descriptor;
}

const PWMimeClass& PWPGPSignedMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWPGPSignedMimePart", &PWMimeAttachment::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWPGPSignedMimePart()); }};
    return descriptor;
}

const PWMimeClass& PWSMIMESignedMimePart::mimeClass() {
    static const PWMimeClass descriptor{u"PWSMIMESignedMimePart", &PWMimeAttachment::mimeClass(),
                                        []() -> PWMimePartRef { return PWMimePartRef(new PWSMIMESignedMimePart()); }};
    return descriptor;
}

bool PWPGPSignedMimePart::encrypted() const { return MIMEtype() == u"application/pgp-encrypted"; }

bool PWSMIMESignedMimePart::encrypted() const { return MIMEtype() == u"application/pkcs7-mime"; }

}  // namespace postwright
