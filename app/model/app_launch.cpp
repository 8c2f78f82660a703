#include "app/model/app_launch.hpp"

#include "app/update/bundle_replacement.hpp"
#include "core/updates/update_feed.hpp"

namespace pivra {

UpdaterSetup launchUpdaterSetup(const SystemInfo& system, pid_t process, std::filesystem::path temporaryFolder,
                                BundleFiles& files, std::function<void()> quit) {
    return UpdaterSetup{.system = parseSystemVersion(system.systemVersion()).value_or(SystemVersion{}),
                        .processId = process,
                        .temporaryFolder = std::move(temporaryFolder),
                        .bundles = bundleReplacement(files),
                        .quit = std::move(quit)};
}

AppLaunch::AppLaunch(AppModel& model, MoveToApplications& move, UpdaterSetup updater,
                     std::function<void()> showMovePrompt, std::function<void()> started)
    : model_(model),
      move_(move),
      updater_(std::move(updater)),
      showMovePrompt_(std::move(showMovePrompt)),
      onStarted_(std::move(started)) {}

void AppLaunch::finishedLaunching() {
    if (launched_) return;
    launched_ = true;
    if (!move_.shouldAsk()) {
        start();
        return;
    }
    // Not Now runs the start; a move or a switch to the other copy quits
    // instead, and this copy never starts.
    move_.showPrompt([this] { start(); });
    if (showMovePrompt_) showMovePrompt_();
}

void AppLaunch::start() {
    if (started_) return;
    started_ = true;
    // Set before the updater is first made, which the schedule does.
    model_.setUpdaterSetup(std::move(updater_));
    model_.start();
    // Always on: each wake reads "autoUpdate", so turning it on later needs no restart.
    model_.updater().startSchedule();
    if (onStarted_) onStarted_();
    for (const auto& [text, sender] : std::exchange(held_, {})) model_.receiveLink(text, sender);
    // The relaunch after an update shows where the update is told about.
    if (model_.updater().takeReopenAfterUpdate()) model_.openSettings(SettingsPage::general);
}

void AppLaunch::linkArrived(std::string_view text, pid_t sender) {
    if (started_) {
        model_.receiveLink(text, sender);
        return;
    }
    held_.emplace_back(text, sender);
}

void AppLaunch::reopened() {
    if (!started_) return;
    model_.openSettings(model_.settingsPage());
}

void AppLaunch::terminating() {
    if (started_) model_.terminate();
}

}  // namespace pivra
