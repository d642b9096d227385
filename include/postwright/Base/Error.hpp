// Error records for recoverable failures, programming errors for broken contracts, and out-slots.
//
// A recoverable failure returns false or nullopt and, when the caller passed an error slot, writes an
// Error record into it. Slots are pointers; nullptr means the caller did not ask. Write every slot through
// setSlot so no call site dereferences one unguarded.
//
//     std::shared_ptr<const Error> error;
//     if (!scanner.scanRFC2822CommentIntoString(&text, &error))
//         std::cerr << toUTF8(error->localizedDescription) << "\n";
//
// A broken contract ("assertion") throws ProgrammingError with the fixed text of the assertion.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// The record of a recoverable failure: domain, code, texts and the error underneath.
struct Error {
    std::string domain;
    long code = 0;
    std::u16string localizedDescription;
    std::optional<std::u16string> debugDescription;
    std::shared_ptr<const Error> underlyingError;
    // Further user-info keys of the record ("boundary", "lineDelimiter", ...), as text.
    std::map<std::string, std::u16string> userInfo;
};

using ErrorRef = std::shared_ptr<const Error>;

ErrorRef makeError(std::string domain, long code, std::u16string localizedDescription,
                   std::optional<std::u16string> debugDescription = std::nullopt,
                   ErrorRef underlyingError = nullptr,
                   std::map<std::string, std::u16string> userInfo = {});

// The domain of operating-system errors (errno values as codes).
inline constexpr const char* kPOSIXErrorDomain = "NSPOSIXErrorDomain";

// Thrown when a caller breaks a documented contract. what() is the assertion's fixed text; sourceFile
// names the unit that raised it where the text names one.
class ProgrammingError : public std::logic_error {
public:
    explicit ProgrammingError(const std::string& text, std::string sourceFile = {})
        : std::logic_error(text), sourceFile_(std::move(sourceFile)) {}
    const std::string& sourceFile() const noexcept { return sourceFile_; }

private:
    std::string sourceFile_;
};

// Writes value into slot when the caller supplied one.
template <typename T, typename U>
inline void setSlot(T* slot, U&& value) {
    if (slot) *slot = std::forward<U>(value);
}

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
