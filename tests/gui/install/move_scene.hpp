#pragma once
// The move into Applications on fake ports with real files: a temporary
// tree with a system Applications folder, a Trash, and this copy of the app
// in the home's Downloads. For the prompt's tests and pictures.

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "app/install/move_to_applications.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra::testing_support {

class MoveScene {
public:
    // `installedBuild`: the build of a copy already in Applications, none when empty.
    explicit MoveScene(std::string_view installedBuild = {}) {
        fakes.bundleFiles.trash = temp.path() / "Trash";
        fakes.appInfo.buildText = "200";
        std::filesystem::create_directories(applications);
        writeBundle(bundle, "200");
        if (!installedBuild.empty()) writeBundle(installed, installedBuild);
    }

    // The flow, with its prompt open; `then` counts the dismissals.
    MoveToApplications& open() {
        flow = std::make_unique<MoveToApplications>(fakes.ports(), bundle, home, 4242, [this] { ++quits; },
                                                    applications);
        flow->showPrompt([this] { ++thens; });
        return *flow;
    }

    // Runs the main thread's work until the move has ended one way or the
    // other, while the file work runs on its own thread; false if it never did.
    bool finishMove() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (flow->state().working && quits == 0) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            fakes.scheduler.runDue();
            std::this_thread::yield();
        }
        return true;
    }

    TempFolder temp;
    FakePorts fakes;
    const std::filesystem::path applications = temp.path() / "Applications";
    const std::filesystem::path home = temp.path() / "home";
    const std::filesystem::path bundle = home / "Downloads/Pivra.app";
    const std::filesystem::path installed = applications / "Pivra.app";
    std::unique_ptr<MoveToApplications> flow;
    int quits = 0;
    int thens = 0;

private:
    static void writeBundle(const std::filesystem::path& at, std::string_view build) {
        std::filesystem::create_directories(at / "Contents/MacOS");
        writeFile(at / "Contents/Info.plist",
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
                  "<key>CFBundleIdentifier</key><string>app.omra.pivra</string>\n"
                  "<key>CFBundleVersion</key><string>" + std::string(build) + "</string>\n</dict>\n</plist>\n");
        writeFile(at / "Contents/MacOS/Pivra", "the app");
    }
};

}  // namespace pivra::testing_support
