// What the command line does the Linux way: the XDG folders, the hand-over
// to the running app on the session bus, and the first rules' fallback from
// the desktop's default browser.

#include <QDBusConnection>

#include "app/storage/settings.hpp"
#include "app/workspace/installed_apps.hpp"
#include "cli/app_commands.hpp"
#include "cli/commands.hpp"
#include "core/files/data_location.hpp"
#include "hosts/linux/application_service.hpp"
#include "hosts/linux/desktop_defaults.hpp"

namespace pivra::cli {
namespace {

// The bus starts the app for the call when it is not running: loading the
// rules and reading the browsers comes first, a second or two at most.
constexpr Seconds kHandOverGiveUp{25};
// The type whose default is "the browser".
constexpr const char* kWebLinkType = "x-scheme-handler/https";

}  // namespace

std::expected<AppFolders, std::string> appFolders(const Arguments& args, const Environment& environment) {
    const auto home = homeFolder(args, environment);
    if (!home) return std::unexpected(home.error());
    if (args.has("home")) return AppFolders{*home, configFolder(*home, std::nullopt), stateFolder(*home, std::nullopt)};
    return AppFolders{*home, configFolder(*home, environment.xdgConfigHome), stateFolder(*home, environment.xdgStateHome)};
}

std::function<Target()> newRulesFallback(Ports ports) {
    return [ports] {
        const auto previous = Settings(ports.preferences).previousDefaults();
        const auto remembered = previous.find(kWebLinkType);
        const auto chosen = firstFallbackBrowser(
            remembered == previous.end() ? std::nullopt : std::optional<std::string>(remembered->second),
            defaultAppForType(kWebLinkType), ports.appInfo.identifier(), ports.workspace.installedBrowsers());
        return chosen ? Target{*chosen, std::nullopt} : kDefaultFallback;
    };
}

AppHandOver handOverToApp(const std::vector<std::string>& links, const std::optional<Source>& source) {
    std::optional<std::string> named;
    if (source) named = source->bundleId.value_or("");
    const auto handOver = handOverLinks(QDBusConnection::sessionBus(), links, named, kHandOverGiveUp);
    switch (handOver.kind) {
        case HandOver::Kind::accepted: return AppHandOver{AppHandOver::Kind::taken, {}};
        case HandOver::Kind::unavailable: return AppHandOver{AppHandOver::Kind::noApp, handOver.error};
        case HandOver::Kind::failed: break;
    }
    return AppHandOver{AppHandOver::Kind::failed, handOver.error};
}

}  // namespace pivra::cli
