// pivra open: one link through the app's whole path, on this machine's host:
// the rules, the settings, the journal, the counts and the browser's launch.

#include <unistd.h>

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>

#include "app/model/app_model.hpp"
#include "app/model/source_resolver.hpp"
#include "app/ports/host.hpp"
#include "cli/commands.hpp"
#include "core/files/data_location.hpp"
#include "core/routing/link.hpp"

namespace pivra::cli {
namespace {

namespace json = boost::json;

// Far longer than any open takes (a profile launch gives up after 10 s):
// reaching it means the host's loop never delivered the outcome.
constexpr Seconds kOpenGiveUp{60};
// A notification server that takes longer than this to answer is not waited for.
constexpr Seconds kNotificationsGiveUp{5};

int runOpen(const Arguments& args, const Context& context) {
    const std::string& text = args.positionals().front();
    const auto link = parseLink(text);
    if (!link) return context.fail(kExitBadInput, "“" + text + "” isn’t a link");
    if (!isWebScheme(link->scheme())) return context.fail(kExitBadInput, "“" + text + "” isn’t a web link");
    const auto home = homeFolder(args, context.environment);
    if (!home) return context.fail(kExitUsage, home.error());

    // A rules file the app would not take is refused here, before anything is recorded.
    const auto loaded = loadRules(args, context);
    if (!loaded) return loaded.error();
    if (!loaded->rules) return context.fail(kExitBadInput, "the rules file has an error: " + describeError(loaded->rules.error()));

    const auto folder = dataFolder(*home);
    const auto host = makeHost(HostOptions{folder, LogLevel::error});
    Ports ports = host->ports();
    AppModel model(ports, ModelFolders{folder, *home, args.value("rules").value_or("")});
    std::optional<OpenOutcome> outcome;
    model.setOnOpenFinished([&](const OpenOutcome& finished) {
        outcome = finished;
        host->stop();
    });
    model.start();
    // What went wrong on this link's way is told here; the state the app was
    // already in (not being the default browser, say) is not this link's news.
    model.setOnProblemRaised([&](const Problem& problem) {
        const ProblemText text = model.problemText(problem);
        context.err << "pivra: " << text.title << " · " << text.body << "\n";
    });
    const auto from = args.value("from");
    const Source source = from ? Source::app(*from)
                               : resolveSource(::getpid(), ports.workspace, ports.processes, ports.appInfo.identifier());
    model.handleLink(*link, source);
    if (!outcome) {
        const TaskId giveUp = ports.scheduler.runAfter(kOpenGiveUp, [&] { host->stop(); });
        host->run();
        ports.scheduler.cancel(giveUp);
    }
    // Notifications of this link's problems go out before the process ends.
    if (model.notifier().postsInFlight() > 0) {
        model.notifier().setOnAllPosted([&] { host->stop(); });
        const TaskId giveUp = ports.scheduler.runAfter(kNotificationsGiveUp, [&] { host->stop(); });
        host->run();
        ports.scheduler.cancel(giveUp);
    }
    model.terminate();

    const RecentLink& handled = model.recentLinks().front();
    if (args.has("json")) {
        json::object result{
            {"url", handled.url},
            {"source", handled.source.bundleId ? json::value(*handled.source.bundleId) : json::value(nullptr)},
            {"target", targetJson(handled.target)},
            {"reason", reasonJson(handled.reason)},
            {"picked", handled.picked},
            {"opened", outcome && outcome->opened},
        };
        if (outcome) result["app"] = outcome->app;
        if (!outcome || !outcome->opened) result["error"] = outcome ? outcome->error : "no answer from the open";
        context.out << json::serialize(result) << "\n";
    }
    if (!outcome) return context.fail(kExitBadInput, "the link wasn’t opened: no answer from the open");
    if (!outcome->opened) return context.fail(kExitBadInput, "the link wasn’t opened: " + outcome->error);
    if (!args.has("json")) {
        context.out << "Opened in " << describeApp(outcome->app, context.environment) << " · from "
                    << (handled.source.bundleId ? describeApp(*handled.source.bundleId, context.environment)
                                                : std::string(LinkText::kUnknownApp))
                    << "\n";
    }
    return kExitOk;
}

}  // namespace

std::vector<Command> linkCommands() {
    return {
        Command{"open", "open a link the way the app does, and record it",
                "usage: pivra open LINK [--from ID] [--rules FILE] [--home DIR] [--json]\n\n"
                "Puts LINK through the app's whole path once: the rules, the settings, the\n"
                "journal and the counts in Pivra's folder under DIR (default $HOME), then opens it\n"
                "in the browser and profile the rules name. The source app is ID, else the first\n"
                "app among this command's parent processes. Waits for the browser, then exits:\n"
                "0 opened, 1 refused or not opened (the reason on standard error), 2 bad usage.\n"
                "A link that isn’t a web link is refused and nothing is recorded.\n",
                {{"from", true}, {"rules", true}, {"home", true}, {"json", false}}, 1, 1, runOpen},
    };
}

}  // namespace pivra::cli
