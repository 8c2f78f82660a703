// What the command line does the Mac way: the app's one folder in
// Application Support; the app is started by the system for each link, so
// links are never handed over from here.

#include "cli/app_commands.hpp"
#include "cli/commands.hpp"
#include "core/files/data_location.hpp"

namespace pivra::cli {

std::expected<AppFolders, std::string> appFolders(const Arguments& args, const Environment& environment) {
    const auto home = homeFolder(args, environment);
    if (!home) return std::unexpected(home.error());
    const auto folder = dataFolder(*home);
    return AppFolders{*home, folder, folder};
}

std::function<Target()> newRulesFallback(Ports) { return {}; }

AppHandOver handOverToApp(const std::vector<std::string>&, const std::optional<Source>&) {
    return AppHandOver{AppHandOver::Kind::noApp, "the Mac app is opened by the system"};
}

std::vector<Command> platformCommands() { return {}; }

}  // namespace pivra::cli
