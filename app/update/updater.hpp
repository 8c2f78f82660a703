#pragma once
// Keeping the app current: about once a day the update feed is fetched; a
// newer build that this system can run is downloaded, its hash checked,
// unpacked, its signature and build checked, and staged; at the first idle
// moment (or on "Restart Now") it replaces the running copy, whose old bundle
// is set aside where it can be got back, and the app relaunches. Every
// failure ends in `failed` with a message and leaves the running copy as it
// was. Main thread only; network, unpacking, hashing, signature checks and
// file moves run elsewhere and report back through the scheduler.

#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include <sys/types.h>

#include "app/install/relaunch.hpp"
#include "app/ports/app_info.hpp"
#include "app/ports/clock.hpp"
#include "app/ports/code_signing.hpp"
#include "app/ports/http.hpp"
#include "app/ports/launcher.hpp"
#include "app/ports/log.hpp"
#include "app/ports/ports.hpp"
#include "app/ports/scheduler.hpp"
#include "app/ports/unarchiver.hpp"
#include "app/storage/settings.hpp"
#include "core/updates/update_feed.hpp"
#include "core/updates/update_verifier.hpp"

namespace pivra {

// Where people download a release by hand: shown and opened in the `manual` state.
inline constexpr std::string_view kWebsiteHost = "omra.app";
inline constexpr std::string_view kWebsiteUrl = "https://omra.app/pivra";

inline constexpr std::string_view kUpdateLogCategory = "update";
// The updater's one timer: each wake looks for an idle moment to install a
// staged copy, and (once the schedule has started) for a check that is due.
inline constexpr Seconds kUpdateWakeInterval{60};
// A check is due when the last completed one is this old, or there was none.
inline constexpr Seconds kUpdateCheckInterval{24 * 60 * 60};
// After a failure (or any attempt) the schedule waits at least this long.
inline constexpr Seconds kUpdateRetryInterval{60 * 60};
// The feed is a few hundred bytes; a release zip tens of megabytes.
inline constexpr std::uint64_t kMaxFeedSize = std::uint64_t{1} << 20;
inline constexpr std::uint64_t kMaxReleaseSize = std::uint64_t{1} << 30;

// Names inside each download's fresh folder.
inline constexpr std::string_view kDownloadFileName = "Pivra.zip";
inline constexpr std::string_view kUnzippedFolderName = "unzipped";
inline constexpr std::string_view kNewBundleName = "Pivra.app";

// Why a download failed, beyond the verifier's reasons; lower case, to follow
// "Couldn’t update to <version>: ".
namespace UpdateError {
std::string server(int status);  // "the server answered 404"
inline constexpr std::string_view kUnzip = "the download couldn’t be unzipped";
inline constexpr std::string_view kInvalidFeed = "the update feed isn’t valid";
inline constexpr std::string_view kNoBundle = "the download holds no Pivra.app";
inline constexpr std::string_view kCannotSave = "the download couldn’t be saved";
}  // namespace UpdateError

// What the updater is doing or found, in the order the settings page knows them.
class UpdaterState {
public:
    enum class Kind { upToDate, downloading, ready, needsNewerSystem, failed, manual, idle, checking };

    static UpdaterState upToDate(Instant checkedAt) { return UpdaterState(Kind::upToDate, checkedAt, {}, {}); }
    static UpdaterState downloading(std::string version) { return UpdaterState(Kind::downloading, {}, std::move(version), {}); }
    static UpdaterState ready(std::string version) { return UpdaterState(Kind::ready, {}, std::move(version), {}); }
    static UpdaterState needsNewerSystem(std::string version, std::string minimumSystem) {
        return UpdaterState(Kind::needsNewerSystem, {}, std::move(version), std::move(minimumSystem));
    }
    static UpdaterState failed(std::string message) { return UpdaterState(Kind::failed, {}, {}, std::move(message)); }
    static UpdaterState manual(std::string version) { return UpdaterState(Kind::manual, {}, std::move(version), {}); }
    static UpdaterState idle() { return UpdaterState(Kind::idle, {}, {}, {}); }
    static UpdaterState checking() { return UpdaterState(Kind::checking, {}, {}, {}); }

    Kind kind() const { return kind_; }
    // upToDate: when it was checked.
    Instant checkedAt() const { return checkedAt_; }
    // downloading, ready, needsNewerSystem, manual: the release's version.
    const std::string& version() const { return version_; }
    // needsNewerSystem: the oldest macOS it runs on.
    const std::string& minimumSystem() const { return detail_; }
    // failed: the message people read.
    const std::string& message() const { return detail_; }

    bool operator==(const UpdaterState&) const = default;

private:
    UpdaterState(Kind kind, Instant checkedAt, std::string version, std::string detail)
        : kind_(kind), checkedAt_(checkedAt), version_(std::move(version)), detail_(std::move(detail)) {}
    Kind kind_;
    Instant checkedAt_;
    std::string version_;
    std::string detail_;
};

// The texts of the Updates section of the General settings page.
namespace UpdateText {
inline constexpr std::string_view kUpdateAutomatically = "Update automatically";
inline constexpr std::string_view kAutomaticallyOnCaption = "Checks once a day and installs when Pivra isn’t in use";
inline constexpr std::string_view kAutomaticallyOffCaption = "Only when you choose Check Now";
inline constexpr std::string_view kCheckNow = "Check Now";
inline constexpr std::string_view kRestartNow = "Restart Now";
inline constexpr std::string_view kDownload = "Download";
inline constexpr std::string_view kChecking = "Checking for updates…";

std::string_view automaticCaption(bool automatic);
// `checkedTime` as the screen writes the time of the last check.
std::string upToDate(std::string_view checkedTime);
std::string downloading(std::string_view version);
std::string ready(std::string_view version);
std::string manual(std::string_view version);
std::string needsNewerSystem(std::string_view version, std::string_view minimumSystem);
// The line for any state; empty for `idle`.
std::string status(const UpdaterState& state, std::string_view checkedTime);
// The button beside the line: "Restart Now" while ready, "Download" for a
// manual update, none otherwise.
std::optional<std::string_view> action(const UpdaterState& state);
}  // namespace UpdateText

// Putting a verified copy in place of the running one: file work the owner
// provides (on a Mac, with the Trash).
struct BundleReplacement {
    // Whether a new copy can be put into `folder` (the one holding the running app).
    std::function<bool(const std::filesystem::path& folder)> isWritable;
    // Puts the bundle `staged` at `running`, setting the bundle there aside
    // where it can be got back. Runs off the main thread. On failure the
    // bundle at `running` is as it was; the text says why, in lower case.
    std::function<std::expected<void, std::string>(const std::filesystem::path& staged,
                                                   const std::filesystem::path& running)>
        replace;
};

// What the updater needs besides its ports. Missing pieces fail safe: no
// isWritable means every folder is read-only (updates are `manual`), no
// replace means an install fails.
struct UpdaterSetup {
    SystemVersion system = {};                  // the running system's version
    pid_t processId = 0;                        // this process: the relaunch waits for its end
    std::filesystem::path temporaryFolder = {}; // where each download gets a fresh folder; empty: the system's
    BundleReplacement bundles = {};
    std::function<void()> quit = {};            // ends the app once its relaunch has started
    std::string opener = std::string(kMacOpener);  // the program that opens the new copy
};

// The ports the updater uses, each outliving it.
struct UpdaterPorts {
    Clock& clock;
    Scheduler& scheduler;
    Log& log;
    AppInfo& appInfo;
    Launcher& launcher;
    Http& http;
    Unarchiver& unarchiver;
    CodeSigning& codeSigning;

    static UpdaterPorts from(const Ports& ports) {
        return UpdaterPorts{.clock = ports.clock,
                            .scheduler = ports.scheduler,
                            .log = ports.log,
                            .appInfo = ports.appInfo,
                            .launcher = ports.launcher,
                            .http = ports.http,
                            .unarchiver = ports.unarchiver,
                            .codeSigning = ports.codeSigning};
    }
};

class Updater {
public:
    using State = UpdaterState;
    using ObserverId = std::uint64_t;

    // `isIdle` answers whether the app may be replaced now.
    Updater(UpdaterPorts ports, Settings& settings, UpdaterSetup setup, std::function<bool()> isIdle);
    // Waits for background work under way (a hash, a signature check, a
    // move); results still to come are dropped.
    ~Updater();
    Updater(const Updater&) = delete;
    Updater& operator=(const Updater&) = delete;

    const State& state() const { return state_; }
    // The last completed check (the feed fetched and read), as stored.
    std::optional<Instant> lastChecked() const { return settings_.updateLastChecked(); }
    // The version this copy replaced, until dismissUpdatedFrom.
    std::optional<std::string> updatedFrom() const { return settings_.updatedFrom(); }
    void dismissUpdatedFrom();
    // Whether this launch is the relaunch after an update, answered once.
    bool takeReopenAfterUpdate();
    // The verified copy waiting to be installed, and its build.
    const std::optional<std::filesystem::path>& staged() const { return staged_; }
    std::int64_t stagedBuild() const { return stagedBuild_; }

    // A check whatever "autoUpdate" says. Ignored while a check or download
    // is under way and while a copy is staged or being installed.
    void checkNow();
    // Wakes every kUpdateWakeInterval from now on; from the first wake, a
    // check whenever one is due and "autoUpdate" is on.
    void startSchedule();
    // "Restart Now": installs the staged copy at once; ignored when none is staged.
    void installNow();

    ObserverId addObserver(std::function<void()> observer);
    void removeObserver(ObserverId id);

private:
    struct Release {
        std::string version;
        std::int64_t build = 0;
        std::filesystem::path folder;  // the download's own
    };

    void setState(State state);
    bool busy() const;
    bool isCheckDue() const;
    void armWake();
    void wake();
    void check();
    void feedArrived(HttpAnswer answer, std::int64_t runningBuild);
    void failCheck(const std::string& description);
    void download(const UpdateFeed& feed);
    void downloaded(HttpDownload result, const UpdateFeed& feed);
    void unpacked(std::expected<void, std::string> result, const UpdateFeed& feed);
    void stage(const UpdateFeed& feed);
    void failUpdate(const std::string& description);
    void install();
    void replaced(std::expected<void, std::string> result);
    void relaunched(const LaunchResult& result);
    void failInstall(const std::string& description);
    void discardDownload();
    std::optional<std::filesystem::path> makeDownloadFolder() const;
    void log(LogLevel level, std::string text);

    // Runs `work` on the worker thread, then `done` with its result on the
    // main thread unless the updater is gone by then. One at a time.
    template <typename T>
    void offMainThread(std::function<T()> work, std::function<void(T)> done);
    template <typename T>
    std::function<void(T)> guarded(std::function<void(T)> work);

    UpdaterPorts ports_;
    Settings& settings_;
    UpdaterSetup setup_;
    std::function<bool()> isIdle_;
    State state_ = State::idle();
    bool scheduleStarted_ = false;
    std::optional<TaskId> wake_;
    std::optional<Instant> lastAttempt_;
    std::optional<Release> release_;  // the download under way or staged
    std::optional<std::filesystem::path> staged_;
    std::int64_t stagedBuild_ = 0;
    bool installing_ = false;
    // What install changed in the settings, put back when it fails.
    std::optional<std::string> previousUpdatedFrom_;
    bool previousReopen_ = false;
    std::map<ObserverId, std::function<void()>> observers_;
    ObserverId nextObserver_ = 1;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    std::thread worker_;  // last: joined first
};

}  // namespace pivra
