#include "core/browsers/browser_profile.hpp"

#include <algorithm>
#include <map>

#include "core/files/small_file.hpp"
#include "core/text/json_reader.hpp"
#include "core/text/unicode_text.hpp"

namespace pivra {
namespace {

struct IniSection {
    std::string name;
    std::map<std::string, std::string, std::less<>> values;

    const std::string* value(std::string_view key) const {
        const auto found = values.find(key);
        return found == values.end() ? nullptr : &found->second;
    }
};

std::vector<IniSection> parseIni(std::string_view text) {
    std::vector<IniSection> sections;
    for (const std::string_view rawLine : splitLines(text)) {
        const std::string_view line = trimWhitespace(rawLine);
        if (line.size() >= 2 && line.front() == '[' && line.back() == ']') {
            sections.push_back(IniSection{std::string(line.substr(1, line.size() - 2)), {}});
            continue;
        }
        const auto equals = line.find('=');
        if (equals == std::string_view::npos || sections.empty()) continue;
        sections.back().values[std::string(line.substr(0, equals))] = std::string(line.substr(equals + 1));
    }
    return sections;
}

}  // namespace

namespace ProfileParser {

std::optional<std::vector<BrowserProfile>> chromium(std::string_view localState) {
    const auto document = parseJson(localState);
    if (!document || !document->is_object()) return std::nullopt;
    const auto* profile = document->get_object().if_contains("profile");
    if (!profile || !profile->is_object()) return std::nullopt;
    const auto* cache = profile->get_object().if_contains("info_cache");
    if (!cache || !cache->is_object()) return std::nullopt;
    const auto* lastUsedValue = profile->get_object().if_contains("last_used");
    const std::string lastUsed =
        (lastUsedValue && lastUsedValue->is_string()) ? std::string(lastUsedValue->get_string()) : "Default";

    std::vector<BrowserProfile> profiles;
    for (const auto& member : cache->get_object()) {
        BrowserProfile entry{std::string(member.key()), std::string(member.key()), member.key() == lastUsed};
        if (member.value().is_object()) {
            if (const auto* name = member.value().get_object().if_contains("name"); name && name->is_string()) {
                entry.name = std::string(name->get_string());
            }
        }
        profiles.push_back(std::move(entry));
    }
    std::stable_sort(profiles.begin(), profiles.end(), [](const BrowserProfile& a, const BrowserProfile& b) {
        return compareForSorting(a.name, b.name) < 0;
    });
    return profiles;
}

std::vector<BrowserProfile> firefox(std::string_view profilesIni) {
    const auto sections = parseIni(profilesIni);
    std::optional<std::string> installDefault;
    for (const auto& section : sections) {
        if (!section.name.starts_with("Install")) continue;
        if (const auto* value = section.value("Default")) installDefault = *value;
        break;  // only the first installation counts
    }
    std::vector<BrowserProfile> profiles;
    for (const auto& section : sections) {
        if (!section.name.starts_with("Profile")) continue;
        const auto* name = section.value("Name");
        if (!name) continue;
        bool isDefault = false;
        if (installDefault) {
            const auto* path = section.value("Path");
            isDefault = path && *path == *installDefault;
        } else {
            const auto* flag = section.value("Default");
            isDefault = flag && *flag == "1";
        }
        profiles.push_back(BrowserProfile{*name, *name, isDefault});
    }
    return profiles;
}

}  // namespace ProfileParser

std::string_view profileFileName(BrowserFamily family) {
    return family == BrowserFamily::chromium ? "Local State" : "profiles.ini";
}

std::optional<std::vector<BrowserProfile>> discoverProfiles(const BrowserInfo& browser, const std::filesystem::path& home) {
    const auto folder = Browsers::dataFolder(browser, home);
    if (!folder) return std::nullopt;
    const auto bytes = readSmallFile(*folder / profileFileName(browser.family), kMaxProfileFileSize);
    if (!bytes) return std::nullopt;
    if (browser.family == BrowserFamily::chromium) return ProfileParser::chromium(*bytes);
    if (!isValidUtf8(*bytes)) return std::nullopt;
    return ProfileParser::firefox(*bytes);
}

}  // namespace pivra
