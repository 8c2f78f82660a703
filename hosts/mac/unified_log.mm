#include "hosts/mac/mac_ports.hpp"

#include <os/log.h>

namespace pivra {

struct UnifiedLog::Logs {
    std::map<std::string, os_log_t, std::less<>> byCategory;
};

UnifiedLog::UnifiedLog(LogLevel minimumLevel) : logs_(std::make_unique<Logs>()), minimumLevel_(minimumLevel) {}
UnifiedLog::~UnifiedLog() = default;

void UnifiedLog::write(LogLevel level, std::string_view category, const LogMessage& message) {
    if (level < minimumLevel_) return;
    auto found = logs_->byCategory.find(category);
    if (found == logs_->byCategory.end()) {
        const std::string name(category);
        found = logs_->byCategory.emplace(name, os_log_create("app.omra.pivra", name.c_str())).first;
    }
    os_log_type_t type = OS_LOG_TYPE_DEFAULT;
    switch (level) {
        case LogLevel::debug: type = OS_LOG_TYPE_DEBUG; break;
        case LogLevel::info: type = OS_LOG_TYPE_INFO; break;
        case LogLevel::notice: type = OS_LOG_TYPE_DEFAULT; break;
        case LogLevel::error: type = OS_LOG_TYPE_ERROR; break;
        case LogLevel::fault: type = OS_LOG_TYPE_FAULT; break;
    }
    // Only the private part (a link's path) is redacted.
    os_log_with_type(found->second, type, "%{public}s%{private}s%{public}s", message.text.c_str(),
                     message.privateText.c_str(), message.textAfter.c_str());
}

}  // namespace pivra
