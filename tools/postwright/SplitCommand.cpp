#include "Commands.hpp"

namespace postwright::tool {
const char* kSplitHelp = "";
int runSplit(const std::vector<std::string>&) { return 0; }
}  // namespace postwright::tool
