#pragma once
// A file watcher for tests that are not about watching: it records what is
// watched and fires only when told. Tests of watching itself use inotify.

#include <map>
#include <vector>

#include "app/ports/file_watcher.hpp"

namespace pivra::testing_support {

class RecordingFileWatcher final : public FileWatcher {
public:
    std::optional<WatchId> watchFolder(const std::filesystem::path& folder, Handler handler) override {
        return add(folder, std::move(handler));
    }
    std::optional<WatchId> watchFile(const std::filesystem::path& file, Handler handler) override {
        return add(file, std::move(handler));
    }
    void stop(WatchId id) override { watches.erase(id); }

    // Calls the handler of every live watch on `path`, as an event would.
    void fire(const std::filesystem::path& path) {
        std::vector<Handler> due;
        for (const auto& [id, watch] : watches) {
            if (watch.first == path) due.push_back(watch.second);
        }
        for (const auto& handler : due) handler();
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
