// pivra log, counts, settings, report and watch: the app's own files, read
// and run the way the app does it, on this machine's host.

#include "cli/app_commands.hpp"

#include <charconv>
#include <cstdlib>

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>

#include "app/model/app_model.hpp"
#include "app/report/diagnostic_report.hpp"
#include "app/storage/counts_file.hpp"
#include "app/storage/journal.hpp"
#include "app/storage/settings.hpp"
#include "cli/commands.hpp"
#include "core/files/data_location.hpp"
#include "core/files/small_file.hpp"
#include "core/rules/rules_coding.hpp"

namespace pivra::cli {
namespace {

namespace json = boost::json;

const OptionSpec kHomeOption{"home", true};
const OptionSpec kJsonOption{"json", false};

// The host with its log kept to errors (a broken settings file, say): the
// commands print what they have to say themselves.
std::unique_ptr<Host> quietHost(const std::filesystem::path& folder, LogLevel minimum = LogLevel::error) {
    return makeHost(HostOptions{folder, minimum});
}

std::expected<AppFolders, int> foldersFor(const Arguments& args, const Context& context) {
    auto folders = appFolders(args, context.environment);
    if (!folders) return std::unexpected(context.fail(kExitUsage, folders.error()));
    return std::move(*folders);
}

std::optional<int> positiveNumber(const std::string& text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value <= 0) return std::nullopt;
    return value;
}

// --- log ---------------------------------------------------------------------

int runLog(const Arguments& args, const Context& context) {
    int days = 7;
    if (const auto text = args.value("days")) {
        const auto parsed = positiveNumber(*text);
        if (!parsed || *parsed > 36500) return context.fail(kExitUsage, "--days needs a whole number of days from 1");
        days = *parsed;
    }
    const auto folders = foldersFor(args, context);
    if (!folders) return folders.error();
    const auto host = quietHost(folders->config);
    const Instant since = host->ports().clock.now() - std::chrono::days(days);
    const bool full = args.has("full");
    for (const auto& entry : Journal(folders->state / kJournalFileName).entries(since)) {
        context.out << formatLogLine(entry, full) << "\n";
    }
    return kExitOk;
}

// --- counts ------------------------------------------------------------------

int runCounts(const Arguments& args, const Context& context) {
    int days = 7;
    if (const auto text = args.value("days")) {
        if (*text != "7" && *text != "30") return context.fail(kExitUsage, "--days is 7 or 30");
        days = *text == "7" ? 7 : 30;
    }
    const auto folders = foldersFor(args, context);
    if (!folders) return folders.error();

    // The rules name the counts; without a rules file the defaults stand in, as in the app.
    RulesFile rules;
    const auto rulesPath = folders->config / kRulesFileName;
    std::error_code ec;
    if (std::filesystem::exists(std::filesystem::symlink_status(rulesPath, ec))) {
        const auto bytes = readSmallFile(rulesPath, kMaxRulesFileSize);
        if (!bytes) {
            return context.fail(kExitUsage,
                                "can’t read " + rulesPath.string() + ": " + unreadableReason(rulesPath, bytes.error()));
        }
        auto decoded = RulesCoding::decode(*bytes);
        if (!decoded) return context.fail(kExitBadInput, rulesErrorText(decoded.error()));
        rules = std::move(*decoded);
    }

    const auto host = quietHost(folders->config);
    const Clock& clock = host->ports().clock;
    auto totals = CountsFile(folders->state / kCountsFileName).load().totals(clock.localDay(clock.now()), days);
    const auto take = [&](const std::string& key) {
        const auto found = totals.find(key);
        if (found == totals.end()) return std::int64_t{0};
        const auto count = found->second;
        totals.erase(found);
        return count;
    };

    std::int64_t total = 0;
    json::array ruleRows;
    std::string text;
    for (std::size_t i = 0; i < rules.rules.size(); ++i) {
        const Rule& rule = rules.rules[i];
        // Two rules with one id (a hand-copied rule) share its count; it is shown once.
        const auto links = take(rule.id);
        total += links;
        ruleRows.push_back(json::object{{"position", i + 1}, {"id", rule.id}, {"target", targetJson(rule.open)}, {"links", links}});
        text += "Rule " + std::to_string(i + 1) + " · " + describeTarget(rule.open, context.environment) + ": " + std::to_string(links) + "\n";
    }
    const auto fallbackLinks = take(std::string(kFallbackCountKey));
    total += fallbackLinks;
    text += "Fallback · " + describeTarget(rules.fallback, context.environment) + ": " + std::to_string(fallbackLinks) + "\n";
    // Counts of rules that have since been removed still happened.
    std::int64_t removed = 0;
    for (const auto& [key, count] : totals) removed += count;
    total += removed;
    if (removed > 0) text += "Removed rules: " + std::to_string(removed) + "\n";
    text += "Total: " + std::to_string(total) + " links in the last " + std::to_string(days) + " days\n";

    if (args.has("json")) {
        context.out << json::serialize(json::object{
                           {"days", days},
                           {"rules", std::move(ruleRows)},
                           {"fallback", json::object{{"target", targetJson(rules.fallback)}, {"links", fallbackLinks}}},
                           {"removedRules", removed},
                           {"total", total},
                       })
                    << "\n";
    } else {
        context.out << text;
    }
    return kExitOk;
}

// --- settings ----------------------------------------------------------------

int runSettings(const Arguments& args, const Context& context) {
    const auto folders = foldersFor(args, context);
    if (!folders) return folders.error();
    const auto host = quietHost(folders->config);
    for (const auto& line : Settings(host->ports().preferences).reportLines()) context.out << line << "\n";
    return kExitOk;
}

// --- report ------------------------------------------------------------------

// rules.json as the report holds it: the rules as the coder writes them (the
// defaults when there is no file, as in the app). A file with an error is
// taken as it is, since the error is what support needs to see; a line on
// standard error says so. Fails with an exit status already reported.
std::expected<std::string, int> reportRules(const std::filesystem::path& folder, const Context& context) {
    const auto path = folder / kRulesFileName;
    std::error_code ec;
    if (!std::filesystem::exists(std::filesystem::symlink_status(path, ec))) return RulesCoding::encode(RulesFile{});
    auto bytes = readSmallFile(path, kMaxRulesFileSize);
    if (!bytes) {
        return std::unexpected(context.fail(kExitUsage, "can’t read " + path.string() + ": " + unreadableReason(path, bytes.error())));
    }
    const auto decoded = RulesCoding::decode(*bytes);
    if (decoded) return RulesCoding::encode(*decoded);
    context.err << "pivra: " << path.string() << " has an error (" << rulesErrorText(decoded.error())
                << "); the report holds the file as it is\n";
    return std::move(*bytes);
}

// A folder of its own under the system's temporary folder, removed with what is in it.
class ScratchFolder {
public:
    ScratchFolder() {
        std::error_code error;
        const auto base = std::filesystem::temp_directory_path(error);
        if (error) return;
        std::string pattern = (base / "pivra-report-XXXXXX").string();
        if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    // Empty when none could be made.
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

int runReport(const Arguments& args, const Context& context) {
    const auto out = args.value("out");
    if (!out || out->empty()) return context.fail(kExitUsage, "--out FILE is needed: where to write the report");
    const auto folders = foldersFor(args, context);
    if (!folders) return folders.error();
    const ReportParts parts{.log = !args.has("no-log"), .rules = !args.has("no-rules"),
                            .browsers = !args.has("no-browsers"), .fullLinks = args.has("full-links")};

    const auto host = quietHost(folders->config);
    const Ports ports = host->ports();
    const Instant now = ports.clock.now();
    ReportContent content;
    content.about = DiagnosticReport::aboutText(ports.appInfo, ports.systemInfo);
    if (parts.log) content.log = Journal(folders->state / kJournalFileName).entries(now - kReportLogWindow);
    content.settings = Settings(ports.preferences).reportLines();
    if (parts.rules) {
        auto rules = reportRules(folders->config, context);
        if (!rules) return rules.error();
        content.rules = std::move(*rules);
    }
    if (parts.browsers) {
        const auto browsers = ports.workspace.installedBrowsers();
        content.browsers = DiagnosticReport::browsersText(browsers, DiagnosticReport::readProfiles(browsers, folders->home));
    }

    // Made apart from the app's own "pivra-report" folder, which the app may be using.
    const ScratchFolder scratch;
    if (scratch.path().empty()) return context.fail(kExitUsage, std::string(kReportFailedText) + ": no temporary folder");
    const auto made = DiagnosticReport::make(DiagnosticReport::files(content, parts), scratch.path(),
                                             ports.clock.localDay(now));
    if (!made) return context.fail(kExitUsage, std::string(kReportFailedText) + ": " + made.error());
    const auto destination = std::filesystem::absolute(*out);
    if (const auto copied = DiagnosticReport::copyTo(*made, destination); !copied) {
        return context.fail(kExitUsage, std::string(kReportFailedText) + ": " + copied.error());
    }
    context.out << "Report written to " << destination.string() << "\n";
    return kExitOk;
}

// --- watch -------------------------------------------------------------------

int runWatch(const Arguments& args, const Context& context) {
    const auto folders = foldersFor(args, context);
    if (!folders) return folders.error();
    // The rules errors are the output itself; the log would say them twice.
    const auto host = quietHost(folders->config, LogLevel::fault);
    watchRules(*host, ModelFolders::separate(folders->config, folders->state, folders->home), args.has("json"),
               context.out, {}, newRulesFallback(host->ports()));
    return kExitOk;
}

}  // namespace

void watchRules(Host& host, const ModelFolders& folders, bool asJson, std::ostream& out,
                const std::function<bool(int)>& keepGoing, std::function<Target()> newFallback) {
    AppModel model(host.ports(), folders);
    model.setNewRulesFallback(std::move(newFallback));
    int lines = 0;
    std::uint64_t printedLoads = 0;
    model.addObserver([&] {
        if (model.rulesLoads() == printedLoads) return;  // a change other than a load
        printedLoads = model.rulesLoads();
        const auto& error = model.rulesFileError();
        if (asJson) {
            json::object line;
            if (error) {
                line["error"] = error->message;
                line["line"] = error->line ? json::value(*error->line) : json::value(nullptr);
            } else {
                line["loaded"] = model.rules().rules.size();
            }
            out << json::serialize(line) << "\n";
        } else if (error) {
            out << "Rules not loaded: " << rulesErrorText(*error) << "\n";
        } else {
            out << "Rules loaded: " << model.rules().rules.size() << "\n";
        }
        out.flush();  // someone is watching this as they edit
        if (keepGoing && !keepGoing(++lines)) host.stop();
    });
    model.start();
    host.run();
    model.terminate();
}

std::vector<Command> appCommands() {
    return {
        Command{"log", "print the journal of what happened to each link",
                "usage: pivra log [--days N] [--full] [--home DIR]\n\n"
                "Prints the journal (pivra-log.jsonl) of the last N days (default 7), one entry a\n"
                "line: the time in UTC, the text and the link's host; --full adds the link's path.\n",
                {kHomeOption, {"days", true}, {"full", false}}, 0, 0, runLog},
        Command{"counts", "print how many links each rule took",
                "usage: pivra counts [--days 7|30] [--json] [--home DIR]\n\n"
                "Prints the links each rule took over the last 7 (default) or 30 days, by the\n"
                "rule's position and target, then the fallback's, then the total.\n",
                {kHomeOption, kJsonOption, {"days", true}}, 0, 0, runCounts},
        Command{"settings", "print every setting as the diagnostic report lists it",
                "usage: pivra settings [--home DIR]\n\n"
                "Prints one line per setting: \"key: value\", or \"key: default\" when it was never set.\n",
                {kHomeOption}, 0, 0, runSettings},
        Command{"report", "write the diagnostic report, the zip the app makes for support",
                "usage: pivra report --out FILE [--no-log] [--no-rules] [--no-browsers] [--full-links]\n"
                "                    [--home DIR]\n\n"
                "Writes the diagnostic report to FILE (replacing it at once), the same zip as the app's:\n"
                "about.txt (versions), log.txt (the journal of the last 7 days, each link's host; with\n"
                "--full-links its path too), rules.json (a file with an error as it is), settings.txt\n"
                "and browsers.txt (the browsers and their profiles). --no-log, --no-rules and\n"
                "--no-browsers leave those parts out. Nothing is sent anywhere.\n",
                {kHomeOption, {"out", true}, {"no-log", false}, {"no-rules", false}, {"no-browsers", false},
                 {"full-links", false}},
                0, 0, runReport},
        Command{"watch", "watch the rules file and say whether each edit is accepted",
                "usage: pivra watch [--json] [--home DIR]\n\n"
                "Loads the rules file the way the app does (creating it on first use), then watches\n"
                "it until interrupted, printing one line per load: \"Rules loaded: N\" or \"Rules not\n"
                "loaded: \" and the error. With --json: {\"loaded\":N} or {\"error\":\"...\",\"line\":N|null}.\n",
                {kHomeOption, kJsonOption}, 0, 0, runWatch},
    };
}

}  // namespace pivra::cli
