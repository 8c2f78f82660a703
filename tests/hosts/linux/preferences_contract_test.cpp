// The Preferences port's promises, held against the settings file and the
// in-memory fake, so that tests which use the fake can trust it. Then what
// only the file shows: its layout, and broken or foreign files.

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "hosts/linux/json_file_preferences.hpp"
#include "tests/support/fake_ports.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;

class JsonFilePreferencesDriver {
public:
    Preferences& preferences() { return *preferences_; }
    // The preferences as the next run of the program finds them.
    Preferences& reopened() {
        preferences_ = std::make_unique<JsonFilePreferences>(file_, log_);
        return *preferences_;
    }

private:
    testing_support::TempFolder temp_;
    fs::path file_ = temp_.path() / "Pivra" / "settings.json";
    testing_support::RecordingLog log_;
    std::unique_ptr<JsonFilePreferences> preferences_ = std::make_unique<JsonFilePreferences>(file_, log_);
};

class MemoryPreferencesDriver {
public:
    Preferences& preferences() { return preferences_; }
    // A test's whole run is the fake's process.
    Preferences& reopened() { return preferences_; }

private:
    testing_support::MemoryPreferences preferences_;
};

template <class Driver>
class PreferencesContract : public testing::Test {
protected:
    // Checks `expected` now and as the next run finds it.
    void expectValue(std::string_view key, const std::optional<PreferenceValue>& expected) {
        EXPECT_EQ(driver.preferences().value(key), expected) << key;
        EXPECT_EQ(driver.reopened().value(key), expected) << key << ", reopened";
    }

    Driver driver;
};

using PreferencesDrivers = testing::Types<JsonFilePreferencesDriver, MemoryPreferencesDriver>;
TYPED_TEST_SUITE(PreferencesContract, PreferencesDrivers);

// One value of each kind, at its edges.
const std::vector<std::pair<std::string, PreferenceValue>>& samples() {
    static const std::vector<std::pair<std::string, PreferenceValue>> values = {
        {"true", true},
        {"false", false},
        {"zero", std::int64_t{0}},
        {"negative", std::int64_t{-1}},
        {"largest", std::numeric_limits<std::int64_t>::max()},
        {"smallest", std::numeric_limits<std::int64_t>::min()},
        {"whole double", 2.0},
        {"double zero", 0.0},
        {"fraction", 0.1},
        {"negative fraction", -0.5},
        {"time", 1773489600.25},
        {"huge", 1e300},
        {"tiny", 2.5e-300},
        {"empty", std::string()},
        {"text", std::string("option")},
        {"escapes", std::string("\"quoted\" \\ / line\nbreak\ttab")},
        {"unicode", std::string("→ “é” 😀")},
        {"nul", std::string("before\0after", 12)},
        {"times", PreferenceDictionary{{"profileFailed:com.google.Chrome", 1773489600.25}, {"notDefault", 0.0}, {"→", -1.0}}},
        {"no times", PreferenceDictionary{}},
    };
    return values;
}

TYPED_TEST(PreferencesContract, EachValueReadsBackAsStoredWithItsKind) {
    for (const auto& [key, value] : samples()) this->driver.preferences().setValue(key, value);
    for (const auto& [key, value] : samples()) this->expectValue(key, value);
}

TYPED_TEST(PreferencesContract, AValueOfAnotherKindReplacesTheOld) {
    const PreferenceValue kinds[] = {true, std::int64_t{7}, 7.5, std::string("seven"), PreferenceDictionary{{"seven", 7.0}}};
    for (const auto& first : kinds) {
        for (const auto& second : kinds) {
            this->driver.preferences().setValue("key", first);
            this->driver.preferences().setValue("key", second);
            this->expectValue("key", second);
        }
    }
}

TYPED_TEST(PreferencesContract, KeysAreExactAndOnlyThoseSetAreSet) {
    this->driver.preferences().setValue("countLinks", true);
    for (const char* other : {"countlinks", "countLinks ", "count", "", "unknown"}) {
        this->expectValue(other, std::nullopt);
    }
    this->expectValue("countLinks", PreferenceValue(true));
}

TYPED_TEST(PreferencesContract, ARemovedKeyIsNotSetAndTheOthersStay) {
    this->driver.preferences().setValue("gone", std::int64_t{1});
    this->driver.preferences().setValue("kept", std::string("here"));
    this->driver.preferences().removeValue("gone");
    this->driver.preferences().removeValue("never set");  // does nothing
    this->expectValue("gone", std::nullopt);
    this->expectValue("never set", std::nullopt);
    this->expectValue("kept", PreferenceValue(std::string("here")));
    this->driver.preferences().setValue("gone", false);  // and can be set again
    this->expectValue("gone", PreferenceValue(false));
}

// What only the settings file shows.

class JsonFilePreferencesTest : public testing::Test {
protected:
    testing_support::TempFolder temp;
    fs::path file = temp.path() / "Pivra" / "settings.json";
    testing_support::RecordingLog log;
};

TEST_F(JsonFilePreferencesTest, TheFileIsOneObjectInTheLayoutOfPivrasFiles) {
    JsonFilePreferences preferences(file, log);
    preferences.setValue("pickerTrigger", std::string("option"));
    preferences.setValue("countLinks", false);
    preferences.setValue("recentCount", std::int64_t{8});
    preferences.setValue("pausedUntil", 1773489600.5);
    preferences.setValue("updateLastChecked", 1773489600.0);  // a whole double stays a double
    preferences.setValue("notifiedAt", PreferenceDictionary{{"notDefault", 1773489600.0}, {"rulesError", 1.5}});
    preferences.setValue("gone", true);
    preferences.removeValue("gone");
    EXPECT_EQ(testing_support::readFile(file),
              "{\n  \"countLinks\" : false,\n  \"notifiedAt\" : {\n    \"notDefault\" : 1773489600.0,\n    \"rulesError\" : 1.5\n  },\n"
              "  \"pausedUntil\" : 1773489600.5,\n"
              "  \"pickerTrigger\" : \"option\",\n  \"recentCount\" : 8,\n  \"updateLastChecked\" : 1773489600.0\n}\n");
}

TEST_F(JsonFilePreferencesTest, MissingOrBrokenFilesReadAsNoSettingsAndABrokenOneIsKeptAside) {
    EXPECT_EQ(JsonFilePreferences(file, log).value("countLinks"), std::nullopt);
    fs::create_directories(file.parent_path());
    for (const char* broken : {"", "{\"countLinks\": fals", "[true]", "{\"a\": 1e999}"}) {
        testing_support::writeFile(file, broken);
        JsonFilePreferences preferences(file, log);
        EXPECT_EQ(preferences.value("countLinks"), std::nullopt) << broken;
        EXPECT_EQ(log.lines.size(), 1u);
        preferences.setValue("countLinks", true);
        EXPECT_EQ(testing_support::readFile(fs::path(file).concat(".broken")), broken);
        EXPECT_EQ(JsonFilePreferences(file, log).value("countLinks"), PreferenceValue(true));
        EXPECT_EQ(log.lines.size(), 2u);  // and where the broken file went
        fs::remove(file);
        log.lines.clear();
    }
}

TEST_F(JsonFilePreferencesTest, OtherKindsOfMembersReadAsNotSet) {
    fs::create_directories(file.parent_path());
    testing_support::writeFile(file, R"({"countLinks": null, "recentCount": [3], "notifiedAt": {"x": 1, "y": "z", "w": {}}, "pausedUntil": 0})");
    JsonFilePreferences preferences(file, log);
    for (const char* key : {"countLinks", "recentCount"}) EXPECT_EQ(preferences.value(key), std::nullopt) << key;
    EXPECT_EQ(preferences.value("notifiedAt"), PreferenceValue(PreferenceDictionary{{"x", 1.0}})) << "only numbers are kept";
    EXPECT_EQ(preferences.value("pausedUntil"), PreferenceValue(std::int64_t{0}));
}

}  // namespace
}  // namespace pivra
