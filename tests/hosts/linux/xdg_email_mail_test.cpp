// Mail on Linux: whether the desktop has a mail app, then xdg-email's answer.

#include "hosts/linux/xdg_email_mail.hpp"

#include <gtest/gtest.h>

#include "tests/support/fake_system.hpp"
#include "tests/support/manual_time.hpp"

namespace pivra {
namespace {

using Program = testing_support::ScriptedLauncher::Program;

struct Case {
    const char* name;
    bool hasMailApp;
    Program xdgEmail;
    bool composed;
};

TEST(XdgEmailMail, ComposesThroughXdgEmailWhenTheDesktopHasAMailApp) {
    for (const Case& c : {
             Case{"composed", true, Program::exits(0), true},
             Case{"the mail app stays in front", true, Program::hanging(), true},
             Case{"no mail app", false, Program::exits(0), false},
             Case{"xdg-utils missing", true, Program::missing(), false},
             Case{"xdg-email fails", true, Program::exits(4), false},
         }) {
        testing_support::ManualClock clock;
        testing_support::ManualScheduler scheduler(clock);
        testing_support::ScriptedLauncher launcher(scheduler);
        launcher.programs["xdg-email"] = c.xdgEmail;
        XdgEmailMail mail(launcher, scheduler, [&] { return c.hasMailApp; });
        std::optional<bool> answer;
        mail.compose({"support@omra.app", "Subject", "Body\n\n", "/tmp/r.zip"}, [&](bool composed) { answer = composed; });
        EXPECT_FALSE(answer) << c.name << ": never before compose returns";
        scheduler.advance(kMailComposeTimeout.count());
        EXPECT_EQ(answer, c.composed) << c.name;
        if (!c.hasMailApp) {
            EXPECT_TRUE(launcher.requests.empty()) << c.name;
            continue;
        }
        ASSERT_EQ(launcher.requests.size(), 1u) << c.name;
        EXPECT_EQ(launcher.requests[0].arguments,
                  (std::vector<std::string>{"--utf8", "--subject", "Subject", "--body", "Body\n\n", "--attach", "/tmp/r.zip",
                                            "support@omra.app"}));
        EXPECT_TRUE(launcher.requests[0].leaveRunning);
    }
}

}  // namespace
}  // namespace pivra
