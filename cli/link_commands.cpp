// pivra open: links through the app's whole path. Where the app runs (or the
// system can start it), the links are handed to it; otherwise, or when asked
// to, they go through the whole path here, on this machine's host: the rules,
// the settings, the journal, the counts and the browser's launch.

#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <system_error>

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <boost/url/url.hpp>

#include "app/model/app_model.hpp"
#include "app/model/source_resolver.hpp"
#include "app/ports/host.hpp"
#include "cli/app_commands.hpp"
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

std::string sourceText(const Source& source, const Environment& environment) {
    return source.bundleId ? describeApp(*source.bundleId, environment) : std::string(LinkText::kUnknownApp);
}

// One link through the model. What became of it goes to `out`; why it did
// not open is returned, for after the notifications have gone out.
std::optional<std::string> openHere(const boost::urls::url& link, const Source& source, AppModel& model, Host& host,
                                    const Arguments& args, const Context& context, std::ostream& out) {
    Ports ports = host.ports();
    std::optional<OpenOutcome> outcome;
    model.setOnOpenFinished([&](const OpenOutcome& finished) {
        outcome = finished;
        host.stop();
    });
    model.handleLink(link, source);
    if (!outcome) {
        const TaskId giveUp = ports.scheduler.runAfter(kOpenGiveUp, [&] { host.stop(); });
        host.run();
        ports.scheduler.cancel(giveUp);
    }
    model.setOnOpenFinished({});

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
        out << json::serialize(result) << "\n";
    }
    if (!outcome) return "the link wasn’t opened: no answer from the open";
    if (!outcome->opened) return "the link wasn’t opened: " + outcome->error;
    if (!args.has("json")) {
        out << "Opened in " << describeApp(outcome->app, context.environment) << " · from "
                    << sourceText(handled.source, context.environment) << "\n";
    }
    return std::nullopt;
}

// A file given by its path, as a file manager hands an HTML page to the
// desktop's viewer: its "file" link. Only a file that is there counts, so a
// word that only looks like a path is still refused as no link.
std::optional<boost::urls::url> fileLink(const std::string& text) {
    namespace fs = std::filesystem;
    if (text.empty() || text.find("://") != std::string::npos) return std::nullopt;
    std::error_code error;
    const fs::path file = fs::absolute(fs::path(text), error);
    if (error || !fs::is_regular_file(file, error)) return std::nullopt;
    boost::urls::url link;
    link.set_scheme("file");
    link.set_encoded_host("");
    link.set_path(file.lexically_normal().string());
    return parseLink(link.buffer());
}

int runOpen(const Arguments& args, const Context& context) {
    std::vector<boost::urls::url> links;
    std::vector<std::string> texts;  // as handed to the app
    for (const auto& text : args.positionals()) {
        auto link = parseLink(text);
        if (!link) link = fileLink(text);
        if (!link) return context.fail(kExitBadInput, "“" + text + "” isn’t a link or a file");
        if (!isBrowsableScheme(link->scheme())) {
            return context.fail(kExitBadInput, "“" + text + "” isn’t a web link or a local file");
        }
        texts.emplace_back(link->buffer());
        links.push_back(std::move(*link));
    }
    const auto folders = appFolders(args, context.environment);
    if (!folders) return context.fail(kExitUsage, folders.error());
    // What only this process can answer: the files it is told to use, and the outcome of each open.
    const bool here = args.has("here") || args.has("rules") || args.has("home") || args.has("json");

    const auto host = makeHost(HostOptions{folders->config, LogLevel::error});
    Ports ports = host->ports();
    const auto from = args.value("from");
    if (!here) {
        // Without --from the app finds the source from this process and its
        // parents while this waits for its answer: it has read the installed
        // apps already, which a process of its own would read again.
        const auto handOver = handOverToApp(texts, from ? std::optional(Source::app(*from)) : std::nullopt);
        if (handOver.kind == AppHandOver::Kind::taken) {
            context.out << "Handed to Pivra";
            if (from) context.out << " · from " << describeApp(*from, context.environment);
            context.out << "\n";
            return kExitOk;
        }
        if (handOver.kind == AppHandOver::Kind::failed) {
            context.err << "pivra: the running app didn’t take the link (" << handOver.error << "); opening it here\n";
        }
    }

    // Resolved here, while this process's parents are the ones that asked.
    const Source source = from ? Source::app(*from)
                               : resolveSource(::getpid(), ports.workspace, ports.processes, ports.appInfo.identifier());

    // A rules file the app would not take is refused here, before anything is recorded.
    const auto loaded = loadRules(args, context);
    if (!loaded) return loaded.error();
    if (!loaded->rules) return context.fail(kExitBadInput, "the rules file has an error: " + describeError(loaded->rules.error()));

    AppModel model(ports, ModelFolders::separate(folders->config, folders->state, folders->home,
                                                 args.value("rules").value_or("")));
    model.setNewRulesFallback(newRulesFallback(ports));
    model.start();
    // What went wrong on these links' way is told here; the state the app was
    // already in (not being the default browser, say) is not their news.
    model.setOnProblemRaised([&](const Problem& problem) {
        const ProblemText text = model.problemText(problem);
        context.err << "pivra: " << text.title << " · " << text.body << "\n";
    });
    std::ostringstream report;
    std::vector<std::string> failures;
    for (const auto& link : links) {
        if (auto failure = openHere(link, source, model, *host, args, context, report)) failures.push_back(std::move(*failure));
    }
    // Notifications of these links' problems go out before the process ends.
    if (model.notifier().postsInFlight() > 0) {
        model.notifier().setOnAllPosted([&] { host->stop(); });
        const TaskId giveUp = ports.scheduler.runAfter(kNotificationsGiveUp, [&] { host->stop(); });
        host->run();
        ports.scheduler.cancel(giveUp);
    }
    model.terminate();
    context.out << report.str();
    for (const auto& failure : failures) context.fail(kExitBadInput, failure);
    return failures.empty() ? kExitOk : kExitBadInput;
}

}  // namespace

std::vector<Command> linkCommands() {
    return {
        Command{"open", "open links the way the app does, and record them",
                "usage: pivra open LINK... [--from ID] [--here] [--rules FILE] [--home DIR] [--json]\n\n"
                "Puts each LINK (a web link, or a local page by its file link or its path) through\n"
                "the app's whole path. The source app is ID, else the first app among this\n"
                "command's parent processes.\n\n"
                "When Pivra runs (`pivra run`), or the session bus can start it (after `pivra\n"
                "install`), the links are handed to it with their source, and this command exits\n"
                "0 once the app has taken them. Otherwise, and with --here (which --rules, --home\n"
                "and --json imply), the links go through the path in this process: the rules, the\n"
                "settings, the journal and the counts in Pivra's folders (under DIR, default\n"
                "$HOME), then the browser and profile the rules name. It waits for the browser,\n"
                "then exits: 0 opened, 1 refused or not opened (the reason on standard error),\n"
                "2 bad usage. A link that isn’t a web link or a local file (file:) is refused and\n"
                "nothing is recorded.\n",
                {{"from", true}, {"here", false}, {"rules", true}, {"home", true}, {"json", false}}, 1, 1000, runOpen},
    };
}

}  // namespace pivra::cli
