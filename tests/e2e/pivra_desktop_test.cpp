// Pivra as a Linux desktop app, run as a user runs it: the real program in
// child processes, a D-Bus daemon of the test's own (which starts services
// from the test's data folder), the desktop's defaults read back with `gio`,
// and a browser that is a small program recording the links it was given.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

constexpr const char* kEntry = "data/applications/app.omra.pivra.desktop";
constexpr const char* kService = "data/dbus-1/services/app.omra.pivra.service";
constexpr int kIconSizes[] = {16, 32, 48, 64, 128, 256, 512};

// The app icon of `pixels` in the user's icon theme, relative to the test's folder.
std::string iconFile(int pixels) {
    const std::string size = std::to_string(pixels);
    return "data/icons/hicolor/" + size + "x" + size + "/apps/app.omra.pivra.png";
}

// The width and height of a PNG from its header; absent when it isn't one.
std::optional<std::pair<int, int>> pngSize(const std::string& bytes) {
    if (bytes.size() < 24 || bytes.compare(0, 8, "\x89PNG\r\n\x1a\n") != 0 || bytes.compare(12, 4, "IHDR") != 0) {
        return std::nullopt;
    }
    const auto number = [&](std::size_t at) {
        int value = 0;
        for (std::size_t i = at; i < at + 4; ++i) value = value << 8 | static_cast<unsigned char>(bytes[i]);
        return value;
    };
    return std::pair(number(16), number(20));
}

struct ProgramRun {
    int status = -1;
    std::string out;
    std::string err;
};

// Asks `done` every 20 ms until it holds, for at most 30 s.
bool eventually(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

class PivraDesktop : public testing::Test {
protected:
    void SetUp() override {
        const fs::path browser = temp.path() / "bin/firefox";
        temp.write(browser, "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\"; done >> '" +
                                (temp.path() / "firefox.args").string() + "'\n");
        fs::permissions(browser, fs::perms::owner_all);
        temp.write("data/applications/firefox.desktop",
                   "[Desktop Entry]\nType=Application\nName=Firefox\nExec=" + browser.string() +
                       " %u\nMimeType=text/html;x-scheme-handler/http;x-scheme-handler/https;\n");
        temp.write("config/mimeapps.list",
                   "[Default Applications]\nx-scheme-handler/http=firefox.desktop\nx-scheme-handler/https=firefox.desktop\n");
        fs::create_directories(temp.path() / "sysdata");
    }

    void TearDown() override {
        // The app that the bus started is the bus's child, not ours: found through the bus.
        if (!busAddress.empty()) {
            const auto pid = appPid();
            if (pid > 0 && ::kill(pid, SIGTERM) == 0) {
                EXPECT_TRUE(eventually([&] { return ::kill(pid, 0) != 0 || isZombie(pid); })) << "the app did not end";
            }
        }
        for (const pid_t pid : children) {
            ::kill(pid, SIGTERM);
            int status = 0;
            ::waitpid(pid, &status, 0);
        }
    }

    bool isZombie(pid_t pid) const {
        const std::string stat = temp.read("/proc/" + std::to_string(pid) + "/stat");
        const auto close = stat.rfind(')');
        return close != std::string::npos && close + 2 < stat.size() && stat[close + 2] == 'Z';
    }

    Strings environment() const {
        Strings variables{
            "HOME=" + temp.path().string(),
            "XDG_DATA_HOME=" + (temp.path() / "data").string(),
            "XDG_DATA_DIRS=" + (temp.path() / "sysdata").string(),
            "XDG_CONFIG_HOME=" + (temp.path() / "config").string(),
            "XDG_CONFIG_DIRS=" + (temp.path() / "sysconfig").string(),
            "XDG_STATE_HOME=" + (temp.path() / "state").string(),
            "PATH=/usr/bin:/bin",
        };
        if (!busAddress.empty()) variables.push_back("DBUS_SESSION_BUS_ADDRESS=" + busAddress);
        return variables;
    }

    // Starts `args` (the first an absolute path) with its output going to files named after `name`.
    pid_t start(Strings args, const std::string& name, const Strings& variables) {
        std::vector<char*> argv;
        for (auto& arg : args) argv.push_back(arg.data());
        argv.push_back(nullptr);
        Strings copy = variables;
        std::vector<char*> envp;
        for (auto& variable : copy) envp.push_back(variable.data());
        envp.push_back(nullptr);
        const fs::path out = temp.path() / (name + ".out"), err = temp.path() / (name + ".err");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        pid_t pid = -1;
        if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0) pid = -1;
        posix_spawn_file_actions_destroy(&actions);
        return pid;
    }

    ProgramRun run(Strings args, const Strings& variables) {
        const pid_t pid = start(std::move(args), "run", variables);
        ProgramRun result;
        int status = 0;
        if (pid > 0 && ::waitpid(pid, &status, 0) == pid) {
            result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        result.out = temp.read("run.out");
        result.err = temp.read("run.err");
        return result;
    }

    ProgramRun pivra(Strings args) {
        args.insert(args.begin(), PIVRA_PROGRAM);
        return run(std::move(args), environment());
    }

    // The app `gio` names as the default for the type.
    std::string defaultFor(const std::string& type) {
        const std::string out = run({"/usr/bin/gio", "mime", type}, environment()).out;
        const auto line = out.substr(0, out.find('\n'));
        const auto colon = line.rfind(": ");
        return colon == std::string::npos ? "" : line.substr(colon + 2);
    }

    void startBus() {
        const pid_t pid = start({"/usr/bin/dbus-daemon", "--session", "--nofork", "--print-address=1"}, "bus", environment());
        ASSERT_GT(pid, 0);
        children.push_back(pid);
        ASSERT_TRUE(eventually([&] { return temp.read("bus.out").find('\n') != std::string::npos; }));
        const std::string printed = temp.read("bus.out");
        busAddress = printed.substr(0, printed.find('\n'));
    }

    std::string busCall(const std::string& method, const std::string& argument) {
        return run({"/usr/bin/gdbus", "call", "--address", busAddress, "--dest", "org.freedesktop.DBus", "--object-path",
                    "/org/freedesktop/DBus", "--method", "org.freedesktop.DBus." + method, argument},
                   environment()).out;
    }
    bool appRuns() { return busCall("NameHasOwner", "app.omra.pivra").starts_with("(true,"); }
    pid_t appPid() {
        const std::string out = busCall("GetConnectionUnixProcessID", "app.omra.pivra");  // "(uint32 1234,)"
        const auto space = out.find(' ');
        return space == std::string::npos ? 0 : static_cast<pid_t>(std::atoi(out.c_str() + space + 1));
    }

    std::string journal() const { return temp.read("state/pivra/pivra-log.jsonl"); }
    bool journalHas(const std::string& text) const { return journal().find(text) != std::string::npos; }
    std::string recorded() const { return temp.read("firefox.args"); }
    static std::string sortedLines(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        std::sort(lines.begin(), lines.end());
        std::string joined;
        for (const auto& line : lines) joined += line + "\n";
        return joined;
    }

    // What install and uninstall print for the icons: one line per size, with `verb`.
    std::string iconLines(const std::string& verb) const {
        std::string lines;
        for (const int pixels : kIconSizes) lines += verb + " " + (temp.path() / iconFile(pixels)).string() + "\n";
        return lines;
    }

    testing_support::TempFolder temp;
    std::string busAddress;
    std::vector<pid_t> children;
};

TEST_F(PivraDesktop, InstallMakesItTheDefaultBrowserAndUninstallGivesItBack) {
    const std::string entry = (temp.path() / kEntry).string(), service = (temp.path() / kService).string();
    ProgramRun install = pivra({"install"});
    ASSERT_EQ(install.status, 0) << install.err;
    EXPECT_EQ(install.out, iconLines("Wrote") + "Wrote " + entry + "\nWrote " + service +
                               "\nPivra is now the default browser (was Firefox)\n");
    for (const char* type : {"x-scheme-handler/https", "x-scheme-handler/http", "text/html", "application/xhtml+xml"}) {
        EXPECT_EQ(defaultFor(type), "app.omra.pivra.desktop") << type;
    }
    EXPECT_NE(temp.read(kEntry).find(std::string("Exec=") + PIVRA_PROGRAM + " open %U\n"), std::string::npos);
    EXPECT_NE(temp.read(kService).find(std::string("Exec=") + PIVRA_PROGRAM + " run\n"), std::string::npos);
    EXPECT_NE(temp.read(kEntry).find("\nIcon=app.omra.pivra\n"), std::string::npos);
    for (const int pixels : kIconSizes) {
        EXPECT_EQ(pngSize(temp.read(iconFile(pixels))), std::pair(pixels, pixels)) << iconFile(pixels);
    }
    EXPECT_EQ(pivra({"install"}).out, "Nothing to do\n");

    // The first rules fall back to the browser that was the default, which gets the link.
    const ProgramRun open = pivra({"open", "--here", "https://news.test/a"});
    ASSERT_EQ(open.status, 0) << open.err;
    EXPECT_EQ(open.out, "Opened in Firefox (firefox) · from unknown app\n");
    EXPECT_NE(temp.read("config/pivra/rules.json").find("\"app\" : \"firefox\""), std::string::npos);
    EXPECT_TRUE(eventually([&] { return recorded() == "https://news.test/a\n"; })) << recorded();

    temp.write("config/autostart/app.omra.pivra.desktop", "[Desktop Entry]\nType=Application\nName=Pivra\nExec=pivra run\n");
    const ProgramRun uninstall = pivra({"uninstall"});
    ASSERT_EQ(uninstall.status, 0) << uninstall.err;
    EXPECT_EQ(uninstall.out, "Pivra is no longer the default browser (now Firefox)\nRemoved " + entry + "\nRemoved " +
                                 service + "\nRemoved " + (temp.path() / "config/autostart/app.omra.pivra.desktop").string() +
                                 "\n" + iconLines("Removed"));
    EXPECT_EQ(defaultFor("x-scheme-handler/https"), "firefox.desktop");
    EXPECT_EQ(defaultFor("x-scheme-handler/http"), "firefox.desktop");
    EXPECT_EQ(defaultFor("text/html"), "") << "no app was the default for pages: none is again";
    EXPECT_FALSE(fs::exists(temp.path() / kEntry));
    for (const int pixels : kIconSizes) EXPECT_FALSE(fs::exists(temp.path() / iconFile(pixels))) << pixels;
    EXPECT_EQ(pivra({"uninstall"}).out, "Nothing to do\n");

    // Without the default: only the files.
    EXPECT_EQ(pivra({"install", "--no-default"}).out, iconLines("Wrote") + "Wrote " + entry + "\nWrote " + service + "\n");
    EXPECT_EQ(defaultFor("x-scheme-handler/https"), "firefox.desktop");
}

TEST_F(PivraDesktop, InstallPutsBackAChangedIconAndSaysWhichIconItCannotWrite) {
    ASSERT_EQ(pivra({"install", "--no-default"}).status, 0);
    const std::string entryBefore = temp.read(kEntry);
    temp.write(iconFile(48), "not an icon");
    EXPECT_EQ(pivra({"install", "--no-default"}).out, "Wrote " + (temp.path() / iconFile(48)).string() + "\n");
    EXPECT_EQ(pngSize(temp.read(iconFile(48))), std::pair(48, 48));

    // A folder where an icon goes: install stops there and says so; what it
    // wrote before stays whole, and nothing is left half-written.
    fs::remove(temp.path() / iconFile(64));
    temp.write(iconFile(64) + "/kept", "someone's");
    const ProgramRun blocked = pivra({"install", "--no-default"});
    EXPECT_EQ(blocked.status, 1);
    EXPECT_EQ(blocked.err, "pivra: can’t write " + (temp.path() / iconFile(64)).string() + "\n");
    EXPECT_EQ(temp.read(iconFile(64) + "/kept"), "someone's");
    EXPECT_EQ(temp.read(kEntry), entryBefore);
    std::vector<std::string> strays;
    for (const auto& item : fs::recursive_directory_iterator(temp.path() / "data/icons")) {
        if (item.is_regular_file() && item.path().filename() != "app.omra.pivra.png" && item.path().filename() != "kept") {
            strays.push_back(item.path().string());
        }
    }
    EXPECT_EQ(strays, std::vector<std::string>{});

    fs::remove_all(temp.path() / iconFile(64));
    EXPECT_EQ(pivra({"install", "--no-default"}).out, "Wrote " + (temp.path() / iconFile(64)).string() + "\n");
}

TEST_F(PivraDesktop, OpenHandsLinksToTheRunningAppWhichIsTheOnlyOne) {
    ASSERT_NO_FATAL_FAILURE(startBus());
    const pid_t app = start({PIVRA_PROGRAM, "run"}, "app", environment());
    ASSERT_GT(app, 0);
    children.push_back(app);
    ASSERT_TRUE(eventually([&] { return appRuns(); })) << temp.read("app.err");

    ProgramRun open = pivra({"open", "https://news.test/a", "https://news.test/b", "--from", "org.gnome.Evolution"});
    ASSERT_EQ(open.status, 0) << open.err;
    EXPECT_EQ(open.out, "Handed to Pivra · from org.gnome.Evolution\n");
    EXPECT_TRUE(journalHas("\"Link from org.gnome.Evolution → fallback → firefox\",\"host\":\"news.test\",\"path\":\"/b\""))
        << "taken before the answer: " << journal();
    // Each link is a launch of its own, and two launches may finish in either order.
    EXPECT_TRUE(eventually([&] { return sortedLines(recorded()) == "https://news.test/a\nhttps://news.test/b\n"; }))
        << recorded();
    // Resolved by the app from `pivra open`'s parents: none of them is an app.
    open = pivra({"open", "https://news.test/c"});
    ASSERT_EQ(open.status, 0) << open.err;
    EXPECT_EQ(open.out, "Handed to Pivra\n");
    EXPECT_TRUE(journalHas("\"Link from unknown app → fallback → firefox\",\"host\":\"news.test\",\"path\":\"/c\"")) << journal();

    const ProgramRun second = pivra({"run"});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.err, "pivra: Pivra is already running: app.omra.pivra is taken on the session bus\n");

    ASSERT_EQ(::kill(app, SIGTERM), 0);
    int status = -1;
    ASSERT_TRUE(eventually([&] { return ::waitpid(app, &status, WNOHANG) == app; }));
    children.pop_back();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_FALSE(appRuns());
}

TEST_F(PivraDesktop, OpenStartsTheInstalledAppThroughTheBus) {
    ASSERT_EQ(pivra({"install", "--no-default"}).status, 0);
    ASSERT_NO_FATAL_FAILURE(startBus());  // it reads the service file that install wrote
    const ProgramRun open = pivra({"open", "https://news.test/started"});
    ASSERT_EQ(open.status, 0) << open.err;
    EXPECT_EQ(open.out, "Handed to Pivra\n");
    EXPECT_TRUE(appRuns()) << "and it keeps running";
    EXPECT_TRUE(journalHas("\"host\":\"news.test\",\"path\":\"/started\"")) << journal();
    EXPECT_TRUE(eventually([&] { return recorded() == "https://news.test/started\n"; })) << recorded();
}

TEST_F(PivraDesktop, WithoutAnAppOrABusTheLinkGoesThroughHere) {
    // A bus with no Pivra there and none to start, then no bus at all.
    ASSERT_NO_FATAL_FAILURE(startBus());
    for (const bool withBus : {true, false}) {
        if (!withBus) busAddress = "unix:path=" + (temp.path() / "no-bus").string();
        const ProgramRun open = pivra({"open", "https://news.test/here"});
        ASSERT_EQ(open.status, 0) << open.err;
        EXPECT_EQ(open.out, "Opened in Firefox (firefox) · from unknown app\n");
        EXPECT_EQ(open.err.find("pivra:"), std::string::npos) << open.err;
    }
    busAddress.clear();
    EXPECT_TRUE(eventually([&] { return recorded() == "https://news.test/here\nhttps://news.test/here\n"; })) << recorded();
    EXPECT_TRUE(journalHas("\"path\":\"/here\"")) << "the journal in $XDG_STATE_HOME/pivra";
    EXPECT_TRUE(fs::exists(temp.path() / "config/pivra/rules.json")) << "the rules in $XDG_CONFIG_HOME/pivra";
}

}  // namespace
}  // namespace pivra
