// Loading and saving the rules file. Watching is tested against inotify in
// rules_store_watch_test.cpp; the texts of the reader's errors with the reader.

#include "app/storage/rules_store.hpp"

#include <gtest/gtest.h>

#include "tests/support/files.hpp"
#include "tests/support/manual_time.hpp"
#include "tests/support/recording_file_watcher.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

class RulesStoreTest : public testing::Test {
protected:
    std::string nextId() { return "ID-" + std::to_string(++ids); }

    testing_support::TempFolder temp;
    fs::path file = temp.path() / "Library" / "Application Support" / "Pivra" / "rules.json";
    testing_support::ManualClock clock;
    testing_support::ManualScheduler scheduler{clock};
    testing_support::RecordingFileWatcher watcher;
    int ids = 0;
    RulesStore store{file, scheduler, watcher, [this] { return nextId(); }};
};

TEST_F(RulesStoreTest, ErrorsComeBackAsTheyAreAndTheFileIsLeftAlone) {
    fs::create_directories(file.parent_path());
    const struct {
        std::string text;
        std::string shown;
    } cases[] = {
        {"", "Not valid JSON"},
        {"{\n  \"version\": 1,\n  \"rules\": [,]\n}", "Line 3: Not valid JSON"},
        {std::string(kMaxRulesFileSize + 1, ' '), "The file is larger than 16 MB; keeping the last rules"},
    };
    for (const auto& c : cases) {
        testing_support::writeFile(file, c.text);
        const auto loaded = store.load();
        ASSERT_FALSE(loaded.has_value()) << c.text.substr(0, 80);
        EXPECT_TRUE(rulesErrorText(loaded.error()).starts_with(c.shown)) << rulesErrorText(loaded.error());
        EXPECT_EQ(testing_support::readFile(file), c.text);
    }
    fs::remove(file);
    fs::create_directories(file);  // a folder where the file should be
    const auto loaded = store.load();
    ASSERT_FALSE(loaded.has_value());
    EXPECT_EQ(loaded.error(), (RulesFileError{std::nullopt, "Can’t read the file; keeping the last rules"}));
}

TEST_F(RulesStoreTest, MissingIdsAreFilledInAndWrittenBackOnce) {
    fs::create_directories(file.parent_path());
    testing_support::writeFile(file, R"({"rules":[{"id":"KEEP","open":{"app":"a"}},{"open":{"app":"b"}},{"id":"","open":{"app":"c"}}]})");
    const auto loaded = store.load();
    ASSERT_TRUE(loaded.has_value());
    EXPECT_EQ(loaded->rules[0].id, "KEEP");
    EXPECT_EQ(loaded->rules[1].id, "ID-1");
    EXPECT_EQ(loaded->rules[2].id, "ID-2");
    EXPECT_EQ(testing_support::readFile(file), RulesCoding::encode(*loaded));

    fs::last_write_time(file, fs::file_time_type{});
    ASSERT_TRUE(store.load().has_value());
    EXPECT_EQ(fs::last_write_time(file), fs::file_time_type{});  // nothing to add: not rewritten
    EXPECT_EQ(ids, 2);
}

TEST_F(RulesStoreTest, AFailedSaveIsIgnoredAndTheFileIsStillJudgedByContent) {
    // A name one short of the limit leaves no room for the temporary file's
    // name beside it, so every write fails, whoever runs the test.
    const fs::path longName = temp.path() / std::string(250, 'r');
    testing_support::writeFile(longName, "{}");
    RulesStore store(longName, scheduler, watcher);
    int changes = 0;
    store.setOnChange([&] { ++changes; });
    ASSERT_TRUE(store.load().has_value());
    store.start();

    RulesFile changed;
    changed.cleanLinks = false;
    store.save(changed);
    EXPECT_EQ(testing_support::readFile(longName), "{}");
    // The store expected its own bytes; the file still holds others, so a
    // change event makes it read them again.
    watcher.fire(longName);
    scheduler.advance(0.2);
    EXPECT_EQ(changes, 1);
}

TEST_F(RulesStoreTest, ReloadCallsOnChangeOnlyForBytesItDidNotWriteOrRead) {
    int changes = 0;
    store.setOnChange([&] { ++changes; });
    ASSERT_TRUE(store.load().has_value());
    store.start();

    const auto eventThenQuiet = [&] {
        watcher.fire(file);
        scheduler.advance(0.2);
    };
    eventThenQuiet();  // the first-run file is the store's own
    EXPECT_EQ(changes, 0);

    testing_support::writeFile(file, "{}");
    watcher.fire(file);
    scheduler.advance(0.19);
    EXPECT_EQ(changes, 0);
    scheduler.advance(0.01);
    EXPECT_EQ(changes, 1);

    ASSERT_TRUE(store.load().has_value());  // what the model does in onChange
    eventThenQuiet();
    EXPECT_EQ(changes, 1);

    fs::remove(file);
    eventThenQuiet();
    EXPECT_EQ(changes, 2);
    EXPECT_FALSE(store.load().has_value());
    eventThenQuiet();  // still missing, as last read
    EXPECT_EQ(changes, 2);
}

TEST_F(RulesStoreTest, ANewFileFallsBackToTheChosenBrowserAndAnExistingOneKeepsItsOwn) {
    int asked = 0;
    store.setNewFileFallback([&] {
        ++asked;
        return Target{"firefox-esr", std::nullopt};
    });
    const auto created = store.load();
    ASSERT_TRUE(created.has_value());
    EXPECT_EQ(created->fallback, (Target{"firefox-esr", std::nullopt}));
    EXPECT_EQ(RulesCoding::decode(testing_support::readFile(file))->fallback.app, "firefox-esr") << "and so is the file";

    testing_support::writeFile(file, R"({"fallback":{"app":"chromium"}})");
    RulesStore later{file, scheduler, watcher};
    later.setNewFileFallback([&] {
        ++asked;
        return Target{"firefox-esr", std::nullopt};
    });
    EXPECT_EQ(later.load()->fallback.app, "chromium");
    EXPECT_EQ(asked, 1) << "asked only when a file is made";
}

}  // namespace
}  // namespace pivra
