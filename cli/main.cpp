#include <cstdlib>
#include <iostream>

#include "cli/commands.hpp"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    pivra::cli::Environment environment;
    if (const char* home = std::getenv("HOME")) environment.home = home;
    return pivra::cli::runCli(args, std::cout, std::cerr, environment);
}
