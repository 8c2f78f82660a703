// The picker: its entry list, keys and start row as functions, and the panel
// with the model behind it, played through the fake panel's keys and focus.

#include <gtest/gtest.h>

#include "app/model/app_model.hpp"
#include "app/model/picker_controller.hpp"
#include "core/rules/rules_coding.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/rule_builder.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using namespace std::chrono_literals;

constexpr const char* kSafari = "com.apple.Safari";
constexpr const char* kChrome = "com.google.Chrome";
constexpr const char* kFirefox = "org.mozilla.firefox";
constexpr const char* kSlack = "com.tinyspeck.slackmacgap";
constexpr const char* kMail = "com.apple.mail";

// --- The key table ------------------------------------------------------------

struct KeyCase {
    const char* name;
    PickerKey key;
    bool copies;
    std::optional<PickerKeyAction> expected;
};

class PickerKeys : public testing::TestWithParam<KeyCase> {};

TEST_P(PickerKeys, Action) {
    const KeyCase& c = GetParam();
    EXPECT_EQ(pickerKeyAction(c.key, c.copies), c.expected);
}

constexpr int kKeyC = 8;
constexpr int kKey1 = 18;

INSTANTIATE_TEST_SUITE_P(
    Keys, PickerKeys,
    testing::Values(KeyCase{"CommandCCopies", {kKeyC, "c", true}, true, PickerAction::Copy{}},
                    KeyCase{"CommandCWithCopyingOffIsNotHandled", {kKeyC, "c", true}, false, std::nullopt},
                    KeyCase{"CWithoutCommand", {kKeyC, "c", false}, true, std::nullopt},
                    KeyCase{"Return", {36, "\r"}, true, PickerAction::PickSelected{}},
                    KeyCase{"KeypadEnter", {76, "\x03"}, true, PickerAction::PickSelected{}},
                    KeyCase{"Up", {126, ""}, true, PickerAction::Up{}},
                    KeyCase{"Down", {125, ""}, true, PickerAction::Down{}},
                    KeyCase{"Escape", {53, "\x1b"}, true, PickerAction::Cancel{}},
                    KeyCase{"One", {kKey1, "1"}, true, PickerAction::Pick{0}},
                    KeyCase{"NineOnTheKeypad", {92, "9"}, true, PickerAction::Pick{8}},
                    KeyCase{"CommandOneIsStillOne", {kKey1, "1", true}, true, PickerAction::Pick{0}},
                    KeyCase{"Zero", {29, "0"}, true, std::nullopt},
                    KeyCase{"Ten", {0, "10"}, true, std::nullopt},
                    KeyCase{"PlusSign", {0, "+3"}, true, PickerAction::Pick{2}},
                    KeyCase{"LeadingZero", {0, "03"}, true, PickerAction::Pick{2}},
                    KeyCase{"MinusSign", {0, "-1"}, true, std::nullopt},
                    KeyCase{"TwoSigns", {0, "+-1"}, true, std::nullopt},
                    KeyCase{"DigitAndLetter", {0, "3a"}, true, std::nullopt},
                    KeyCase{"Space", {49, " "}, true, std::nullopt},
                    KeyCase{"NoCharacters", {0, ""}, true, std::nullopt},
                    KeyCase{"ArabicIndicThree", {0, "٣"}, true, std::nullopt}),
    [](const testing::TestParamInfo<KeyCase>& info) { return std::string(info.param.name); });

// --- The entry list -----------------------------------------------------------

const std::vector<BrowserApp> kBrowsers{{kSafari, "Safari", {}, {}}, {kChrome, "Google Chrome", {}, {}},
                                        {kFirefox, "Firefox", {}, {}}};
// Firefox's profiles were read and there are none: one entry, as for Safari.
const std::map<std::string, std::vector<BrowserProfile>> kProfiles{
    {kChrome, {{"Default", "Personal", true}, {"Profile 1", "Work", false}}}, {kFirefox, {}}};

std::vector<std::string> keysOf(const std::vector<PickerEntry>& entries) {
    std::vector<std::string> keys;
    for (const auto& entry : entries) keys.push_back(pickerEntryKey(entry.target));
    return keys;
}

TEST(PickerEntries, OneEntryPerKnownProfileElseOneForTheApp) {
    EXPECT_EQ(pickerEntries(kBrowsers, kProfiles, {}, {}),
              (std::vector<PickerEntry>{{{kSafari, {}}, "Safari", "Last used profile"},
                                        {{kChrome, "Default"}, "Google Chrome", "Personal"},
                                        {{kChrome, "Profile 1"}, "Google Chrome", "Work"},
                                        {{kFirefox, {}}, "Firefox", "Last used profile"}}));
}

TEST(PickerEntries, TheUsersOrderComesFirstAndHiddenEntriesAreLeftOut) {
    struct Case {
        std::vector<std::string> hidden;
        std::vector<std::string> order;
        std::vector<std::string> expected;
    };
    const std::vector<Case> cases{
        {{}, {kFirefox, "com.google.Chrome/Profile 1"},
         {kFirefox, "com.google.Chrome/Profile 1", kSafari, "com.google.Chrome/Default"}},
        // Keys of nothing installed, and a key listed twice, rank nothing.
        {{}, {"gone.app", "com.google.Chrome/Default", kFirefox, "com.google.Chrome/Default"},
         {"com.google.Chrome/Default", kFirefox, kSafari, "com.google.Chrome/Profile 1"}},
        // A browser's key alone does not hide its profiles.
        {{kSafari, "com.google.Chrome/Default", kChrome}, {}, {"com.google.Chrome/Profile 1", kFirefox}},
        {{kFirefox}, {kFirefox, kSafari}, {kSafari, "com.google.Chrome/Default", "com.google.Chrome/Profile 1"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(keysOf(pickerEntries(kBrowsers, kProfiles, c.hidden, c.order)), c.expected);
    }
}

TEST(PickerEntries, TheStartRowIsTheRulesPickUnlessTheFirstIsAsked) {
    const auto entries = pickerEntries(kBrowsers, kProfiles, {}, {});
    struct Case {
        std::optional<Target> suggested;
        bool first;
        int expected;
    };
    const std::vector<Case> cases{
        {Target{kChrome, "Profile 1"}, false, 2},
        {Target{kChrome, "Profile 1"}, true, 0},
        {Target{kFirefox, {}}, false, 3},
        {Target{kChrome, {}}, false, 0},  // no such entry: Chrome lists its profiles
        {std::nullopt, false, 0},
    };
    for (const auto& c : cases) EXPECT_EQ(pickerStartIndex(entries, c.suggested, c.first), c.expected);
    EXPECT_EQ(pickerStartIndex({}, Target{kSafari, {}}, false), 0);
    EXPECT_EQ(pickerRuleLabel(0), "Rule 1");
    EXPECT_EQ(pickerRuleLabel(11), "Rule 12");
}

// --- The panel with the model -------------------------------------------------

Rule rule(std::string id, std::string from, std::string domain, Target open) {
    return testing_support::makeRule(std::move(id), std::move(from), Match::domains({std::move(domain)}), std::move(open));
}

class Picker : public testing::Test {
protected:
    // Rules: 1 Slack's news.test links to Chrome's "Work", 2 example.com to
    // Firefox; the fallback is Safari. Every link goes to the picker.
    Picker() {
        fakes.workspace.install(kSafari, "Safari");
        fakes.workspace.install(kChrome, "Google Chrome");
        fakes.workspace.install(kFirefox, "Firefox");
        fakes.workspace.install(kSlack, "Slack");
        fakes.workspace.install(kMail, "Mail");
        fakes.workspace.browsers = {*fakes.workspace.application(kSafari), *fakes.workspace.application(kChrome),
                                    *fakes.workspace.application(kFirefox)};
        fakes.workspace.running[700] = kSlack;
        fakes.workspace.running[701] = kMail;
        fakes.processes.parents[700] = 1;
        fakes.processes.parents[701] = 1;
        fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string("always"));
        RulesFile file;
        file.rules = {rule("R1", kSlack, "news.test", {kChrome, "Profile 1"}),
                      rule("R2", "*", "example.com", {kFirefox, {}})};
        temp.write("Pivra/rules.json", RulesCoding::encode(file));
        temp.write("Library/Application Support/Google/Chrome/Local State",
                   R"({"profile":{"info_cache":{"Default":{"name":"Personal"},"Profile 1":{"name":"Work"}}}})");
        temp.write("Library/Application Support/Google/Chrome/Profile 1/Preferences", "{}");
        model = std::make_unique<AppModel>(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()},
                                           [this] { return "ID" + std::to_string(++ids); });
        model->start();
        controller = std::make_unique<PickerController>(*model, fakes.pickerWindow, fakes.screens, fakes.pasteboard);
        model->setPicker(controller.get());
    }

    void send(std::string_view link, pid_t pid = 700) { ASSERT_TRUE(model->receiveLink(link, pid)); }
    void settle() { fakes.scheduler.advance(0); }
    std::vector<std::string> journalTexts() const {
        std::vector<std::string> texts;
        for (const auto& entry : model->journal().entries(Instant{})) {
            if (!entry.text.starts_with("Link from")) texts.push_back(entry.text);
        }
        return texts;
    }
    std::vector<std::string> openedLinks() const {
        std::vector<std::string> links;
        for (const auto& call : fakes.workspace.opens) links.insert(links.end(), call.links.begin(), call.links.end());
        return links;
    }

    static constexpr std::string_view kClosed = LinkText::kPickerClosed;

    testing_support::TempFolder temp;
    testing_support::FakePorts fakes;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<PickerController> controller;  // gone before the model: its waiting links close
    PickerController& picker() { return *controller; }
    int ids = 0;
};

TEST_F(Picker, OpensOnTheRulesPickWithItsLabelAndPlacedByThePointer) {
    fakes.screens.all = {Screen{{0, 0, 1440, 900}, {0, 0, 1440, 875}}};
    fakes.screens.main = fakes.screens.all[0];
    fakes.screens.pointerAt = {700, 500};
    send("https://news.test/a");
    ASSERT_NE(picker().state(), nullptr);
    const PickerState& state = *picker().state();
    EXPECT_TRUE(fakes.pickerWindow.visible);
    EXPECT_EQ(fakes.pickerWindow.frames, (std::vector<ScreenRect>{{708, 188, 400, 300}}));
    EXPECT_EQ(state.selected(), 2);
    EXPECT_EQ(state.ruleIndex(), 0);
    const auto rows = state.rows();
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[2].ruleLabel, "Rule 1");
    EXPECT_TRUE(rows[2].selected);
    EXPECT_EQ(rows[2].entry.sub, "Work");
    EXPECT_EQ(rows[0].ruleLabel, std::nullopt);
    EXPECT_EQ(rows[3].number, 4);
    EXPECT_EQ(state.title(), "https://news.test/a");
    EXPECT_EQ(state.explanation(), "");
    EXPECT_EQ(state.sourceLine(), "From Slack");
    EXPECT_TRUE(state.rememberShown());
    EXPECT_EQ(state.rememberLabel(), "Remember for this site");
    EXPECT_EQ(state.rememberCaption(), "Always open news.test from Slack in the one you pick");
}

TEST_F(Picker, ArrowsMoveWithinTheListAndReturnOpensTheSelectedEntry) {
    send("https://news.test/a");
    auto& window = fakes.pickerWindow;
    EXPECT_TRUE(window.press(125));
    EXPECT_TRUE(window.press(125));
    EXPECT_EQ(picker().state()->selected(), 3) << "the last row stays selected";
    for (int i = 0; i < 5; ++i) window.press(126);
    EXPECT_EQ(picker().state()->selected(), 0);
    EXPECT_FALSE(window.press(0, "x"));
    EXPECT_TRUE(window.press(36, "\r"));
    EXPECT_EQ(picker().state(), nullptr);
    EXPECT_FALSE(window.visible);
    EXPECT_FALSE(window.keyHook) << "closing clears the hooks";
    settle();
    EXPECT_EQ(journalTexts(), (std::vector<std::string>{"Picker shown", "Picked com.apple.Safari"}));
    EXPECT_EQ(openedLinks(), std::vector<std::string>{"https://news.test/a"});
    EXPECT_EQ(model->rules().rules.size(), 2u) << "remember was off";
}

TEST_F(Picker, TwoLinksFromOneAppOpenInOrderWithOneChoiceAndMakeOneRule) {
    send("https://www.news.test/1");
    send("https://news.test/2");
    EXPECT_EQ(fakes.pickerWindow.frames.size(), 1u) << "the second link joins the panel";
    PickerState& state = *picker().state();
    EXPECT_EQ(state.links(), (std::vector<std::string>{"https://www.news.test/1", "https://news.test/2"}));
    EXPECT_EQ(state.title(), "2 links at once");
    EXPECT_EQ(state.explanation(), "Picked once for all of them. They open in the order they came.");
    EXPECT_EQ(state.rememberLabel(), "Remember for this app");
    EXPECT_EQ(state.rememberCaption(), "Always open links from Slack in the one you pick");
    state.setRemember(true);
    EXPECT_TRUE(fakes.pickerWindow.press(0, "1"));
    settle();
    EXPECT_EQ(openedLinks(), (std::vector<std::string>{"https://www.news.test/1", "https://news.test/2"}));
    const auto& rules = model->rules().rules;
    ASSERT_EQ(rules.size(), 3u);
    EXPECT_EQ(rules[0].from, kSlack);
    EXPECT_EQ(rules[0].match, Match::domains({"news.test"}));
    EXPECT_EQ(rules[0].open, (Target{kSafari, {}}));
    EXPECT_EQ(rules[1].id, "R1");
}

TEST_F(Picker, ALinkFromAnotherAppReplacesThePanelAndTheReplacedLinksCloseWithoutAChoice) {
    send("https://news.test/1");
    send("https://news.test/2");
    send("https://example.com/", 701);
    EXPECT_EQ(fakes.pickerWindow.frames.size(), 2u);
    EXPECT_EQ(fakes.pickerWindow.closes, 1);
    ASSERT_NE(picker().state(), nullptr);
    EXPECT_EQ(picker().state()->links(), std::vector<std::string>{"https://example.com/"});
    EXPECT_EQ(picker().state()->sourceLine(), "From Mail");
    EXPECT_EQ(picker().state()->selected(), 3) << "rule 2's Firefox";
    EXPECT_EQ(journalTexts(), (std::vector<std::string>{"Picker shown", "Picker shown", "Picker shown",
                                                        std::string(kClosed), std::string(kClosed)}));
    EXPECT_TRUE(fakes.pickerWindow.press(53));
    EXPECT_EQ(journalTexts().back(), kClosed);
    settle();
    EXPECT_TRUE(fakes.workspace.opens.empty());
}

TEST_F(Picker, CommandCCopiesEveryLinkUnlessCopyingIsOff) {
    struct Case {
        const char* name;
        std::optional<PreferenceValue> copies;
        bool copied;
    };
    const std::vector<Case> cases{{"absent", std::nullopt, true},
                                  {"true", PreferenceValue(true), true},
                                  {"not a flag", PreferenceValue(std::string("no")), true},
                                  {"false", PreferenceValue(false), false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.copies) {
            fakes.preferences.setValue(SettingKey::kPickerCopies, *c.copies);
        } else {
            fakes.preferences.removeValue(SettingKey::kPickerCopies);
        }
        fakes.pasteboard.texts.clear();
        fakes.clock.set(fakes.clock.now() + 10s);
        send("https://news.test/1");
        send("https://example.com/2");
        bool sawCopied = false;
        picker().state()->setObserver([&] { sawCopied = sawCopied || picker().state()->copied(); });
        EXPECT_EQ(fakes.pickerWindow.press(kKeyC, "c", true), c.copied);
        settle();
        EXPECT_TRUE(fakes.workspace.opens.empty());
        if (c.copied) {
            EXPECT_EQ(fakes.pasteboard.texts, std::vector<std::string>{"https://news.test/1\nhttps://example.com/2"});
            EXPECT_TRUE(sawCopied);
            EXPECT_EQ(picker().state(), nullptr);
        } else {
            EXPECT_TRUE(fakes.pasteboard.texts.empty());
            ASSERT_NE(picker().state(), nullptr) << "the panel stays";
            fakes.pickerWindow.press(53);
        }
    }
}

TEST_F(Picker, OnlyTheFirstNineRowsHaveNumberKeys) {
    fakes.workspace.browsers.clear();
    for (int i = 1; i <= 10; ++i) {
        fakes.workspace.browsers.push_back(
            fakes.workspace.install("app.browser" + std::to_string(i), "Browser " + std::to_string(i)));
    }
    model->refreshBrowsers();
    send("https://news.test/1");
    const auto rows = picker().state()->rows();
    ASSERT_EQ(rows.size(), 10u);
    EXPECT_EQ(rows[8].number, 9);
    EXPECT_EQ(rows[9].number, std::nullopt);
    EXPECT_FALSE(fakes.pickerWindow.press(29, "0"));
    picker().state()->pick(10);
    ASSERT_NE(picker().state(), nullptr) << "a row out of range is ignored";
    EXPECT_TRUE(fakes.pickerWindow.press(25, "9"));
    EXPECT_EQ(journalTexts().back(), "Picked app.browser9");
}

TEST_F(Picker, StartingAtTheTopKeepsTheRuleLabelOnTheRulesRow) {
    fakes.preferences.setValue(SettingKey::kPickerStart, std::string("first"));
    send("https://news.test/1");
    const auto rows = picker().state()->rows();
    EXPECT_TRUE(rows[0].selected);
    EXPECT_EQ(rows[2].ruleLabel, "Rule 1");
}

TEST_F(Picker, NoRuleNoLabelAndTheToggleNeedsAKnownAppAHostAndTheSetting) {
    send("https://nowhere.test/", 0);
    const PickerState& state = *picker().state();
    EXPECT_EQ(state.ruleIndex(), std::nullopt);
    EXPECT_EQ(state.selected(), 0) << "the fallback, Safari";
    for (const auto& row : state.rows()) EXPECT_EQ(row.ruleLabel, std::nullopt);
    EXPECT_EQ(state.sourceLine(), "From an unknown app");
    EXPECT_FALSE(state.rememberShown());
    fakes.pickerWindow.press(53);

    fakes.preferences.setValue(SettingKey::kPickerOffersRule, false);
    send("https://news.test/");
    EXPECT_FALSE(picker().state()->rememberShown());
}

TEST_F(Picker, LosingFocusClosesEveryLinkOnceAndASecondFinishDoesNothing) {
    send("https://news.test/1");
    send("https://news.test/2");
    fakes.pickerWindow.loseFocus();
    picker().finish(Target{kSafari, {}}, false);
    settle();
    EXPECT_EQ(journalTexts(), (std::vector<std::string>{"Picker shown", "Picker shown", std::string(kClosed),
                                                        std::string(kClosed)}));
    EXPECT_TRUE(fakes.workspace.opens.empty());
}

TEST_F(Picker, LinksStillWaitingWhenThePickerGoesCloseWithoutAChoice) {
    send("https://news.test/1");
    controller.reset();
    model->setPicker(nullptr);
    EXPECT_EQ(journalTexts(), (std::vector<std::string>{"Picker shown", std::string(kClosed)}));
    EXPECT_FALSE(fakes.pickerWindow.visible);
}

TEST_F(Picker, AnEmptyListEndsOnlyByEscapeCopyOrFocus) {
    fakes.workspace.browsers.clear();
    model->refreshBrowsers();
    send("https://news.test/1");
    EXPECT_TRUE(fakes.pickerWindow.press(36, "\r"));
    EXPECT_TRUE(fakes.pickerWindow.press(0, "1"));
    ASSERT_NE(picker().state(), nullptr);
    EXPECT_TRUE(fakes.pickerWindow.press(53));
    EXPECT_EQ(picker().state(), nullptr);
}

TEST_F(Picker, APanelThatIsNoLongerOnScreenIsNotJoined) {
    send("https://news.test/1");
    fakes.pickerWindow.visible = false;  // ordered out by the system without telling
    EXPECT_FALSE(picker().isCollecting(1));
    send("https://news.test/2");
    EXPECT_EQ(picker().state()->links(), std::vector<std::string>{"https://news.test/2"});
    EXPECT_EQ(journalTexts(), (std::vector<std::string>{"Picker shown", "Picker shown", std::string(kClosed)}));
}

}  // namespace
}  // namespace pivra
