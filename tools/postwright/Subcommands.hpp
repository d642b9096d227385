// Commands made of subcommands (`postwright encode KIND ...`, `postwright decode KIND ...`): each group
// of the library contributes its own entries to the tables, in the order the help lists them.
#pragma once

#include <string>
#include <vector>

namespace postwright::tool {

struct Subcommand {
    const char* name;
    const char* usage;                                      // the arguments after the name, for the help
    const char* summary;                                    // one line for the help
    int (*run)(const std::vector<std::string>& arguments);  // the arguments after the name
};

const std::vector<Subcommand>& encodeSubcommands();
const std::vector<Subcommand>& decodeSubcommands();
void addCodecEncodeSubcommands(std::vector<Subcommand>& list);
void addCodecDecodeSubcommands(std::vector<Subcommand>& list);
void addAddressEncodeSubcommands(std::vector<Subcommand>& list);
void addHeaderEncodeSubcommands(std::vector<Subcommand>& list);

// Runs the subcommand named by the first argument; usage errors name the command.
int runSubcommand(const char* command, const std::vector<Subcommand>& list, const std::vector<std::string>& arguments);
// The "Subcommands:" section of a help text.
std::string subcommandList(const std::vector<Subcommand>& list);

}  // namespace postwright::tool
