#pragma once
// The `pivra` command line: subcommands, their help, errors and exit codes.

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <boost/json/value.hpp>

#include "cli/arguments.hpp"
#include "core/routing/router.hpp"
#include "core/rules/rules_coding.hpp"
#include "core/rules/rules_file.hpp"
#include "core/files/small_file.hpp"

namespace pivra::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitBadInput = 1;  // the rules file or the link is bad
inline constexpr int kExitUsage = 2;     // bad usage, or a file that cannot be read
inline constexpr int kExitFailed = 1;    // the work could not be done (a file not written, the app already running)

// The name people read for an app identifier ("Safari"); absent when the
// system does not know the app.
using AppNameLookup = std::function<std::optional<std::string>(std::string_view id)>;

// What the process was started with, beyond its arguments.
struct Environment {
    std::optional<std::string> home;           // $HOME
    std::optional<std::string> xdgConfigHome;  // $XDG_CONFIG_HOME
    std::optional<std::string> xdgStateHome;   // $XDG_STATE_HOME
    AppNameLookup appName;                     // none: identifiers are shown alone
};

struct Context {
    std::ostream& out;
    std::ostream& err;
    const Environment& environment;

    // Writes "pivra: " and the message to standard error; returns `status`.
    int fail(int status, const std::string& message) const;
};

struct Command {
    std::string name;
    std::string summary;  // one line for the command list
    std::string usage;    // the full help text shown by --help
    std::vector<OptionSpec> options;
    std::size_t minPositionals = 0;
    std::size_t maxPositionals = 0;
    std::function<int(const Arguments&, const Context&)> run;
};

// Each area of the command line contributes its commands.
std::vector<Command> rulesCommands();
std::vector<Command> browserCommands();
std::vector<Command> appCommands();
std::vector<Command> linkCommands();
// This system's own: on Linux `run`, `install` and `uninstall`; none on a Mac.
std::vector<Command> platformCommands();

// Runs `pivra` with `args` (without the program name); returns the exit status.
int runCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err, const Environment& environment);

// Where the rules come from and what they say.
struct LoadedRules {
    std::filesystem::path path;
    bool exists = false;  // false: the defaults stand in for a file not yet created
    std::expected<RulesFile, RulesFileError> rules;
};

// --rules FILE, else rules.json in the data folder under the home folder. A
// missing file in the data folder means the default rules; a missing file
// named with --rules is an error. Fails with an exit status already reported.
std::expected<LoadedRules, int> loadRules(const Arguments& args, const Context& context);
// A rules file's error as the commands print it: "Line 3: Not valid JSON".
std::string describeError(const RulesFileError& error);

// Why a rules file could not be read, in a few words ("there is no such file").
std::string unreadableReason(const std::filesystem::path& path, FileReadError error);

// The home folder: --home when given, else $HOME. Fails with a usage message.
std::expected<std::filesystem::path, std::string> homeFolder(const Arguments& args, const Environment& environment);

// Where the app keeps its files on this system. On a Mac one folder holds
// them all ("Library/Application Support/Pivra" under the home folder). On
// Linux, rules.json and settings.json are in "pivra" in $XDG_CONFIG_HOME
// (else ~/.config), the journal and the counts in "pivra" in $XDG_STATE_HOME
// (else ~/.local/state); with --home the XDG variables are ignored and both
// are under that folder, so that a copy of someone's home reads as theirs.
struct AppFolders {
    std::filesystem::path home;
    std::filesystem::path config;  // rules.json, settings.json
    std::filesystem::path state;   // pivra-log.jsonl, counts.json
};
// The folders for --home or $HOME. Fails with a usage message.
std::expected<AppFolders, std::string> appFolders(const Arguments& args, const Environment& environment);

// An app as the commands print it: "Safari (com.apple.Safari)", or the
// identifier alone when the system does not know the app.
std::string describeApp(std::string_view id, const Environment& environment);
// A target: "Firefox (org.mozilla.firefox, profile Work)", or without a known
// name "org.mozilla.firefox (profile Work)".
std::string describeTarget(const Target& target, const Environment& environment);
// The same as JSON: {"app": ..., "profile": ...}, the profile only when named.
boost::json::value targetJson(const Target& target);
// Why a link went where it went, as JSON: {"kind": "rule", "index": 0, "id": ...}.
boost::json::value reasonJson(const Decision::Reason& reason);

}  // namespace pivra::cli
