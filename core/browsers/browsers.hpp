#pragma once
// The browsers whose profiles Pivra understands, and where their files live.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/text/raw_value.hpp"

namespace pivra {

// Which profile-file dialect a browser writes.
BOOST_DEFINE_ENUM_CLASS(BrowserFamily, chromium, firefox)

struct BrowserInfo {
    std::string bundleID;
    BrowserFamily family;
    std::string key;  // selects the profile folder; Firefox's builds share one

    bool operator==(const BrowserInfo&) const = default;
};

namespace Browsers {

// The catalogued browsers, in their fixed order. Safari is not among them:
// other apps cannot choose a Safari profile.
const std::vector<BrowserInfo>& all();

// The entry for exactly this bundle identifier; absent: no profiles to list or choose.
std::optional<BrowserInfo> lookup(std::string_view bundleID);

// The folder under Application Support for a catalogue key.
std::optional<std::string_view> folder(std::string_view key);

// "<home>/Library/Application Support/<folder>" for a browser; absent for an unknown key.
std::optional<std::filesystem::path> dataFolder(const BrowserInfo& browser, const std::filesystem::path& home);

}  // namespace Browsers

namespace AppBundle {

// The first ".app" bundle that encloses `path` (or is it), as written; absent when there is none.
std::optional<std::string> enclosing(std::string_view path);

}  // namespace AppBundle
}  // namespace pivra
