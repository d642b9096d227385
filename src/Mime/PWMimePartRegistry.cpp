// The two MIME type registries (general and attachment), the registrations of the type table, and the
// choice of a part's class from its type and disposition.
#include <mutex>
#include <unordered_map>

#include "postwright/Base/Format.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Base/MimeTypes.hpp"
#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Mime/AttachmentKinds.hpp"
#include "postwright/Mime/MessageHeaderParts.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"

namespace postwright {

namespace {
// A map from lower-cased MIME type to class, created on first use, never destroyed, with its own lock.
class MimeRegistry {
public:
    void record(std::u16string type, const PWMimeClass& cls) {
        std::lock_guard lock(mutex_);
        classes_[std::move(type)] = &cls;
    }
    // The whole lower-cased type, then the first component followed by "/*".
    const PWMimeClass* lookup(std::u16string_view type) const {
        std::u16string lower = lowercase(type);
        std::u16string wildcard = lower.substr(0, lower.find(u'/')) + u"/*";
        std::lock_guard lock(mutex_);
        if (auto found = classes_.find(lower); found != classes_.end()) return found->second;
        if (auto found = classes_.find(wildcard); found != classes_.end()) return found->second;
        return nullptr;
    }

private:
    mutable std::mutex mutex_;
    std::unordered_map<std::u16string, const PWMimeClass*> classes_;
};

MimeRegistry& generalRegistry() {
    static MimeRegistry* registry = new MimeRegistry();
    return *registry;
}

MimeRegistry& attachmentRegistry() {
    static MimeRegistry* registry = new MimeRegistry();
    return *registry;
}

// A class registers into the registry of the nearest registry class it descends from.
void record(const PWMimeClass& cls, std::u16string_view type) {
    MimeRegistry& registry = cls.isAttachmentKind() ? attachmentRegistry() : generalRegistry();
    registry.record(lowercase(type), cls);
}

void registerTypeTable() {
    const std::pair<const PWMimeClass*, const char16_t*> table[] = {
        {&PWTextMimePart::mimeClass(), u"text/plain"},
        {&PWTextHtmlMimePart::mimeClass(), u"text/html"},
        {&PWMultipartMimePart::mimeClass(), u"multipart/*"},
        {&PWMultipartMixedMimePart::mimeClass(), u"multipart/mixed"},
        {&PWMultipartAlternativeMimePart::mimeClass(), u"multipart/alternative"},
        {&PWMultipartRelatedMimePart::mimeClass(), u"multipart/related"},
        {&PWMultipartReportMimePart::mimeClass(), u"multipart/report"},
        {&PWMultipartSignedMimePart::mimeClass(), u"multipart/signed"},
        {&PWMultipartEncryptedMimePart::mimeClass(), u"multipart/encrypted"},
        {&PWMessageDeliveryStatusMimePart::mimeClass(), u"message/delivery-status"},
        {&PWMessageGlobalHeadersMimePart::mimeClass(), u"message/global-headers"},
        {&PWApplicationMimePart::mimeClass(), u"application/*"},
        {&PWApplicationPdfMimePart::mimeClass(), u"application/pdf"},
        {&PWApplicationRTFDMimePart::mimeClass(), u"application/rtfd"},
        {&PWAudioMimePart::mimeClass(), u"audio/*"},
        {&PWImageMimePart::mimeClass(), u"image/*"},
        {&PWVideoMimePart::mimeClass(), u"video/*"},
        {&PWCalendarEventMimePart::mimeClass(), u"text/calendar"},
        {&PWCalendarEventMimePart::mimeClass(), u"application/ics"},
        {&PWTextAnyAttachment::mimeClass(), u"text/*"},
        {&PWTextAnyAttachment::mimeClass(), u"txt/*"},
        // Both message classes register the type; the later one is bound.
        {&PWMessageMimePart::mimeClass(), u"message/rfc822"},
        {&PWMessageRFC822MimePart::mimeClass(), u"message/rfc822"},
        {&PWPGPSignedMimePart::mimeClass(), u"application/pgp-signature"},
        {&PWPGPSignedMimePart::mimeClass(), u"application/pgp-encrypted"},
        {&PWSMIMESignedMimePart::mimeClass(), u"application/pkcs7-signature"},
        {&PWSMIMESignedMimePart::mimeClass(), u"application/pkcs7-mime"},
    };
    for (const auto& [cls, type] : table) record(*cls, type);
}
}  // namespace

bool PWMimeClass::isAttachmentKind() const noexcept { return isSubclassOf(PWMimeAttachment::mimeClass()); }

void PWMimePart::registerMimePartClasses() {
    static std::once_flag once;
    std::call_once(once, registerTypeTable);
}

void PWMimePart::registerForMimeType(const PWMimeClass& cls, std::u16string_view type) {
    // The table goes first, so that a host's registration replaces the table's and not the other way round.
    registerMimePartClasses();
    record(cls, type);
}

const PWMimeClass* PWMimePart::classForMimeType(std::u16string_view type) {
    registerMimePartClasses();
    return generalRegistry().lookup(type);
}

void PWMimeAttachment::registerForMimeType(const PWMimeClass& cls, std::u16string_view type) {
    PWMimePart::registerForMimeType(cls, type);
}

const PWMimeClass* PWMimeAttachment::classForMimeType(std::u16string_view type) {
    registerMimePartClasses();
    return attachmentRegistry().lookup(type);
}

OptString PWMimePart::mimeTypeForFilenameExtension(std::u16string_view extension) {
    return postwright::mimeTypeForFilenameExtension(extension);
}

const PWMimeClass& PWMimePart::MimeClassForBaseType(const OptString& baseType, const OptString& subType,
                                                    const ParameterDictionary* contentType,
                                                    const ParameterDictionary* contentDisposition) {
    std::u16string fullType;
    if (!baseType && !subType && !contentType && !contentDisposition) {
        fullType = u"text/plain";
    } else {
        fullType = formatString(u"%@/%@", {baseType, subType ? FormatArg(*subType) : FormatArg(u"*")});
    }

    OptString dispositionType = contentDisposition ? contentDisposition->text(kContentDispositionKeyType) : std::nullopt;
    bool attachment = (dispositionType && lowercase(*dispositionType) == kContentDispositionValueAttachment) ||
                      baseType == kMimeTypeApplication;
    const PWMimeClass* cls = attachment ? PWMimeAttachment::classForMimeType(fullType) : classForMimeType(fullType);
    if (!cls) cls = PWMimeAttachment::classForMimeType(fullType);

    // A generic binary attachment whose file name says what it is takes that type's general class.
    if (cls && cls->isAttachmentKind() &&
        (fullType == u"application/octet-stream" || fullType == u"application/unknown")) {
        OptString name = contentDisposition ? contentDisposition->text(kContentDispositionKeyFilename) : std::nullopt;
        if (!name && contentType) name = contentType->text(kContentTypeKeyName);
        if (name) {
            std::u16string extension = pathExtension(*name);
            if (!extension.empty()) {
                if (OptString type = mimeTypeForFilenameExtension(extension)) {
                    if (const PWMimeClass* byExtension = classForMimeType(*type)) cls = byExtension;
                }
            }
        }
    }
    if (attachment && !(cls && cls->isAttachmentKind())) cls = &PWMimeAttachment::mimeClass();
    if (!cls) {
        logMessage(formatString(u"Unknown MimeType: %@ , using generic MimePart", {fullType}));
        cls = &PWMimePart::mimeClass();
    }
    return *cls;
}

}  // namespace postwright
