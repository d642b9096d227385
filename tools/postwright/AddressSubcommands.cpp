// The address kinds of `postwright encode`.
#include <cstdio>

#include "Subcommands.hpp"
#include "ToolSupport.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"

namespace postwright::tool {

namespace {
int encodeAddressList(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"options"}, {"escapes"});
    if (!arguments.ok()) return usageError("encode", arguments.error());
    std::optional<unsigned long long> options = arguments.number("options");
    if (!arguments.ok()) return usageError("encode", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("encode", "expects exactly one TEXT");
    std::string text = arguments.positionals()[0];
    if (text == "-") {
        std::optional<Data> input = readInput("-");
        if (!input) return 1;
        text = input->toString();
    }
    if (arguments.flag("escapes")) text = unescapeArgument(text);
    auto groups = PWEmailAddressGroup::emailAddressGroupsFromHeaderValue(fromUTF8(text),
                                                                         static_cast<unsigned>(options.value_or(4)));
    if (!groups) return inputError("the text is not an address list");
    OptString written = PWEmailAddressGroup::rfc2822RepresentationForAddressGroups(*groups);
    std::printf("%s\n", written ? toUTF8(*written).c_str() : "");
    return 0;
}
}  // namespace

void addAddressEncodeSubcommands(std::vector<Subcommand>& list) {
    list.insert(list.end(),
                {
                    {"address-list", "TEXT [--options N]",
                     "an address list written back in RFC 2822 form: addresses lower-cased, display names quoted or\n"
                     "      encoded as needed, groups as \"Name:a, b;\", nameless runs joined with \",\" (options as\n"
                     "      for parse, default 4: display names built up from their words)",
                     encodeAddressList},
                });
}

}  // namespace postwright::tool
