#include "app/storage/rules_store.hpp"

#include "app/storage/file_io.hpp"
#include "core/files/small_file.hpp"

namespace pivra {

std::string rulesErrorText(const RulesFileError& error) {
    if (!error.line) return error.message;
    return "Line " + std::to_string(*error.line) + ": " + error.message;
}

RulesStore::RulesStore(std::filesystem::path file, Scheduler& scheduler, FileWatcher& watcher,
                       std::function<std::string()> newId)
    : file_(std::move(file)),
      watcher_(watcher),
      newId_(std::move(newId)),
      reload_(scheduler, kRulesReloadDelay, [this] { reloadIfChanged(); }) {}

// Handlers capture `this`; ending the watches keeps them from outliving the store.
RulesStore::~RulesStore() {
    if (fileWatch_) watcher_.stop(*fileWatch_);
    if (folderWatch_) watcher_.stop(*folderWatch_);
}

std::expected<RulesFile, RulesFileError> RulesStore::load() {
    std::error_code error;
    if (!loadedOnce_ && !std::filesystem::exists(std::filesystem::symlink_status(file_, error))) {
        loadedOnce_ = true;
        RulesFile defaults;
        if (newFileFallback_) defaults.fallback = newFileFallback_();
        save(defaults);
        return defaults;
    }
    // Only the first load of a process creates the file: one deleted later
    // is a read error, and the last good rules stay in use.
    loadedOnce_ = true;

    const auto bytes = readSmallFile(file_, kMaxRulesFileSize);
    lastKnown_ = bytes;
    if (!bytes) {
        const bool tooLarge = bytes.error() == FileReadError::tooLarge;
        return std::unexpected(RulesFileError{std::nullopt, std::string(tooLarge ? kRulesTooLargeMessage : kRulesUnreadableMessage)});
    }
    auto decoded = RulesCoding::decode(*bytes);
    if (!decoded) return decoded;
    if (fillInMissingIds(*decoded, newId_)) save(*decoded);
    return decoded;
}

void RulesStore::save(const RulesFile& file) {
    std::string bytes = RulesCoding::encode(file);
    // Remembered before writing, so that the event this write causes is known
    // as ours; and kept even if the write fails, so that the next change by
    // someone else still differs from it.
    lastKnown_ = bytes;
    writeFileAtomically(file_, bytes);
}

void RulesStore::start() {
    if (!folderWatch_) {
        folderWatch_ = watcher_.watchFolder(file_.parent_path(), [this] {
            // A new or replaced file needs a new file watch.
            rearmFileWatch();
            scheduleReload();
        });
    }
    rearmFileWatch();
}

void RulesStore::rearmFileWatch() {
    // An editor's atomic replace (or our own save) leaves a watch on the old,
    // deleted file; every event therefore watches the path afresh. The new
    // watch comes first so that no change slips through between the two.
    const auto next = watcher_.watchFile(file_, [this] {
        rearmFileWatch();
        scheduleReload();
    });
    if (fileWatch_) watcher_.stop(*fileWatch_);
    fileWatch_ = next;
}

void RulesStore::scheduleReload() { reload_.trigger(); }

void RulesStore::reloadIfChanged() {
    if (readSmallFile(file_, kMaxRulesFileSize) == lastKnown_) return;  // our own write, or still missing, or another file changed
    if (onChange_) onChange_();
}

}  // namespace pivra
