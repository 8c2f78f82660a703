#pragma once
// The browsers whose profiles Pivra understands, and where their files live.
//
// A browser is named by its identifier: a bundle identifier for a Mac app
// ("com.google.Chrome"), a desktop-file id without ".desktop" for a Linux
// package ("google-chrome", "firefox_firefox", "org.chromium.Chromium"). The
// identifier alone picks the layout, on any system, so a Mac's home folder
// can be read on Linux and the other way round.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/text/raw_value.hpp"

namespace pivra {

// Which profile-file dialect a browser writes.
BOOST_DEFINE_ENUM_CLASS(BrowserFamily, chromium, firefox)

// Where a browser keeps its files and how it is started: a Mac app with a
// folder under Application Support, or a Linux package (native, Snap or
// Flatpak) with folders under the home folder.
BOOST_DEFINE_ENUM_CLASS(BrowserLayout, mac, linuxDesktop)

struct BrowserInfo {
    std::string bundleID;  // the identifier: a Mac bundle identifier or a Linux desktop id
    BrowserFamily family;
    std::string key;  // selects the profile folders within the layout; builds that share them share a key
    BrowserLayout layout = BrowserLayout::mac;

    bool operator==(const BrowserInfo&) const = default;
};

// One place where a browser may keep its files.
struct BrowserDataFolder {
    std::filesystem::path path;
    BrowserLayout layout;

    bool operator==(const BrowserDataFolder&) const = default;
};

namespace Browsers {

// The catalogued Mac browsers, in their fixed order. Safari is not among them:
// other apps cannot choose a Safari profile.
const std::vector<BrowserInfo>& all();

// The catalogued Linux browsers by desktop id, in their fixed order: each
// browser's native packages, then its Snap and Flatpak. Some Flatpak ids are
// also Mac bundle identifiers; `lookup` gives the Mac entry for those, whose
// data folders then include the Flatpak's.
const std::vector<BrowserInfo>& allLinux();

// Every entry `lookup` can give, each identifier once: `all()`, then the
// entries of `allLinux()` whose identifier no Mac entry has.
const std::vector<BrowserInfo>& allByIdentifier();

// The entry for exactly this identifier, a Mac entry where both catalogues
// have it; absent: no profiles to list or choose. A hash lookup: it runs for
// every link.
std::optional<BrowserInfo> lookup(std::string_view bundleID);

// The folder under Application Support for a Mac entry's key.
std::optional<std::string_view> folder(std::string_view key);

// Every folder where the browser may keep its files, in the order they are
// tried. A Mac entry: "<home>/Library/Application Support/<folder>", then the
// folders of the Linux entry with the same identifier, if any. A Linux entry:
// its folders under `home`, a Firefox's legacy ".mozilla/firefox" before its
// newer ".config/mozilla/firefox" (the order Firefox itself prefers them in).
// Empty for an unknown key. Touches no file.
std::vector<BrowserDataFolder> dataFolders(const BrowserInfo& browser, const std::filesystem::path& home);

// The first of `candidates` that is an existing folder (symbolic links
// followed); absent when none is.
std::optional<BrowserDataFolder> firstExisting(const std::vector<BrowserDataFolder>& candidates);

// The first of `dataFolders` that exists.
std::optional<BrowserDataFolder> existingDataFolder(const BrowserInfo& browser, const std::filesystem::path& home);

// The existing data folder, else the first candidate: where the browser's
// files are, or would be once it has run. Absent for an unknown key.
std::optional<std::filesystem::path> dataFolder(const BrowserInfo& browser, const std::filesystem::path& home);

}  // namespace Browsers

namespace AppBundle {

// The first ".app" bundle that encloses `path` (or is it), as written; absent when there is none.
std::optional<std::string> enclosing(std::string_view path);

}  // namespace AppBundle
}  // namespace pivra
