#include <cstdio>
#include <cstring>

#include "Commands.hpp"
#include "postwright/Version.hpp"

namespace postwright::tool {

namespace {
const char* kToolHelp =
    "postwright - read, inspect and write Internet mail messages\n"
    "\n"
    "Usage: postwright COMMAND [ARGUMENTS] [OPTIONS]\n"
    "       postwright help COMMAND      the full help of one command\n"
    "       postwright --version\n"
    "\n"
    "FILE arguments name a message file; \"-\" reads standard input. Output is JSON unless a\n"
    "command says otherwise. The exit status is 0 on success, 1 when the input could not be\n"
    "handled, and 2 for a usage error.\n"
    "\n"
    "Commands:\n";
}

int runTool(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    auto printList = [](FILE* out) {
        std::fputs(kToolHelp, out);
        for (const Command& command : commands()) std::fprintf(out, "  %-12s %s\n", command.name, command.synopsis);
    };
    if (arguments.empty()) {
        printList(stderr);
        return 2;
    }
    const std::string& first = arguments.front();
    if (first == "--help" || first == "-h") {
        printList(stdout);
        return 0;
    }
    if (first == "--version") {
        PlatformVersions platform = platformVersions();
        std::printf("postwright %s\nbuilt with ICU %s, OpenSSL %s, gumbo %s\n", libraryVersion(), platform.icu,
                    platform.openssl, platform.gumbo);
        return 0;
    }
    if (first == "help") {
        if (arguments.size() < 2) {
            printList(stdout);
            return 0;
        }
        for (const Command& command : commands()) {
            if (arguments[1] == command.name) {
                std::fputs(command.help().c_str(), stdout);
                return 0;
            }
        }
        std::fprintf(stderr, "postwright: no command named \"%s\"; see postwright --help\n", arguments[1].c_str());
        return 2;
    }
    for (const Command& command : commands()) {
        if (first != command.name) continue;
        std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
        for (const std::string& argument : rest) {
            if (argument == "--help" || argument == "-h") {
                std::fputs(command.help().c_str(), stdout);
                return 0;
            }
        }
        return command.run(rest);
    }
    std::fprintf(stderr, "postwright: unknown command \"%s\"; see postwright --help\n", first.c_str());
    return 2;
}

}  // namespace postwright::tool
