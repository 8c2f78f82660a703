#include "hosts/linux/os_release_system_info.hpp"

#include <sys/utsname.h>

#include <optional>

#include "core/files/small_file.hpp"

namespace pivra {
namespace {

// Far larger than any os-release or DMI field.
constexpr std::uintmax_t kMaxSystemFileSize = 64 * 1024;

std::string trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r\n";
    const auto first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(kSpace) - first + 1));
}

// The value after "KEY=": absent when a quote is not closed.
std::optional<std::string> unquoted(std::string_view raw) {
    std::string value;
    char quote = 0;
    if (!raw.empty() && (raw.front() == '"' || raw.front() == '\'')) {
        quote = raw.front();
        raw.remove_prefix(1);
    }
    for (std::size_t i = 0; i < raw.size(); ++i) {
        const char c = raw[i];
        if (quote != 0 && c == quote) return value;  // anything after the closing quote is ignored
        if (c == '\\' && quote != '\'' && i + 1 < raw.size()) {
            value += raw[++i];
        } else {
            value += c;
        }
    }
    if (quote != 0) return std::nullopt;
    return value;
}

utsname kernel() {
    utsname names{};
    if (::uname(&names) != 0) return utsname{};
    return names;
}

}  // namespace

std::map<std::string, std::string, std::less<>> parseOsRelease(std::string_view text) {
    std::map<std::string, std::string, std::less<>> values;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string line = trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const auto equals = line.find('=');
        if (line.empty() || line.front() == '#' || equals == std::string::npos || equals == 0) continue;
        if (auto value = unquoted(std::string_view(line).substr(equals + 1))) values[line.substr(0, equals)] = std::move(*value);
    }
    return values;
}

std::string OsReleaseSystemInfo::osReleaseValue(std::string_view key) const {
    // The second file is the distribution's own, for systems without the first.
    for (const char* file : {"etc/os-release", "usr/lib/os-release"}) {
        const auto bytes = readSmallFile(root_ / file, kMaxSystemFileSize);
        if (!bytes) continue;
        const auto values = parseOsRelease(*bytes);
        const auto found = values.find(key);
        return found == values.end() ? std::string() : trimmed(found->second);
    }
    return {};
}

std::string OsReleaseSystemInfo::systemName() const {
    const std::string name = osReleaseValue("NAME");
    return name.empty() ? "Linux" : name;
}

std::string OsReleaseSystemInfo::systemVersion() const {
    const std::string version = osReleaseValue("VERSION_ID");
    return version.empty() ? std::string(kernel().release) : version;
}

std::string OsReleaseSystemInfo::machineModel() const {
    const auto product = readSmallFile(root_ / "sys/devices/virtual/dmi/id/product_name", kMaxSystemFileSize);
    const std::string model = product ? trimmed(*product) : std::string();
    return model.empty() ? std::string(kernel().machine) : model;
}

}  // namespace pivra
