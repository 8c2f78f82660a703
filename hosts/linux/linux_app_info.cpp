#include "hosts/linux/linux_app_info.hpp"

#include <system_error>

namespace pivra {

std::string LinuxAppInfo::version() const { return PIVRA_VERSION; }

std::string LinuxAppInfo::build() const { return PIVRA_BUILD; }

std::filesystem::path LinuxAppInfo::location() const {
    std::error_code error;
    auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path() : path;
}

}  // namespace pivra
