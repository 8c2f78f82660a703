#include "core/updates/install_location.hpp"

#include <algorithm>
#include <cstdint>

#include "core/files/property_list.hpp"
#include "core/text/unicode_text.hpp"

namespace pivra {
namespace {

std::filesystem::path standardized(std::string_view path) {
    std::filesystem::path normal = std::filesystem::path(path).lexically_normal();
    // The root alone: libstdc++ keeps it as written ("//"), libc++ makes it "/".
    if (!normal.has_relative_path()) return normal.root_directory();
    // A trailing "/" stays as an empty last name ("/a/b/").
    if (!normal.has_filename()) normal = normal.parent_path();
    return normal;
}

}  // namespace

std::string standardizePath(std::string_view path) { return standardized(path).string(); }

std::vector<std::string> InstallLocation::pathComponents(std::string_view path) {
    std::vector<std::string> components;
    for (const auto& piece : standardized(path).relative_path()) components.push_back(lowerCaseText(piece.string()));
    return components;
}

InstallLocation InstallLocation::classify(std::string_view bundlePath, std::string_view homePath) {
    const auto components = pathComponents(bundlePath);
    const auto home = pathComponents(homePath);

    for (const auto& component : components) {
        if (component == "apptranslocation") return translocated();
    }
    if (components.size() >= 2 && components[0] == "applications") return applications();
    if (!home.empty() && components.size() >= home.size() + 2 &&
        std::equal(home.begin(), home.end(), components.begin()) && components[home.size()] == "applications")
        return applications();
    if (components.size() >= 3 && components[0] == "volumes") {
        // The name as the bundle's path spells it, not lower-cased.
        const auto relative = standardized(bundlePath).relative_path();
        return volume("/Volumes/" + std::next(relative.begin())->string());
    }
    return elsewhere();
}

std::string InstallLocation::placeDescription(std::string_view path, const InstallLocation& location) {
    if (location.kind() == Kind::translocated) return "AppTranslocation";
    return standardizePath(path);
}

namespace {

// The dotted pieces of a build number, each with its leading zeros dropped;
// absent when any piece is empty or holds anything but digits.
std::optional<std::vector<std::string_view>> buildPieces(std::string_view build) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    while (true) {
        const std::size_t end = std::min(build.find('.', start), build.size());
        std::string_view piece = build.substr(start, end - start);
        if (piece.empty() || !std::all_of(piece.begin(), piece.end(), [](char c) { return c >= '0' && c <= '9'; }))
            return std::nullopt;
        piece.remove_prefix(std::min(piece.find_first_not_of('0'), piece.size()));
        pieces.push_back(piece);
        if (end == build.size()) return pieces;
        start = end + 1;
    }
}

}  // namespace

std::optional<std::strong_ordering> compareBuilds(std::string_view a, std::string_view b) {
    const auto left = buildPieces(a);
    const auto right = buildPieces(b);
    if (!left || !right) return std::nullopt;
    for (std::size_t i = 0; i < std::max(left->size(), right->size()); ++i) {
        const std::string_view x = i < left->size() ? (*left)[i] : std::string_view();
        const std::string_view y = i < right->size() ? (*right)[i] : std::string_view();
        // Without leading zeros, the longer number is the larger; any length works.
        if (x.size() != y.size()) return x.size() <=> y.size();
        if (const auto order = x <=> y; order != 0) return order;
    }
    return std::strong_ordering::equal;
}

std::optional<InstalledCopy> InstalledCopy::read(const std::filesystem::path& bundle) {
    const PropertyList info = readBundleInfo(bundle);
    if (!info || plist_get_node_type(info.get()) != PLIST_DICT) return std::nullopt;
    return InstalledCopy{propertyListString(propertyListItem(info.get(), "CFBundleIdentifier")),
                         propertyListString(propertyListItem(info.get(), "CFBundleVersion"))};
}

bool InstalledCopy::takesPrecedence(std::string_view appIdentifier, std::string_view thisBuild, bool running) const {
    if (bundleIdentifier != appIdentifier) return false;
    if (running) return true;
    const auto order = build ? compareBuilds(*build, thisBuild) : std::nullopt;
    return order == std::strong_ordering::greater;
}

namespace DiskImages {

std::vector<std::string> volumes(std::string_view hdiutilInfo) {
    std::vector<std::string> mountPoints;
    const PropertyList root = parsePropertyList(hdiutilInfo);
    const plist_t images = propertyListItem(root.get(), "images");
    if (images == nullptr || plist_get_node_type(images) != PLIST_ARRAY) return mountPoints;
    for (std::uint32_t i = 0, count = plist_array_get_size(images); i < count; ++i) {
        const plist_t entities = propertyListItem(plist_array_get_item(images, i), "system-entities");
        if (entities == nullptr || plist_get_node_type(entities) != PLIST_ARRAY) continue;
        for (std::uint32_t j = 0, entityCount = plist_array_get_size(entities); j < entityCount; ++j) {
            auto mountPoint = propertyListString(propertyListItem(plist_array_get_item(entities, j), "mount-point"));
            constexpr std::string_view kPrefix = "/Volumes/";
            if (mountPoint && mountPoint->size() > kPrefix.size() && mountPoint->starts_with(kPrefix))
                mountPoints.push_back(std::move(*mountPoint));
        }
    }
    return mountPoints;
}

}  // namespace DiskImages
}  // namespace pivra
