#include "core/install_location.hpp"

#include <algorithm>
#include <cstdint>

#include "core/property_list.hpp"

namespace pivra {
namespace {

std::vector<std::string_view> splitPath(std::string_view path) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string_view::npos) end = path.size();
        if (end > start) pieces.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

char32_t lowerCodePoint(char32_t c) {
    if (c >= U'A' && c <= U'Z') return c + 0x20;
    if (c < 0x80) return c;
    if ((c >= 0xC0 && c <= 0xDE && c != 0xD7) || (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) ||
        (c >= 0x410 && c <= 0x42F))
        return c + 0x20;
    if (c >= 0x400 && c <= 0x40F) return c + 0x50;
    // Latin Extended-A pairs capital and small letters side by side; U+0130
    // (dotted I) has no one-letter small form and stays.
    if ((c >= 0x100 && c <= 0x12F) || (c >= 0x132 && c <= 0x137) || (c >= 0x14A && c <= 0x177))
        return (c % 2 == 0) ? c + 1 : c;
    if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) return (c % 2 == 1) ? c + 1 : c;
    if (c == 0x178) return 0xFF;
    if (c == 0x386) return 0x3AC;
    if (c >= 0x388 && c <= 0x38A) return c + 0x25;
    if (c == 0x38C) return 0x3CC;
    if (c == 0x38E || c == 0x38F) return c + 0x3F;
    return c;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

// Lower-cases letters written in one or two UTF-8 bytes; every other byte,
// malformed sequences included, is kept as it is.
std::string lowerName(std::string_view name) {
    std::string out;
    out.reserve(name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto byte = static_cast<unsigned char>(name[i]);
        if (byte < 0x80) {
            appendUtf8(out, lowerCodePoint(byte));
            continue;
        }
        if ((byte & 0xE0) == 0xC0 && i + 1 < name.size()) {
            const auto next = static_cast<unsigned char>(name[i + 1]);
            const char32_t c = (static_cast<char32_t>(byte & 0x1F) << 6) | (next & 0x3F);
            if ((next & 0xC0) == 0x80 && c >= 0x80) {
                appendUtf8(out, lowerCodePoint(c));
                ++i;
                continue;
            }
        }
        out.push_back(static_cast<char>(byte));
    }
    return out;
}

}  // namespace

std::string standardizePath(std::string_view path) {
    const bool absolute = path.starts_with('/');
    std::vector<std::string_view> kept;
    for (std::string_view piece : splitPath(path)) {
        if (piece == ".") continue;
        if (piece == "..") {
            if (!kept.empty() && kept.back() != "..") {
                kept.pop_back();
            } else if (!absolute) {
                kept.push_back(piece);
            }
            continue;
        }
        kept.push_back(piece);
    }
    std::string out;
    for (std::string_view piece : kept) {
        if (absolute || !out.empty()) out.push_back('/');
        out.append(piece);
    }
    if (out.empty()) return absolute ? "/" : (path.empty() ? "" : ".");
    return out;
}

std::vector<std::string> InstallLocation::pathComponents(std::string_view path) {
    const std::string standardized = standardizePath(path);
    std::vector<std::string> components;
    for (std::string_view piece : splitPath(standardized)) components.push_back(lowerName(piece));
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
        const std::string standardized = standardizePath(bundlePath);
        return volume("/Volumes/" + std::string(splitPath(standardized)[1]));
    }
    return elsewhere();
}

std::string InstallLocation::placeDescription(std::string_view path, const InstallLocation& location) {
    if (location.kind() == Kind::translocated) return "AppTranslocation";
    return standardizePath(path);
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
