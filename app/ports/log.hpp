#pragma once
// The system log: lines for developers and support, by area and level.

#include <string>
#include <string_view>
#include <utility>

#include "core/text/raw_value.hpp"

namespace pivra {

// In rising order of importance; a log set to one level keeps it and those above.
BOOST_DEFINE_ENUM_CLASS(LogLevel, debug, info, notice, error, fault)

// One log line. `privateText` (a link's path, say) sits between `text` and
// `textAfter`; platforms that redact personal data hide only that part.
struct LogMessage {
    std::string text;
    std::string privateText;
    std::string textAfter;

    LogMessage(std::string text) : text(std::move(text)) {}  // a plain line converts
    LogMessage(const char* text) : text(text) {}
    LogMessage(std::string text, std::string privateText, std::string textAfter)
        : text(std::move(text)), privateText(std::move(privateText)), textAfter(std::move(textAfter)) {}

    // The whole line, private part included.
    std::string joined() const { return text + privateText + textAfter; }
};

class Log {
public:
    virtual ~Log() = default;

    // Writes one line under the area `category` ("rules", "links", "update").
    // Where there is no system log, the line goes to standard error; where
    // that cannot be written either, it is dropped.
    virtual void write(LogLevel level, std::string_view category, const LogMessage& message) = 0;
};

}  // namespace pivra
