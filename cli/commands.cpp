#include "cli/commands.hpp"

#include <algorithm>

namespace pivra::cli {
namespace {

std::vector<Command> allCommands() {
    std::vector<Command> commands;
    for (auto&& group : {rulesCommands(), linkCommands(), browserCommands(), appCommands(), platformCommands()}) {
        commands.insert(commands.end(), group.begin(), group.end());
    }
    return commands;
}

void printOverview(std::ostream& out, const std::vector<Command>& commands) {
    out << "usage: pivra <command> [options]\n\n"
           "Pivra routes every web link to the browser and profile your rules name.\n"
           "This companion reads the same files as the app.\n\ncommands:\n";
    for (const auto& command : commands) {
        out << "  " << command.name << std::string(command.name.size() < 10 ? 10 - command.name.size() : 1, ' ')
            << command.summary << "\n";
    }
    out << "\nRun `pivra <command> --help` for a command's options.\n";
}

}  // namespace

int Context::fail(int status, const std::string& message) const {
    err << "pivra: " << message << "\n";
    return status;
}

std::string unreadableReason(const std::filesystem::path& path, FileReadError error) {
    if (error == FileReadError::tooLarge) return "it’s larger than 16 MB, too large for rules";
    std::error_code ec;
    const auto status = std::filesystem::status(path, ec);
    if (!std::filesystem::exists(status)) return "there is no such file";
    if (std::filesystem::is_directory(status)) return "it’s a folder";
    return "it can’t be read";
}

std::expected<std::filesystem::path, std::string> homeFolder(const Arguments& args, const Environment& environment) {
    if (auto home = args.value("home")) {
        if (home->empty()) return std::unexpected("--home needs a folder");
        return std::filesystem::path(*home);
    }
    if (environment.home && !environment.home->empty()) return std::filesystem::path(*environment.home);
    return std::unexpected("no home folder: set HOME or pass --home DIR");
}

int runCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err, const Environment& environment) {
    const Context context{out, err, environment};
    const auto commands = allCommands();
    if (args.empty()) {
        printOverview(err, commands);
        return kExitUsage;
    }
    if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        printOverview(out, commands);
        return kExitOk;
    }
    const auto command = std::find_if(commands.begin(), commands.end(), [&](const Command& c) { return c.name == args[0]; });
    if (command == commands.end()) {
        return context.fail(kExitUsage, "unknown command “" + args[0] + "” (see pivra --help)");
    }
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    // After "--" every argument is a positional one, "--help" included.
    const auto endOfOptions = std::find(rest.begin(), rest.end(), "--");
    if (std::find(rest.begin(), endOfOptions, "--help") != endOfOptions) {
        out << command->usage;
        return kExitOk;
    }
    auto parsed = Arguments::parse(rest, command->options, command->minPositionals, command->maxPositionals);
    if (!parsed) {
        return context.fail(kExitUsage, parsed.error() + "\n" + command->usage);
    }
    try {
        return command->run(*parsed, context);
    } catch (const std::exception& error) {
        return context.fail(kExitUsage, error.what());
    }
}

namespace {
std::optional<std::string> nameOf(std::string_view id, const Environment& environment) {
    if (!environment.appName) return std::nullopt;
    auto name = environment.appName(id);
    if (!name || name->empty() || *name == id) return std::nullopt;
    return name;
}
}  // namespace

std::string describeApp(std::string_view id, const Environment& environment) {
    const auto name = nameOf(id, environment);
    return name ? *name + " (" + std::string(id) + ")" : std::string(id);
}

std::string describeTarget(const Target& target, const Environment& environment) {
    const auto name = nameOf(target.app, environment);
    if (!target.profile) return describeApp(target.app, environment);
    if (!name) return target.app + " (profile " + *target.profile + ")";
    return *name + " (" + target.app + ", profile " + *target.profile + ")";
}

boost::json::value targetJson(const Target& target) {
    boost::json::object object{{"app", target.app}};
    if (target.profile) object["profile"] = *target.profile;
    return object;
}

}  // namespace pivra::cli
