#include "hosts/linux/stderr_log.hpp"

#include <string>

namespace pivra {

void StderrLog::write(LogLevel level, std::string_view category, const LogMessage& message) {
    if (level < minimum_) return;
    // The terminal belongs to the user running Pivra: private parts are shown.
    std::string line = "[";
    line += category;
    line += "] ";
    line += rawValue(level);
    line += ": ";
    line += message.joined();
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), out_);
    std::fflush(out_);
}

}  // namespace pivra
