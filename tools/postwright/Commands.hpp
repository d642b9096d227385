// The tool's commands: each is one function over its own arguments.
#pragma once

#include <string>
#include <vector>

namespace postwright::tool {

struct Command {
    const char* name;
    const char* synopsis;  // one line for the command list
    const char* help;      // the full help text of the command
    int (*run)(const std::vector<std::string>& arguments);
};

const std::vector<Command>& commands();
int runTool(int argc, char** argv);

int runSplit(const std::vector<std::string>& arguments);
int runParse(const std::vector<std::string>& arguments);

}  // namespace postwright::tool
