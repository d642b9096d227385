// Runs the postwright tool as a user runs it, for the tests of its commands.
#pragma once

#include <string>
#include <vector>

namespace postwright::test {

struct ToolRun {
    int status = -1;   // the exit status, -1 when the tool did not exit normally
    std::string out;   // standard output, byte for byte
    std::string err;   // standard error
};

// The bytes of a file (empty when it cannot be read).
std::string fileContents(const std::string& path);

// Runs the tool with the arguments, feeding `input` on standard input.
ToolRun runTool(const std::vector<std::string>& arguments, const std::string& input = "");

}  // namespace postwright::test
