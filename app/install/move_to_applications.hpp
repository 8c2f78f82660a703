#pragma once
// Moving the app into Applications. At start the app looks at where its
// bundle lies; anywhere but an Applications folder (a disk image, Downloads,
// a translocated copy) it offers, once per place, to move itself there, or,
// when a copy there is already open or newer, to switch to that one. The move
// copies the bundle beside its destination, trashes the copy it replaces,
// clears the download quarantine, ejects the disk image it ran from, and
// starts the new copy once this process has ended.
//
// Owned by the app's delegate for the life of the process; main thread only.
// The file work runs on a thread of its own and reports back through the
// Scheduler.

#include <cstdint>
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
#include "app/ports/ports.hpp"
#include "app/storage/settings.hpp"
#include "core/updates/install_location.hpp"

namespace pivra {

using ObserverId = std::uint64_t;

// The identifier of a debug build, which never offers to move.
inline constexpr std::string_view kDebugAppIdentifier = "app.omra.pivra.debug";
inline constexpr std::string_view kInstallLogCategory = "install";
// The attribute a download carries until the user has opened it once.
inline constexpr std::string_view kQuarantineAttribute = "com.apple.quarantine";
inline constexpr std::string_view kBundleName = "Pivra.app";
inline constexpr std::string_view kSystemApplications = "/Applications";
// The tool that lists the attached disk images, and its arguments for a property list.
inline constexpr std::string_view kHdiutil = "/usr/bin/hdiutil";
// hdiutil answers within a second or two; a slower one only costs the eject.
inline constexpr Seconds kHdiutilTimeout{30};

namespace MoveText {
inline constexpr std::string_view kMoveTitle = "Move Pivra to Applications?";
inline constexpr std::string_view kMoveText =
    "Pivra runs from your Applications folder. From there it can stay your default browser and keep itself up to date.";
inline constexpr std::string_view kMoveButton = "Move to Applications";
inline constexpr std::string_view kAlreadyThereTitle = "Pivra is already in Applications";
inline constexpr std::string_view kAlreadyThereText =
    "The copy in your Applications folder is open or newer than this one, so Pivra won’t replace it. Use that one instead.";
inline constexpr std::string_view kAlreadyThereNote = "Open That One quits this copy and switches to the one in Applications.";
inline constexpr std::string_view kOpenThatOneButton = "Open That One";
inline constexpr std::string_view kNotNowButton = "Not Now";
// Followed by the reason.
inline constexpr std::string_view kMoveFailed = "Couldn’t move Pivra: ";
inline constexpr std::string_view kOpenFailed = "Couldn’t open it: ";
}  // namespace MoveText

// What the prompt shows; screens re-read it after each change.
struct MoveState {
    enum class Kind {
        move,          // offer to move this copy
        alreadyThere,  // a usable copy is in Applications, at `existingCopy`
    };
    Kind kind = Kind::move;
    std::filesystem::path existingCopy;
    bool promptOpen = false;
    bool working = false;                // a move is under way
    std::optional<std::string> error;    // the last failure, as shown

    bool operator==(const MoveState&) const = default;
};

// The texts of the prompt of one kind: its title, one or two paragraphs,
// and its buttons, the default one first.
struct MovePrompt {
    std::string_view title;
    std::string_view text;
    std::string_view note;  // empty for none
    std::string_view primaryButton;
    std::string_view secondaryButton;
};
MovePrompt movePrompt(MoveState::Kind kind);

class MoveToApplications {
public:
    // `bundle` is this app's bundle and `home` the user's home folder, both
    // with symbolic links resolved; `process` is this process, which the new
    // copy waits for; `quit` ends the app (after a move, or when switching to
    // the other copy). `systemApplications` and `opener` differ from the Mac's
    // only in tests.
    MoveToApplications(Ports ports, std::filesystem::path bundle, std::filesystem::path home, pid_t process,
                       std::function<void()> quit,
                       std::filesystem::path systemApplications = std::filesystem::path(kSystemApplications),
                       std::string opener = std::string(kMacOpener));
    // Waits for file work under way, which no one hears of any more.
    ~MoveToApplications();
    MoveToApplications(const MoveToApplications&) = delete;
    MoveToApplications& operator=(const MoveToApplications&) = delete;

    const InstallLocation& location() const { return location_; }
    // The place as logs show it and as Not Now remembers it.
    const std::string& place() const { return place_; }
    const std::filesystem::path& bundle() const { return bundle_; }
    const std::filesystem::path& home() const { return home_; }
    const MoveState& state() const { return state_; }

    // Whether to offer the move at this start: never in a debug build, while
    // screenshots are staged, from an Applications folder, or from the place
    // where the user last picked Not Now. Logs the decision.
    bool shouldAsk();

    // Opens the prompt, as a move or, when the copy in Applications is this
    // app and open or newer, as a switch to it. `then` runs when the prompt
    // is dismissed without a move (Not Now); nothing else runs it.
    void showPrompt(std::function<void()> then = {});

    // Not Now (also what closing the prompt means): remembered for this
    // place, the prompt closes and `then` runs. Ignored while a move runs.
    void notNow();

    // Open That One: opens the copy in Applications, then quits; a failure
    // stays in the prompt as `error`.
    void openThatOne();

    // Moves this copy into Applications, relaunches from there and quits. A
    // failure leaves the target folder as it was (an older copy at most in the
    // Trash) and shows in the prompt as `error`. Ignored while a move runs.
    void move();

    // `observer` runs after each change of the state.
    ObserverId addObserver(std::function<void()> observer);
    void removeObserver(ObserverId id);

    // What the file work reports back.
    struct CopyOutcome {
        std::filesystem::path destination;
        std::optional<std::filesystem::path> trashed;  // where the copy that was there went
        std::optional<std::string> error;
        std::optional<std::string> cleanupError;       // the staging copy could not be deleted
    };

private:
    void finishCopy(CopyOutcome outcome);
    void findVolumeToEject(std::filesystem::path destination);
    void relaunch(const std::filesystem::path& destination, const std::string& volumeToEject);
    void fail(const std::string& reason);
    void changed();

    Ports ports_;
    Settings settings_;
    std::filesystem::path bundle_;
    std::filesystem::path home_;
    pid_t process_;
    std::function<void()> quit_;
    std::filesystem::path systemApplications_;
    std::string opener_;
    InstallLocation location_;
    std::string place_;
    MoveState state_;
    std::function<void()> then_;
    std::map<ObserverId, std::function<void()>> observers_;
    ObserverId nextObserver_ = 1;
    // Completions that arrive after this object is gone find it expired.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    std::jthread worker_;  // last: joined before the rest goes
};

}  // namespace pivra
