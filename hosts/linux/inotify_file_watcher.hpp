#pragma once
// File watching with one inotify descriptor read on a Boost.Asio io_context.

#include <array>
#include <cstdint>
#include <map>
#include <memory>

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include "app/ports/file_watcher.hpp"

namespace pivra {

class InotifyFileWatcher final : public FileWatcher {
public:
    explicit InotifyFileWatcher(boost::asio::io_context& context);
    ~InotifyFileWatcher() override;

    std::optional<WatchId> watchFolder(const std::filesystem::path& folder, Handler handler) override;
    std::optional<WatchId> watchFile(const std::filesystem::path& file, Handler handler) override;
    void stop(WatchId id) override;

    // Events read so far, for tests that wait for the kernel's events.
    std::uint64_t eventsRead() const { return eventsRead_; }

private:
    struct Watch {
        int descriptor;      // the inotify watch descriptor
        std::uint32_t mask;  // the events this watch wants
        Handler handler;
    };

    std::optional<WatchId> add(const std::filesystem::path& path, std::uint32_t mask, Handler handler);
    void readMore();
    void dispatch(std::size_t length);

    boost::asio::posix::stream_descriptor stream_;
    std::array<char, 64 * 1024> buffer_{};
    std::map<WatchId, Watch> watches_;
    // Several watches may share one kernel watch: inotify gives the same
    // descriptor for the same file, so it is removed only with its last user.
    std::multimap<int, WatchId> byDescriptor_;
    WatchId nextId_ = 1;
    std::uint64_t eventsRead_ = 0;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace pivra
