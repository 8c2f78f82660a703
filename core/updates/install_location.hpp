#pragma once
// Where this app's bundle lives, and the mounted disk images a move may eject.

#include <compare>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pivra {

// "." and ".." resolved, repeated and trailing "/" dropped; ".." above the
// root stays at the root. Relative paths keep their leading "..".
std::string standardizePath(std::string_view path);

class InstallLocation {
public:
    enum class Kind { volume, applications, translocated, elsewhere };

    // On a mounted volume; the mount point is "/Volumes/<name>", the name
    // spelled as in the bundle's path.
    static InstallLocation volume(std::string mountPoint) { return InstallLocation(Kind::volume, std::move(mountPoint)); }
    static InstallLocation applications() { return InstallLocation(Kind::applications, {}); }
    // A quarantined copy that the system runs from a randomised path.
    static InstallLocation translocated() { return InstallLocation(Kind::translocated, {}); }
    static InstallLocation elsewhere() { return InstallLocation(Kind::elsewhere, {}); }

    Kind kind() const { return kind_; }
    // Empty unless the kind is `volume`.
    const std::string& mountPoint() const { return mountPoint_; }

    bool operator==(const InstallLocation&) const = default;

    // The standardized path split on "/", empty pieces dropped, each piece
    // lower-cased (ASCII, Latin, Greek and Cyrillic letters), since the Mac's
    // file systems compare names that way.
    static std::vector<std::string> pathComponents(std::string_view path);

    // Both paths with symlinks already resolved. Translocation wins over
    // everything, then an Applications folder (the system's or the home's)
    // with something inside it, then a volume.
    static InstallLocation classify(std::string_view bundlePath, std::string_view homePath);

    // The place as logs show it and as "Not Now" remembers it:
    // "AppTranslocation" for a translocated copy (its path changes at every
    // launch), else the standardized path.
    static std::string placeDescription(std::string_view path, const InstallLocation& location);

private:
    InstallLocation(Kind kind, std::string mountPoint) : kind_(kind), mountPoint_(std::move(mountPoint)) {}
    Kind kind_;
    std::string mountPoint_;
};

// Two CFBundleVersion texts compared as dotted decimal numbers: "1.10" is
// after "1.9", "1204" after "999", a missing piece counts as 0 ("2" equals
// "2.0"). Absent when either is not such a number ("", "1.", "1.2b").
std::optional<std::strong_ordering> compareBuilds(std::string_view a, std::string_view b);

// A copy of the app already in the Applications folder a move would fill.
struct InstalledCopy {
    std::optional<std::string> bundleIdentifier;  // CFBundleIdentifier, when a string
    std::optional<std::string> build;             // CFBundleVersion, when a string

    // Absent when the bundle has no Info.plist that can be read.
    static std::optional<InstalledCopy> read(const std::filesystem::path& bundle);

    // True when the user should be sent to this copy instead of replacing
    // it: it is this app (`appIdentifier`, compared exactly) and it is
    // running, or its build is newer than `thisBuild`. A build that cannot be
    // compared is not newer.
    bool takesPrecedence(std::string_view appIdentifier, std::string_view thisBuild, bool running) const;

    bool operator==(const InstalledCopy&) const = default;
};

namespace DiskImages {

// The mount points under /Volumes/ of every attached image, in order, from
// the output of "hdiutil info -plist" (XML or binary). Output that isn't such
// a property list gives none.
std::vector<std::string> volumes(std::string_view hdiutilInfo);

}  // namespace DiskImages
}  // namespace pivra
