// The Linux host: a Boost.Asio main loop with its timers, inotify, a JSON
// settings file and a log on standard error.

#include <csignal>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/signal_set.hpp>

#include "app/ports/host.hpp"
#include "hosts/linux/asio_scheduler.hpp"
#include "hosts/linux/inotify_file_watcher.hpp"
#include "hosts/linux/json_file_preferences.hpp"
#include "hosts/linux/no_dialogs.hpp"
#include "hosts/linux/stderr_log.hpp"
#include "hosts/linux/system_clock.hpp"

namespace pivra {
namespace {

constexpr std::string_view kSettingsFileName = "settings.json";

class LinuxHost final : public Host {
public:
    explicit LinuxHost(const HostOptions& options)
        : scheduler_(context_),
          log_(options.minimumLogLevel),
          preferences_(options.dataFolder / kSettingsFileName, log_),
          watcher_(context_) {}

    Ports ports() override { return Ports{clock_, scheduler_, preferences_, watcher_, log_, dialogs_}; }

    void run() override {
        boost::asio::signal_set signals(context_, SIGINT, SIGTERM);
        signals.async_wait([this](const boost::system::error_code& error, int) {
            if (!error) context_.stop();
        });
        auto work = boost::asio::make_work_guard(context_);
        context_.restart();
        // A stop asked for before run (by start-up code) still ends it at once.
        if (stopRequested_) return;
        context_.run();
    }

    void stop() override {
        stopRequested_ = true;
        context_.stop();
    }

private:
    boost::asio::io_context context_;
    bool stopRequested_ = false;
    SystemClock clock_;
    AsioScheduler scheduler_;
    StderrLog log_;  // before the preferences, which report a broken file to it
    JsonFilePreferences preferences_;
    InotifyFileWatcher watcher_;
    NoDialogs dialogs_;
};

}  // namespace

std::unique_ptr<Host> makeHost(const HostOptions& options) { return std::make_unique<LinuxHost>(options); }

}  // namespace pivra
