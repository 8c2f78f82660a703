#pragma once
// Preferences kept as one JSON object in a file (settings.json in the data
// folder), read once and written through atomically on every change.

#include <filesystem>
#include <map>
#include <string>

#include "app/ports/log.hpp"
#include "app/ports/preferences.hpp"

namespace pivra {

class JsonFilePreferences final : public Preferences {
public:
    // A missing file, or one that is not a JSON object, reads as no
    // preferences; a broken one is reported to `log` at error level. Members
    // of other kinds (null, arrays, objects) read as not set.
    JsonFilePreferences(std::filesystem::path file, Log& log);

    std::optional<PreferenceValue> value(std::string_view key) const override;
    void setValue(std::string_view key, PreferenceValue value) override;
    void removeValue(std::string_view key) override;

    const std::filesystem::path& file() const { return file_; }

private:
    void write();

    std::filesystem::path file_;
    Log& log_;
    std::map<std::string, PreferenceValue, std::less<>> values_;
    // A broken file is moved aside before it is first overwritten, so a
    // hand edit gone wrong is never lost.
    bool brokenOnDisk_ = false;
};

}  // namespace pivra
