// Runs the postwright tool as a user runs it: arguments, standard input, exit status, stdout and stderr.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace postwright::test {

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

inline std::string shellQuoted(const std::string& argument) {
    std::string out = "'";
    for (char c : argument) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

inline std::string fileContents(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline ToolRun runTool(const std::vector<std::string>& arguments, const std::string& input = "") {
    static int counter = 0;
    std::filesystem::path dir = std::filesystem::temp_directory_path() /
                                ("pw-tool-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(dir);
    std::ofstream(dir / "in", std::ios::binary) << input;
    std::string command = shellQuoted(PW_TOOL_PATH);
    for (const std::string& argument : arguments) command += " " + shellQuoted(argument);
    command += " <" + shellQuoted((dir / "in").string()) + " >" + shellQuoted((dir / "out").string()) + " 2>" +
               shellQuoted((dir / "err").string());
    ToolRun run;
    int raw = std::system(command.c_str());
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = fileContents(dir / "out");
    run.err = fileContents(dir / "err");
    std::filesystem::remove_all(dir);
    return run;
}

}  // namespace postwright::test
