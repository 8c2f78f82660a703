#pragma once
// A browser's profiles, read from the browser's own files.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/browsers/browsers.hpp"

namespace pivra {

struct BrowserProfile {
    std::string id;    // what a launch passes: the folder (Chromium) or the name (Firefox)
    std::string name;  // shown to the user
    bool isDefault = false;

    bool operator==(const BrowserProfile&) const = default;
};

namespace ProfileParser {

// "Local State": profiles sorted by name in the Finder's order. Absent when the
// bytes are not JSON or lack the "profile"/"info_cache" objects.
std::optional<std::vector<BrowserProfile>> chromium(std::string_view localState);

// "profiles.ini": profiles in file order; malformed entries are skipped.
std::vector<BrowserProfile> firefox(std::string_view profilesIni);

}  // namespace ProfileParser

// Reads the browser's profile file under `home` on every call. Absent when the
// browser has no known folder or its file cannot be read or parsed; empty when
// the file holds no profiles.
std::optional<std::vector<BrowserProfile>> discoverProfiles(const BrowserInfo& browser, const std::filesystem::path& home);

// The name of a browser's profile file: "Local State" or "profiles.ini".
std::string_view profileFileName(BrowserFamily family);

// Far beyond any browser's profile file; a larger one is not read.
inline constexpr std::uintmax_t kMaxProfileFileSize = 64u << 20;

}  // namespace pivra
