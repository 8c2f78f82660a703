// `pivra open` as a user runs it where no session bus is there to hand the
// link to the app: the real program in a child process, the desktop's apps
// as desktop entries in a private data folder, Pivra's files in private XDG
// folders, and browsers that are small programs recording what they were
// started with.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "core/activity/link_counts.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

extern char** environ;

namespace pivra {
namespace {

namespace fs = std::filesystem;

struct ProgramRun {
    int status = -1;
    std::string out;
    std::string err;
};

class PivraOpen : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(temp.path() / "sysdata");
        // Browsers: each records its arguments, one per line, then a blank line.
        for (const char* name : {"firefox", "chromium"}) {
            const fs::path program = temp.path() / "bin" / name;
            temp.write(program, "#!/bin/sh\n{ for a in \"$@\"; do printf '%s\\n' \"$a\"; done; echo; } >> '" +
                                    record(name).string() + "'\n");
            fs::permissions(program, fs::perms::owner_all);
        }
        entry("firefox", "Firefox", "firefox %u");
        entry("chromium", "Chromium", "chromium %U");
        temp.write(".config/chromium/Local State", R"({"profile":{"info_cache":{"Profile 1":{"name":"Work"}}}})");
        fs::create_directories(temp.path() / ".config/chromium/Profile 1");
    }

    // A desktop entry that opens web links, its program in the test's bin folder.
    void entry(const std::string& id, const std::string& name, const std::string& exec) {
        temp.write("data/applications/" + id + ".desktop",
                   "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + (temp.path() / "bin").string() + "/" +
                       exec + "\nMimeType=text/html;x-scheme-handler/http;x-scheme-handler/https;\n");
    }

    fs::path record(const std::string& browser) const { return temp.path() / (browser + ".args"); }

    // What the browser recorded, once it has: it starts after `pivra open` returns.
    std::string recorded(const std::string& browser) const {
        for (int i = 0; i < 500 && !fs::exists(record(browser)); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return temp.read(record(browser));
    }

    void writeRules(const std::string& json) { temp.write("config/pivra/rules.json", json); }

    ProgramRun pivra(std::vector<std::string> args) const {
        args.insert(args.begin(), PIVRA_PROGRAM);
        std::vector<std::string> environment{
            "HOME=" + temp.path().string(),
            "XDG_DATA_HOME=" + (temp.path() / "data").string(),
            "XDG_DATA_DIRS=" + (temp.path() / "sysdata").string(),
            "XDG_CONFIG_HOME=" + (temp.path() / "config").string(),
            "XDG_CONFIG_DIRS=" + (temp.path() / "sysconfig").string(),
            "XDG_STATE_HOME=" + (temp.path() / "state").string(),
            "PATH=/usr/bin:/bin",
        };
        std::vector<char*> argv;
        for (auto& arg : args) argv.push_back(arg.data());
        argv.push_back(nullptr);
        std::vector<char*> envp;
        for (auto& variable : environment) envp.push_back(variable.data());
        envp.push_back(nullptr);

        const fs::path out = temp.path() / "stdout", err = temp.path() / "stderr";
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        pid_t pid = 0;
        ProgramRun run;
        if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data()) == 0) {
            int status = 0;
            waitpid(pid, &status, 0);
            run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        posix_spawn_file_actions_destroy(&actions);
        run.out = temp.read("stdout");
        run.err = temp.read("stderr");
        return run;
    }

    std::string journal() const { return temp.read("state/pivra/pivra-log.jsonl"); }

    testing_support::TempFolder temp;
};

TEST_F(PivraOpen, ALinkFromAnAppReachesTheRulesBrowserProfileAndIsRecorded) {
    writeRules(R"({"version":1,"fallback":{"app":"firefox"},"rules":[
        {"id":"A","from":"org.gnome.Evolution","match":{"kind":"domains","values":["example.com"]},
         "open":{"app":"chromium","profile":"Profile 1"},"newWindow":true}]})");
    const ProgramRun run = pivra({"open", "https://www.example.com/a?utm_source=x&id=1", "--from", "org.gnome.Evolution"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "Opened in Chromium (chromium) · from org.gnome.Evolution\n");
    EXPECT_EQ(recorded("chromium"), "--profile-directory=Profile 1\n--new-window\n--\nhttps://www.example.com/a?id=1\n\n");
    EXPECT_NE(journal().find("Link from org.gnome.Evolution → rule 1 → chromium · Profile 1"), std::string::npos) << journal();
    EXPECT_NE(journal().find("Opened with the profile, new window"), std::string::npos);
    const std::string counts = temp.read("state/pivra/counts.json");
    EXPECT_NE(counts.find("\"A\" : 1"), std::string::npos) << counts;
}

TEST_F(PivraOpen, ALinkNoRuleTakesOpensInTheFallbackEntry) {
    writeRules(R"({"version":1,"fallback":{"app":"firefox"},"rules":[]})");
    const ProgramRun run = pivra({"open", "https://news.test/story", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(recorded("firefox"), "https://news.test/story\n\n");
    EXPECT_NE(run.out.find(R"("reason":{"kind":"fallback"})"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find(R"("opened":true)"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find(R"("source":null)"), std::string::npos) << "no app among this test's processes";
    const std::string counts = temp.read("state/pivra/counts.json");
    EXPECT_NE(counts.find("\"fallback\" : 1"), std::string::npos) << counts;
}

TEST_F(PivraOpen, WithoutARulesFileTheDefaultsFallBackToTheDesktopsBrowser) {
    // What the app's first rules file would say: the browser that is the default now.
    temp.write("config/mimeapps.list", "[Default Applications]\nx-scheme-handler/https=chromium.desktop\n");
    ProgramRun run = pivra({"check"});
    EXPECT_EQ(run.out, "0 rules · fallback Chromium (chromium) (defaults: no rules file yet)\n") << run.err;
    run = pivra({"try", "https://news.test/"});
    EXPECT_NE(run.out.find("Opens in: Chromium (chromium)\n"), std::string::npos) << run.out;
    EXPECT_FALSE(fs::exists(temp.path() / "config/pivra/rules.json")) << "trying writes no file";
}

TEST_F(PivraOpen, AMissingBrowserFallsBackAndAMissingFallbackFails) {
    writeRules(R"({"version":1,"fallback":{"app":"firefox"},"rules":[
        {"id":"A","match":{"kind":"any"},"open":{"app":"vivaldi-stable"}}]})");
    ProgramRun run = pivra({"open", "https://news.test/"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(recorded("firefox"), "https://news.test/\n\n");
    EXPECT_NE(run.err.find("pivra: vivaldi-stable isn’t on this computer · Its rules’ links open in Firefox instead.\n"),
              std::string::npos) << run.err;

    writeRules(R"({"version":1,"fallback":{"app":"gone"},"rules":[
        {"id":"A","match":{"kind":"any"},"open":{"app":"vivaldi-stable"}}]})");
    run = pivra({"open", "https://news.test/"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.err.ends_with("pivra: the link wasn’t opened: gone: it isn’t installed\n")) << run.err;
}

TEST_F(PivraOpen, ALocalPageOpensLikeALinkInTheBrowserTheRulesName) {
    // Pivra is the desktop's viewer of HTML files too: the file manager hands it their file links.
    writeRules(R"({"version":1,"fallback":{"app":"firefox"},"rules":[
        {"id":"A","match":{"kind":"domains","values":["example.com"]},"open":{"app":"chromium"}}]})");
    const ProgramRun run = pivra({"open", "file:///srv/pages/index.html"});
    ASSERT_EQ(run.status, 0) << run.err;
    // GIO hands a program that takes files the page's path.
    EXPECT_EQ(recorded("firefox"), "/srv/pages/index.html\n\n");
    EXPECT_NE(journal().find("→ fallback → firefox"), std::string::npos) << journal();

    // By its path, as a file manager may hand it over; a name that isn't a file stays no link.
    temp.write("pages/a page.html", "<p>");
    ASSERT_EQ(pivra({"open", (temp.path() / "pages/a page.html").string()}).status, 0);
    EXPECT_TRUE(recorded("firefox").ends_with("\n" + (temp.path() / "pages/a page.html").string() + "\n\n"))
        << recorded("firefox");
    EXPECT_NE(journal().find(R"("path":")" + (temp.path() / "pages/a%20page.html").string()), std::string::npos)
        << journal();
    const ProgramRun missing = pivra({"open", (temp.path() / "pages/gone.html").string()});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("isn’t a link or a file"), std::string::npos) << missing.err;
}

TEST_F(PivraOpen, RefusesWhatIsNotAWebLinkOrALocalFileAndRecordsNothing) {
    writeRules(R"({"version":1,"fallback":{"app":"firefox"},"rules":[]})");
    for (const char* link : {"mailto:someone@example.com", "javascript:alert(1)", "not a link"}) {
        const ProgramRun run = pivra({"open", link});
        EXPECT_EQ(run.status, 1) << link;
        EXPECT_NE(run.err.find("isn’t a"), std::string::npos) << run.err;
    }
    EXPECT_EQ(journal(), "");
    EXPECT_EQ(pivra({"open"}).status, 2);
    EXPECT_EQ(pivra({"open", "https://a.test/", "--bogus"}).status, 2);
    writeRules("{");
    const ProgramRun broken = pivra({"open", "https://a.test/"});
    EXPECT_EQ(broken.status, 1);
    EXPECT_NE(broken.err.find("the rules file has an error"), std::string::npos) << broken.err;
    EXPECT_EQ(journal(), "");
}

}  // namespace
}  // namespace pivra
