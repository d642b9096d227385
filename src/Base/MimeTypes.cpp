#include "postwright/Base/MimeTypes.hpp"

#include <cstring>
#include <fstream>
#include <sstream>
#include <unordered_map>

namespace postwright {

namespace {
struct MimeTypeTables {
    std::unordered_map<std::string, std::string> typeByExtension;
    std::unordered_map<std::string, std::string> extensionByType;

    void add(const std::string& type, const std::string& extension) {
        typeByExtension.emplace(extension, type);
        extensionByType.emplace(type, extension);
    }

    MimeTypeTables() {
        std::ifstream file("/etc/mime.types");
        std::string line;
        while (std::getline(file, line)) {
            if (line.empty() || line[0] == '#') continue;
            std::istringstream words(line);
            std::string type, extension;
            if (!(words >> type)) continue;
            while (words >> extension) add(type, extension);
        }
        // Always present, whether or not the system table is installed.
        const std::pair<const char*, const char*> builtIn[] = {
            {"text/plain", "txt"},        {"text/html", "html"},         {"text/html", "htm"},
            {"text/calendar", "ics"},     {"text/css", "css"},           {"text/csv", "csv"},
            {"image/png", "png"},         {"image/jpeg", "jpg"},         {"image/jpeg", "jpeg"},
            {"image/gif", "gif"},         {"image/bmp", "bmp"},          {"image/tiff", "tiff"},
            {"image/tiff", "tif"},        {"image/webp", "webp"},        {"image/heic", "heic"},
            {"image/svg+xml", "svg"},     {"application/pdf", "pdf"},    {"application/zip", "zip"},
            {"application/rtf", "rtf"},   {"application/json", "json"},  {"application/xml", "xml"},
            {"application/gzip", "gz"},   {"message/rfc822", "eml"},     {"audio/mpeg", "mp3"},
            {"audio/wav", "wav"},         {"video/mp4", "mp4"},          {"video/quicktime", "mov"},
            {"application/msword", "doc"},
            {"application/vnd.openxmlformats-officedocument.wordprocessingml.document", "docx"},
            {"application/vnd.ms-excel", "xls"},
            {"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet", "xlsx"},
            {"application/pgp-signature", "asc"},
        };
        for (const auto& [type, extension] : builtIn) add(type, extension);
    }
};

const MimeTypeTables& tables() {
    static const MimeTypeTables* value = new MimeTypeTables();
    return *value;
}

std::string lowerASCII(std::u16string_view text) {
    std::string out;
    for (char16_t c : text) {
        if (c >= 0x80) return {};
        out.push_back(static_cast<char>(c >= u'A' && c <= u'Z' ? c ^ 0x20 : c));
    }
    return out;
}
}  // namespace

OptString mimeTypeForFilenameExtension(std::u16string_view extension) {
    std::string key = lowerASCII(extension);
    if (key.empty()) return std::nullopt;
    const auto& byExtension = tables().typeByExtension;
    auto found = byExtension.find(key);
    if (found == byExtension.end()) return std::nullopt;
    return fromLatin1(found->second);
}

OptString preferredFilenameExtensionForMimeType(std::u16string_view mimeType) {
    std::string key = lowerASCII(mimeType);
    if (key.empty()) return std::nullopt;
    const auto& byType = tables().extensionByType;
    auto found = byType.find(key);
    if (found == byType.end()) return std::nullopt;
    return fromLatin1(found->second);
}

OptString imageMimeType(const uint8_t* bytes, size_t length) {
    auto startsWith = [&](size_t offset, const char* signature, size_t size) {
        return length >= offset + size && std::memcmp(bytes + offset, signature, size) == 0;
    };
    if (startsWith(0, "\x89PNG\r\n\x1a\n", 8)) return u"image/png";
    if (startsWith(0, "\xFF\xD8\xFF", 3)) return u"image/jpeg";
    if (startsWith(0, "GIF87a", 6) || startsWith(0, "GIF89a", 6)) return u"image/gif";
    if (startsWith(0, "II*\0", 4) || startsWith(0, "MM\0*", 4)) return u"image/tiff";
    if (startsWith(0, "RIFF", 4) && startsWith(8, "WEBP", 4)) return u"image/webp";
    if (startsWith(4, "ftyp", 4)) {
        for (const char* brand : {"heic", "heix", "heim", "heis", "hevc", "hevx", "mif1", "msf1"}) {
            if (startsWith(8, brand, 4)) return u"image/heic";
        }
    }
    if (startsWith(0, "BM", 2) && length >= 6) return u"image/bmp";
    return std::nullopt;
}

}  // namespace postwright
