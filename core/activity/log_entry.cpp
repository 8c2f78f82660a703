#include "core/activity/log_entry.hpp"

#include <charconv>
#include <chrono>
#include <cstdio>

#include "core/text/json_reader.hpp"
#include "core/text/json_writer.hpp"

namespace pivra {

namespace json = boost::json;

std::string LogEntryCoding::encode(const LogEntry& entry) {
    std::string out = "{\"t\":";
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, referenceSecondsFromInstant(entry.t));
    out.append(buffer, result.ptr);
    out += ",\"text\":";
    appendJsonString(out, entry.text);
    if (entry.host) {
        out += ",\"host\":";
        appendJsonString(out, *entry.host);
    }
    if (entry.path) {
        out += ",\"path\":";
        appendJsonString(out, *entry.path);
    }
    out += '}';
    return out;
}

std::optional<LogEntry> LogEntryCoding::decode(std::string_view line) {
    const auto document = parseJson(line);
    if (!document || !document->is_object()) return std::nullopt;
    const auto& object = document->get_object();

    const auto* t = object.if_contains("t");
    const auto* text = object.if_contains("text");
    if (t == nullptr || text == nullptr || !text->is_string()) return std::nullopt;
    const auto seconds = jsonNumber(*t);
    // Nanoseconds since 1970 overflow 64 bits at about ±9.22e9 seconds, that is
    // ±8.24e9 seconds from 2001; stay well inside.
    if (!seconds || *seconds > 8.0e9 || *seconds < -8.0e9) return std::nullopt;

    LogEntry entry{instantFromReferenceSeconds(*seconds), std::string(text->get_string()), std::nullopt, std::nullopt};
    const auto readOptional = [&](std::string_view key, std::optional<std::string>& into) {
        const auto* value = object.if_contains(key);
        if (value == nullptr || value->is_null()) return true;
        if (!value->is_string()) return false;
        into = std::string(value->get_string());
        return true;
    };
    if (!readOptional("host", entry.host) || !readOptional("path", entry.path)) return std::nullopt;
    return entry;
}

std::vector<LogEntry> LogEntryCoding::decodeJournal(std::string_view bytes, Instant since) {
    std::vector<LogEntry> result;
    while (!bytes.empty()) {
        const auto end = bytes.find('\n');
        const auto line = bytes.substr(0, end);
        if (!line.empty()) {
            if (auto entry = decode(line); entry && entry->t >= since) result.push_back(std::move(*entry));
        }
        if (end == std::string_view::npos) break;
        bytes.remove_prefix(end + 1);
    }
    return result;
}

std::string formatLogLine(const LogEntry& entry, bool withPath) {
    const auto days = std::chrono::floor<std::chrono::days>(entry.t);
    const std::chrono::year_month_day date{days};
    const std::chrono::hh_mm_ss time{std::chrono::floor<std::chrono::seconds>(entry.t - days)};
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02d:%02d:%02dZ ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    std::string line = buffer;
    line += entry.text;
    if (entry.host) {
        line += ' ';
        line += *entry.host;
        if (withPath && entry.path) line += *entry.path;
    }
    return line;
}

}  // namespace pivra
