// A link through the model, from its arrival to the browser, with fake apps,
// processes and launches and the manual clock.

#include <gtest/gtest.h>

#include "app/model/app_model.hpp"
#include "core/routing/link.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/files.hpp"
#include "tests/support/rule_builder.hpp"
#include "tests/support/scripted_picker.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using Program = testing_support::ScriptedLauncher::Program;
using namespace std::chrono_literals;

constexpr const char* kChrome = "com.google.Chrome";
constexpr const char* kFirefox = "org.mozilla.firefox";
constexpr const char* kSafari = "com.apple.Safari";
constexpr const char* kSlack = "com.tinyspeck.slackmacgap";
constexpr const char* kChromeProblem = "Problem: Couldn’t open a Google Chrome profile";

using testing_support::makeRule;

class LinkFlow : public testing::Test {
protected:
    LinkFlow() {
        fakes.workspace.install(kSafari, "Safari");
        fakes.workspace.install(kChrome, "Google Chrome");
        fakes.workspace.install(kFirefox, "Firefox");
        fakes.workspace.running[700] = kSlack;
        fakes.processes.parents[700] = 1;
        fakes.workspace.install(kSlack, "Slack");
    }

    // Rules: 1 Slack's links to Chrome's "Profile 1", 2 example.com to
    // Firefox, 3 news.test to Chrome; the fallback is Safari.
    void start(std::vector<Rule> rules = {}) {
        if (rules.empty()) {
            rules = {makeRule("R1", kSlack, Match::any(), {kChrome, "Profile 1"}),
                     makeRule("R2", "*", Match::domains({"example.com"}), {kFirefox, {}}),
                     makeRule("R3", "*", Match::domains({"news.test"}), {kChrome, {}})};
        }
        RulesFile file;
        file.rules = std::move(rules);
        temp.write("Pivra/rules.json", RulesCoding::encode(file));
        temp.write("Library/Application Support/Google/Chrome/Profile 1/Preferences", "{}");
        model = std::make_unique<AppModel>(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()},
                                           [this] { return "ID" + std::to_string(++ids); });
        model->setOnOpenFinished([this](const OpenOutcome& outcome) { outcomes.push_back(outcome); });
        model->start();
    }

    // A fresh model on `rules`, with nothing opened or journalled before it.
    void restart(std::vector<Rule> rules) {
        model.reset();
        fakes.workspace.opens.clear();
        fakes.launcher.requests.clear();
        fs::remove(temp.path() / "Pivra" / "pivra-log.jsonl");
        start(std::move(rules));
    }

    void send(std::string_view link, pid_t pid = 0) { ASSERT_TRUE(model->receiveLink(link, pid)); }
    // Runs the opens that are waiting, up to `seconds` later.
    void settle(double seconds = 0) { fakes.scheduler.advance(seconds); }
    // Moves the clock without running anything, as between two links.
    void later(std::chrono::milliseconds time) { fakes.clock.set(fakes.clock.now() + time); }

    std::vector<std::string> journalTexts() const {
        std::vector<std::string> texts;
        for (const auto& entry : model->journal().entries(Instant{})) texts.push_back(entry.text);
        return texts;
    }
    std::vector<std::string> openedApps() const {
        std::vector<std::string> apps;
        for (const auto& call : fakes.workspace.opens) apps.push_back(call.app.id);
        return apps;
    }
    std::int64_t countOf(std::string_view key) const {
        std::int64_t total = 0;
        for (const auto& [day, counts] : model->counts().days) {
            if (const auto found = counts.find(std::string(key)); found != counts.end()) total += found->second;
        }
        return total;
    }

    testing_support::TempFolder temp;
    testing_support::FakePorts fakes;
    std::unique_ptr<AppModel> model;
    std::vector<OpenOutcome> outcomes;
    int ids = 0;
};

TEST_F(LinkFlow, ALinkIsJournalledCountedAndOpenedAfterTheHandlerReturns) {
    start();
    send("https://example.com/a/b?x=1");
    EXPECT_TRUE(fakes.workspace.opens.empty()) << "the open waits for the handler to return";
    EXPECT_EQ(model->lastLinkAt(), fakes.clock.now());
    settle();
    ASSERT_EQ(fakes.workspace.opens.size(), 1u);
    EXPECT_EQ(fakes.workspace.opens[0].links, std::vector<std::string>{"https://example.com/a/b?x=1"});
    EXPECT_EQ(fakes.workspace.opens[0].app.id, kFirefox);
    EXPECT_TRUE(fakes.workspace.opens[0].options.activates);
    EXPECT_TRUE(fakes.launcher.requests.empty());

    const auto entries = model->journal().entries(Instant{});
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].text, "Link from unknown app → rule 2 → org.mozilla.firefox");
    EXPECT_EQ(entries[0].host, "example.com");
    EXPECT_EQ(entries[0].path, "/a/b") << "the query only while the detailed log is on";
    EXPECT_EQ(model->linksToday(), 1);
    EXPECT_EQ(countOf("R2"), 1);
    const auto notices = fakes.log.texts(LogLevel::notice);
    EXPECT_NE(std::find(notices.begin(), notices.end(), "Link from unknown app: example.com/a/b → rule 2 → org.mozilla.firefox (batch 1)"),
              notices.end());
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_TRUE(outcomes[0].opened);
}

TEST_F(LinkFlow, SlacksLinksOpenWithTheProfileThroughTheLaunchPlan) {
    start();
    send("https://example.com/a", 700);
    settle();
    EXPECT_TRUE(fakes.workspace.opens.empty());
    ASSERT_EQ(fakes.launcher.requests.size(), 1u);
    EXPECT_EQ(fakes.launcher.requests[0].arguments,
              (std::vector<std::string>{"-na", "/Applications/Google Chrome.app", "--args", "--profile-directory=Profile 1",
                                        "https://example.com/a"}));
    EXPECT_FALSE(fakes.launcher.requests[0].leaveRunning);
    EXPECT_EQ(journalTexts(), (std::vector<std::string>{"Link from com.tinyspeck.slackmacgap → rule 1 → com.google.Chrome · Profile 1",
                                                        "Opened with the profile"}));
    EXPECT_EQ(fakes.log.texts(LogLevel::notice).back(), "Opened with the profile: com.google.Chrome Profile 1");
}

TEST_F(LinkFlow, TextThatIsNotALinkChangesNothing) {
    start();
    for (const char* text : {"", "not a link", "http://[::1"}) EXPECT_FALSE(model->receiveLink(text, 700)) << text;
    settle();
    EXPECT_TRUE(journalTexts().empty());
    EXPECT_EQ(model->linksToday(), 0);
    EXPECT_TRUE(model->recentLinks().empty());
    EXPECT_FALSE(model->lastLinkAt());
}

TEST_F(LinkFlow, JournalLineNamesHeldKeysTheReasonAndTheDetailedPath) {
    start();
    fakes.keyboard.held = ModifierKeys{.option = false, .shift = false, .command = true, .control = true};
    send("https://news.test/p?q=1");
    fakes.keyboard.held = ModifierKeys{.option = true, .shift = true, .command = true, .control = true};
    fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string("never"));
    fakes.preferences.setValue(SettingKey::kDetailedLog, std::string("on"));
    send("https://other.test/p?q=1");
    const auto entries = model->journal().entries(Instant{});
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].text, "Link from unknown app holding ⌘⌃ → rule 3 → com.google.Chrome");
    EXPECT_EQ(entries[1].text, "Link from unknown app holding ⌥⇧⌘⌃ → fallback → com.apple.Safari");
    EXPECT_EQ(entries[1].path, "/p?q=1");
}

TEST_F(LinkFlow, PickerIsUsedByTriggerKeysAndBatchButNeverForPausedOrLoopGuardLinks) {
    struct Case {
        const char* trigger;  // nullptr: not set
        ModifierKeys keys;
        bool paused;
        bool expected;
    };
    const ModifierKeys none, shift{.shift = true}, option{.option = true};
    const Case cases[] = {
        {nullptr, shift, false, true},     {nullptr, option, false, false}, {"shift", shift, false, true},
        {"shift", option, false, false},   {"option", option, false, true}, {"option", shift, false, false},
        {"always", none, false, true},     {"never", shift, false, false},  {"bogus", shift, false, true},
        {"always", none, true, false},
    };
    for (const Case& c : cases) {
        fakes.preferences.values.clear();
        if (c.trigger) fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string(c.trigger));
        if (c.paused) fakes.preferences.setValue(SettingKey::kPausedUntilResumed, true);
        fakes.keyboard.held = c.keys;
        if (!model) start();
        testing_support::ScriptedPicker picker;
        model->setPicker(&picker);
        later(5s);
        send("https://news.test/");
        EXPECT_EQ(picker.requests.size(), c.expected ? 1u : 0u) << (c.trigger ? c.trigger : "unset");
        model->setPicker(nullptr);
        settle();
    }
}

TEST_F(LinkFlow, LoopGuardLinksNeverGoToThePickerAndOpenersExpireAfterTwoSeconds) {
    start();
    testing_support::ScriptedPicker picker;
    model->setPicker(&picker);
    fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string("never"));
    send("https://news.test/");
    settle();
    ASSERT_EQ(model->recentOpens().size(), 1u);
    fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string("always"));
    later(1500ms);
    fakes.workspace.running[800] = kChrome;
    send("https://news.test/again", 800);
    EXPECT_EQ(model->recentLinks().front().reason.kind(), DecisionReasonKind::loopGuard);
    EXPECT_TRUE(picker.requests.empty());
    settle();
    // Both opens are remembered; the first is older than 2 s at the next link and is gone before routing.
    later(1000ms);
    ASSERT_EQ(model->recentOpens().size(), 2u);
    fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string("never"));
    send("https://news.test/third", 800);
    EXPECT_EQ(model->recentLinks().front().reason.kind(), DecisionReasonKind::loopGuard) << "the second open is 1 s old";
    EXPECT_EQ(model->recentOpens().size(), 1u);
}

TEST_F(LinkFlow, LinksOfABatchThePickerCollectsJoinIt) {
    start();
    testing_support::ScriptedPicker picker;
    model->setPicker(&picker);
    picker.collecting = 1;
    send("https://news.test/1", 700);
    later(500ms);
    send("https://news.test/2", 700);
    later(1500ms);
    send("https://news.test/3", 700);
    ASSERT_EQ(picker.requests.size(), 2u) << "the third link starts a batch of its own";
    EXPECT_EQ(picker.requests[1].batch, 1);
    EXPECT_EQ(picker.requests[1].source, Source::app(kSlack));
}

TEST_F(LinkFlow, APickedTargetIsJournalledCountedOpenedAndShownAsPicked) {
    start();
    testing_support::ScriptedPicker picker;
    model->setPicker(&picker);
    fakes.keyboard.held.shift = true;
    send("https://news.test/");
    EXPECT_EQ(model->linksToday(), 0) << "not counted before the choice";
    picker.answer(Target{kChrome, "Profile 1"});
    settle();
    EXPECT_EQ(journalTexts(), (std::vector<std::string>{"Link from unknown app holding ⇧ → rule 3 → com.google.Chrome",
                                                        "Picker shown", "Picked com.google.Chrome · Profile 1",
                                                        "Opened with the profile"}));
    EXPECT_EQ(model->linksToday(), 1);
    EXPECT_EQ(countOf("R3"), 1);
    EXPECT_EQ(model->recentLinks().front().target, (Target{kChrome, "Profile 1"}));
    EXPECT_TRUE(model->recentLinks().front().picked);
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_TRUE(outcomes[0].opened);
    EXPECT_EQ(outcomes[0].app, kChrome);
}

// The rules by id, a rule made from a choice as "from host → app".
std::vector<std::string> ruleSummary(const RulesFile& rules) {
    std::vector<std::string> summary;
    for (const auto& r : rules.rules) {
        summary.push_back(r.id.starts_with("R") ? r.id : r.from + " " + r.match.values().at(0) + " → " + r.open.app);
    }
    return summary;
}

TEST_F(LinkFlow, ARememberedChoiceBecomesARuleAheadOfTheOneThatTookTheLink) {
    constexpr const char* kMail = "com.apple.mail";
    struct Case {
        const char* link;
        pid_t pid;  // 700 Slack, 701 Mail, 0 unknown
        bool remember;
        std::vector<std::string> rules;
    };
    const std::vector<Case> cases{
        // Rule 1 took all of Slack's links.
        {"https://www.news.test/a", 700, true, {"com.tinyspeck.slackmacgap news.test → com.apple.Safari", "R1", "R2", "R3"}},
        {"https://news.test/a", 701, true, {"R1", "R2", "com.apple.mail news.test → com.apple.Safari", "R3"}},
        // The fallback took it: last.
        {"https://WWW.Other.test/", 701, true, {"R1", "R2", "R3", "com.apple.mail other.test → com.apple.Safari"}},
        {"https://wwwx.test/", 701, true, {"R1", "R2", "R3", "com.apple.mail wwwx.test → com.apple.Safari"}},
        {"https://news.test/a", 0, true, {"R1", "R2", "R3"}},
        {"https://news.test/a", 700, false, {"R1", "R2", "R3"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.link) + " from " + std::to_string(c.pid));
        fakes.workspace.install(kMail, "Mail");
        fakes.workspace.running[701] = kMail;
        fakes.processes.parents[701] = 1;
        restart({});
        fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string("always"));
        testing_support::ScriptedPicker picker;
        model->setPicker(&picker);
        send(c.link, c.pid);
        picker.answer(Target{kSafari, {}}, c.remember);
        settle();
        EXPECT_EQ(ruleSummary(model->rules()), c.rules);
        EXPECT_EQ(fakes.workspace.opens.size(), 1u);
        model->setPicker(nullptr);
    }
}

TEST_F(LinkFlow, ARememberedChoiceIsRefusedWhileTheRulesFileHasAnErrorAndTheLinkStillOpens) {
    start();
    fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string("always"));
    testing_support::ScriptedPicker picker;
    model->setPicker(&picker);
    temp.write("Pivra/rules.json", "{ not json");
    model->reloadRules();
    ASSERT_TRUE(model->rulesError());
    send("https://news.test/a", 700);
    picker.answer(Target{kSafari, {}}, true);
    settle();
    EXPECT_EQ(ruleSummary(model->rules()), (std::vector<std::string>{"R1", "R2", "R3"}));
    ASSERT_FALSE(fakes.log.texts(LogLevel::error).empty());
    EXPECT_EQ(fakes.log.texts(LogLevel::error).back(), kRulesEditRefusedLog);
    EXPECT_EQ(temp.read("Pivra/rules.json"), "{ not json");
    EXPECT_EQ(openedApps(), std::vector<std::string>{kSafari});
}

TEST_F(LinkFlow, APickerClosedEmptyOrMissingOpensAndCountsNothing) {
    start();
    fakes.preferences.setValue(SettingKey::kPickerTrigger, std::string("always"));
    testing_support::ScriptedPicker picker;
    model->setPicker(&picker);
    send("https://news.test/");
    picker.answer(std::nullopt);
    model->setPicker(nullptr);
    later(5s);
    send("https://news.test/");
    settle();
    const std::vector<std::string> expected{"Link from unknown app → rule 3 → com.google.Chrome", "Picker shown",
                                            "Picker closed without a choice; the link wasn’t opened"};
    auto texts = journalTexts();
    EXPECT_EQ(std::vector<std::string>(texts.begin(), texts.begin() + 3), expected);
    EXPECT_EQ(std::vector<std::string>(texts.begin() + 3, texts.end()), expected);
    EXPECT_TRUE(fakes.workspace.opens.empty());
    EXPECT_EQ(model->linksToday(), 0);
    EXPECT_EQ(countOf("R3"), 0);
    EXPECT_EQ(outcomes.size(), 2u);
}

TEST_F(LinkFlow, TodaysCountStartsOverOnTheFirstLinkOfANewDay) {
    start();
    fakes.clock.setUtcOffset(Seconds(0));
    fakes.clock.set(instantFromReferenceSeconds(0) + std::chrono::hours(23) + std::chrono::minutes(59));
    send("https://news.test/");
    send("https://news.test/");
    EXPECT_EQ(model->linksToday(), 2);
    later(2min);
    EXPECT_EQ(model->menu().status, "0 links today") << "yesterday's count is not shown as today's";
    send("https://news.test/");
    EXPECT_EQ(model->linksToday(), 1);
}

TEST_F(LinkFlow, EveryLinkCountsTodayButPausedOnesAndAllWhileCountingIsOffAreNotCountedPerRule) {
    start();
    model->pauseUntilResumed();
    send("https://news.test/");
    settle();
    EXPECT_EQ(openedApps(), std::vector<std::string>{kSafari}) << "paused links go to the fallback";
    model->resume();
    fakes.preferences.setValue(SettingKey::kCountLinks, false);
    later(5s);
    send("https://news.test/");
    EXPECT_EQ(model->linksToday(), 2);
    EXPECT_TRUE(model->counts().days.empty());
}

// --- Opening ------------------------------------------------------------------

TEST_F(LinkFlow, AMissingTargetGoesToTheFallbackWithAProblemAndBothOpenersRemembered) {
    start();
    fakes.workspace.installed.erase(kFirefox);
    send("https://example.com/");
    settle();
    EXPECT_EQ(openedApps(), std::vector<std::string>{kSafari});
    EXPECT_EQ(model->problems(), std::vector<Problem>{Problem::browserGone(kFirefox)});
    EXPECT_EQ(model->recentOpens().size(), 2u);
    EXPECT_EQ(model->recentOpens()[0].app, kFirefox);
    EXPECT_EQ(model->recentOpens()[1].app, kSafari);
    EXPECT_EQ(fakes.log.texts(LogLevel::error),
              std::vector<std::string>{"org.mozilla.firefox couldn’t open the link; trying the fallback com.apple.Safari"});
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_TRUE(outcomes[0].opened);
    EXPECT_EQ(outcomes[0].app, kSafari);

    later(5s);
    send("https://example.com/");
    settle();
    EXPECT_EQ(model->problems().size(), 1u) << "a problem is listed once";
    model->clearProblem("browserGone:org.mozilla.firefox");
    EXPECT_TRUE(model->problems().empty());
}

TEST_F(LinkFlow, AFailedOpenTriesTheFallbackAndAFailedFallbackIsReportedNotLost) {
    start();
    fakes.workspace.failingOpens[kFirefox] = "the app is damaged";
    send("https://example.com/");
    settle();
    EXPECT_EQ(openedApps(), (std::vector<std::string>{kFirefox, kSafari}));
    EXPECT_TRUE(model->problems().empty()) << "the fallback helped";

    fakes.workspace.failingOpens[kSafari] = "no";
    fakes.workspace.installed.erase(kSafari);
    outcomes.clear();
    later(5s);
    send("https://example.com/");
    settle();
    EXPECT_EQ(model->problems(), std::vector<Problem>{Problem::browserGone(kSafari)});
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_FALSE(outcomes[0].opened);
    EXPECT_FALSE(outcomes[0].error.empty());
}

TEST_F(LinkFlow, TheFallbackThatFailsIsNotTriedTwice) {
    start();
    fakes.workspace.installed.erase(kSafari);
    send("https://nothing.test/");
    settle();
    EXPECT_TRUE(fakes.workspace.opens.empty());
    EXPECT_EQ(model->problems(), std::vector<Problem>{Problem::browserGone(kSafari)});
    EXPECT_EQ(fakes.log.texts(LogLevel::error), std::vector<std::string>{"com.apple.Safari couldn’t open the link (it isn’t installed)"});
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(outcomes[0].error, "com.apple.Safari: it isn’t installed");
}

TEST_F(LinkFlow, ARuleThatDoesNotBringTheBrowserForwardOpensInTheBackground) {
    Rule background = makeRule("R1", "*", Match::any(), {kFirefox, {}});
    background.bringForward = false;
    start({background});
    send("https://example.com/");
    settle();
    ASSERT_EQ(fakes.workspace.opens.size(), 1u);
    EXPECT_FALSE(fakes.workspace.opens[0].options.activates);
}

TEST_F(LinkFlow, ProfileLaunchesReportEachOutcome) {
    struct Case {
        const char* name;
        Program program;
        std::optional<std::string> profile;
        bool newWindow;
        std::vector<std::string> journal;  // after the link's own line
        bool problem;
        double wait;
    };
    const Case cases[] = {
        {"Profile", Program::exits(0), "Profile 1", false, {"Opened with the profile"}, false, 0},
        {"ProfileAndWindow", Program::exits(0), "Profile 1", true, {"Opened with the profile, new window"}, false, 0},
        {"WindowOnly", Program::exits(0), std::nullopt, true, {"Opened in a new window"}, false, 0},
        {"Exit3", Program::exits(3), "Profile 1", false, {"Couldn’t open the profile: it exited with 3", kChromeProblem}, true, 0},
        {"NoAnswer", Program::hanging(), "Profile 1", false, {"Couldn’t open the profile: it didn’t answer", kChromeProblem}, true, 10},
        {"Missing", Program::missing(), "Profile 1", false, {"Couldn’t open the profile: it couldn’t be started", kChromeProblem}, true, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Rule r = makeRule("R1", "*", Match::any(), {kChrome, c.profile});
        r.newWindow = c.newWindow;
        fakes.launcher.programs["/usr/bin/open"] = c.program;
        restart({r});
        send("https://example.com/x");
        settle(c.wait);
        ASSERT_EQ(fakes.launcher.requests.size(), 1u);
        const auto& request = fakes.launcher.requests[0];
        EXPECT_EQ(request.program, "/usr/bin/open");
        EXPECT_EQ(request.timeout, Seconds(10));
        EXPECT_EQ(request.arguments.back(), "https://example.com/x");
        auto texts = journalTexts();
        EXPECT_EQ(std::vector<std::string>(texts.begin() + 1, texts.end()), c.journal);
        EXPECT_EQ(model->problems().size(), c.problem ? 1u : 0u);
        // A failed launch still opens the link, in the browser without the profile.
        EXPECT_EQ(openedApps(), c.problem ? std::vector<std::string>{kChrome} : std::vector<std::string>{});
        if (c.problem) {
            EXPECT_EQ(model->problems()[0], Problem::profileFailed(kChrome));
        }
    }
}

TEST_F(LinkFlow, AProfileThatCannotBeUsedFollowsTheProfileFailureSetting) {
    struct Case {
        const char* choice;
        std::vector<std::string> journal;
        std::vector<std::string> opened;
        bool problem;
    };
    const Case cases[] = {
        {"picker", {"Picker shown", "Picker closed without a choice; the link wasn’t opened"}, {}, false},
        {nullptr, {"Picker shown", "Picker closed without a choice; the link wasn’t opened"}, {}, false},
        {"fallback", {}, {kSafari}, false},
        {"anyway", {"Couldn’t open the profile: the profile is gone", kChromeProblem}, {kChrome}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.choice ? c.choice : "unset");
        fakes.preferences.values.clear();
        if (c.choice) fakes.preferences.setValue(SettingKey::kProfileFailure, std::string(c.choice));
        restart({makeRule("R1", "*", Match::any(), {kChrome, "Gone"})});
        send("https://example.com/");
        settle();
        auto texts = journalTexts();
        EXPECT_EQ(std::vector<std::string>(texts.begin() + 1, texts.end()), c.journal);
        EXPECT_EQ(openedApps(), c.opened);
        EXPECT_EQ(model->problems().size(), c.problem ? 1u : 0u);
        EXPECT_EQ(model->linksToday(), 1) << "counted when it arrived";
    }
}

TEST_F(LinkFlow, ThePickerCanRescueAProfileThatIsGone) {
    start({makeRule("R1", "*", Match::any(), {kChrome, "Gone"})});
    testing_support::ScriptedPicker picker;
    model->setPicker(&picker);
    send("https://www.example.com/", 700);
    settle();
    ASSERT_EQ(picker.requests.size(), 1u);
    picker.answer(Target{kFirefox, {}}, true);
    settle();
    EXPECT_EQ(openedApps(), std::vector<std::string>{kFirefox});
    EXPECT_EQ(model->linksToday(), 1) << "not counted twice";
    EXPECT_EQ(ruleSummary(model->rules()),
              (std::vector<std::string>{"com.tinyspeck.slackmacgap example.com → org.mozilla.firefox", "R1"}));
}

TEST_F(LinkFlow, TheDetailedLogTellsTheSenderTheMatchAndTheLaunch) {
    start();
    fakes.preferences.setValue(SettingKey::kDetailedLog, std::string("on"));
    send("https://example.com/", 700);
    settle();
    std::vector<std::string> details;
    for (const auto& text : fakes.log.texts(LogLevel::notice)) {
        if (text.starts_with("Detail: ")) details.push_back(text);
    }
    ASSERT_EQ(details.size(), 3u);
    EXPECT_EQ(details[0], "Detail: GURL from pid 700 com.tinyspeck.slackmacgap");
    EXPECT_EQ(details[1], "Detail: Matched against 3 rules, paused false, recent 0");
    EXPECT_TRUE(details[2].starts_with("Detail: open -na /Applications/Google Chrome.app --args --profile-directory=Profile 1"))
        << details[2];
}

TEST_F(LinkFlow, UnwrappedLinksAreLoggedAndRecordedAsDecided) {
    start();
    send("https://www.google.com/url?q=https%3A%2F%2Fexample.com%2Fa%3Futm_source%3Dx");
    EXPECT_EQ(model->recentLinks().front().url, "https://example.com/a");
    EXPECT_EQ(fakes.log.texts(LogLevel::notice).back(), "Unwrapped from www.google.com");
}

TEST_F(LinkFlow, TheModelMayGoWhileAnOpenIsUnderWay) {
    start();
    send("https://example.com/");
    model.reset();
    settle(20);
    EXPECT_TRUE(fakes.workspace.opens.empty());
}

}  // namespace
}  // namespace pivra
