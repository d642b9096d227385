// A small printf-style formatter for the library's fixed message formats.
//
// The formats are the system's own texts ("%@: %@", "<%@>", "%04lu%@"), so they are kept as written.
// "%@" takes text; a nil OptString prints "(null)", as the platform's formatter does. Integer directives
// (%d %ld %lu %u %lld %llu, with an optional zero-padded width such as %04lu), %02X / %X (upper-case hex),
// %x, %p, %f with precision (%0.1f) and %% are understood.
//
//     formatString(u"%@ <%@>", {comment, userAtDomain});
//     formatString(u"%04lu%@", {index, text});
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// One argument of formatString: text (nil allowed), an integer, a floating-point number or a pointer.
class FormatArg {
public:
    FormatArg(std::u16string_view text) : value_(text) {}
    FormatArg(const std::u16string& text) : value_(std::u16string_view(text)) {}
    FormatArg(const char16_t* text) : value_(std::u16string_view(text)) {}
    FormatArg(const std::optional<std::u16string>& text)
        : value_(text ? Value(std::u16string_view(*text)) : Value(std::monostate{})) {}
    FormatArg(std::nullptr_t) : value_(std::monostate{}) {}
    FormatArg(int value) : value_(static_cast<long long>(value)) {}
    FormatArg(long value) : value_(static_cast<long long>(value)) {}
    FormatArg(long long value) : value_(value) {}
    FormatArg(unsigned value) : value_(static_cast<unsigned long long>(value)) {}
    FormatArg(unsigned long value) : value_(static_cast<unsigned long long>(value)) {}
    FormatArg(unsigned long long value) : value_(value) {}
    FormatArg(double value) : value_(value) {}
    FormatArg(const void* pointer) : value_(pointer) {}

    using Value = std::variant<std::monostate, std::u16string_view, long long, unsigned long long, double, const void*>;
    const Value& value() const { return value_; }

private:
    Value value_;
};

std::u16string formatString(std::u16string_view format, std::initializer_list<FormatArg> arguments);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
