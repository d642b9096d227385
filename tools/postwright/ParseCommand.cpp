#include "Commands.hpp"

namespace postwright::tool {
const char* kParseHelp = "";
int runParse(const std::vector<std::string>&) { return 0; }
}  // namespace postwright::tool
