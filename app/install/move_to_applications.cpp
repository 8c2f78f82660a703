#include "app/install/move_to_applications.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "core/rules/rules_file.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

using Outcome = MoveToApplications::CopyOutcome;

// The Applications folder a move fills: the system's where this user may
// write, else the one in the home folder.
fs::path targetFolder(const BundleFiles& files, const fs::path& systemApplications, const fs::path& home) {
    return files.isWritableFolder(systemApplications) ? systemApplications : home / "Applications";
}

// The file work of a move, on a thread of its own: copy beside the
// destination, trash what is there, rename into place, clear the quarantine.
// A failure leaves none of this copy behind.
Outcome installCopy(BundleFiles& files, const fs::path& bundle, const fs::path& systemApplications,
                    const fs::path& home, const std::string& stagingName) {
    Outcome outcome;
    const fs::path target = targetFolder(files, systemApplications, home);
    if (auto failed = files.createFolders(target)) {
        outcome.error = std::move(failed);
        return outcome;
    }
    outcome.destination = target / kBundleName;
    const fs::path staging = target / stagingName;
    const auto fail = [&](std::string why, bool installed) {
        outcome.error = std::move(why);
        // A copy already renamed into place goes back to its staging name first:
        // only what this move made itself is ever deleted.
        if (installed) {
            if (auto stuck = files.move(outcome.destination, staging)) {
                outcome.cleanupError = std::move(stuck);
                return outcome;
            }
        }
        if (files.exists(staging)) outcome.cleanupError = files.remove(staging);
        return outcome;
    };
    if (auto failed = files.copyBundle(bundle, staging)) return fail(*failed, false);
    if (files.exists(outcome.destination)) {
        auto trashed = files.moveToTrash(outcome.destination);
        if (!trashed) return fail(trashed.error(), false);
        outcome.trashed = *trashed;
    }
    if (auto failed = files.move(staging, outcome.destination)) return fail(*failed, false);
    if (auto failed = files.removeAttributeEverywhere(outcome.destination, kQuarantineAttribute)) {
        return fail(*failed, true);
    }
    return outcome;
}

bool isListed(const std::vector<std::string>& volumes, const std::string& mountPoint) {
    return std::ranges::find(volumes, mountPoint) != volumes.end();
}

}  // namespace

MovePrompt movePrompt(MoveState::Kind kind) {
    using namespace MoveText;
    if (kind == MoveState::Kind::alreadyThere) {
        return MovePrompt{kAlreadyThereTitle, kAlreadyThereText, kAlreadyThereNote, kOpenThatOneButton, kNotNowButton};
    }
    return MovePrompt{kMoveTitle, kMoveText, {}, kMoveButton, kNotNowButton};
}

MoveToApplications::MoveToApplications(Ports ports, fs::path bundle, fs::path home, pid_t process,
                                       std::function<void()> quit, fs::path systemApplications, std::string opener)
    : ports_(ports),
      settings_(ports.preferences),
      bundle_(std::move(bundle)),
      home_(std::move(home)),
      process_(process),
      quit_(std::move(quit)),
      systemApplications_(std::move(systemApplications)),
      opener_(std::move(opener)),
      location_(InstallLocation::classify(bundle_.string(), home_.string())),
      place_(InstallLocation::placeDescription(bundle_.string(), location_)) {}

MoveToApplications::~MoveToApplications() = default;

bool MoveToApplications::shouldAsk() {
    if (ports_.appInfo.identifier() == kDebugAppIdentifier) return false;
    if (settings_.isStagingScreenshots()) return false;
    if (location_.kind() == InstallLocation::Kind::applications) return false;
    if (settings_.moveNotNowAt() == place_) {
        ports_.log.write(LogLevel::info, kInstallLogCategory, "Running from " + place_ + "; Not Now was picked there");
        return false;
    }
    ports_.log.write(LogLevel::notice, kInstallLogCategory, "Running from " + place_ + "; asking to move");
    return true;
}

void MoveToApplications::showPrompt(std::function<void()> then) {
    then_ = std::move(then);
    const fs::path existing = targetFolder(ports_.bundleFiles, systemApplications_, home_) / kBundleName;
    const std::string identifier = ports_.appInfo.identifier();
    auto running = ports_.workspace.runningProcesses(identifier);
    std::erase(running, process_);
    const auto copy = InstalledCopy::read(existing);
    const bool useThatOne = copy && copy->takesPrecedence(identifier, ports_.appInfo.build(), !running.empty());
    state_.kind = useThatOne ? MoveState::Kind::alreadyThere : MoveState::Kind::move;
    state_.existingCopy = useThatOne ? existing : fs::path();
    state_.error.reset();
    state_.promptOpen = true;
    changed();
}

void MoveToApplications::notNow() {
    if (state_.working) return;
    settings_.setMoveNotNowAt(place_);
    ports_.log.write(LogLevel::info, kInstallLogCategory, "Not Now; staying at " + place_);
    state_.promptOpen = false;
    changed();
    if (auto then = std::exchange(then_, nullptr)) then();
}

void MoveToApplications::openThatOne() {
    if (state_.working || state_.existingCopy.empty()) return;
    ports_.log.write(LogLevel::info, kInstallLogCategory, "Opening the copy already in Applications");
    const InstalledApp copy{.id = ports_.appInfo.identifier(), .name = "Pivra", .location = state_.existingCopy,
                            .version = {}};
    ports_.workspace.open({}, copy, OpenOptions{.activates = true},
                          [this, alive = std::weak_ptr<bool>(alive_)](std::optional<std::string> error) {
                              if (alive.expired()) return;
                              if (!error) return quit_();
                              ports_.log.write(LogLevel::error, kInstallLogCategory,
                                               "Opening the other copy failed: " + *error);
                              state_.error = std::string(MoveText::kOpenFailed) + *error;
                              changed();
                          });
}

void MoveToApplications::move() {
    if (state_.working) return;
    state_.working = true;
    state_.error.reset();
    changed();
    // The worker gets its own copies of everything but the host's files port,
    // which lives as long as the host.
    worker_ = std::jthread([this, alive = std::weak_ptr<bool>(alive_), &files = ports_.bundleFiles,
                            &scheduler = ports_.scheduler, bundle = bundle_, systemApplications = systemApplications_,
                            home = home_, stagingName = ".Pivra-" + makeRuleId() + ".app"] {
        auto outcome = installCopy(files, bundle, systemApplications, home, stagingName);
        scheduler.post([this, alive, outcome = std::move(outcome)]() mutable {
            if (!alive.expired()) finishCopy(std::move(outcome));
        });
    });
}

void MoveToApplications::finishCopy(CopyOutcome outcome) {
    if (outcome.cleanupError) {
        ports_.log.write(LogLevel::error, kInstallLogCategory, "Staging copy left behind: " + *outcome.cleanupError);
    }
    if (outcome.error) return fail(*outcome.error);
    if (outcome.trashed) {
        ports_.log.write(LogLevel::notice, kInstallLogCategory,
                         LogMessage("Moved the copy that was there to the Trash: ", outcome.trashed->string(), ""));
    }
    if (location_.kind() == InstallLocation::Kind::volume) return findVolumeToEject(std::move(outcome.destination));
    relaunch(outcome.destination, "");
}

void MoveToApplications::findVolumeToEject(fs::path destination) {
    LaunchRequest request;
    request.program = kHdiutil;
    request.arguments = {"info", "-plist"};
    request.timeout = kHdiutilTimeout;
    request.output = LaunchRequest::Output::capture;
    ports_.launcher.launch(request, [this, alive = std::weak_ptr<bool>(alive_),
                                     destination = std::move(destination)](LaunchResult result) {
        if (alive.expired()) return;
        // Without a list of images nothing is ejected: the move itself is done.
        const bool listed = result.kind == LaunchResult::Kind::exited && result.status == 0 &&
                            isListed(DiskImages::volumes(result.output), location_.mountPoint());
        relaunch(destination, listed ? location_.mountPoint() : "");
    });
}

void MoveToApplications::relaunch(const fs::path& destination, const std::string& volumeToEject) {
    ports_.log.write(LogLevel::notice, kInstallLogCategory,
                     LogMessage("Installed at ", destination.string(),
                                std::string("; ejecting a disk image: ") + (volumeToEject.empty() ? "false" : "true")));
    ports_.launcher.launch(relaunchRequest(process_, destination, volumeToEject, opener_),
                           [this, alive = std::weak_ptr<bool>(alive_), destination](LaunchResult result) {
                               if (alive.expired()) return;
                               if (result.kind != LaunchResult::Kind::couldNotStart) return quit_();
                               // Installed, but nothing will start it: the prompt offers it instead.
                               ports_.log.write(LogLevel::error, kInstallLogCategory,
                                                "Relaunch failed: " + result.error);
                               state_.kind = MoveState::Kind::alreadyThere;
                               state_.existingCopy = destination;
                               state_.working = false;
                               state_.error = std::string(MoveText::kOpenFailed) + result.error;
                               changed();
                           });
}

void MoveToApplications::fail(const std::string& reason) {
    ports_.log.write(LogLevel::error, kInstallLogCategory, "Move failed: " + reason);
    state_.working = false;
    state_.error = std::string(MoveText::kMoveFailed) + reason;
    changed();
}

ObserverId MoveToApplications::addObserver(std::function<void()> observer) {
    const ObserverId id = nextObserver_++;
    observers_.emplace(id, std::move(observer));
    return id;
}

void MoveToApplications::removeObserver(ObserverId id) { observers_.erase(id); }

void MoveToApplications::changed() {
    // A copy, so that an observer may add or remove observers.
    std::vector<std::function<void()>> current;
    current.reserve(observers_.size());
    for (const auto& [id, observer] : observers_) current.push_back(observer);
    for (const auto& observer : current) observer();
}

}  // namespace pivra
