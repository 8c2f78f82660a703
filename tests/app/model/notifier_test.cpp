// Problems as notifications: the hourly limit across launches, the setting
// that turns them off, withdrawal, and the click that opens a settings page.

#include <gtest/gtest.h>

#include "app/model/app_model.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

class ProblemNotifications : public testing::Test {
protected:
    ProblemNotifications() { fakes.notifications.status = NotificationStatus::authorized; }

    // A new model over the same preferences and files: a relaunch.
    void launch() {
        model.reset();
        model = std::make_unique<AppModel>(fakes.ports(), ModelFolders{temp.path() / "Pivra", temp.path()});
        model->setOnOpenSettings([this](SettingsPage page) { opened.push_back(page); });
        model->start();
        fakes.scheduler.runDue();
    }
    void later(int seconds) { fakes.clock.set(fakes.clock.now() + std::chrono::seconds(seconds)); }
    std::vector<std::string> postedIds() const {
        std::vector<std::string> ids;
        for (const auto& post : fakes.notifications.posts) ids.push_back(post.identifier);
        return ids;
    }

    testing_support::TempFolder temp;
    testing_support::FakePorts fakes;
    std::unique_ptr<AppModel> model;
    std::vector<SettingsPage> opened;
};

TEST_F(ProblemNotifications, EachProblemIsPostedAtMostOnceAnHourEvenAcrossALaunch) {
    launch();
    model->raiseProblem(Problem::profileFailed("com.google.Chrome"));
    model->raiseProblem(Problem::profileFailed("org.mozilla.firefox"));  // another identifier: posted too
    ASSERT_EQ(postedIds(), (std::vector<std::string>{"profileFailed:com.google.Chrome", "profileFailed:org.mozilla.firefox"}));
    const NotificationContent& first = fakes.notifications.posts[0];
    EXPECT_EQ(first.title, "Couldn’t open a com.google.Chrome profile");
    EXPECT_EQ(first.page, "browsers");

    // Withdrawn and raised again within the hour, after a relaunch: still quiet.
    model->clearProblem("profileFailed:com.google.Chrome");
    EXPECT_EQ(fakes.notifications.removals, std::vector<std::string>{"profileFailed:com.google.Chrome"});
    later(3599);
    launch();
    model->raiseProblem(Problem::profileFailed("com.google.Chrome"));
    EXPECT_EQ(fakes.notifications.posts.size(), 2u);
    EXPECT_EQ(model->problems().size(), 1u) << "the problem is listed all the same";
    model->clearProblem("profileFailed:com.google.Chrome");
    later(1);
    model->raiseProblem(Problem::profileFailed("com.google.Chrome"));
    EXPECT_EQ(fakes.notifications.posts.size(), 3u) << "an hour on, it is posted again";
}

TEST_F(ProblemNotifications, NothingIsPostedOrRememberedWhileNotificationsAreOff) {
    fakes.preferences.setValue(SettingKey::kNotifications, std::string("off"));
    launch();
    model->raiseProblem(Problem::browserGone("com.google.Chrome"));
    EXPECT_TRUE(fakes.notifications.posts.empty());
    EXPECT_FALSE(fakes.preferences.value(SettingKey::kNotifiedAt).has_value());
    EXPECT_EQ(model->problems().size(), 1u);
}

TEST_F(ProblemNotifications, AnUnreadableRecordOfPostsCountsAsNone) {
    fakes.preferences.setValue(SettingKey::kNotifiedAt, std::string("garbage"));
    launch();
    model->raiseProblem(Problem::browserGone("com.google.Chrome"));
    EXPECT_EQ(fakes.notifications.posts.size(), 1u);
    EXPECT_EQ(model->settings().notifiedAt().size(), 1u);
}

TEST_F(ProblemNotifications, AClickOpensTheProblemsPageAndAnUnknownPageTheGeneralOne) {
    launch();
    temp.write("Pivra/rules.json", "{");
    model->reloadRules();
    ASSERT_TRUE(fakes.notifications.click("rulesError"));
    fakes.notifications.shown["odd"] = NotificationContent{"odd", "", "", "Rules"};
    ASSERT_TRUE(fakes.notifications.click("odd"));
    EXPECT_EQ(opened, (std::vector<SettingsPage>{SettingsPage::rules, SettingsPage::general}));
    EXPECT_EQ(model->settingsPage(), SettingsPage::general);
    // Fixing the file withdraws its notification.
    temp.write("Pivra/rules.json", "{}");
    model->reloadRules();
    EXPECT_EQ(fakes.notifications.removals, std::vector<std::string>{"rulesError"});
}

TEST_F(ProblemNotifications, PermissionStatusAndFailuresAreLogged) {
    fakes.notifications.status = NotificationStatus::notDetermined;
    fakes.notifications.userAllows = false;
    launch();
    EXPECT_EQ(model->notifier().status(), NotificationStatus::notDetermined);
    model->notifier().requestPermission();
    fakes.scheduler.runDue();
    EXPECT_EQ(model->notifier().status(), NotificationStatus::denied);
    const auto errors = fakes.log.texts(LogLevel::error);
    EXPECT_NE(std::find(errors.begin(), errors.end(), "Notifications not allowed: Notifications are off for this app"), errors.end());
    EXPECT_EQ(fakes.log.texts(LogLevel::notice).back(), "Notifications not allowed");

    fakes.notifications.status = NotificationStatus::authorized;
    fakes.notifications.postError = "the centre is busy";
    model->appBecameActive();
    fakes.scheduler.runDue();
    EXPECT_EQ(model->notifier().status(), NotificationStatus::authorized);
    int allPosted = 0;
    model->notifier().setOnAllPosted([&] { ++allPosted; });
    model->raiseProblem(Problem::browserGone("x"));
    model->raiseProblem(Problem::browserGone("y"));
    EXPECT_EQ(model->notifier().postsInFlight(), 2u);
    fakes.scheduler.runDue();
    EXPECT_EQ(model->notifier().postsInFlight(), 0u);
    EXPECT_EQ(allPosted, 1);
    EXPECT_EQ(fakes.log.texts(LogLevel::error).back(), "Notification not posted: the centre is busy");
    EXPECT_EQ(Notifier::systemSettingsLink("app.omra.pivra"),
              "x-apple.systempreferences:com.apple.Notifications-Settings.extension?id=app.omra.pivra");
}

}  // namespace
}  // namespace pivra
