// Which app a process belongs to, from its cgroup's unit and its program: the
// names that GNOME, KDE, Flatpak, GLib and systemd's autostart give their units.

#include <cctype>
#include <ostream>
#include <set>
#include <string_view>

#include <gtest/gtest.h>

#include "hosts/linux/process_app.hpp"

namespace pivra {
namespace {

using Ids = std::vector<std::string>;

struct UnitCase {
    const char* unit;
    Ids candidates;
};

void PrintTo(const UnitCase& c, std::ostream* os) { *os << '"' << c.unit << '"'; }

// The unit with "@" as "_at_" and every other character but letters and
// digits as "_", the only others a test's name may hold.
std::string unitCaseName(const testing::TestParamInfo<UnitCase>& info) {
    std::string name;
    for (const char c : std::string_view(info.param.unit)) {
        name += std::isalnum(static_cast<unsigned char>(c)) ? std::string(1, c) : c == '@' ? "_at_" : "_";
    }
    return name.empty() ? "empty" : name;
}

class DesktopIdCandidatesTest : public testing::TestWithParam<UnitCase> {};

TEST_P(DesktopIdCandidatesTest, ReadsTheIdsAUnitNameCanStandFor) {
    EXPECT_EQ(desktopIdCandidates(GetParam().unit), GetParam().candidates);
}

INSTANTIATE_TEST_SUITE_P(
    Units, DesktopIdCandidatesTest,
    testing::Values(
        // gnome-shell: app-gnome-<id>-<pid>.scope, the id escaped.
        UnitCase{R"(app-gnome-firefox\x2desr-12345.scope)", {"firefox-esr", "gnome-firefox-esr"}},
        // Flatpak and GLib launches.
        UnitCase{"app-flatpak-org.mozilla.firefox-2345.scope", {"org.mozilla.firefox", "flatpak-org.mozilla.firefox"}},
        UnitCase{"app-glib-org.gnome.Evince-8812.scope", {"org.gnome.Evince", "glib-org.gnome.Evince"}},
        // KDE: no launcher; a random part for scopes, a UUID instance for services.
        UnitCase{"app-org.kde.konsole-3b2c9f0d1e6a4b7c8d9e0f1a2b3c4d5e.scope", {"org.kde.konsole"}},
        UnitCase{"app-org.kde.dolphin@0f3c6a0a1b2e4c5d8e9f0a1b2c3d4e5f.service", {"org.kde.dolphin"}},
        // systemd's autostart generator.
        UnitCase{R"(app-org.gnome.Evolution\x2dalarm\x2dnotify@autostart.service)", {"org.gnome.Evolution-alarm-notify"}},
        UnitCase{"app-gnome-org.gnome.Evince@12345.service", {"org.gnome.Evince", "gnome-org.gnome.Evince"}},
        // What the desktops name their units today: GNOME Terminal and a D-Bus-activated Nautilus,
        // Konsole and Dolphin as KDE starts them, a Flatpak app started by GNOME.
        UnitCase{"app-gnome-org.gnome.Terminal-1234.scope", {"org.gnome.Terminal", "gnome-org.gnome.Terminal"}},
        UnitCase{"app-org.gnome.Nautilus@8f6d0c3b2a1e4f5d9c8b7a6e5d4c3b2a.service", {"org.gnome.Nautilus"}},
        UnitCase{"app-org.kde.konsole@4d1a2b3c4d5e46f7a8b9c0d1e2f3a4b5.service", {"org.kde.konsole"}},
        UnitCase{"app-org.kde.dolphin-2841.scope", {"org.kde.dolphin"}},
        UnitCase{"app-flatpak-org.mozilla.Thunderbird-51234.scope",
                 {"org.mozilla.Thunderbird", "flatpak-org.mozilla.Thunderbird"}},
        // gnome-session's autostarted apps: the id without "-autostart" comes first.
        UnitCase{R"(app-gnome-org.gnome.Evolution\x2dalarm\x2dnotify-autostart.service)",
                 {"org.gnome.Evolution-alarm-notify", "gnome-org.gnome.Evolution-alarm-notify",
                  "org.gnome.Evolution-alarm-notify-autostart", "autostart",
                  "gnome-org.gnome.Evolution-alarm-notify-autostart"}},
        UnitCase{"app-gnome-xdg\\x2duser\\x2ddirs-autostart.service",
                 {"xdg-user-dirs", "gnome-xdg-user-dirs", "xdg-user-dirs-autostart", "autostart", "gnome-xdg-user-dirs-autostart"}},
        // A service of an app that runs once, without any random part.
        UnitCase{"app-org.kde.amarok.service", {"org.kde.amarok"}},
        // The older services ended in a random part: that reading comes second.
        UnitCase{"app-gnome-org.gnome.Evince-12345.service",
                 {"org.gnome.Evince-12345", "12345", "gnome-org.gnome.Evince-12345", "org.gnome.Evince",
                  "gnome-org.gnome.Evince"}},
        // A launcher that left the id's "-" unescaped: every split is a guess.
        UnitCase{"app-gnome-firefox-esr-12345.scope", {"firefox-esr", "esr", "gnome-firefox-esr"}},
        // Escapes other than "-", and broken ones, which stay as they are.
        UnitCase{R"(app-gnome-my\x5fapp-1.scope)", {"my_app", "gnome-my_app"}},
        UnitCase{R"(app-gnome-odd\x2-1.scope)", {R"(odd\x2)", R"(gnome-odd\x2)"}},
        // Escapes that would make a path or a control character are no ids.
        UnitCase{R"(app-evil\x2fpath-1.scope)", {}}, UnitCase{R"(app-x\x0a-1.scope)", {}},
        // Units that are no app's.
        UnitCase{"session-2.scope", {}}, UnitCase{"user@1000.service", {}}, UnitCase{"init.scope", {}},
        UnitCase{"vte-spawn-7f1e3c58-9a55-4f39-a6f2-1b2c3d4e5f60.scope", {}},
        UnitCase{"gnome-terminal-server.service", {}}, UnitCase{"app.slice", {}},
        UnitCase{R"(app-dbus\x2d:1.2\x2dorg.gnome.Terminal.slice)", {}},
        // Malformed app units: a scope with nothing but its random part, empty parts.
        UnitCase{"app-12345.scope", {}}, UnitCase{"app--12345.scope", {}}, UnitCase{"app-.service", {}},
        UnitCase{"app-@autostart.service", {}}, UnitCase{"", {}}),
    unitCaseName);

TEST(DesktopIdFromUnitName, TakesTheFirstCandidateThatIsInstalled) {
    const std::set<std::string> installed = {"firefox-esr", "esr", "org.gnome.Evince", "gnome-foo"};
    const auto isInstalled = [&](const std::string& id) { return installed.contains(id); };
    const struct {
        const char* unit;
        std::optional<std::string> id;
    } cases[] = {
        {R"(app-gnome-firefox\x2desr-12345.scope)", "firefox-esr"},
        // Both "esr" and "firefox-esr" are installed: the one-word launcher wins.
        {"app-gnome-firefox-esr-12345.scope", "firefox-esr"},
        {"app-firefox-esr-12345.scope", "esr"},
        {"app-gnome-org.gnome.Evince-12345.service", "org.gnome.Evince"},
        {"app-gnome-org.gnome.Evince-autostart.service", "org.gnome.Evince"},
        // "foo" is not installed, "gnome-foo" is: no launcher after all.
        {"app-gnome-foo-77.scope", "gnome-foo"},
        {"app-gnome-org.example.Gone-77.scope", std::nullopt},
        {"session-2.scope", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(desktopIdFromUnitName(c.unit, isInstalled), c.id) << c.unit;
}

TEST(UnitNameFromCgroup, ReadsTheInnermostUnitOfTheUnifiedOrSystemdHierarchy) {
    const struct {
        const char* text;
        std::optional<std::string> unit;
    } cases[] = {
        {"0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-gnome-firefox\\x2desr-12345.scope\n",
         "app-gnome-firefox\\x2desr-12345.scope"},
        // A terminal's shell sits in a scope of its own inside the terminal's slice.
        {"0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-org.gnome.Terminal.slice/"
         "vte-spawn-7f1e3c58.scope\n",
         "vte-spawn-7f1e3c58.scope"},
        // A cgroup an app made below its own unit: the unit still holds the process.
        {"0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-org.kde.konsole-ab12.scope/tab-1\n",
         "app-org.kde.konsole-ab12.scope"},
        // Colons belong to the path after the second one.
        {"0::/user.slice/user-1000.slice/user@1000.service/app.slice/dbus-:1.2-org.gnome.Nautilus@0.service\n",
         "dbus-:1.2-org.gnome.Nautilus@0.service"},
        {"0::/user.slice/user-1000.slice/session-2.scope", "session-2.scope"},
        // cgroup v1: systemd's own hierarchy, among the controllers' lines.
        {"12:pids:/user.slice/user-1000.slice\n"
         "1:name=systemd:/user.slice/user-1000.slice/user@1000.service/app.slice/app-glib-org.gnome.Evince-8812.scope\n",
         "app-glib-org.gnome.Evince-8812.scope"},
        // Hybrid: the unified line shows nothing, systemd's does.
        {"0::/\n9:name=systemd:/user.slice/user-1000.slice/user@1000.service/app.slice/app-org.kde.amarok.service\n"
         "4:memory:/\n",
         "app-org.kde.amarok.service"},
        // A container's root, a slice only, nothing usable.
        {"0::/\n9:name=systemd:/\n", std::nullopt},
        {"0::/user.slice/user-1000.slice\n", std::nullopt},
        {"", std::nullopt},
        {"garbage without colons\n", std::nullopt},
        {"4:memory:/user.slice/app-x-1.scope\n", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(unitNameFromCgroup(c.text), c.unit) << c.text;
}

TEST(IsLauncherLayer, KnowsShellsOpenersWrappersAndInterpretersWhateverTheirVersionOrFolder) {
    for (const char* program : {"sh", "/bin/sh", "/usr/bin/bash", "dash", "zsh", "/usr/bin/fish", "ksh93",
                                "busybox", "xdg-open", "/usr/bin/gio", "kde-open5", "kioclient5", "env",
                                "/usr/bin/env", "flatpak", "flatpak-spawn", "bwrap", "snap", "nohup",
                                "python3", "/usr/bin/python3.11", "perl5.36.0", "gjs"}) {
        EXPECT_TRUE(isLauncherLayer(program)) << program;
    }
    for (const char* program : {"firefox-esr", "/usr/lib/firefox-esr/firefox-esr", "chromium", "/usr/bin/konsole",
                                "shell", "environment", "pythonista", "/opt/sh/browser", "", "/", "3.11"}) {
        EXPECT_FALSE(isLauncherLayer(program)) << program;
    }
}

}  // namespace
}  // namespace pivra
