#include "Commands.hpp"

namespace postwright::tool {

const std::vector<Command>& commands() {
    static const std::vector<Command> list = {
        {"split", "show where a message's header block ends and its body begins", splitHelp, runSplit},
        {"parse", "run one structured-field scanner operation over a text", parseHelp, runParse},
        {"html", "parse HTML and print it normalised, selected by CSS, or cleaned for delivery", htmlHelp,
         runHtml},
    };
    return list;
}

}  // namespace postwright::tool
