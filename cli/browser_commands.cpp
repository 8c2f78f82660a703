// pivra profiles and plan: the browsers' profiles on this home folder, and the
// command that would open a link in one of them.

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>

#include "cli/commands.hpp"
#include "core/browsers/browser_profile.hpp"
#include "core/browsers/browsers.hpp"
#include "core/browsers/profile_launch.hpp"
#include "core/files/data_location.hpp"
#include "core/routing/link.hpp"

namespace pivra::cli {
namespace {

namespace json = boost::json;

const OptionSpec kHomeOption{"home", true};
const OptionSpec kJsonOption{"json", false};

// Single-quoted for a POSIX shell, so that the printed command can be pasted.
std::string shellQuoted(const std::string& argument) {
    if (!argument.empty() && argument.find_first_not_of(
                                 "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./=:") == std::string::npos) {
        return argument;
    }
    std::string quoted = "'";
    for (char c : argument) quoted += (c == '\'') ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// Where the profiles were read, as the browser's users know it: a Mac app's
// folder within Application Support, a Linux package's within the home folder.
std::string shownFolder(const BrowserInfo& browser, const std::filesystem::path& home) {
    const auto folder = Browsers::existingDataFolder(browser, home);
    if (!folder) return Browsers::dataFolder(browser, home).value_or("").generic_string();
    const auto base = folder->layout == BrowserLayout::mac ? applicationSupportFolder(home) : home;
    return folder->path.lexically_relative(base).generic_string();
}

int runProfiles(const Arguments& args, const Context& context) {
    const auto home = homeFolder(args, context.environment);
    if (!home) return context.fail(kExitUsage, home.error());
    json::object asJson;
    std::string text;
    for (const auto& browser : Browsers::allByIdentifier()) {
        const auto profiles = discoverProfiles(browser, *home);
        if (!profiles) continue;
        json::array list;
        text += browser.bundleID + " (" + shownFolder(browser, *home) + ")\n";
        if (profiles->empty()) text += "  no profiles\n";
        for (const auto& profile : *profiles) {
            list.push_back(json::object{{"id", profile.id}, {"name", profile.name}, {"isDefault", profile.isDefault}});
            text += "  " + profile.id + " \u00B7 " + profile.name + (profile.isDefault ? " (default)" : "") + "\n";
        }
        asJson[browser.bundleID] = std::move(list);
    }
    if (args.has("json")) {
        context.out << json::serialize(asJson) << "\n";
    } else if (asJson.empty()) {
        context.out << "No browser profiles found in " << applicationSupportFolder(*home).string() << "\n";
    } else {
        context.out << text;
    }
    return kExitOk;
}

int runPlan(const Arguments& args, const Context& context) {
    const std::string& text = args.positionals().front();
    const auto link = parseLink(text);
    if (!link) return context.fail(kExitBadInput, "“" + text + "” isn’t a link");
    const auto app = args.value("app");
    const auto appPath = args.value("app-path");
    if (!app || !appPath) return context.fail(kExitUsage, "--app and --app-path are required (see pivra plan --help)");
    const auto home = homeFolder(args, context.environment);
    if (!home) return context.fail(kExitUsage, home.error());

    const auto plan = ProfileLaunch::plan(*link, *app, args.value("profile"), *appPath, args.has("new-window"),
                                          !args.has("background"), *home);
    if (args.has("json")) {
        json::object result;
        if (!plan) {
            result["plan"] = nullptr;
        } else if (plan->kind() == ProfileLaunch::Plan::Kind::open) {
            json::array arguments;
            for (const auto& argument : plan->arguments()) arguments.emplace_back(argument);
            if (plan->startsBrowser()) {
                result = json::object{{"plan", "run"}, {"program", plan->program()}, {"args", std::move(arguments)}};
            } else {
                result = json::object{{"plan", "open"}, {"args", std::move(arguments)}};
            }
        } else if (plan->kind() == ProfileLaunch::Plan::Kind::refused) {
            result = json::object{{"plan", "refused"}, {"reason", plan->reason()}};
        } else {
            result["plan"] = "profileMissing";
        }
        context.out << json::serialize(result) << "\n";
        return kExitOk;
    }
    if (!plan) {
        context.out << "No special launch needed: " << *app << " opens the link the ordinary way\n";
    } else if (plan->kind() == ProfileLaunch::Plan::Kind::open) {
        context.out << shellQuoted(plan->program());
        for (const auto& argument : plan->arguments()) context.out << " " << shellQuoted(argument);
        context.out << "\n";
    } else if (plan->kind() == ProfileLaunch::Plan::Kind::refused) {
        context.out << "Couldn\u2019t open the profile: " << plan->reason() << "\n";
    } else {
        context.out << "Couldn\u2019t open the profile: the profile is gone\n";
    }
    return kExitOk;
}

}  // namespace

std::vector<Command> browserCommands() {
    return {
        Command{"profiles", "list the profiles of every browser found under the home folder",
                "usage: pivra profiles [--home DIR] [--json]\n\n"
                "Lists, for each browser whose profile file can be read under DIR (default\n"
                "$HOME), its identifier and folder, then its profiles: the id a rule names, the\n"
                "name the browser shows, and which one is the default. Mac apps are looked for\n"
                "in DIR/Library/Application Support and named by bundle identifier; Linux\n"
                "packages (native, Snap, Flatpak) in DIR/.config, DIR/.mozilla, DIR/snap and\n"
                "DIR/.var/app, named by desktop id.\n",
                {kHomeOption, kJsonOption}, 0, 0, runProfiles},
        Command{"plan", "show the command that would open a link in a browser profile",
                "usage: pivra plan LINK --app APP_ID --app-path PATH [--profile ID] [--new-window]\n"
                "                  [--background] [--home DIR] [--json]\n\n"
                "Shows the command Pivra would run to open LINK in the browser APP_ID with the\n"
                "profile ID, or why it would not, or that no special launch is needed. For a\n"
                "Mac bundle identifier, PATH is the app bundle and the command /usr/bin/open;\n"
                "for a Linux desktop id, PATH is the browser\u2019s program, run directly\n"
                "(--background changes nothing there).\n",
                {kHomeOption, kJsonOption, {"app", true}, {"app-path", true}, {"profile", true}, {"new-window", false},
                 {"background", false}},
                1, 1, runPlan},
    };
}

}  // namespace pivra::cli
