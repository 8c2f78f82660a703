#pragma once
// The log on standard error: "[category] level: text", one line each.

#include <cstdio>

#include "app/ports/log.hpp"

namespace pivra {

class StderrLog final : public Log {
public:
    // Lines below `minimum` are left out.
    explicit StderrLog(LogLevel minimum = LogLevel::info, std::FILE* out = stderr) : minimum_(minimum), out_(out) {}

    void write(LogLevel level, std::string_view category, const LogMessage& message) override;

private:
    LogLevel minimum_;
    std::FILE* out_;
};

}  // namespace pivra
