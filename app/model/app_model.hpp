#pragma once
// The one model of the app, on the main thread: the rules and their error,
// the settings, the journal and the link counts, the browsers found, and the
// path of every link from its arrival to the browser. Screens observe it and
// re-read what they show after each change.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <deque>
#include <random>
#include <memory>

#include <boost/url/url_view.hpp>
#include <sys/types.h>

#include "app/model/debouncer.hpp"
#include "app/model/link_picker.hpp"
#include "app/model/menu_model.hpp"
#include "app/model/notifier.hpp"
#include "app/model/problem.hpp"
#include "app/model/recent_link.hpp"
#include "app/ports/ports.hpp"
#include "app/report/diagnostic_report.hpp"
#include "app/storage/counts_file.hpp"
#include "app/storage/journal.hpp"
#include "app/storage/rules_store.hpp"
#include "app/storage/settings.hpp"
#include "app/update/updater.hpp"
#include "core/activity/link_counts.hpp"
#include "core/activity/log_entry.hpp"
#include "core/browsers/browser_profile.hpp"
#include "core/files/data_location.hpp"
#include "core/browsers/profile_launch.hpp"
#include "core/routing/router.hpp"
#include "core/rules/import_matcher.hpp"
#include "core/rules/known_apps.hpp"
#include "core/rules/rules_file.hpp"

namespace pivra {

inline constexpr std::string_view kRulesEditRefusedLog = "Not saved: rules.json has an error to fix first";
inline constexpr std::string_view kRulesEditRefusedText =
    "Fix rules.json before editing here. Pivra keeps using your last good rules.";
inline constexpr std::string_view kImportRefusedText = "Fix rules.json before importing";
inline constexpr std::string_view kExportFileName = "pivra-rules.json";

inline constexpr std::string_view kImportUnreadableText = "Couldn’t read that file";
inline constexpr std::string_view kImportTooLargeText = "That file is larger than 16 MB, too large for rules";

using ObserverId = std::uint64_t;

// How long a profile launch may take before it counts as not answering.
inline constexpr Seconds kProfileLaunchTimeout{10};
// A browser started directly that is still running this long after it was
// started has become the running browser: it is left running and counts as opened.
inline constexpr Seconds kBrowserStartSettle{3};

namespace LinkText {
inline constexpr std::string_view kUnknownApp = "unknown app";
inline constexpr std::string_view kPickerShown = "Picker shown";
inline constexpr std::string_view kPickerClosed = "Picker closed without a choice; the link wasn’t opened";
inline constexpr std::string_view kOpenedWithProfile = "Opened with the profile";
inline constexpr std::string_view kOpenedInNewWindow = "Opened in a new window";
inline constexpr std::string_view kCouldNotOpenProfile = "Couldn’t open the profile: ";
inline constexpr std::string_view kProfileGone = "the profile is gone";
inline constexpr std::string_view kDidNotAnswer = "it didn’t answer";
inline constexpr std::string_view kExitedWith = "it exited with ";
inline constexpr std::string_view kCouldNotStart = "it couldn’t be started";
}  // namespace LinkText

// The app is idle, so that an update may replace it, when no link has come
// for this long and no window of its own is in front.
inline constexpr Seconds kIdleAfterLastLink{5 * 60};

// Where the model keeps its files, and the home folder whose browser files it reads.
struct ModelFolders {
    // One folder for everything, as on a Mac.
    ModelFolders(std::filesystem::path data, std::filesystem::path home, std::filesystem::path rules = {})
        : config(data), state(std::move(data)), home(std::move(home)), rules(std::move(rules)) {}
    // Configuration apart from state, as the XDG base directories keep them.
    static ModelFolders separate(std::filesystem::path config, std::filesystem::path state, std::filesystem::path home,
                                 std::filesystem::path rules = {}) {
        ModelFolders folders(std::move(config), std::move(home), std::move(rules));
        folders.state = std::move(state);
        return folders;
    }

    std::filesystem::path config;  // rules.json
    std::filesystem::path state;   // pivra-log.jsonl, counts.json
    std::filesystem::path home;
    std::filesystem::path rules;      // another rules file in place of config's rules.json; empty: none
    std::filesystem::path temporary;  // where the diagnostic report is made; empty: the system's temporary folder

    std::filesystem::path rulesFile() const { return rules.empty() ? config / kRulesFileName : rules; }
    std::filesystem::path journalFile() const { return state / kJournalFileName; }
    std::filesystem::path countsFile() const { return state / kCountsFileName; }
};

// How one open of a link ended, for a caller that waits for it (`pivra open`).
struct OpenOutcome {
    bool opened = false;       // some browser took the link
    std::string app;           // the app that took it, or the last one tried
    std::string error;         // why not, when not opened
};

// An imported rules file waiting for the user to match it to this Mac.
struct PendingImport {
    std::string id;  // fresh for every import, so a screen can tell two apart
    RulesFile file;
    std::vector<ImportGap> gaps;

    bool operator==(const PendingImport&) const = default;
};

// How an import request ended.
struct ImportOutcome {
    enum class Kind { pending, cancelled, refused, failed };
    Kind kind;
    std::string message;  // for refused and failed: the text to show
};

// How a request for the diagnostic report ended.
struct ReportOutcome {
    enum class Kind {
        composed,      // the mail app has the message with the zip attached
        saved,         // the zip is at `file`
        cancelled,     // the save panel was cancelled
        mailNotSetUp,  // no mail app: `message` says so; offer to save instead
        failed,        // `message` is kReportFailedText; nothing was sent or saved
    };
    Kind kind;
    std::string message;         // for mailNotSetUp and failed: the text to show
    std::filesystem::path file;  // the zip made, or for saved where it went

    bool operator==(const ReportOutcome&) const = default;
};

class AppModel {
public:
    // `newId` makes rule and recent-row ids (fixed ones in tests); absent:
    // random UUIDs, the rows' from a generator seeded once, since every link
    // makes one.
    AppModel(Ports ports, ModelFolders folders, std::function<std::string()> newId = {});
    ~AppModel();
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;

    // Loads the rules and the counts, watches the rules file, and reads the
    // installed browsers with their profiles and the default-browser state.
    void start();
    // Writes a pending counts save at once; call before the process ends.
    void terminate();

    // --- Rules ---
    const RulesFile& rules() const { return rules_; }
    // The error of the last load, absent when the file was good. The rules
    // above are then the last good ones, still routing links.
    const std::optional<RulesFileError>& rulesFileError() const { return rulesError_; }
    // The same error as the user reads it ("Line 3: Not valid JSON").
    std::optional<std::string> rulesError() const;
    // Loads the file again; run at start and whenever the file changes.
    void reloadRules();
    // How many loads there have been, good or not.
    std::uint64_t rulesLoads() const { return rulesLoads_; }
    // Applies `edit` to the rules and saves the whole file. Refused (false,
    // nothing changes) while the file has an error.
    bool editRules(const std::function<void(RulesFile&)>& edit);
    // Asks for a place with a save panel and writes the rules there; `done`
    // receives whether a file was written (false when cancelled or failed).
    void exportRules(std::function<void(bool)> done = {});
    RulesStore& rulesStore() { return store_; }
    // The fallback of a rules file created because there was none (the
    // first start); unset, the built-in default. Set before start.
    void setNewRulesFallback(std::function<Target()> choose) { store_.setNewFileFallback(std::move(choose)); }

    // Asks for a rules file with an open panel, reads it and compares it with
    // this Mac's apps and browser profiles; the result waits in
    // pendingImport. Refused while rules.json has an error; a file that does
    // not decode fails with its error ("Line 3: Not valid JSON").
    void importRules(const std::set<std::string>& installedApps,
                     const std::map<std::string, std::vector<BrowserProfile>>& profiles,
                     std::function<void(const ImportOutcome&)> done = {});
    const std::optional<PendingImport>& pendingImport() const { return pendingImport_; }
    // Takes over `resolved` (the pending file with the user's replacements)
    // through the edit path: rules without an id get one. False, keeping the
    // pending import, when rules.json has an error by now.
    bool acceptImport(RulesFile resolved);
    void cancelImport();

    // --- Settings, journal, counts ---
    Settings& settings() { return settings_; }
    Journal& journal() { return journal_; }
    const LinkCounts& counts() const { return counts_; }
    // Counts one link for `key` (a rule id or the fallback key) today and
    // saves the counts 2 s after the last such link, adding them to what
    // other processes saved meanwhile. Nothing happens while counting is off.
    void countLink(std::string_view key);
    bool isCountsSavePending() const { return countsSave_.isPending(); }
    // Deletes the journal and empties the counts, saving them at once: the
    // file is emptied for every process.
    void clearHistory();

    // --- Links ---
    // A link as the system delivers it: the text and the sending process (0
    // when unknown). A text that is not a link is dropped without a trace;
    // returns whether the link was taken.
    bool receiveLink(std::string_view text, pid_t senderPid);
    // The whole path of one link from a known source: the decision, the
    // journal, the recent list, today's count, then the picker or the open,
    // which runs after this returns.
    void handleLink(boost::urls::url_view link, const Source& source);
    // Called with how each open ended, after the journal has it.
    void setOnOpenFinished(std::function<void(const OpenOutcome&)> handler) { onOpenFinished_ = std::move(handler); }
    // The picker panel, or none (links meant for it are then closed without a choice).
    void setPicker(LinkPicker* picker) { picker_ = picker; }

    std::optional<Instant> lastLinkAt() const { return lastLinkAt_; }
    std::int64_t linksToday() const { return linksToday_; }
    const std::deque<RecentLink>& recentLinks() const { return recentLinks_; }
    const std::vector<RecentOpen>& recentOpens() const { return recent_; }
    const std::vector<Problem>& problems() const { return problems_; }
    // Adds the problem unless one with its identifier is listed (a rules
    // error with another text replaces the listed one), journals it and
    // tells the problem handlers; clearProblem withdraws one.
    void raiseProblem(const Problem& problem);
    void clearProblem(std::string_view identifier);
    // The problem in words, with the apps' names.
    ProblemText problemText(const Problem& problem) const;
    // Told of each problem raised, and of each identifier withdrawn.
    void setOnProblemRaised(std::function<void(const Problem&)> handler) { onProblemRaised_ = std::move(handler); }
    void setOnProblemCleared(std::function<void(std::string_view)> handler) { onProblemCleared_ = std::move(handler); }
    // The app came to the front again: the default browser and the
    // notification settings may have changed meanwhile.
    void appBecameActive();
    // Posts problems as notifications and hears their clicks.
    Notifier& notifier() { return notifier_; }

    // --- Diagnostic report ---
    // Makes the report's zip from the current rules, settings, journal and
    // browsers, in the temporary folder, named by today's date. Absent on
    // failure, which is logged and kept as the report outcome.
    std::optional<std::filesystem::path> makeReport(const ReportParts& parts);
    // Makes the report and hands it to the mail app, addressed to support
    // with the subject and the start of a body; the user sends it.
    void mailReport(const ReportParts& parts, std::function<void(const ReportOutcome&)> done = {});
    // Makes the report and asks for a place with a save panel suggesting the
    // zip's name; a file at the chosen place is replaced by the zip at once.
    void saveReport(const ReportParts& parts, std::function<void(const ReportOutcome&)> done = {});
    // The log as the report screen shows it for these parts (see DiagnosticReport::logView).
    std::string reportLogView(const ReportParts& parts) const;
    // How the last report request ended, for the report screen; absent before
    // any, and while a report just made waits for the mail app or the panel.
    const std::optional<ReportOutcome>& reportOutcome() const { return reportOutcome_; }

    // --- Settings window ---
    SettingsPage settingsPage() const { return settingsPage_; }
    // Shows the settings window at `page` (a notification's click, a problem
    // in the menu): the page is kept and the handler opens the window.
    void openSettings(SettingsPage page);
    void setOnOpenSettings(std::function<void(SettingsPage)> handler) { onOpenSettings_ = std::move(handler); }

    // --- What the settings and onboarding screens read and change ---
    // The model's time, so that screens agree with the journal and the counts.
    Instant now() const;
    CalendarDay localDay(Instant instant) const;
    // Links per count key (rule ids and kFallbackCountKey) over the `days`
    // days that end today.
    std::map<std::string, std::int64_t> countTotals(int days) const;
    // The journal's entries of the last seven days, in file order.
    std::vector<LogEntry> recentJournal() const;
    // Changes settings and tells the observers, so that every screen re-reads them.
    void changeSettings(const std::function<void(Settings&)>& change);
    // Chooses the detailed log; "For 24 hours" runs from now.
    void setDetailedLog(DetailedLog value);
    bool isDetailedLogOn() const { return detailedLogOn(); }
    // The well-known apps installed here, in the order of the known-apps
    // lists, each once: the sources a rule is most likely to name.
    std::vector<InstalledApp> installedKnownApps() const;
    // Starter rules from the installed well-known apps and the profiles found.
    std::vector<Suggestion> starterSuggestions() const;
    // importRules, with the apps the chosen file names looked up in the
    // workspace and the profiles found here.
    void importRules(std::function<void(const ImportOutcome&)> done);

    // --- Apps, browsers and profiles ---
    const std::vector<BrowserApp>& browsers() const { return browsers_; }
    const std::map<std::string, std::vector<BrowserProfile>>& profiles() const { return profiles_; }
    // Reads the installed browsers and their profiles again.
    void refreshBrowsers();
    // The name people read for an app identifier: the installed browser's,
    // else the installed app's, else the identifier itself.
    std::string appName(std::string_view id) const;
    // "Google Chrome · Work": the app's name and the profile's, when there is one.
    std::string targetName(const Target& target) const;
    // "Slack", or "unknown app".
    std::string sourceName(const Source& source) const;
    // What people call this computer in the app's texts: "Mac", or "computer".
    std::string machineNoun() const { return ports_.appInfo.machineNoun(); }
    bool isDefault() const { return isDefault_; }
    // Reads whether this app is the default browser, raising or clearing "notDefault".
    void refreshDefaultBrowser();
    // Asks the system to make this app the default browser.
    void makeDefaultBrowser();
    bool opensAtLogin() const { return opensAtLogin_; }
    bool setOpensAtLogin(bool enabled);

    // --- Menu ---
    Menu menu() const;
    // "Pause for 1 hour", "Pause Pivra", "Resume" and "Turn Pivra on".
    void pauseFor(Seconds duration);
    void pauseUntilResumed();
    void resume();
    // An Option-click on the menu bar icon: pauses, or resumes when paused.
    // False (nothing changes) while the setting for it is off.
    bool optionClick();
    // "Open again in…": the recent link goes to the picker again; the choice
    // opens it and the row shows it as picked. False when there is no such
    // row or no picker.
    bool openAgain(std::string_view recentId);
    // "Make a rule": a rule from the recent link (its source app, its host,
    // its target) put first in the rules through the edit path, and revealed
    // on the rules page. Absent when there is no such row or the rules have
    // an error; else the new rule's id.
    std::optional<std::string> makeRule(std::string_view recentId);
    // The rule the rules page is to reveal, set by makeRule.
    const std::optional<std::string>& focusRuleID() const { return focusRuleID_; }

    // --- Updates ---
    // What the updater needs from the host app; set before the first call of
    // updater(). Without it, updates are never installed in place (`manual`).
    void setUpdaterSetup(UpdaterSetup setup) {
        updaterSetup_ = std::move(setup);
        updatesItself_ = true;
    }
    // Whether this app replaces itself with new releases: the host app gave
    // the updater what it needs. A copy that its system's packages update
    // (the Linux app) does not, and its screens offer no updates.
    bool updatesItself() const { return updatesItself_; }
    // Made on first use; its changes reach this model's observers too. Its
    // schedule is not started here: the host app calls startSchedule.
    Updater& updater();
    // Whether the app may be replaced now: no link for kIdleAfterLastLink and
    // no window of the app's in front.
    bool isIdle() const;
    // The screens say when a window of the app's comes to the front or leaves it.
    void setWindowInFront(bool inFront) { windowInFront_ = inFront; }

    // --- Observers ---
    ObserverId addObserver(std::function<void()> observer);
    void removeObserver(ObserverId id);

private:
    struct OpenAttempt;

    // Reads the chosen file and compares it with the apps `installed` says are here.
    void importRulesWith(std::function<std::set<std::string>(const RulesFile&)> installed,
                         std::map<std::string, std::vector<BrowserProfile>> profiles,
                         std::function<void(const ImportOutcome&)> done);

    void notify();
    void saveCounts();
    void countToday(Instant now);
    void countForRule(const Decision::Reason& reason);
    // `counts`: the choice counts as today's link (not for a link opened again).
    void routeToPicker(const Source& source, const Decision& decision, long long batch, Instant now,
                       std::optional<std::string> recentId, bool counts);
    // A rule from the user's choice for this link's host and source app, put
    // ahead of the rule that took it (else last). Nothing for an unknown
    // source or a link without a host; refused while rules.json has an error.
    void rememberChoice(const Source& source, const Decision& decision, const Target& choice);
    void finishPick(const Source& source, Decision decision, std::optional<Target> choice,
                    std::optional<std::string> recentId, bool counts);
    void open(std::shared_ptr<OpenAttempt> attempt);
    void openWithoutPlan(std::shared_ptr<OpenAttempt> attempt, const InstalledApp& app);
    void launchPlan(std::shared_ptr<OpenAttempt> attempt, const InstalledApp& app, const ProfileLaunch::Plan& plan);
    void profileCannotBeUsed(std::shared_ptr<OpenAttempt> attempt, const InstalledApp& app, const std::string& reason);
    void openWithoutProfile(std::shared_ptr<OpenAttempt> attempt, const InstalledApp& app, const std::string& reason);
    void openFallback(std::shared_ptr<OpenAttempt> attempt, const std::string& why);
    void finishOpen(const std::shared_ptr<OpenAttempt>& attempt, bool opened, std::string error = {});
    void journal(std::string text, Instant at);
    void finishReport(ReportOutcome outcome, const std::function<void(const ReportOutcome&)>& done);
    bool detailedLogOn() const;
    void logDetail(const std::string& text);
    // Runs `work` later on the main thread unless the model is gone by then.
    void later(std::function<void()> work);
    std::function<void()> guarded(std::function<void()> work);
    template <typename T>
    std::function<void(T)> guardedResult(std::function<void(T)> work) {
        return [alive = std::weak_ptr<bool>(alive_), work = std::move(work)](T value) {
            if (alive.lock()) work(std::move(value));
        };
    }

    Ports ports_;
    ModelFolders folders_;
    std::function<std::string()> newId_;
    std::function<std::string()> newRowId_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    Settings settings_;
    Notifier notifier_;
    RulesStore store_;
    RulesFile rules_;
    std::optional<RulesFileError> rulesError_;
    std::optional<PendingImport> pendingImport_;
    std::optional<ReportOutcome> reportOutcome_;
    Journal journal_;
    CountsFile countsFile_;
    LinkCounts counts_;          // as last read or saved, with what was counted since
    LinkCounts unsavedCounts_;   // what was counted since the last save
    Debouncer countsSave_;
    bool quiet_ = false;  // while starting
    std::uint64_t rulesLoads_ = 0;
    std::optional<Instant> lastLinkAt_;
    std::vector<RecentOpen> recent_;
    LinkBatcher batcher_;
    std::deque<RecentLink> recentLinks_;
    std::int64_t linksToday_ = 0;
    std::optional<CalendarDay> countedDay_;
    std::vector<Problem> problems_;
    std::vector<BrowserApp> browsers_;
    std::map<std::string, std::vector<BrowserProfile>> profiles_;
    bool isDefault_ = false;
    bool opensAtLogin_ = false;
    std::optional<std::string> focusRuleID_;
    LinkPicker* picker_ = nullptr;
    std::function<void(const OpenOutcome&)> onOpenFinished_;
    std::function<void(const Problem&)> onProblemRaised_;
    std::function<void(std::string_view)> onProblemCleared_;
    std::function<void(SettingsPage)> onOpenSettings_;
    SettingsPage settingsPage_ = SettingsPage::rules;
    std::map<ObserverId, std::function<void()>> observers_;
    ObserverId nextObserver_ = 1;
    bool windowInFront_ = false;
    UpdaterSetup updaterSetup_;
    bool updatesItself_ = false;
    std::unique_ptr<Updater> updater_;  // after everything it refers to
};

}  // namespace pivra
