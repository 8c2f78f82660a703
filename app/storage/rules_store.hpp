#pragma once
// The rules file on disk: found or created, read, written atomically, and
// watched so that an edit made in any editor takes effect within a fraction
// of a second.

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "app/model/debouncer.hpp"
#include "app/ports/file_watcher.hpp"
#include "app/ports/scheduler.hpp"
#include "core/files/small_file.hpp"
#include "core/rules/rules_coding.hpp"
#include "core/rules/rules_file.hpp"

namespace pivra {

inline constexpr std::string_view kRulesUnreadableMessage = "Can’t read the file; keeping the last rules";
inline constexpr std::string_view kRulesTooLargeMessage = "The file is larger than 16 MB; keeping the last rules";

// How long the file must be quiet before it is read again: editors write,
// rename and replace in bursts.
inline constexpr Seconds kRulesReloadDelay{0.2};

// An error as the user sees it: "Line 7: Not valid JSON", or the message alone
// when it has no line.
std::string rulesErrorText(const RulesFileError& error);

class RulesStore {
public:
    // `newId` makes the ids given to rules that have none.
    RulesStore(std::filesystem::path file, Scheduler& scheduler, FileWatcher& watcher,
               std::function<std::string()> newId = makeRuleId);
    ~RulesStore();
    RulesStore(const RulesStore&) = delete;
    RulesStore& operator=(const RulesStore&) = delete;

    const std::filesystem::path& file() const { return file_; }

    // The fallback that a file created with the default rules gets, asked
    // only when one is created; unset, the built-in default.
    void setNewFileFallback(std::function<Target()> choose) { newFileFallback_ = std::move(choose); }

    // Reads the file. On the first call of the process a missing file is
    // created with the default rules. Rules without an id get one, and the
    // file is rewritten once to keep them.
    std::expected<RulesFile, RulesFileError> load();

    // Writes the file atomically, creating its folder when needed. A failed
    // write is ignored: the file on disk stays as it was.
    void save(const RulesFile& file);

    // Begins watching the folder and the file. Call once, after the first load.
    void start();

    // Called after the file changed on disk by someone other than this store,
    // once a burst of changes has settled.
    void setOnChange(std::function<void()> onChange) { onChange_ = std::move(onChange); }

    bool isWatchingFolder() const { return folderWatch_.has_value(); }
    bool isWatchingFile() const { return fileWatch_.has_value(); }
    bool isReloadPending() const { return reload_.isPending(); }

    // Runs a pending reload now instead of after the quiet time, so that an
    // edit made in the app never overwrites a change an editor just saved.
    void settlePendingReload() { reload_.flush(); }

private:
    void rearmFileWatch();
    void scheduleReload();
    void reloadIfChanged();

    std::filesystem::path file_;
    FileWatcher& watcher_;
    std::function<std::string()> newId_;
    std::function<void()> onChange_;
    std::function<Target()> newFileFallback_;
    std::optional<WatchId> folderWatch_;
    std::optional<WatchId> fileWatch_;
    // The file's bytes as this store last wrote or read them, or why it could
    // not be read. A change event whose file still reads the same is the
    // store's own write, or an event about another file of the folder.
    std::expected<std::string, FileReadError> lastKnown_ = std::unexpected(FileReadError::unreadable);
    Debouncer reload_;
    bool loadedOnce_ = false;
};

}  // namespace pivra
