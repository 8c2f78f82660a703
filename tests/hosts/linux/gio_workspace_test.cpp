// The GIO workspace against real desktop entries, a real mimeapps.list and
// real processes. GIO reads the XDG folders once per process, so this program
// points them at one temporary tree, with every entry written, before any test
// runs; only the test of a change to the installed apps adds (and removes) an
// entry of its own afterwards.

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "hosts/linux/gio_workspace.hpp"
#include "tests/hosts/linux/recording_program.hpp"
#include "tests/support/manual_time.hpp"
#include "tests/support/temp_folder.hpp"

extern char** environ;

namespace pivra {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOwnId = "app.omra.pivra";

std::string entry(std::string_view name, std::string_view exec, std::string_view more = "") {
    std::string text = "[Desktop Entry]\nType=Application\n";
    if (!name.empty()) text += "Name=" + std::string(name) + "\n";
    text += "Exec=" + std::string(exec) + "\n";
    text += more;
    return text;
}

constexpr std::string_view kWebTypes = "MimeType=text/html;x-scheme-handler/http;x-scheme-handler/https;\n";

// Where PATH finds a program (systems keep "true" in different folders).
fs::path onPath(const char* program) {
    gchar* found = g_find_program_in_path(program);
    fs::path path = found ? fs::path(found) : fs::path();
    g_free(found);
    return path;
}

// The temporary XDG tree: applications in the user's data folder (with no
// mimeinfo.cache, as is usual there) and in one system folder, a user
// mimeapps.list, and programs on PATH.
class DesktopTree final : public testing::Environment {
public:
    static DesktopTree* instance;

    void SetUp() override {
        temp_ = std::make_unique<testing_support::TempFolder>();
        const fs::path root = temp_->path();
        const auto user = fs::path("home/data/applications");
        const auto system = fs::path("system/applications");
        const std::string bin = (root / "bin").string();

        testing_support::writeRecordingProgram(root / "bin/record-browser", root / "records/browser");
        testing_support::writeRecordingProgram(root / "bin/record-alpha", root / "records/alpha");
        testing_support::writeRecordingProgram(root / "bin/pivra-test-self", root / "records/self");
        // A real binary, reached through a link on PATH as packages install them.
        const fs::path sleep = onPath("sleep");
        ASSERT_FALSE(sleep.empty()) << "no sleep program";
        fs::create_directories(root / "libexec");
        fs::copy_file(sleep, root / "libexec/sleeper-real");
        fs::create_symlink("../libexec/sleeper-real", root / "bin/pivra-test-sleeper");

        temp_->write(user / "pivra-test-browser.desktop", entry("Test Browser", "record-browser %U", kWebTypes));
        temp_->write(user / "masked.desktop", entry("Masked Browser", "true %u", "Hidden=true\n"));
        temp_->write(system / "masked.desktop", entry("Masked Browser", "true %u", kWebTypes));
        temp_->write(system / "alpha.desktop", entry("Alpha", bin + "/record-alpha %u", kWebTypes));
        temp_->write(system / "org.example.Zeta.desktop", entry("zeta", "true %u", kWebTypes));
        // GIO takes an entry whose program is missing for one that is not installed.
        temp_->write(system / "gone-program.desktop", entry("Gone Program", "pivra-no-such-program %u", kWebTypes));
        temp_->write(system / "same-b.desktop", entry("same name", "true %u", kWebTypes));
        temp_->write(system / "same-a.desktop", entry("Same Name", "true %u", kWebTypes));
        temp_->write(system / "quiet-browser.desktop", entry("Quiet", "true %u", std::string(kWebTypes) + "NoDisplay=true\n"));
        temp_->write(system / "app.omra.pivra.desktop", entry("Pivra", "pivra-test-self %U", kWebTypes));
        temp_->write(system / "added-browser.desktop", entry("Added Browser", "true %u"));
        temp_->write(system / "org.example.Editor.desktop", entry("Editor", "true %f", "MimeType=text/plain;\n"));
        temp_->write(system / "nameless.desktop", entry("", "true"));
        temp_->write(system / "needs-terminal.desktop", entry("Needs Terminal", "record-alpha %u", "Terminal=true\n"));
        temp_->write(system / "sleeper.desktop", entry("Sleeper", "pivra-test-sleeper"));
        // The same program, from an entry menus do not show and whose id sorts first.
        temp_->write(system / "a-sleeper-helper.desktop",
                     entry("Sleeper Helper", (root / "libexec/sleeper-real").string(), "NoDisplay=true\n"));
        temp_->write(system / "env-wrapped.desktop", entry("Env Wrapped", "env PIVRA=1 pivra-test-sleeper"));
        temp_->write(system / "shell-wrapped.desktop", entry("Shell Wrapped", "sh -c \"exec pivra-test-sleeper 1\""));
        // Flatpak apps: one exported for the user, one not exported at all.
        testing_support::writeRecordingProgram(root / "bin/flatpak", root / "records/flatpak");
        testing_support::writeRecordingProgram(root / "home/data/flatpak/exports/bin/org.example.Flat", root / "records/flat");
        temp_->write(system / "org.example.Flat.desktop",
                     entry("Flat", "flatpak run --command=flat org.example.Flat @@u %u @@", "X-Flatpak=org.example.Flat\n"));
        temp_->write(system / "org.example.Unexported.desktop",
                     entry("Unexported", "flatpak run org.example.Unexported", "X-Flatpak=org.example.Unexported\n"));
        temp_->write("config/mimeapps.list",
                     "[Default Applications]\nx-scheme-handler/https=alpha.desktop\n"
                     "[Added Associations]\nx-scheme-handler/https=added-browser.desktop;\n");
        fs::create_directories(root / "etc-xdg");
        fs::create_directories(root / "records");

        setenv("XDG_DATA_HOME", (root / "home/data").c_str(), 1);
        setenv("XDG_DATA_DIRS", (root / "system").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (root / "config").c_str(), 1);
        setenv("XDG_CONFIG_DIRS", (root / "etc-xdg").c_str(), 1);
        // Desktop-specific lists ("gnome-mimeapps.list") are not ours to read.
        unsetenv("XDG_CURRENT_DESKTOP");
        const char* path = std::getenv("PATH");
        setenv("PATH", (bin + ":" + (path ? path : "/usr/bin:/bin")).c_str(), 1);
    }

    void TearDown() override { temp_.reset(); }

    const fs::path& root() const { return temp_->path(); }

private:
    std::unique_ptr<testing_support::TempFolder> temp_;
};

DesktopTree* DesktopTree::instance =
    static_cast<DesktopTree*>(testing::AddGlobalTestEnvironment(new DesktopTree));  // gtest owns it

class GioWorkspaceTest : public testing::Test {
protected:
    const fs::path& root() const { return DesktopTree::instance->root(); }

    testing_support::ManualClock clock;
    testing_support::ManualScheduler scheduler{clock};
    GioWorkspace workspace{scheduler, kOwnId};
};

TEST_F(GioWorkspaceTest, ApplicationsAreTheEntriesThatAreNotHidden) {
    const fs::path bin = root() / "bin";
    const fs::path trueProgram = onPath("true");
    ASSERT_FALSE(trueProgram.empty());
    const struct {
        std::string id;
        std::optional<InstalledApp> app;
    } cases[] = {
        {"pivra-test-browser", InstalledApp{"pivra-test-browser", "Test Browser", bin / "record-browser", ""}},
        {"alpha", InstalledApp{"alpha", "Alpha", bin / "record-alpha", ""}},
        {"org.example.Zeta", InstalledApp{"org.example.Zeta", "zeta", trueProgram, ""}},
        {"quiet-browser", InstalledApp{"quiet-browser", "Quiet", trueProgram, ""}},
        {"nameless", InstalledApp{"nameless", "nameless", trueProgram, ""}},
        // A Flatpak app's program is its exported launcher, which takes the app's own options.
        {"org.example.Flat", InstalledApp{"org.example.Flat", "Flat", root() / "home/data/flatpak/exports/bin/org.example.Flat", ""}},
        {"org.example.Unexported", InstalledApp{"org.example.Unexported", "Unexported", bin / "flatpak", ""}},
        // The user's Hidden entry deletes the system's of the same id.
        {"masked", std::nullopt},
        {"gone-program", std::nullopt},
        {"missing", std::nullopt},
        {"", std::nullopt},
        {"pivra-test-browser.desktop", std::nullopt},
        {"../../system/applications/alpha", std::nullopt},
        {std::string("alpha\0evil", 10), std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(workspace.application(c.id), c.app) << c.id;
}

TEST_F(GioWorkspaceTest, BrowsersComeFromMimeTypeLinesAndAssociationsSortedByNameWithoutCase) {
    std::vector<std::string> ids;
    std::vector<std::string> names;
    for (const auto& browser : workspace.installedBrowsers()) {
        ids.push_back(browser.id);
        names.push_back(browser.name);
    }
    // "pivra-test-browser" has nothing but its MimeType line, in a folder
    // without mimeinfo.cache; "added-browser" nothing but mimeapps.list's
    // association. Hidden entries, non-browsers and this app itself are left out.
    EXPECT_EQ(ids, (std::vector<std::string>{"added-browser", "alpha", "quiet-browser", "same-a", "same-b",
                                             "pivra-test-browser", "org.example.Zeta"}));
    EXPECT_EQ(names, (std::vector<std::string>{"Added Browser", "Alpha", "Quiet", "Same Name", "same name",
                                               "Test Browser", "zeta"}));
}

TEST_F(GioWorkspaceTest, OpenLaunchesTheEntryWithTheLinksAndCompletesLater) {
    const auto app = workspace.application("pivra-test-browser");
    ASSERT_TRUE(app);
    const std::vector<std::string> links = {"https://example.com/a?b=c&d=e#f", "http://example.org/$(x) ;|'"};
    std::vector<std::optional<std::string>> results;
    workspace.open(links, *app, OpenOptions{.activates = false}, [&](auto error) { results.push_back(error); });
    EXPECT_TRUE(results.empty()) << "completion before open returned";
    scheduler.runDue();
    EXPECT_EQ(results, (std::vector<std::optional<std::string>>{std::nullopt}));
    // No shell comes between: every character reaches the program as it was.
    EXPECT_EQ(testing_support::waitForRecord(root() / "records/browser"), links[0] + "\n" + links[1] + "\n");
}

TEST_F(GioWorkspaceTest, OpenReportsWhatWentWrong) {
    const auto browser = workspace.application("pivra-test-browser");
    ASSERT_TRUE(browser);
    const struct {
        std::vector<std::string> links;
        InstalledApp app;
        std::string errorHolds;
    } cases[] = {
        {{"https://example.com/"}, InstalledApp{"org.example.Gone", "Gone", {}, ""}, "“Gone” isn’t installed"},
        // What is not a link could pass for one of the browser's options.
        {{"https://example.com/", "--profile=/tmp/x"}, *browser, "“--profile=/tmp/x” isn’t a link"},
        {{std::string("https://example.com/\0x", 21)}, *browser, "isn’t a link"},
    };
    for (const auto& c : cases) {
        std::optional<std::string> error;
        int calls = 0;
        workspace.open(c.links, c.app, OpenOptions{}, [&](auto result) {
            error = result;
            ++calls;
        });
        EXPECT_EQ(calls, 0);
        scheduler.runDue();
        EXPECT_EQ(calls, 1);
        ASSERT_TRUE(error) << c.errorHolds;
        EXPECT_NE(error->find(c.errorHolds), std::string::npos) << *error;
    }

    // GIO's own errors come through as it words them. It runs a Terminal=true
    // entry in a terminal it looks for on PATH: here there is none. (GIO starts
    // programs through a helper of its own, so a program that fails after that
    // is not something it can report.)
    const auto needsTerminal = workspace.application("needs-terminal");
    ASSERT_TRUE(needsTerminal);
    const std::string path = std::getenv("PATH");
    setenv("PATH", (root() / "bin").c_str(), 1);
    std::optional<std::string> error;
    workspace.open({"https://example.com/"}, *needsTerminal, OpenOptions{}, [&](auto result) { error = result; });
    setenv("PATH", path.c_str(), 1);
    scheduler.runDue();
    ASSERT_TRUE(error);
    EXPECT_NE(error->find("terminal"), std::string::npos) << *error;
}

std::string defaultFor(const char* type) {
    GAppInfo* handler = g_app_info_get_default_for_type(type, FALSE);
    if (handler == nullptr) return "";
    std::string id = g_app_info_get_id(handler);
    g_object_unref(handler);
    return id;
}

TEST_F(GioWorkspaceTest, BecomesTheDefaultBrowserThroughTheUsersMimeappsList) {
    // An app without an installed entry cannot become the default.
    GioWorkspace uninstalled(scheduler, "org.example.NotInstalled");
    std::optional<bool> answer;
    uninstalled.makeDefaultBrowser([&](bool isDefault) { answer = isDefault; });
    scheduler.runDue();
    EXPECT_EQ(answer, false);
    EXPECT_EQ(defaultFor("x-scheme-handler/https"), "alpha.desktop");

    EXPECT_FALSE(workspace.isDefaultBrowser());
    answer.reset();
    workspace.makeDefaultBrowser([&](bool isDefault) { answer = isDefault; });
    EXPECT_EQ(answer, std::nullopt) << "completion before makeDefaultBrowser returned";
    scheduler.runDue();
    EXPECT_EQ(answer, true);
    EXPECT_TRUE(workspace.isDefaultBrowser());
    EXPECT_FALSE(uninstalled.isDefaultBrowser());
    for (const char* type : {"x-scheme-handler/http", "x-scheme-handler/https", "text/html"}) {
        EXPECT_EQ(defaultFor(type), "app.omra.pivra.desktop") << type;
    }
    // The other associations of the list are kept.
    const auto list = testing_support::readFile(root() / "config/mimeapps.list");
    EXPECT_NE(list.find("added-browser.desktop"), std::string::npos) << list;
}

// A child process that is ended and reaped with the test.
class Child {
public:
    explicit Child(std::vector<std::string> arguments) {
        std::vector<char*> argv;
        for (auto& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        if (::posix_spawnp(&pid_, argv[0], nullptr, nullptr, argv.data(), environ) != 0) pid_ = -1;
    }
    ~Child() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        int status = 0;
        ::waitpid(pid_, &status, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return pid_; }

private:
    pid_t pid_ = -1;
};

TEST_F(GioWorkspaceTest, RunningAppOfRealProcessesIsTheEntryOfTheirProgram) {
    // Through PATH's link to the copied binary; the entry menus show wins
    // over the hidden helper that runs the same program.
    const Child sleeper({"pivra-test-sleeper", "30"});
    ASSERT_GT(sleeper.pid(), 0);
    EXPECT_EQ(workspace.runningApp(sleeper.pid()), "sleeper");

    // A shell is a launcher layer: the caller goes on to its parent.
    const Child shell({"sh", "-c", "kill -STOP $$; exit 0"});
    ASSERT_GT(shell.pid(), 0);
    EXPECT_EQ(workspace.runningApp(shell.pid()), std::nullopt);

    // A process running this very program is this app, whether or not an
    // entry runs it; no process has these ids.
    EXPECT_EQ(workspace.runningApp(::getpid()), kOwnId);
    for (const pid_t pid : {0, -1, -4242}) EXPECT_EQ(workspace.runningApp(pid), std::nullopt) << pid;
    pid_t ended = -1;
    {
        const Child quick({"true"});
        ended = quick.pid();
    }
    EXPECT_EQ(workspace.runningApp(ended), std::nullopt);
}

// Turns the main thread's GLib context, where GIO tells of changed entries,
// until `done` holds or far longer than GIO takes to notice has passed.
bool turnGlibUntil(const std::function<bool()>& done) {
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done()) {
        if (std::chrono::steady_clock::now() > giveUp) return false;
        g_main_context_iteration(nullptr, FALSE);
        std::this_thread::yield();
    }
    return true;
}

TEST_F(GioWorkspaceTest, RunningAppSeesEntriesInstalledAndRemovedSinceItLastLooked) {
    const fs::path program = root() / "libexec/late-real";
    fs::copy_file(root() / "libexec/sleeper-real", program, fs::copy_options::overwrite_existing);
    const Child late({program.string(), "30"});
    ASSERT_GT(late.pid(), 0);
    // Read once without the entry: the answer so far is no app.
    ASSERT_EQ(workspace.runningApp(late.pid()), std::nullopt);
    const Child sleeper({"pivra-test-sleeper", "30"});
    ASSERT_EQ(workspace.runningApp(sleeper.pid()), "sleeper");

    const fs::path entryFile = root() / "home/data/applications/pivra-test-late.desktop";
    testing_support::writeFile(entryFile, entry("Late", program.string()));
    EXPECT_TRUE(turnGlibUntil([&] { return workspace.runningApp(late.pid()) == "pivra-test-late"; }))
        << "the entry installed after the first look was never seen";
    EXPECT_EQ(workspace.runningApp(sleeper.pid()), "sleeper");

    fs::remove(entryFile);
    EXPECT_TRUE(turnGlibUntil([&] { return workspace.runningApp(late.pid()) == std::nullopt; }))
        << "the removed entry was still given";
}

TEST_F(GioWorkspaceTest, RunningProcessesOfAnAppAreThoseRunningItsEntrysProgram) {
    const Child sleeper({"pivra-test-sleeper", "30"});
    ASSERT_GT(sleeper.pid(), 0);
    // Both entries run the program, through PATH's link or by its own path.
    EXPECT_EQ(workspace.runningProcesses("sleeper"), std::vector<pid_t>{sleeper.pid()});
    EXPECT_EQ(workspace.runningProcesses("a-sleeper-helper"), std::vector<pid_t>{sleeper.pid()});
    for (const char* id : {"alpha", "not-installed", "", "../sleeper"}) {
        EXPECT_TRUE(workspace.runningProcesses(id).empty()) << id;
    }
}

TEST_F(GioWorkspaceTest, RunningAppReadsTheUnitFirstAndTheProgramSecond) {
    const testing_support::TempFolder proc;
    GioWorkspace fromProc(scheduler, kOwnId, proc.path());
    const std::string units = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/";
    const fs::path sleeperReal = root() / "libexec/sleeper-real";
    const struct {
        std::optional<std::string> cgroup;
        std::optional<std::string> exe;
        std::optional<std::string> app;
    } cases[] = {
        // The unit names the app even when the process is a shell it runs.
        {units + R"(app-gnome-pivra\x2dtest\x2dbrowser-4242.scope)", "/usr/bin/dash", "pivra-test-browser"},
        {units + "app-gnome-pivra-test-browser-4242.scope", std::nullopt, "pivra-test-browser"},
        {units + "app-flatpak-org.example.Zeta-77.scope", std::nullopt, "org.example.Zeta"},
        // A unit of an app that is not installed, or hidden: the program decides.
        {units + R"(app-org.gnome.Evolution\x2dalarm\x2dnotify@autostart.service)", sleeperReal.string(), "sleeper"},
        {units + "app-gnome-masked-1.scope", "/usr/bin/dash", std::nullopt},
        {"0::/user.slice/user-1000.slice/session-2.scope\n", sleeperReal.string() + " (deleted)", "sleeper"},
        {std::nullopt, (root() / "bin/pivra-test-sleeper").string(), "sleeper"},
        // Wrappers and interpreters name no app, even where an entry runs them.
        {std::nullopt, "/usr/bin/env", std::nullopt},
        {std::nullopt, "/usr/bin/python3.11", std::nullopt},
        {std::nullopt, "/opt/unknown/program", std::nullopt},
        {std::nullopt, "pivra-test-sleeper", std::nullopt},  // not a path the kernel gives
        {std::nullopt, std::nullopt, std::nullopt},
    };
    pid_t pid = 100;
    for (const auto& c : cases) {
        ++pid;
        const fs::path folder = proc.path() / std::to_string(pid);
        fs::create_directories(folder);
        if (c.cgroup) testing_support::writeFile(folder / "cgroup", *c.cgroup);
        if (c.exe) fs::create_symlink(*c.exe, folder / "exe");
        EXPECT_EQ(fromProc.runningApp(pid), c.app) << c.cgroup.value_or("(no cgroup)") << " / " << c.exe.value_or("(no exe)");
    }
}

}  // namespace
}  // namespace pivra
