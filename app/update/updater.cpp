#include "app/update/updater.hpp"

#include <charconv>
#include <cstdio>
#include <random>
#include <system_error>
#include <utility>
#include <vector>

namespace pivra {
namespace {

// The running build as a number: all decimal digits, nothing else.
std::optional<std::int64_t> buildNumber(std::string_view text) {
    std::int64_t value = 0;
    const auto* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end || value < 0) return std::nullopt;
    return value;
}

bool isSuccess(int status) { return status >= 200 && status <= 299; }

}  // namespace

namespace UpdateError {
std::string server(int status) { return "the server answered " + std::to_string(status); }
}  // namespace UpdateError

namespace UpdateText {

std::string_view automaticCaption(bool automatic) {
    return automatic ? kAutomaticallyOnCaption : kAutomaticallyOffCaption;
}
std::string upToDate(std::string_view checkedTime) { return "Up to date · checked " + std::string(checkedTime); }
std::string downloading(std::string_view version) { return "Downloading Pivra " + std::string(version); }
std::string ready(std::string_view version) {
    return "Pivra " + std::string(version) + " is ready · installs when Pivra isn’t in use";
}
std::string manual(std::string_view version) {
    return "Pivra " + std::string(version) + " is out · download it from " + std::string(kWebsiteHost);
}
std::string needsNewerSystem(std::string_view version, std::string_view minimumSystem) {
    return "Pivra " + std::string(version) + " needs macOS " + std::string(minimumSystem);
}

std::string status(const UpdaterState& state, std::string_view checkedTime) {
    using Kind = UpdaterState::Kind;
    switch (state.kind()) {
        case Kind::upToDate: return upToDate(checkedTime);
        case Kind::downloading: return downloading(state.version());
        case Kind::ready: return ready(state.version());
        case Kind::needsNewerSystem: return needsNewerSystem(state.version(), state.minimumSystem());
        case Kind::failed: return state.message();
        case Kind::manual: return manual(state.version());
        case Kind::idle: return {};
        case Kind::checking: return std::string(kChecking);
    }
    return {};
}

std::optional<std::string_view> action(const UpdaterState& state) {
    if (state.kind() == UpdaterState::Kind::ready) return kRestartNow;
    if (state.kind() == UpdaterState::Kind::manual) return kDownload;
    return std::nullopt;
}

}  // namespace UpdateText

Updater::Updater(UpdaterPorts ports, Settings& settings, UpdaterSetup setup, std::function<bool()> isIdle)
    : ports_(ports), settings_(settings), setup_(std::move(setup)), isIdle_(std::move(isIdle)) {}

Updater::~Updater() {
    *alive_ = false;
    if (wake_) ports_.scheduler.cancel(*wake_);
    if (worker_.joinable()) worker_.join();
}

template <typename T>
std::function<void(T)> Updater::guarded(std::function<void(T)> work) {
    return [alive = std::weak_ptr<bool>(alive_), work = std::move(work)](T value) {
        if (const auto living = alive.lock(); living && *living) work(std::move(value));
    };
}

template <typename T>
void Updater::offMainThread(std::function<T()> work, std::function<void(T)> done) {
    // The previous work has handed over its result by now: this joins at once.
    if (worker_.joinable()) worker_.join();
    auto deliver = guarded<T>(std::move(done));
    try {
        // `work` is copied, not moved: it is still needed here if no thread can be had.
        worker_ = std::thread([&scheduler = ports_.scheduler, work, deliver]() mutable {
            scheduler.post([deliver, result = work()]() mutable { deliver(std::move(result)); });
        });
    } catch (const std::system_error&) {
        // No thread to be had: the work blocks the main thread rather than not happening.
        ports_.scheduler.post([deliver, result = work()]() mutable { deliver(std::move(result)); });
    }
}

void Updater::log(LogLevel level, std::string text) { ports_.log.write(level, kUpdateLogCategory, std::move(text)); }

void Updater::setState(State state) {
    state_ = std::move(state);
    std::vector<std::function<void()>> current;
    for (const auto& [id, observer] : observers_) current.push_back(observer);
    for (const auto& observer : current) observer();
}

Updater::ObserverId Updater::addObserver(std::function<void()> observer) {
    const ObserverId id = nextObserver_++;
    observers_.emplace(id, std::move(observer));
    return id;
}

void Updater::removeObserver(ObserverId id) { observers_.erase(id); }

void Updater::dismissUpdatedFrom() { settings_.clearUpdatedFrom(); }

bool Updater::takeReopenAfterUpdate() {
    const bool reopen = settings_.reopenAfterUpdate();
    if (reopen) settings_.setReopenAfterUpdate(false);
    return reopen;
}

bool Updater::busy() const {
    return installing_ || staged_ || state_.kind() == State::Kind::checking ||
           state_.kind() == State::Kind::downloading;
}

// --- Schedule -------------------------------------------------------------------

void Updater::startSchedule() {
    scheduleStarted_ = true;
    armWake();
}

bool Updater::isCheckDue() const {
    if (busy() || !settings_.autoUpdate()) return false;
    const Instant now = ports_.clock.now();
    if (lastAttempt_ && now - *lastAttempt_ < kUpdateRetryInterval) return false;
    const auto last = lastChecked();
    return !last || now - *last >= kUpdateCheckInterval || state_.kind() == State::Kind::failed;
}

void Updater::armWake() {
    if (wake_) return;
    wake_ = ports_.scheduler.runAfter(kUpdateWakeInterval, [this] {
        wake_.reset();
        wake();
    });
}

void Updater::wake() {
    if (staged_ && !installing_ && isIdle_ && isIdle_()) {
        install();
    } else if (scheduleStarted_ && isCheckDue()) {
        check();
    }
    if (scheduleStarted_ || (staged_ && !installing_)) armWake();
}

// --- Check -------------------------------------------------------------------------

void Updater::checkNow() {
    if (busy()) return;
    check();
}

void Updater::check() {
    lastAttempt_ = ports_.clock.now();
    setState(State::checking());
    const std::string buildText = ports_.appInfo.build();
    const auto runningBuild = buildNumber(buildText);
    if (!runningBuild) return failCheck("this copy’s build “" + buildText + "” isn’t a number");
    ports_.http.get(std::string(kUpdateFeedUrl), kMaxFeedSize,
                    guarded<HttpAnswer>([this, build = *runningBuild](HttpAnswer answer) {
                        feedArrived(std::move(answer), build);
                    }));
}

void Updater::failCheck(const std::string& description) {
    log(LogLevel::error, "Update check failed: " + description);
    setState(State::failed("Couldn’t check: " + description));
}

void Updater::feedArrived(HttpAnswer answer, std::int64_t runningBuild) {
    if (!answer) return failCheck(answer.error());
    if (!isSuccess(answer->status)) return failCheck(UpdateError::server(answer->status));
    const auto feed = UpdateFeed::decode(answer->body);
    if (!feed) return failCheck(std::string(UpdateError::kInvalidFeed));
    const Instant now = ports_.clock.now();
    settings_.setUpdateLastChecked(now);

    switch (feed->verdict(runningBuild, setup_.system)) {
        case UpdateFeed::Verdict::untrusted:
            log(LogLevel::error, "Feed refused: " + feed->url);
            return setState(State::failed("Couldn’t check: " + std::string(UpdateError::kInvalidFeed)));
        case UpdateFeed::Verdict::needsNewerSystem:
            log(LogLevel::notice, "Pivra " + feed->version + " needs macOS " + feed->minimumSystemVersion);
            return setState(State::needsNewerSystem(feed->version, feed->minimumSystemVersion));
        case UpdateFeed::Verdict::current:
            log(LogLevel::notice, "Up to date at build " + std::to_string(runningBuild) + "; the feed has " +
                                      std::to_string(feed->build));
            return setState(State::upToDate(now));
        case UpdateFeed::Verdict::update: break;
    }
    const auto running = ports_.appInfo.location();
    const auto folder = running.parent_path();
    if (running.empty() || !setup_.bundles.isWritable || !setup_.bundles.isWritable(folder)) {
        log(LogLevel::notice, "Pivra " + feed->version + " is out; " + folder.string() + " isn’t writable");
        return setState(State::manual(feed->version));
    }
    download(*feed);
}

// --- Download and stage --------------------------------------------------------------

std::optional<std::filesystem::path> Updater::makeDownloadFolder() const {
    std::error_code error;
    auto parent = setup_.temporaryFolder.empty() ? std::filesystem::temp_directory_path(error) : setup_.temporaryFolder;
    if (error) return std::nullopt;
    std::random_device random;
    for (int attempt = 0; attempt < 16; ++attempt) {
        char name[32];
        std::snprintf(name, sizeof name, "pivra-update-%08x", static_cast<unsigned>(random()));
        auto folder = parent / name;
        // A folder someone else made under that name is never taken over.
        if (std::filesystem::create_directory(folder, error)) {
            std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
            return folder;
        }
        if (error) return std::nullopt;
    }
    return std::nullopt;
}

void Updater::download(const UpdateFeed& feed) {
    log(LogLevel::notice, "Downloading Pivra " + feed.version + " (build " + std::to_string(feed.build) + ")");
    release_ = Release{feed.version, feed.build, {}};
    setState(State::downloading(feed.version));
    const auto folder = makeDownloadFolder();
    if (!folder) return failUpdate(std::string(UpdateError::kCannotSave));
    release_->folder = *folder;
    ports_.http.download(feed.url, *folder / kDownloadFileName, kMaxReleaseSize,
                         guarded<HttpDownload>([this, feed](HttpDownload result) { downloaded(std::move(result), feed); }));
}

void Updater::downloaded(HttpDownload result, const UpdateFeed& feed) {
    if (!result) return failUpdate(result.error());
    if (!isSuccess(*result)) return failUpdate(UpdateError::server(*result));
    const auto archive = release_->folder / kDownloadFileName;
    using Verified = std::optional<UpdateVerifier::Failure>;
    offMainThread<Verified>([archive, feed] { return UpdateVerifier::verifyDownload(archive, feed); },
                            [this, archive, feed](Verified failure) {
                                if (failure) return failUpdate(failure->description());
                                ports_.unarchiver.unpack(
                                    archive, release_->folder / kUnzippedFolderName,
                                    guarded<std::expected<void, std::string>>(
                                        [this, feed](std::expected<void, std::string> unpackedResult) {
                                            unpacked(std::move(unpackedResult), feed);
                                        }));
                            });
}

void Updater::unpacked(std::expected<void, std::string> result, const UpdateFeed& feed) {
    if (!result) return failUpdate(std::string(UpdateError::kUnzip));
    const auto bundle = release_->folder / kUnzippedFolderName / kNewBundleName;
    const CodeSigning& signing = ports_.codeSigning;
    offMainThread<std::optional<std::string>>(
        [bundle, feed, &signing]() -> std::optional<std::string> {
            std::error_code error;
            // A real folder, not a link to one elsewhere in the download.
            if (!std::filesystem::is_directory(std::filesystem::symlink_status(bundle, error))) {
                return std::string(UpdateError::kNoBundle);
            }
            const SignatureCheck check = [&signing](const std::filesystem::path& path, std::string_view requirement) {
                return signing.check(path, requirement);
            };
            if (auto failure = UpdateVerifier::verifyCopy(bundle, feed, check)) return failure->description();
            return std::nullopt;
        },
        [this, feed](std::optional<std::string> failure) {
            if (failure) return failUpdate(*failure);
            stage(feed);
        });
}

void Updater::stage(const UpdateFeed& feed) {
    staged_ = release_->folder / kUnzippedFolderName / kNewBundleName;
    stagedBuild_ = feed.build;
    log(LogLevel::notice, "Pivra " + feed.version + " is ready");
    setState(State::ready(feed.version));
    armWake();
}

void Updater::failUpdate(const std::string& description) {
    const std::string version = release_ ? release_->version : std::string();
    log(LogLevel::error, "Update to " + version + " failed: " + description);
    discardDownload();
    setState(State::failed("Couldn’t update to " + version + ": " + description));
}

void Updater::discardDownload() {
    if (release_ && !release_->folder.empty()) {
        // Only what this download made: the zip and what it unpacked to.
        std::error_code ignored;
        std::filesystem::remove_all(release_->folder, ignored);
    }
    release_.reset();
    staged_.reset();
    stagedBuild_ = 0;
}

// --- Install -----------------------------------------------------------------------

void Updater::installNow() {
    if (!staged_ || installing_) return;
    install();
}

void Updater::install() {
    installing_ = true;
    previousUpdatedFrom_ = settings_.updatedFrom();
    previousReopen_ = settings_.reopenAfterUpdate();
    settings_.setUpdatedFrom(ports_.appInfo.version());
    settings_.setReopenAfterUpdate(true);
    const auto running = ports_.appInfo.location();
    if (running.empty()) return failInstall("this copy’s location is unknown");
    if (!setup_.bundles.replace) return failInstall("this copy can’t replace itself");
    using Replaced = std::expected<void, std::string>;
    offMainThread<Replaced>([replace = setup_.bundles.replace, staged = *staged_, running]() { return replace(staged, running); },
                            [this](Replaced result) { replaced(std::move(result)); });
}

void Updater::replaced(std::expected<void, std::string> result) {
    if (!result) return failInstall(result.error());
    log(LogLevel::notice, "Installed Pivra " + release_->version + "; relaunching");
    ports_.launcher.launch(relaunchRequest(setup_.processId, ports_.appInfo.location(), "", setup_.opener),
                           guarded<LaunchResult>([this](LaunchResult launched) { relaunched(launched); }));
}

void Updater::relaunched(const LaunchResult& result) {
    if (result.kind == LaunchResult::Kind::couldNotStart) {
        // The new copy is in place (it runs at the next start, and updatedFrom
        // stays true), but nothing will open it now: this copy stays open.
        const std::string description = "the new copy couldn’t be opened: " + result.error;
        log(LogLevel::error, "Install failed: " + description);
        settings_.setReopenAfterUpdate(previousReopen_);
        const std::string version = release_->version;
        discardDownload();
        installing_ = false;
        setState(State::failed("Couldn’t install " + version + ": " + description));
        if (scheduleStarted_) armWake();
        return;
    }
    discardDownload();
    if (setup_.quit) setup_.quit();
}

void Updater::failInstall(const std::string& description) {
    if (previousUpdatedFrom_) {
        settings_.setUpdatedFrom(*previousUpdatedFrom_);
    } else {
        settings_.clearUpdatedFrom();
    }
    settings_.setReopenAfterUpdate(previousReopen_);
    log(LogLevel::error, "Install failed: " + description);
    const std::string version = release_ ? release_->version : std::string();
    discardDownload();
    installing_ = false;
    setState(State::failed("Couldn’t install " + version + ": " + description));
    if (scheduleStarted_) armWake();
}

}  // namespace pivra
