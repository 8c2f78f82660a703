#pragma once
// Runs the command line in-process and captures what it prints.

#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <boost/json/parse.hpp>

#include "cli/commands.hpp"

namespace pivra::testing_support {

struct CliResult {
    int status;
    std::string out;
    std::string err;
    bool operator==(const CliResult&) const = default;
    friend std::ostream& operator<<(std::ostream& os, const CliResult& r) {
        return os << "status " << r.status << "\nout: " << r.out << "\nerr: " << r.err;
    }
};

// `names`: the apps the system knows, by identifier.
inline CliResult runPivra(const std::vector<std::string>& args, std::optional<std::string> home = std::nullopt,
                          std::map<std::string, std::string, std::less<>> names = {}) {
    std::ostringstream out;
    std::ostringstream err;
    cli::Environment environment;
    environment.home = std::move(home);
    environment.appName = [names = std::move(names)](std::string_view id) -> std::optional<std::string> {
        const auto found = names.find(id);
        if (found == names.end()) return std::nullopt;
        return found->second;
    };
    const int status = cli::runCli(args, out, err, environment);
    return {status, out.str(), err.str()};
}

// Where the command line keeps the app's files under `home` on this system
// (given with --home, so that the runner's own XDG variables play no part).
inline cli::AppFolders foldersUnder(const std::filesystem::path& home) {
    cli::Environment environment;
    const auto args = cli::Arguments::parse({"--home", home.string()}, {{"home", true}}, 0, 0);
    return *cli::appFolders(*args, environment);
}

inline boost::json::value json(std::string_view text) { return boost::json::parse(text); }

}  // namespace pivra::testing_support
