#include "hosts/linux/json_file_preferences.hpp"

#include <cmath>
#include <limits>
#include <system_error>

#include <boost/json/object.hpp>

#include "app/storage/file_io.hpp"
#include "core/files/small_file.hpp"
#include "core/text/json_reader.hpp"
#include "core/text/json_writer.hpp"

namespace pivra {
namespace {

namespace json = boost::json;

// Far beyond any settings Pivra writes; a larger file is broken, and kept aside.
constexpr std::uintmax_t kMaxSettingsFileSize = 1u << 20;

std::optional<PreferenceValue> fromJson(const json::value& value) {
    switch (value.kind()) {
        case json::kind::bool_: return value.get_bool();
        case json::kind::int64: return value.get_int64();
        case json::kind::uint64:
            if (value.get_uint64() <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
                return static_cast<std::int64_t>(value.get_uint64());
            }
            return static_cast<double>(value.get_uint64());
        case json::kind::double_: return value.get_double();
        case json::kind::string: return std::string(value.get_string());
        case json::kind::object: {
            // Members that are not numbers are not Pivra's: they are left out.
            PreferenceDictionary dictionary;
            for (const auto& member : value.get_object()) {
                if (member.value().is_number()) dictionary.emplace(std::string(member.key()), member.value().to_number<double>());
            }
            return dictionary;
        }
        default: return std::nullopt;
    }
}

json::value toJson(const PreferenceValue& value) {
    if (const auto* dictionary = std::get_if<PreferenceDictionary>(&value)) {
        json::object object;
        for (const auto& [name, number] : *dictionary) object[name] = number;
        return object;
    }
    return std::visit(
        [](const auto& v) -> json::value {
            if constexpr (std::is_same_v<std::decay_t<decltype(v)>, PreferenceDictionary>) {
                return nullptr;  // handled above
            } else {
                return json::value(v);
            }
        },
        value);
}

}  // namespace

JsonFilePreferences::JsonFilePreferences(std::filesystem::path file, Log& log) : file_(std::move(file)), log_(log) {
    const auto bytes = readSmallFile(file_, kMaxSettingsFileSize);
    if (!bytes && bytes.error() == FileReadError::unreadable) return;
    const auto document = bytes ? parseJson(*bytes) : std::nullopt;
    if (!document || !document->is_object()) {
        brokenOnDisk_ = true;
        log_.write(LogLevel::error, "settings",
                   LogMessage(file_.string() + " isn’t a JSON object; using the default settings until one is changed"));
        return;
    }
    for (const auto& member : document->get_object()) {
        if (auto value = fromJson(member.value())) values_.emplace(std::string(member.key()), std::move(*value));
    }
}

std::optional<PreferenceValue> JsonFilePreferences::value(std::string_view key) const {
    const auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

void JsonFilePreferences::setValue(std::string_view key, PreferenceValue value) {
    // Not-a-number and infinities have no JSON form: they would make the file unwritable.
    if (const auto* number = std::get_if<double>(&value); number && !std::isfinite(*number)) return;
    if (const auto* dictionary = std::get_if<PreferenceDictionary>(&value)) {
        for (const auto& [name, number] : *dictionary) {
            if (!std::isfinite(number)) return;
        }
    }
    values_.insert_or_assign(std::string(key), std::move(value));
    write();
}

void JsonFilePreferences::removeValue(std::string_view key) {
    const auto found = values_.find(key);
    if (found == values_.end()) return;
    values_.erase(found);
    write();
}

void JsonFilePreferences::write() {
    if (brokenOnDisk_) {
        std::error_code error;
        const auto aside = std::filesystem::path(file_).concat(".broken");
        std::filesystem::rename(file_, aside, error);
        if (!error) log_.write(LogLevel::error, "settings", LogMessage("The broken settings file was kept as " + aside.string()));
        brokenOnDisk_ = false;
    }
    json::object object;
    for (const auto& [key, value] : values_) object[key] = toJson(value);
    if (const auto text = writePrettyJson(object)) writeFileAtomically(file_, *text + "\n");
}

}  // namespace pivra
