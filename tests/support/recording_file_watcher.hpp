#pragma once
// A file watcher for tests that are not about watching: it records what is
// watched and fires only when told. It answers and ends watches as inotify
// does; file_watcher_contract_test.cpp holds the two to the same behaviour.

#include <filesystem>
#include <map>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "app/ports/file_watcher.hpp"

namespace pivra::testing_support {

class RecordingFileWatcher final : public FileWatcher {
public:
    // Like the real watchers, only what is there can be watched, and a folder watch needs a folder.
    std::optional<WatchId> watchFolder(const std::filesystem::path& folder, Handler handler) override {
        std::error_code error;
        if (!std::filesystem::is_directory(folder, error)) return std::nullopt;
        return add(folder, std::move(handler));
    }
    std::optional<WatchId> watchFile(const std::filesystem::path& file, Handler handler) override {
        std::error_code error;
        if (!std::filesystem::exists(file, error)) return std::nullopt;
        return add(file, std::move(handler));
    }
    void stop(WatchId id) override { watches.erase(id); }

    // Calls the handler of every live watch on `path`, as an event on what
    // was watched there would. A watch that one of these handlers stops is
    // not called any more, even for this event.
    void fire(const std::filesystem::path& path) {
        std::vector<WatchId> due;
        for (const auto& [id, watch] : watches) {
            if (watch.first == path) due.push_back(id);
        }
        for (const auto id : due) {
            const auto found = watches.find(id);
            if (found == watches.end()) continue;
            const Handler handler = found->second.second;  // the handler may stop its own watch
            handler();
        }
    }

    std::map<WatchId, std::pair<std::filesystem::path, Handler>> watches;

private:
    std::optional<WatchId> add(const std::filesystem::path& path, Handler handler) {
        const WatchId id = next_++;
        watches.emplace(id, std::make_pair(path, std::move(handler)));
        return id;
    }
    WatchId next_ = 1;
};

}  // namespace pivra::testing_support
