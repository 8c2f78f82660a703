#include "tests/gui/gui_scene.hpp"

#include "core/rules/rules_coding.hpp"
#include "tests/support/rule_builder.hpp"

namespace pivra::testing_support {

namespace {

constexpr std::string_view kChromeLocalState =
    R"({"profile":{"info_cache":{"Default":{"name":"Personal"},"Profile 1":{"name":"Work"},"Profile 2":{"name":"Side project"}}}})";
constexpr std::string_view kFirefoxProfiles =
    "[Profile0]\nName=default-release\nIsRelative=1\nPath=Profiles/a.default-release\nDefault=1\n\n"
    "[Profile1]\nName=Work\nIsRelative=1\nPath=Profiles/b.Work\n\n"
    "[Profile2]\nName=Testing\nIsRelative=1\nPath=Profiles/c.Testing\n";

}  // namespace

GuiScene::GuiScene(std::string pickerTrigger, std::unique_ptr<PanelPresenter> presenter) {
    auto& workspace = fakes.workspace;
    workspace.install(kSceneChrome, "Google Chrome");
    workspace.install(kSceneFirefox, "Firefox");
    workspace.install(kSceneSlack, "Slack");
    workspace.install("com.apple.mail", "Mail");
    workspace.browsers = {*workspace.application(kSceneChrome), *workspace.application(kSceneFirefox)};
    workspace.running[kSlackPid] = kSceneSlack;
    workspace.running[kMailPid] = "com.apple.mail";
    fakes.processes.parents[kSlackPid] = 1;
    fakes.processes.parents[kMailPid] = 1;
    fakes.preferences.setValue(SettingKey::kPickerTrigger, std::move(pickerTrigger));
    fakes.screens.all = {Screen{{0, 0, 1440, 900}, {0, 0, 1440, 875}}};
    fakes.screens.main = fakes.screens.all[0];
    fakes.screens.pointerAt = {400, 700};

    RulesFile file;
    file.fallback = Target{kSceneFirefox, "default-release"};
    file.rules = {makeRule("R1", kSceneSlack, Match::domains({"news.test"}), {kSceneChrome, "Profile 1"}),
                  makeRule("R2", "*", Match::domains({"example.com"}), {kSceneFirefox, "Work"})};
    temp.write("Pivra/rules.json", RulesCoding::encode(file));
    temp.write("Library/Application Support/Google/Chrome/Local State", kChromeLocalState);
    for (const char* profile : {"Default", "Profile 1", "Profile 2"}) {
        temp.write(std::string("Library/Application Support/Google/Chrome/") + profile + "/Preferences", "{}");
    }
    temp.write("Library/Application Support/Firefox/profiles.ini", kFirefoxProfiles);

    model = std::make_unique<AppModel>(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()},
                                       [this] { return "ID" + std::to_string(++ids); });
    model->start();
    panel = std::make_unique<PickerPanel>(*model, std::move(presenter));
    controller = std::make_unique<PickerController>(*model, *panel, fakes.screens, fakes.pasteboard);
    panel->setController(controller.get());
    model->setPicker(controller.get());
}

GuiScene::~GuiScene() {
    model->setPicker(nullptr);
    controller.reset();
    panel.reset();
}

void GuiScene::send(std::string_view link, pid_t pid) { model->receiveLink(link, pid); }

std::vector<std::string> GuiScene::journalTexts() const {
    std::vector<std::string> texts;
    for (const auto& entry : model->journal().entries(Instant{})) {
        if (!entry.text.starts_with("Link from")) texts.push_back(entry.text);
    }
    return texts;
}

}  // namespace pivra::testing_support
