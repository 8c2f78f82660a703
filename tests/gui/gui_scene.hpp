#pragma once
// A running app model on fake ports with the real picker panel and
// controller, for the screens' tests and pictures: Google Chrome and Firefox
// with three profiles each, Slack and Mail as sources, and two rules
// (1: Slack's news.test to Chrome's "Work", 2: example.com to Firefox's "Work").

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "app/model/app_model.hpp"
#include "app/model/picker_controller.hpp"
#include "gui/picker/picker_panel.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra::testing_support {

inline constexpr const char* kSceneChrome = "com.google.Chrome";
inline constexpr const char* kSceneFirefox = "org.mozilla.firefox";
inline constexpr const char* kSceneSlack = "com.tinyspeck.slackmacgap";
inline constexpr pid_t kSlackPid = 700;
inline constexpr pid_t kMailPid = 701;

class GuiScene {
public:
    // `pickerTrigger`: "always" sends every link to the picker; "never" opens it.
    explicit GuiScene(std::string pickerTrigger = "always",
                      std::unique_ptr<PanelPresenter> presenter = qtPanelPresenter());
    ~GuiScene();

    void send(std::string_view link, pid_t pid = kSlackPid);
    // Runs the work the model posted (opens, saves).
    void settle() { fakes.scheduler.advance(0); }
    std::vector<std::string> journalTexts() const;

    TempFolder temp;
    FakePorts fakes;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<PickerPanel> panel;
    std::unique_ptr<PickerController> controller;  // before the model goes: its waiting links close
    int ids = 0;
};

}  // namespace pivra::testing_support
