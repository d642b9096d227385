// Composing and editing from arbitrary input. The bytes before the first NUL are a message; the rest is a
// JSON description of what to compose and which edits to make to that message:
//
//   {"headers": [[name, value], ...], "subject": text, "text": text, "html": text,
//    "attachments": [{"data": text, "filename": text, "related": bool}], "options": N,
//    "amending": bool, "newId": bool, "delivery": 0 | 1 | 2 (none, cut around attachments, Exchange)}
//
// A description that does not parse is made up from the bytes instead. The message built from the
// description, and the message after the edits, must both be written and read back, well formed, without
// a field that no one set (a value holding line breaks may never start a field of its own), and an
// untouched message must stay its very contents.
#include <nlohmann/json.hpp>

#include <cstdint>
#include <set>

#include "FuzzSupport.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Message/FGBaseMutableMessage.hpp"
#include "postwright/Message/FGFileAttachment.hpp"

using namespace postwright;

namespace {

struct Description {
    std::vector<std::pair<std::u16string, std::u16string>> headers;
    OptString subject, text, html;
    FGAttachmentList attachments, related;
    uint64_t options = 0;
    bool amending = false, newId = false;
    int delivery = 0;
};

OptString textOf(const nlohmann::json& json, const char* key) {
    auto found = json.find(key);
    if (found == json.end() || !found->is_string()) return std::nullopt;
    return fromUTF8(found->get<std::string>());
}

Description describe(const nlohmann::json& json) {
    Description description;
    if (!json.is_object()) return description;
    if (auto headers = json.find("headers"); headers != json.end() && headers->is_array()) {
        for (const auto& pair : *headers) {
            if (pair.is_array() && pair.size() == 2 && pair[0].is_string() && pair[1].is_string()) {
                description.headers.emplace_back(fromUTF8(pair[0].get<std::string>()),
                                                 fromUTF8(pair[1].get<std::string>()));
            }
        }
    }
    description.subject = textOf(json, "subject");
    description.text = textOf(json, "text");
    description.html = textOf(json, "html");
    if (auto attachments = json.find("attachments"); attachments != json.end() && attachments->is_array()) {
        for (const auto& entry : *attachments) {
            if (!entry.is_object()) continue;
            std::string data = entry.value("data", std::string());
            auto attachment = FGFileAttachment::attachmentWithData(Data::withString(data),
                                                                   textOf(entry, "filename").value_or(u"file.bin"),
                                                                   textOf(entry, "type"), textOf(entry, "contentId"));
            (entry.value("related", false) ? description.related : description.attachments).push_back(attachment);
        }
    }
    if (json.contains("options") && json["options"].is_number_unsigned()) {
        description.options = json["options"].get<uint64_t>() & 3;
    }
    description.amending = json.value("amending", false);
    description.newId = json.value("newId", false);
    if (json.contains("delivery") && json["delivery"].is_number_integer()) {
        description.delivery = static_cast<int>(json["delivery"].get<int64_t>() % 3);
    }
    return description;
}

// Without a JSON description, the pieces come from the bytes themselves.
Description describe(const uint8_t* bytes, size_t size) {
    Description description;
    if (size == 0) return description;
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    size_t third = text.size() / 3;
    description.headers.emplace_back(u"X-Fuzz", text.substr(0, third));
    description.subject = text.substr(third, third);
    description.html = text.substr(2 * third);
    description.text = text.substr(0, third);
    description.options = bytes[0] & 3;
    description.delivery = (bytes[0] >> 2) % 3;
    description.newId = bytes[0] & 16;
    return description;
}

void checkWritten(const PWMessageContentsRef& contents, const std::set<std::u16string>& allowed) {
    if (!contents) return;
    Data bytes = contents->contentData();
    auto reread = PWMessageContents::initWithHeaderAndBodyData(bytes);
    if (!reread) __builtin_trap();
    (void)reread->rootMimePart();
    (void)reread->plainText();
    if (PWMessageHeadersRef headers = reread->headers()) {
        HeaderEntryDictionary fields = headers->headerEntryDictionary();
        for (const auto& item : fields.items()) {
            if (!allowed.count(item.first)) __builtin_trap();  // a field that nobody set
        }
    }
}

void compose(const Description& description) {
    auto headers = PWMutableMessageHeaders::init();
    std::set<std::u16string> allowed = {
        u"X-ORWIN-COMPOSER-ID",       u"MIME-VERSION", u"CONTENT-TYPE", u"CONTENT-DISPOSITION",
        u"CONTENT-TRANSFER-ENCODING", u"CONTENT-ID",   u"SUBJECT"};
    for (const auto& [name, value] : description.headers) {
        headers->setHeader(value, name);
        allowed.insert(uppercase(fgTrim(name)));
    }
    auto message = FGBaseMutableMessage::newWithHeaders(headers, description.text, description.html,
                                                        description.attachments, description.options);
    message->setHtmlRelatedAttachments(description.related);
    if (description.subject) message->setSubject(*description.subject);
    checkWritten(message->messageContents(), allowed);
    if (description.delivery) {
        message->updateMimePartsWithContext(FGMimeUpdateContext::initWithType(0, description.delivery == 2));
        checkWritten(message->messageContents(), allowed);
    }
}

void edit(const Data& bytes, const Description& description) {
    PWMessageContentsRef contents = PWMessageContents::initWithHeaderAndBodyData(bytes);
    auto untouched = FGBaseMutableMessage::initWithMessageContents(contents, description.amending);
    if (untouched->messageContents() != contents) __builtin_trap();

    auto message = FGBaseMutableMessage::initWithMessageContents(contents, description.amending, description.newId);
    // The fields the library writes itself: a rebuilt part makes its type and encoding explicit.
    std::set<std::u16string> allowed = {u"X-ORWIN-COMPOSER-ID",
                                        u"MESSAGE-ID",
                                        u"MIME-VERSION",
                                        u"SUBJECT",
                                        u"CONTENT-TYPE",
                                        u"CONTENT-DISPOSITION",
                                        u"CONTENT-TRANSFER-ENCODING",
                                        u"CONTENT-ID"};
    if (PWMessageHeadersRef source = contents->headers()) {
        HeaderEntryDictionary fields = source->headerEntryDictionary();
        for (const auto& item : fields.items()) allowed.insert(item.first);
    }
    for (const auto& [name, value] : description.headers) {
        message->headers()->setHeader(value, name);
        allowed.insert(uppercase(fgTrim(name)));
    }
    if (description.subject) message->setSubject(*description.subject);
    checkWritten(message->messageContents(), allowed);  // headers alone: the bodies are kept

    if (description.text || description.html || !description.attachments.empty()) {
        if (description.text) message->setPlainText(description.text);
        if (description.html) message->setHtml(description.html);
        FGAttachmentList attachments = message->attachments();
        attachments.insert(attachments.end(), description.attachments.begin(), description.attachments.end());
        message->setAttachments(attachments);
        message->setHtmlRelatedAttachments(description.related);
        message->markMutatedBody();
        checkWritten(message->messageContents(), allowed);
        if (description.delivery) {
            message->updateMimePartsWithContext(FGMimeUpdateContext::initWithType(0, description.delivery == 2));
            checkWritten(message->messageContents(), allowed);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzz::silenceLibraryLog();
    const uint8_t* nul = static_cast<const uint8_t*>(memchr(bytes, 0, size));
    size_t messageLength = nul ? static_cast<size_t>(nul - bytes) : size;
    Data message = Data::withStaticBytes(bytes, messageLength);
    const uint8_t* rest = nul ? nul + 1 : bytes + size;
    size_t restLength = static_cast<size_t>(bytes + size - rest);
    nlohmann::json json = nlohmann::json::parse(rest, rest + restLength, nullptr, false);
    Description description = json.is_discarded() ? describe(rest, restLength) : describe(json);
    compose(description);
    edit(message, description);
    return 0;
}
