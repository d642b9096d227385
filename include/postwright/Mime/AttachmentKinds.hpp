// The attachment kinds of the attachment registry: application, PDF, RTFD, audio, image, video, calendar,
// other text, embedded messages and signatures. Each is a PWMimeAttachment; most add nothing but their
// class, which the presentation layer and the containers of PWMultipartMimePart.hpp tell apart.
//
//     auto message = std::dynamic_pointer_cast<PWMessageRFC822MimePart>(part);
//     if (message) Data embedded = message->embeddedMessageData();   // a whole RFC 2822 message
//
// Registered types (a later registration of a type replaces an earlier one, so "message/rfc822" binds to
// PWMessageRFC822MimePart):
//   application/*  PWApplicationMimePart         application/pdf  PWApplicationPdfMimePart
//   application/rtfd  PWApplicationRTFDMimePart  audio/*  PWAudioMimePart   image/*  PWImageMimePart
//   video/*  PWVideoMimePart   text/calendar, application/ics  PWCalendarEventMimePart
//   text/*, txt/*  PWTextAnyAttachment          message/rfc822  PWMessageMimePart, then PWMessageRFC822MimePart
//   application/pgp-signature, application/pgp-encrypted  PWPGPSignedMimePart
//   application/pkcs7-signature, application/pkcs7-mime  PWSMIMESignedMimePart
#pragma once

#include "postwright/Export.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// An application/* attachment.
class PWApplicationMimePart : public PWMimeAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWApplicationMimePart() = default;
};

// An application/pdf attachment.
class PWApplicationPdfMimePart : public PWApplicationMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWApplicationPdfMimePart() = default;
    // A quoted-printable PDF is decoded byte for byte; a failure is logged as
    // "Error creating the dispatch data from PDF content: %@".
    bool decodesQuotedPrintableAsBytes() const override { return true; }
};

// An application/rtfd attachment.
class PWApplicationRTFDMimePart : public PWApplicationMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWApplicationRTFDMimePart() = default;
};

// An audio/* attachment.
class PWAudioMimePart : public PWMimeAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWAudioMimePart() = default;
};

// An image/* attachment.
class PWImageMimePart : public PWMimeAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWImageMimePart() = default;
};

// A video/* attachment.
class PWVideoMimePart : public PWMimeAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWVideoMimePart() = default;
};

// A calendar event (text/calendar, application/ics).
class PWCalendarEventMimePart : public PWMimeAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWCalendarEventMimePart() = default;
};

// Text of a type other than plain and HTML, or any text with an "attachment" disposition. Mixed containers
// count it among the children they show.
class PWTextAnyAttachment : public PWMimeAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWTextAnyAttachment() = default;
};

// An attached message (message/rfc822).
class PWMessageMimePart : public PWMimeAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

protected:
    PWMessageMimePart() = default;
};

// An embedded message (message/rfc822): its body is a whole message of its own.
class PWMessageRFC822MimePart : public PWMessageMimePart {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }

    // The embedded message's bytes (the body with any transfer encoding undone), ready to be read as a
    // message of its own; a view of the source when the body was not encoded.
    Data embeddedMessageData() const { return transferDecodedData(); }

protected:
    PWMessageRFC822MimePart() = default;
};

// OpenPGP signatures and encrypted payload descriptions (RFC 3156).
class PWPGPSignedMimePart : public PWMimeAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }
    // True for "application/pgp-encrypted".
    bool encrypted() const;

protected:
    PWPGPSignedMimePart() = default;
};

// S/MIME signatures and enveloped data (RFC 8551).
class PWSMIMESignedMimePart : public PWMimeAttachment {
public:
    static const PWMimeClass& mimeClass();
    const PWMimeClass& objectClass() const override { return mimeClass(); }
    // True for "application/pkcs7-mime".
    bool encrypted() const;

protected:
    PWSMIMESignedMimePart() = default;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
