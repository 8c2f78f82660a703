#pragma once
// The start of the app that lives in the menu bar, in its order: once the
// system has finished launching it, the offer to move into Applications;
// when that offer is not made, or is dismissed with Not Now, the model's
// start (rules, browsers, the updater's schedule). Reopening the app (its
// icon in the Finder or the Dock clicked while it runs) shows the settings;
// the end saves what is pending.
//
// The platform's delegate only translates its callbacks into these calls;
// what happens, and in which order, is decided here. Main thread only.

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "app/install/move_to_applications.hpp"
#include "app/model/app_model.hpp"
#include "app/update/updater.hpp"

namespace pivra {

// What the updater needs from the running app: the system's version as its
// SystemInfo reports it (an unreadable one reads as 0, which no feed's
// minimum system is below), this process, where downloads go (empty: the
// system's temporary folder), the bundle replacement on `files` and how the
// app quits. `files` must outlive the updater.
UpdaterSetup launchUpdaterSetup(const SystemInfo& system, pid_t process, std::filesystem::path temporaryFolder,
                                BundleFiles& files, std::function<void()> quit);

class AppLaunch {
public:
    // `showMovePrompt` puts the prompt's window on screen for `move`, whose
    // showPrompt has just run; `started` runs once the model has started (the
    // screens then show onboarding on a first run). The model and the move
    // flow must outlive this object.
    AppLaunch(AppModel& model, MoveToApplications& move, UpdaterSetup updater, std::function<void()> showMovePrompt,
              std::function<void()> started = {});

    // Launching has finished: offers the move, else starts. Runs once.
    void finishedLaunching();
    // A link from the system with its sender (0 when unknown). Before the
    // model has started (the link that launched the app arrives before
    // launching finishes; others while the move prompt waits) it is held,
    // and handed on in arrival order right after the start, so that the
    // user's rules, not the empty ones, decide it. The sender is looked up
    // then, so one that quit meanwhile is taken for the frontmost app.
    void linkArrived(std::string_view text, pid_t sender);
    // The app was opened again while running: the settings window, at the
    // page last shown. While the move prompt waits (the model has not
    // started) nothing else opens.
    void reopened();
    // The app is about to end: the pending counts are written now.
    void terminating();

    bool hasStarted() const { return started_; }
    std::size_t heldLinks() const { return held_.size(); }

private:
    void start();

    AppModel& model_;
    MoveToApplications& move_;
    UpdaterSetup updater_;
    std::function<void()> showMovePrompt_;
    std::function<void()> onStarted_;
    std::vector<std::pair<std::string, pid_t>> held_;
    bool launched_ = false;
    bool started_ = false;
};

}  // namespace pivra
