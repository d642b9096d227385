// The tool's commands: each is one function over its own arguments, with a help text that teaches it.
#pragma once

#include <string>
#include <vector>

namespace postwright::tool {

struct Command {
    const char* name;
    const char* synopsis;        // one line for the command list
    std::string (*help)();       // the full help text of the command
    int (*run)(const std::vector<std::string>& arguments);
};

const std::vector<Command>& commands();
int runTool(int argc, char** argv);

std::string splitHelp();
int runSplit(const std::vector<std::string>& arguments);
std::string parseHelp();
int runParse(const std::vector<std::string>& arguments);
std::string encodeHelp();
int runEncode(const std::vector<std::string>& arguments);
std::string decodeHelp();
int runDecode(const std::vector<std::string>& arguments);
std::string headersHelp();
int runHeaders(const std::vector<std::string>& arguments);
std::string benchHelp();
int runBench(const std::vector<std::string>& arguments);
std::string identifierHelp();
int runIdentifier(const std::vector<std::string>& arguments);
std::string htmlHelp();
int runHtml(const std::vector<std::string>& arguments);
std::string treeHelp();
int runTree(const std::vector<std::string>& arguments);
std::string textHelp();
int runText(const std::vector<std::string>& arguments);
std::string renderHelp();
int runRender(const std::vector<std::string>& arguments);
std::string extractHelp();
int runExtract(const std::vector<std::string>& arguments);
std::string roundtripHelp();
int runRoundtrip(const std::vector<std::string>& arguments);
std::string inspectHelp();
int runInspect(const std::vector<std::string>& arguments);
std::string detectHelp();
int runDetect(const std::vector<std::string>& arguments);
std::string indexHelp();
int runIndex(const std::vector<std::string>& arguments);
std::string composeHelp();
int runCompose(const std::vector<std::string>& arguments);
std::string editHelp();
int runEdit(const std::vector<std::string>& arguments);
std::string amendHelp();
int runAmend(const std::vector<std::string>& arguments);

}  // namespace postwright::tool
