#include "ToolSupport.hpp"

#include "postwright/Base/Host.hpp"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <iterator>

namespace postwright::tool {

Arguments::Arguments(const std::vector<std::string>& arguments, const std::set<std::string>& valueOptions,
                     const std::set<std::string>& flags) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument.size() > 2 && argument.compare(0, 2, "--") == 0) {
            std::string name = argument.substr(2);
            std::string inlineValue;
            bool hasInline = false;
            if (size_t equals = name.find('='); equals != std::string::npos) {
                inlineValue = name.substr(equals + 1);
                name = name.substr(0, equals);
                hasInline = true;
            }
            if (valueOptions.count(name)) {
                if (hasInline) {
                    values_[name] = inlineValue;
                } else if (i + 1 < arguments.size()) {
                    values_[name] = arguments[++i];
                } else {
                    error_ = "option --" + name + " needs a value";
                    return;
                }
                repeated_.push_back({name, values_[name]});
            } else if (flags.count(name) && !hasInline) {
                flags_.insert(name);
            } else {
                error_ = "unknown option --" + name;
                return;
            }
            continue;
        }
        positionals_.push_back(argument);
    }
}

std::optional<std::string> Arguments::value(const std::string& name) const {
    auto found = values_.find(name);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

std::vector<std::string> Arguments::values(const std::string& name) const {
    std::vector<std::string> all;
    for (const auto& [given, value] : repeated_) {
        if (given == name) all.push_back(value);
    }
    return all;
}

std::optional<unsigned long long> Arguments::number(const std::string& name) {
    std::optional<std::string> text = value(name);
    if (!text) return std::nullopt;
    try {
        size_t used = 0;
        unsigned long long parsed = std::stoull(*text, &used, 0);
        if (used == text->size()) return parsed;
    } catch (...) {
    }
    error_ = "option --" + name + " needs a number, not \"" + *text + "\"";
    return std::nullopt;
}

std::optional<Data> readInput(const std::string& path) {
    if (path == "-") {
        std::string bytes((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
        return Data::adopting(std::move(bytes));
    }
    ErrorRef error;
    std::optional<Data> data = Data::mapFile(path, &error);
    if (!data)
        inputError("cannot read " + path + ": " + toUTF8(error ? error->localizedDescription : u"unknown error"));
    return data;
}

void quietLibraryLog() {
    class QuietLogger : public Logger {
    public:
        void logForCategory(std::string_view, std::u16string_view) override {}
    };
    Application::shared().setLogger(std::make_shared<QuietLogger>());
}

int usageError(const std::string& command, const std::string& message) {
    std::fprintf(stderr, "postwright %s: %s (see postwright help %s)\n", command.c_str(), message.c_str(),
                 command.c_str());
    return 2;
}

int inputError(const std::string& message) {
    std::fprintf(stderr, "postwright: %s\n", message.c_str());
    return 1;
}

Json jsonText(const OptString& text) {
    return text ? Json(toUTF8(*text)) : Json(nullptr);
}

Json jsonText(std::u16string_view text) {
    return Json(toUTF8(text));
}

Json jsonError(const ErrorRef& error) {
    if (!error) return nullptr;
    Json value = Json::object();
    value["domain"] = error->domain;
    value["code"] = error->code;
    value["description"] = toUTF8(error->localizedDescription);
    value["debugDescription"] = jsonText(error->debugDescription);
    for (const auto& [key, text] : error->userInfo) value[key] = toUTF8(text);
    if (error->underlyingError) value["underlyingError"] = jsonError(error->underlyingError);
    return value;
}

Json jsonParameters(const ParameterDictionary& parameters) {
    Json object = Json::object();
    for (const auto& [key, value] : parameters) {
        if (const auto* text = std::get_if<std::u16string>(&value)) {
            object[toUTF8(key)] = toUTF8(*text);
        } else if (const auto* number = std::get_if<long long>(&value)) {
            object[toUTF8(key)] = *number;
        } else if (const auto* sections = std::get_if<SectionMap>(&value)) {
            Json pieces = Json::object();
            for (const auto& [section, bytes] : *sections) {
                static const char kHex[] = "0123456789abcdef";
                std::string hex;
                for (uint8_t byte : bytes) {
                    hex.push_back(kHex[byte >> 4]);
                    hex.push_back(kHex[byte & 0xF]);
                }
                pieces[std::to_string(section)] = hex;
            }
            object[toUTF8(key)] = pieces;
        }
    }
    return object;
}

Json jsonCharsetName(TextEncoding encoding) {
    std::optional<std::u16string> name = charSetNameForEncoding(encoding);
    return name ? Json(toUTF8(lowercase(*name))) : Json(nullptr);
}

std::string dumpJSON(const Json& value, int indent) {
    return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

void printJSON(const Json& value) {
    std::string text = dumpJSON(value);
    text.push_back('\n');
    std::fwrite(text.data(), 1, text.size(), stdout);
}

std::string unescapeArgument(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 >= text.size()) {
            out.push_back(text[i]);
            continue;
        }
        char next = text[++i];
        switch (next) {
            case 'r':
                out.push_back('\r');
                break;
            case 'n':
                out.push_back('\n');
                break;
            case 't':
                out.push_back('\t');
                break;
            case '0':
                out.push_back('\0');
                break;
            case '\\':
                out.push_back('\\');
                break;
            case 'x':
                if (i + 2 < text.size() && isxdigit(static_cast<unsigned char>(text[i + 1])) &&
                    isxdigit(static_cast<unsigned char>(text[i + 2]))) {
                    out.push_back(static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16)));
                    i += 2;
                    break;
                }
                [[fallthrough]];
            default:
                out.push_back('\\');
                out.push_back(next);
        }
    }
    return out;
}

}  // namespace postwright::tool
