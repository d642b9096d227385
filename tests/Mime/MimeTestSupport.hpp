// Helpers of the MIME tree tests: messages from text, host services installed for one test.
#pragma once

#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "postwright/Base/Host.hpp"
#include "postwright/Mime/PWMimePart.hpp"

namespace postwright::test {

inline PWMimePartRef parsePart(std::string_view bytes, std::u16string identifier = u"0") {
    return PWMimePart::newMimePartWithRFC2822Data(Data::withString(bytes), identifier);
}

inline PWMimePartRef parseMutablePart(std::string_view bytes, std::u16string identifier = u"0") {
    return PWMimePart::mutableMimePartWithRFC2822Data(Data::withString(bytes), identifier);
}

inline std::string bytesOf(const PWMimePart& part) { return part.mimeNSData().toString(); }

// The part at a path of child indexes below root ({} is the root itself).
inline PWMimePartRef partAt(const PWMimePartRef& root, std::initializer_list<size_t> path) {
    PWMimePartRef part = root;
    for (size_t index : path) part = part->subParts().at(index);
    return part;
}

// A string table that translates the given keys, installed for the lifetime of the object.
class ScopedStrings {
    struct Table : StringTable {
        std::map<std::u16string, std::u16string> texts;
        OptString localizedString(std::u16string_view key, std::u16string_view) override {
            auto found = texts.find(std::u16string(key));
            return found == texts.end() ? OptString() : OptString(found->second);
        }
    };

public:
    ScopedStrings(std::initializer_list<std::pair<const std::u16string, std::u16string>> texts) {
        auto table = std::make_shared<Table>();
        table->texts = texts;
        Application::shared().setStrings(table);
    }
    ScopedStrings(const ScopedStrings&) = delete;
    ~ScopedStrings() { Application::shared().setStrings(nullptr); }
};

// An attachment directory of root + "/" + the identifier asked for, installed for the object's lifetime.
class ScopedAttachmentDirectory {
    class Delegate : public AttachmentDirectoryDelegate {
    public:
        explicit Delegate(std::string root) : root_(std::move(root)) {}
        std::string pathToAttachmentDirectoryForIdentifier(std::u16string_view identifier) override {
            return root_ + "/" + toUTF8(identifier);
        }

    private:
        std::string root_;
    };

public:
    explicit ScopedAttachmentDirectory(std::string root) {
        Application::shared().setAttachmentDirectoryDelegate(std::make_shared<Delegate>(std::move(root)));
    }
    ~ScopedAttachmentDirectory() { Application::shared().setAttachmentDirectoryDelegate(nullptr); }
};

}  // namespace postwright::test
