// Shared pieces of the tool's commands: arguments, input files, JSON output.
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Lexical/ParameterDictionary.hpp"

namespace postwright::tool {

using Json = nlohmann::ordered_json;

// Splits a command's arguments into positionals, "--name value" options and "--flag" flags.
class Arguments {
public:
    // valueOptions: option names that take a value; flags: names that do not. Anything else starting
    // with "--" is a usage error.
    Arguments(const std::vector<std::string>& arguments, const std::set<std::string>& valueOptions,
              const std::set<std::string>& flags);

    bool ok() const { return error_.empty(); }
    const std::string& error() const { return error_; }
    const std::vector<std::string>& positionals() const { return positionals_; }
    // The option's value; the last one when it was given more than once.
    std::optional<std::string> value(const std::string& name) const;
    // Every value of an option that may be repeated, in the order given.
    std::vector<std::string> values(const std::string& name) const;
    bool flag(const std::string& name) const { return flags_.count(name) != 0; }
    // An unsigned number option (decimal or 0x hex); sets error() when malformed.
    std::optional<unsigned long long> number(const std::string& name);

private:
    std::vector<std::string> positionals_;
    std::map<std::string, std::string> values_;
    std::vector<std::pair<std::string, std::string>> repeated_;
    std::set<std::string> flags_;
    std::string error_;
};

// Reads FILE (memory-mapped) or standard input for "-". On failure prints a message and returns nullopt.
std::optional<Data> readInput(const std::string& path);

// Silences the library's log lines (unknown MIME types, undecodable words) for the rest of the process:
// commands that read thousands of messages keep them for --verbose.
void quietLibraryLog();

// Prints "postwright COMMAND: message" to stderr and returns the usage-error status 2.
int usageError(const std::string& command, const std::string& message);
// Prints "postwright: message" to stderr and returns the failure status 1.
int inputError(const std::string& message);

Json jsonText(const OptString& text);
Json jsonText(std::u16string_view text);
inline Json jsonText(const std::u16string& text) { return jsonText(std::u16string_view(text)); }
inline Json jsonText(const char16_t* text) { return jsonText(std::u16string_view(text)); }
Json jsonError(const ErrorRef& error);
// A Content-Type or Content-Disposition info dictionary as an object in its insertion order: text as
// strings, integers as numbers, unjoined sections as an object of section number to hex bytes.
Json jsonParameters(const ParameterDictionary& parameters);
// The lower-case charset name of an encoding, or null for 0, invalid and unknown numbers.
Json jsonCharsetName(TextEncoding encoding);
// Writes the value to stdout, indented, followed by a line break; invalid text is replaced, never fatal.
void printJSON(const Json& value);
std::string dumpJSON(const Json& value, int indent = 2);

// Undoes the escapes \r \n \t \\ \xHH so that texts with control characters can be given on a command line.
std::string unescapeArgument(const std::string& text);

}  // namespace postwright::tool
