#pragma once
// Runs the command line in-process and captures what it prints.

#include <sstream>
#include <string>
#include <vector>

#include "cli/commands.hpp"

namespace pivra::testing_support {

struct CliResult {
    int status;
    std::string out;
    std::string err;
};

inline CliResult runPivra(const std::vector<std::string>& args, std::optional<std::string> home = std::nullopt) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = cli::runCli(args, out, err, cli::Environment{std::move(home)});
    return {status, out.str(), err.str()};
}

}  // namespace pivra::testing_support
