#include "Commands.hpp"

namespace postwright::tool {

extern const char* kSplitHelp;
extern const char* kParseHelp;

const std::vector<Command>& commands() {
    static const std::vector<Command> list = {
        {"split", "show where a message's header block ends and its body begins", kSplitHelp, runSplit},
        {"parse", "run one structured-field scanner operation over a text", kParseHelp, runParse},
    };
    return list;
}

}  // namespace postwright::tool
