#include "tests/support/fake_ports.hpp"

namespace pivra::testing_support {

std::optional<PreferenceValue> MemoryPreferences::value(std::string_view key) const {
    const auto found = values.find(key);
    if (found == values.end()) return std::nullopt;
    return found->second;
}

void MemoryPreferences::setValue(std::string_view key, PreferenceValue value) {
    values.insert_or_assign(std::string(key), std::move(value));
}

void MemoryPreferences::removeValue(std::string_view key) {
    if (const auto found = values.find(key); found != values.end()) values.erase(found);
}

void RecordingLog::write(LogLevel level, std::string_view category, const LogMessage& message) {
    lines.push_back(Line{level, std::string(category), message.joined()});
}

std::vector<std::string> RecordingLog::texts(LogLevel level) const {
    std::vector<std::string> result;
    for (const auto& line : lines) {
        if (line.level == level) result.push_back(line.text);
    }
    return result;
}

namespace {
std::optional<std::filesystem::path> nextAnswer(std::deque<std::optional<std::filesystem::path>>& answers) {
    if (answers.empty()) return std::nullopt;
    auto answer = std::move(answers.front());
    answers.pop_front();
    return answer;
}
}  // namespace

void ScriptedDialogs::chooseSaveLocation(const SavePanelRequest& request, Completion completion) {
    saveRequests.push_back(request);
    completion(nextAnswer(saveAnswers));
}

void ScriptedDialogs::chooseFileToOpen(const OpenPanelRequest& request, Completion completion) {
    openRequests.push_back(request);
    completion(nextAnswer(openAnswers));
}

}  // namespace pivra::testing_support
