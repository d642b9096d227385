// postwright: the command-line tool that puts the library to work on real files.
#include <cstdio>
#include <cstring>
#include <string>

#include "Commands.hpp"

int main(int argc, char** argv) {
    return postwright::tool::runTool(argc, argv);
}
