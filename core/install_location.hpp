#pragma once
// Where this app's bundle lives, and the mounted disk images a move may eject.

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

namespace DiskImages {

// The mount points under /Volumes/ of every attached image, in order, from
// the output of "hdiutil info -plist" (XML or binary). Output that isn't such
// a property list gives none.
std::vector<std::string> volumes(std::string_view hdiutilInfo);

}  // namespace DiskImages
}  // namespace pivra
