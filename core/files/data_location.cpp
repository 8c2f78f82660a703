#include "core/files/data_location.hpp"

namespace pivra {

std::filesystem::path applicationSupportFolder(const std::filesystem::path& home) {
    return home / "Library" / "Application Support";
}

std::filesystem::path dataFolder(const std::filesystem::path& home, bool debugBuild) {
    return applicationSupportFolder(home) / (debugBuild ? "Pivra Debug" : "Pivra");
}

}  // namespace pivra
