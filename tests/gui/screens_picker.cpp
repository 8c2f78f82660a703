// The picker panel: one link with the rules' pick, several links at once,
// the remember switch on, and a link from an unknown app.

#include <QApplication>

#include "gui/picker/picker_view.hpp"
#include "tests/gui/gui_scene.hpp"
#include "tests/gui/screens.hpp"

namespace pivra::screens {

namespace {

using testing_support::GuiScene;

QImage renderPicker(const Theme& theme, const std::function<void(GuiScene&)>& play) {
    GuiScene scene;
    scene.panel->pinTheme(theme);
    play(scene);
    QApplication::processEvents();
    return scene.panel->view().grab().toImage();
}

}  // namespace

std::vector<Shot> pickerShots() {
    return {
        {"picker", [](const Theme& theme) {
             return renderPicker(theme, [](GuiScene& scene) { scene.send("https://news.test/2024/05/a-long-article-about-links"); });
         }},
        {"picker-joined", [](const Theme& theme) {
             return renderPicker(theme, [](GuiScene& scene) {
                 scene.send("https://www.news.test/1");
                 scene.send("https://example.com/2");
                 scene.send("https://docs.example.org/3");
             });
         }},
        {"picker-remember", [](const Theme& theme) {
             return renderPicker(theme, [](GuiScene& scene) {
                 scene.send("https://example.com/pricing");
                 scene.controller->state()->setRemember(true);
                 scene.controller->state()->select(4);
             });
         }},
        {"picker-unknown-app", [](const Theme& theme) {
             return renderPicker(theme, [](GuiScene& scene) { scene.send("https://unknown.test/page", 999); });
         }},
    };
}

}  // namespace pivra::screens
