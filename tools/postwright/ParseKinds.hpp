// The kinds of `postwright parse`: each runs one scanner operation and describes its result as JSON.
#pragma once

#include <string>
#include <vector>

#include "ToolSupport.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright::tool {

struct ParseRequest {
    Scanner& scanner;
    unsigned options;            // --options N (0 when not given)
    bool optionsGiven;
    ErrorRef* errorSlot;         // nullptr with --no-error-slot
    const std::vector<std::string>& extraArguments;  // the command's positionals after TEXT
};

struct ParseOutcome {
    bool ok = false;
    Json value = nullptr;
    Json extra = Json::object();  // further keys of the output object, after "error"
};

struct ParseKind {
    const char* name;
    const char* summary;
    ParseOutcome (*run)(ParseRequest& request);
};

// The kinds, in the order the help lists them; each subsystem contributes its own group.
const std::vector<ParseKind>& parseKinds();
void addScannerParseKinds(std::vector<ParseKind>& kinds);
void addCodecParseKinds(std::vector<ParseKind>& kinds);
void addAddressParseKinds(std::vector<ParseKind>& kinds);
void addDateParseKinds(std::vector<ParseKind>& kinds);

// A result text slot as JSON (null when nil).
inline ParseOutcome textOutcome(bool ok, const OptString& text) { return {ok, jsonText(text)}; }

}  // namespace postwright::tool
