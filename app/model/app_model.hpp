#pragma once
// The one model of the app, on the main thread: the rules and their error,
// the settings, the journal and the link counts. Screens observe it and
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

#include "app/model/debouncer.hpp"
#include "app/ports/ports.hpp"
#include "app/storage/counts_file.hpp"
#include "app/storage/journal.hpp"
#include "app/storage/rules_store.hpp"
#include "app/storage/settings.hpp"
#include "core/activity/link_counts.hpp"
#include "core/rules/import_matcher.hpp"
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

class AppModel {
public:
    // The model's files live in `dataFolder` (rules.json, pivra-log.jsonl, counts.json).
    AppModel(Ports ports, const std::filesystem::path& dataFolder,
             std::function<std::string()> newRuleId = makeRuleId);
    AppModel(const AppModel&) = delete;
    AppModel& operator=(const AppModel&) = delete;

    // Loads the rules and the counts, then watches the rules file.
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
    // Applies `edit` to the rules and saves the whole file. Refused (false,
    // nothing changes) while the file has an error.
    bool editRules(const std::function<void(RulesFile&)>& edit);
    // Asks for a place with a save panel and writes the rules there; `done`
    // receives whether a file was written (false when cancelled or failed).
    void exportRules(std::function<void(bool)> done = {});
    RulesStore& rulesStore() { return store_; }

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
    // saves the counts 2 s after the last such link. Nothing happens while
    // counting is off.
    void countLink(std::string_view key);
    bool isCountsSavePending() const { return countsSave_.isPending(); }
    // Deletes the journal and empties the counts, saving them at once.
    void clearHistory();

    // --- Observers ---
    ObserverId addObserver(std::function<void()> observer);
    void removeObserver(ObserverId id);

private:
    void notify();
    void saveCounts();

    Ports ports_;
    std::function<std::string()> newId_;
    Settings settings_;
    RulesStore store_;
    RulesFile rules_;
    std::optional<RulesFileError> rulesError_;
    std::optional<PendingImport> pendingImport_;
    Journal journal_;
    CountsFile countsFile_;
    LinkCounts counts_;
    Debouncer countsSave_;
    std::map<ObserverId, std::function<void()>> observers_;
    ObserverId nextObserver_ = 1;
};

}  // namespace pivra
