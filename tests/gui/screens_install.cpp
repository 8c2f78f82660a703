// The prompt to move into Applications: the offer to move, a move under way,
// a move that failed, and the switch to a newer copy already there.

#include <QApplication>

#include "gui/install/move_prompt.hpp"
#include "tests/gui/install/move_scene.hpp"
#include "tests/gui/screens.hpp"

namespace pivra::screens {

namespace {

using testing_support::MoveScene;

enum class Stage { offered, moving, failed };

QImage renderPrompt(const Theme& theme, std::string_view installedBuild, Stage stage) {
    MoveScene scene(installedBuild);
    MoveToApplications& flow = scene.open();
    MovePromptWindow window(flow, theme);
    window.show();
    if (stage == Stage::failed) {
        scene.fakes.bundleFiles.moveError = "You don’t have permission to save in the folder “Applications”.";
    }
    if (stage != Stage::offered) flow.move();
    if (stage == Stage::failed && !scene.finishMove()) return {};
    QApplication::processEvents();
    const QImage image = window.grab().toImage();
    if (stage == Stage::moving && !scene.finishMove()) return {};  // the file work ends before the scene goes
    return image;
}

}  // namespace

std::vector<Shot> installShots() {
    return {
        {"move-prompt", [](const Theme& t) { return renderPrompt(t, {}, Stage::offered); }},
        {"move-prompt-moving", [](const Theme& t) { return renderPrompt(t, {}, Stage::moving); }},
        {"move-prompt-failed", [](const Theme& t) { return renderPrompt(t, {}, Stage::failed); }},
        {"move-prompt-already-there", [](const Theme& t) { return renderPrompt(t, "300", Stage::offered); }},
    };
}

}  // namespace pivra::screens
