#pragma once
// The user's preferences: one flat key-value domain that outlives the process.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace pivra {

// A preference that maps names to numbers (times, say): a dictionary in a
// Mac's user defaults, a JSON object in a settings file.
using PreferenceDictionary = std::map<std::string, double, std::less<>>;

// The kinds of value a preference holds. Typed reading, with defaults, is Settings' job.
using PreferenceValue = std::variant<bool, std::int64_t, double, std::string, PreferenceDictionary>;

class Preferences {
public:
    virtual ~Preferences() = default;

    // The stored value, absent when the key is not set. Where the store cannot
    // be read, every key reads as not set.
    virtual std::optional<PreferenceValue> value(std::string_view key) const = 0;

    // Stores the value for the key. Where the store cannot be written, the
    // value holds until the process ends and is lost then.
    virtual void setValue(std::string_view key, PreferenceValue value) = 0;

    // Forgets the key, so that it reads as not set again. The same as
    // setValue where the store cannot be written.
    virtual void removeValue(std::string_view key) = 0;
};

}  // namespace pivra
