#include "hosts/mac/mac_ports.hpp"

#include <sys/sysctl.h>

#include <algorithm>

#import <Foundation/Foundation.h>

namespace pivra {

std::string MacSystemInfo::systemName() const { return "macOS"; }

std::string MacSystemInfo::systemVersion() const {
    @autoreleasepool {
        const NSOperatingSystemVersion version = NSProcessInfo.processInfo.operatingSystemVersion;
        std::string text = std::to_string(version.majorVersion) + "." + std::to_string(version.minorVersion);
        // "14.5", and "15.0.1" only when there is a patch version, as About This Mac writes them.
        if (version.patchVersion != 0) text += "." + std::to_string(version.patchVersion);
        return text;
    }
}

std::string MacSystemInfo::machineModel() const {
    size_t size = 0;
    if (::sysctlbyname("hw.model", nullptr, &size, nullptr, 0) != 0 || size == 0) return {};
    std::string model(size, '\0');
    if (::sysctlbyname("hw.model", model.data(), &size, nullptr, 0) != 0) return {};
    model.resize(std::min(size, model.size()));
    while (!model.empty() && model.back() == '\0') model.pop_back();
    return model;
}

}  // namespace pivra
