#pragma once
// In-memory stand-ins for the ports that have no real counterpart in a test:
// preferences, a log that keeps its lines, dialogs that answer from a script.

#include <deque>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "app/ports/dialogs.hpp"
#include "app/ports/log.hpp"
#include "app/ports/preferences.hpp"

namespace pivra::testing_support {

class MemoryPreferences final : public Preferences {
public:
    std::optional<PreferenceValue> value(std::string_view key) const override;
    void setValue(std::string_view key, PreferenceValue value) override;
    void removeValue(std::string_view key) override;

    std::map<std::string, PreferenceValue, std::less<>> values;
};

class RecordingLog final : public Log {
public:
    struct Line {
        LogLevel level;
        std::string category;
        std::string text;  // the whole line, private part included
        bool operator==(const Line&) const = default;
    };

    void write(LogLevel level, std::string_view category, const LogMessage& message) override;

    // The texts of the lines at `level`, in order.
    std::vector<std::string> texts(LogLevel level) const;

    std::vector<Line> lines;
};

class ScriptedDialogs final : public Dialogs {
public:
    void chooseSaveLocation(const SavePanelRequest& request, Completion completion) override;
    void chooseFileToOpen(const OpenPanelRequest& request, Completion completion) override;

    // The answers the next panels give, in order; nothing queued answers "cancelled".
    std::deque<std::optional<std::filesystem::path>> saveAnswers;
    std::deque<std::optional<std::filesystem::path>> openAnswers;
    // What was asked.
    std::vector<SavePanelRequest> saveRequests;
    std::vector<OpenPanelRequest> openRequests;
};

}  // namespace pivra::testing_support
