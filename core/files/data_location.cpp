#include "core/files/data_location.hpp"

namespace pivra {
namespace {
constexpr std::string_view kXdgFolderName = "pivra";
}

std::filesystem::path applicationSupportFolder(const std::filesystem::path& home) {
    return home / "Library" / "Application Support";
}

std::filesystem::path dataFolder(const std::filesystem::path& home, bool debugBuild) {
    return applicationSupportFolder(home) / (debugBuild ? "Pivra Debug" : "Pivra");
}

std::filesystem::path xdgBaseFolder(const std::optional<std::string>& variable, const std::filesystem::path& home,
                                    const std::filesystem::path& fallback) {
    if (variable && !variable->empty() && std::filesystem::path(*variable).is_absolute()) return *variable;
    return home / fallback;
}

std::filesystem::path configFolder(const std::filesystem::path& home, const std::optional<std::string>& xdgConfigHome) {
    return xdgBaseFolder(xdgConfigHome, home, ".config") / kXdgFolderName;
}

std::filesystem::path stateFolder(const std::filesystem::path& home, const std::optional<std::string>& xdgStateHome) {
    return xdgBaseFolder(xdgStateHome, home, ".local/state") / kXdgFolderName;
}

}  // namespace pivra
