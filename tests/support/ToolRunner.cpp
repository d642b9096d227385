#include "support/ToolRunner.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace postwright::test {

namespace {
std::string quoted(const std::string& argument) {
    std::string out = "'";
    for (char c : argument) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

}  // namespace

std::string fileContents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

ToolRun runTool(const std::vector<std::string>& arguments, const std::string& input) {
    static std::atomic<unsigned> counter{0};
    std::filesystem::path dir = std::filesystem::temp_directory_path() /
                                ("pw-tool-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(dir);
    std::ofstream(dir / "in", std::ios::binary) << input;
    std::string command = quoted(PW_TOOL_PATH);
    for (const std::string& argument : arguments) command += " " + quoted(argument);
    command += " <" + quoted((dir / "in").string()) + " >" + quoted((dir / "out").string()) + " 2>" +
               quoted((dir / "err").string());
    ToolRun run;
    int raw = std::system(command.c_str());
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = fileContents(dir / "out");
    run.err = fileContents(dir / "err");
    std::filesystem::remove_all(dir);
    return run;
}

}  // namespace postwright::test
