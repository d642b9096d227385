#include "postwright/Base/Format.hpp"

#include <cstdio>
#include <vector>

#include "postwright/Base/Text.hpp"

namespace postwright {

namespace {
std::u16string widen(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

long long asSigned(const FormatArg::Value& value) {
    if (auto* v = std::get_if<long long>(&value)) return *v;
    if (auto* v = std::get_if<unsigned long long>(&value)) return static_cast<long long>(*v);
    if (auto* v = std::get_if<double>(&value)) return static_cast<long long>(*v);
    return 0;
}

unsigned long long asUnsigned(const FormatArg::Value& value) {
    if (auto* v = std::get_if<unsigned long long>(&value)) return *v;
    if (auto* v = std::get_if<long long>(&value)) return static_cast<unsigned long long>(*v);
    if (auto* v = std::get_if<double>(&value)) return static_cast<unsigned long long>(*v);
    return 0;
}

double asDouble(const FormatArg::Value& value) {
    if (auto* v = std::get_if<double>(&value)) return *v;
    if (auto* v = std::get_if<long long>(&value)) return static_cast<double>(*v);
    if (auto* v = std::get_if<unsigned long long>(&value)) return static_cast<double>(*v);
    return 0;
}

std::u16string asText(const FormatArg::Value& value) {
    if (std::holds_alternative<std::monostate>(value)) return u"(null)";
    if (auto* v = std::get_if<std::u16string_view>(&value)) return std::u16string(*v);
    if (auto* v = std::get_if<long long>(&value)) return decimalString(*v);
    if (auto* v = std::get_if<unsigned long long>(&value)) return decimalString(*v);
    if (auto* v = std::get_if<double>(&value)) {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "%g", *v);
        return widen(buffer);
    }
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%p", std::get<const void*>(value));
    return widen(buffer);
}
}  // namespace

std::u16string formatString(std::u16string_view format, std::initializer_list<FormatArg> arguments) {
    std::vector<const FormatArg*> args;
    for (const FormatArg& argument : arguments) args.push_back(&argument);
    size_t next = 0;
    auto take = [&]() -> FormatArg::Value {
        if (next >= args.size()) return std::monostate{};
        return args[next++]->value();
    };

    std::u16string out;
    out.reserve(format.size() + 16 * args.size());
    for (size_t i = 0; i < format.size(); ++i) {
        char16_t c = format[i];
        if (c != u'%' || i + 1 >= format.size()) {
            out.push_back(c);
            continue;
        }
        size_t j = i + 1;
        if (format[j] == u'%') {
            out.push_back(u'%');
            i = j;
            continue;
        }
        if (format[j] == u'@') {
            out.append(asText(take()));
            i = j;
            continue;
        }
        // Flags, width, precision, length modifiers, conversion.
        std::string directive = "%";
        while (j < format.size() && (format[j] == u'0' || format[j] == u'-' || format[j] == u'+' || format[j] == u' ')) {
            directive.push_back(static_cast<char>(format[j++]));
        }
        while (j < format.size() && format[j] >= u'0' && format[j] <= u'9') directive.push_back(static_cast<char>(format[j++]));
        if (j < format.size() && format[j] == u'.') {
            directive.push_back('.');
            ++j;
            while (j < format.size() && format[j] >= u'0' && format[j] <= u'9') directive.push_back(static_cast<char>(format[j++]));
        }
        while (j < format.size() && (format[j] == u'l' || format[j] == u'h' || format[j] == u'q' || format[j] == u'z')) ++j;
        if (j >= format.size()) {
            out.append(format.substr(i));
            break;
        }
        char conversion = static_cast<char>(format[j]);
        char buffer[128];
        switch (conversion) {
            case 'd':
            case 'i':
                directive += "lld";
                std::snprintf(buffer, sizeof buffer, directive.c_str(), asSigned(take()));
                out.append(widen(buffer));
                break;
            case 'u':
            case 'x':
            case 'X':
            case 'o':
                directive += "ll";
                directive.push_back(conversion);
                std::snprintf(buffer, sizeof buffer, directive.c_str(), asUnsigned(take()));
                out.append(widen(buffer));
                break;
            case 'f':
            case 'g':
            case 'e':
                directive.push_back(conversion);
                std::snprintf(buffer, sizeof buffer, directive.c_str(), asDouble(take()));
                out.append(widen(buffer));
                break;
            case 'p':
            case 's':
            case 'c':
                out.append(asText(take()));
                break;
            default:
                out.append(format.substr(i, j - i + 1));
                break;
        }
        i = j;
    }
    return out;
}

}  // namespace postwright
