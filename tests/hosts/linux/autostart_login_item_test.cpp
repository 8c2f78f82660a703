// The autostart entry in temporary folders, read back and launched by GIO as a
// desktop's session would.

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "hosts/linux/autostart_login_item.hpp"
#include "tests/hosts/linux/recording_program.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

constexpr const char* kEnabledEntry = "[Desktop Entry]\nType=Application\nName=Pivra\nExec=/usr/bin/pivra run\n";
using Keys = std::map<std::string, std::string>;

class AutostartLoginItemTest : public testing::Test {
protected:
    AutostartLoginItem item(fs::path program = "/usr/bin/pivra") const {
        return AutostartLoginItem(userFolder, {systemFolder, laterSystemFolder}, std::move(program), "app.omra.pivra");
    }
    fs::path userEntry() const { return userFolder / "app.omra.pivra.desktop"; }
    fs::path systemEntry() const { return systemFolder / "app.omra.pivra.desktop"; }
    fs::path laterSystemEntry() const { return laterSystemFolder / "app.omra.pivra.desktop"; }

    // The keys of the user's entry as GIO reads them; fails the test when it cannot.
    Keys entryKeys() const {
        Keys result;
        GKeyFile* keys = g_key_file_new();
        if (g_key_file_load_from_file(keys, userEntry().c_str(), G_KEY_FILE_KEEP_TRANSLATIONS, nullptr)) {
            gchar** names = g_key_file_get_keys(keys, G_KEY_FILE_DESKTOP_GROUP, nullptr, nullptr);
            for (gchar** name = names; name && *name; ++name) {
                gchar* value = g_key_file_get_value(keys, G_KEY_FILE_DESKTOP_GROUP, *name, nullptr);
                result[*name] = value ? value : "";
                g_free(value);
            }
            g_strfreev(names);
        } else {
            ADD_FAILURE() << "unreadable " << userEntry();
        }
        g_key_file_free(keys);
        return result;
    }

    testing_support::TempFolder temp;
    fs::path userFolder = temp.path() / "config/autostart";
    fs::path systemFolder = temp.path() / "etc-xdg/autostart";
    fs::path laterSystemFolder = temp.path() / "usr-etc-xdg/autostart";
};

TEST_F(AutostartLoginItemTest, EnablingWritesTheEntryAndDisablingRemovesIt) {
    auto login = item();
    EXPECT_FALSE(login.isEnabled());
    ASSERT_TRUE(login.setEnabled(true));
    EXPECT_TRUE(login.isEnabled());
    EXPECT_EQ(entryKeys(), (Keys{{"Exec", "/usr/bin/pivra run"}, {"Name", "Pivra"}, {"Type", "Application"},
                                 {"X-GNOME-Autostart-enabled", "true"}}));
    EXPECT_TRUE(login.setEnabled(true)) << "again";

    ASSERT_TRUE(login.setEnabled(false));
    EXPECT_FALSE(fs::exists(userEntry()));
    EXPECT_FALSE(login.isEnabled());
    EXPECT_TRUE(login.setEnabled(false)) << "nothing left to remove";
    // No temporary file of the atomic writes stays behind.
    EXPECT_TRUE(fs::is_empty(userFolder));
}

TEST_F(AutostartLoginItemTest, TheSessionStartsTheProgramWithRunWhateverItsPath) {
    const fs::path program = temp.path() / "odd dir $HOME \"quoted\" `tick` back\\slash ~ it's" / "pivra";
    testing_support::writeRecordingProgram(program, temp.path() / "run-record");
    auto login = item(program);
    ASSERT_TRUE(login.setEnabled(true));

    GDesktopAppInfo* entry = g_desktop_app_info_new_from_filename(userEntry().c_str());
    ASSERT_NE(entry, nullptr);
    GError* error = nullptr;
    EXPECT_TRUE(g_app_info_launch(G_APP_INFO(entry), nullptr, nullptr, &error)) << (error ? error->message : "");
    if (error) g_error_free(error);
    g_object_unref(entry);
    EXPECT_EQ(testing_support::waitForRecord(temp.path() / "run-record"), "run\n");
}

TEST(ExecArgument, QuotesWhatTheExecLineReservesAndDoublesPercentSigns) {
    const struct {
        const char* argument;
        const char* exec;
    } cases[] = {
        {"/usr/bin/pivra", "/usr/bin/pivra"},
        {"/opt/my apps/pivra", "\"/opt/my apps/pivra\""},
        {"say \"hi\"", "\"say \\\"hi\\\"\""},
        {"$HOME", "\"\\$HOME\""},
        {"`x`", "\"\\`x\\`\""},
        {"back\\slash", "\"back\\\\slash\""},
        {"100%", "100%%"},
        {"50% off", "\"50%% off\""},
        {"~/bin;x|y&z", "\"~/bin;x|y&z\""},
        {"", "\"\""},
    };
    for (const auto& c : cases) EXPECT_EQ(execArgument(c.argument), c.exec) << c.argument;
}

TEST_F(AutostartLoginItemTest, TheUsersEntryDecidesElseTheFirstSystemEntry) {
    const struct {
        std::optional<std::string> user;
        std::optional<std::string> system;
        std::optional<std::string> laterSystem;
        bool enabled;
    } cases[] = {
        {kEnabledEntry, std::nullopt, std::nullopt, true},
        {std::string(kEnabledEntry) + "Hidden=true\n", std::nullopt, std::nullopt, false},
        {std::string(kEnabledEntry) + "X-GNOME-Autostart-enabled=false\n", std::nullopt, std::nullopt, false},
        // What is no desktop entry starts nothing, and still hides the system's.
        {"not a key file\n", std::nullopt, std::nullopt, false},
        {"", kEnabledEntry, std::nullopt, false},
        {std::string(kEnabledEntry) + "Hidden=true\n", kEnabledEntry, std::nullopt, false},
        {std::nullopt, kEnabledEntry, std::nullopt, true},
        {std::nullopt, std::string(kEnabledEntry) + "Hidden=true\n", kEnabledEntry, false},
        {std::nullopt, std::nullopt, kEnabledEntry, true},
        {std::nullopt, std::nullopt, std::nullopt, false},
    };
    for (const auto& c : cases) {
        for (const auto& [text, file] : {std::pair{c.user, userEntry()}, std::pair{c.system, systemEntry()},
                                          std::pair{c.laterSystem, laterSystemEntry()}}) {
            std::error_code ignored;
            fs::remove(file, ignored);
            if (text) temp.write(fs::relative(file, temp.path()), *text);
        }
        EXPECT_EQ(item().isEnabled(), c.enabled) << c.user.value_or("(no user entry)") << " / "
                                                 << c.system.value_or("(no system entry)") << " / "
                                                 << c.laterSystem.value_or("(none)");
    }
}

TEST_F(AutostartLoginItemTest, DisablingMasksAStartingSystemEntryWhichStaysAsItWas) {
    temp.write(fs::relative(systemEntry(), temp.path()), kEnabledEntry);
    auto login = item();
    EXPECT_TRUE(login.isEnabled());
    ASSERT_TRUE(login.setEnabled(false));
    EXPECT_FALSE(login.isEnabled());
    EXPECT_EQ(entryKeys()["Hidden"], "true");
    ASSERT_TRUE(login.setEnabled(true));
    EXPECT_TRUE(login.isEnabled());
    EXPECT_FALSE(entryKeys().contains("Hidden"));
    EXPECT_EQ(testing_support::readFile(systemEntry()), kEnabledEntry);
}

TEST_F(AutostartLoginItemTest, EnablingKeepsWhatElseTheEntryHeldAndReplacesABrokenOne) {
    temp.write(fs::relative(userEntry(), temp.path()),
               "# Started late, the panel first\n[Desktop Entry]\nType=Application\nName=Pivra\nName[de]=Pivra (de)\n"
               "Exec=/old/place/pivra run\nHidden=true\nX-GNOME-Autostart-Delay=5\n");
    auto login = item();
    ASSERT_TRUE(login.setEnabled(true));
    EXPECT_TRUE(login.isEnabled());
    EXPECT_EQ(entryKeys(), (Keys{{"Exec", "/usr/bin/pivra run"}, {"Name", "Pivra"}, {"Name[de]", "Pivra (de)"},
                                 {"Type", "Application"}, {"X-GNOME-Autostart-Delay", "5"},
                                 {"X-GNOME-Autostart-enabled", "true"}}));
    EXPECT_TRUE(testing_support::readFile(userEntry()).starts_with("# Started late, the panel first\n"));

    temp.write(fs::relative(userEntry(), temp.path()), "\x01\x02 not an entry");
    ASSERT_TRUE(login.setEnabled(true));
    EXPECT_TRUE(login.isEnabled());
    EXPECT_EQ(entryKeys()["Exec"], "/usr/bin/pivra run");
}

TEST_F(AutostartLoginItemTest, WhatCannotBeDoneIsRefusedAndChangesNothing) {
    // No program, or one whose path a key file, or GIO, cannot hold.
    for (const fs::path& program : {fs::path(), fs::path("/opt/\xff\xfe/pivra"), fs::path("/opt/100%/pivra")}) {
        auto login = item(program);
        EXPECT_FALSE(login.setEnabled(true)) << program;
        EXPECT_FALSE(fs::exists(userEntry()));
    }
    // A folder that cannot be made: its parent is a file.
    temp.write("config", "a file where a folder should be");
    EXPECT_FALSE(item().setEnabled(true));
    EXPECT_FALSE(item().isEnabled());
    fs::remove(temp.path() / "config");
    // An entry that cannot be removed: a folder with something in it.
    temp.write(fs::relative(userEntry() / "inside", temp.path()), "x");
    EXPECT_FALSE(item().setEnabled(false));
    EXPECT_TRUE(fs::exists(userEntry() / "inside"));
}

}  // namespace
}  // namespace pivra
