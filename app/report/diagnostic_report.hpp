#pragma once
// The diagnostic report: one zip of what support needs (the app and system
// versions, the journal of the last 7 days, the rules, the settings and the
// browsers), made in a temporary folder on the user's request only.

#include <chrono>
#include <expected>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "app/ports/app_info.hpp"
#include "app/ports/system_info.hpp"
#include "app/ports/workspace.hpp"
#include "core/activity/calendar_day.hpp"
#include "core/activity/log_entry.hpp"
#include "core/browsers/browser_profile.hpp"

namespace pivra {

// The switches of the report screen: which parts go in.
struct ReportParts {
    bool log = true;         // "log.txt", the journal of the last 7 days
    bool rules = true;       // "rules.json"
    bool browsers = true;    // "browsers.txt"
    bool fullLinks = false;  // log lines carry each link's path as well as its host

    bool operator==(const ReportParts&) const = default;
};

inline constexpr std::string_view kReportFolderName = "pivra-report";
// How far back the report's log goes.
inline constexpr std::chrono::seconds kReportLogWindow{604800};

inline constexpr std::string_view kReportFailedText = "Couldn’t make the report";
inline constexpr std::string_view kMailNotSetUpText = "Mail isn’t set up. Save the report and attach it to your own email.";
inline constexpr std::string_view kReportMailSubject = "Pivra diagnostic report";
inline constexpr std::string_view kReportMailBody = "What happened, and what did you expect?\n\n";
// Where reports sent by mail go.
inline constexpr std::string_view kSupportAddress = "support@omra.app";
// The report screen's view of the log.
inline constexpr std::string_view kNoLogInReportText = "No log in this report";
inline constexpr std::string_view kLogEmptyText = "The log is empty";

// What a report can hold, gathered by its maker (the model, the command line).
struct ReportContent {
    std::string about;                 // "about.txt"
    std::vector<LogEntry> log;         // the journal's entries of the last 7 days, oldest first
    std::vector<std::string> settings; // Settings::reportLines
    std::string rules;                 // "rules.json" as the rules coder writes it
    std::string browsers;              // "browsers.txt"
};

// One file of the report folder.
struct ReportFile {
    std::string name;
    std::string bytes;

    bool operator==(const ReportFile&) const = default;
};

namespace DiagnosticReport {

// "Pivra 1.4 (142)\nmacOS 14.5\nMac Mac14,2". Another system names itself
// ("Debian GNU/Linux 12") and its machine with "Machine " ("Machine Precision 5570").
std::string aboutText(const AppInfo& app, const SystemInfo& system);

// The entries, one line each as formatLogLine writes them, joined by line feeds.
std::string logText(const std::vector<LogEntry>& entries, bool fullLinks);

// The report screen's view of the log: kNoLogInReportText with the log part
// off, kLogEmptyText without entries, else the log's text.
std::string logView(const std::vector<LogEntry>& entries, const ReportParts& parts);

// One line per browser, "Firefox · org.mozilla.firefox · 126.0 ·
// /Applications/Firefox.app" (name, identifier, version, location; empty
// ones left out), followed by the profiles of a browser that has them, one an
// indented line: "  Work · Profile 1", with " · default" on the default one;
// "  no profiles read" for a browser of the catalogue whose profiles could
// not be read. Lines joined by line feeds; "No browsers found" for none.
std::string browsersText(const std::vector<BrowserApp>& browsers,
                         const std::map<std::string, std::vector<BrowserProfile>>& profiles);

// The profiles of each browser that has them, read from `home`.
std::map<std::string, std::vector<BrowserProfile>> readProfiles(const std::vector<BrowserApp>& browsers,
                                                               const std::filesystem::path& home);

// "pivra-report-2024-05-31.zip".
std::string zipFileName(CalendarDay day);

// The report folder's files for the chosen parts, in the folder's order:
// about.txt, log.txt, rules.json, settings.txt, browsers.txt.
std::vector<ReportFile> files(const ReportContent& content, const ReportParts& parts);

// Makes "pivra-report" in `temporaryFolder` afresh (an old one is removed),
// writes `files` into it, zips it into zipFileName(day) beside it and removes
// the folder again. Returns the zip; on failure why (for the log: the user
// reads kReportFailedText), with no folder and no new zip left behind.
std::expected<std::filesystem::path, std::string> make(const std::vector<ReportFile>& files,
                                                        const std::filesystem::path& temporaryFolder, CalendarDay day);

// Puts a copy of `zip` at `destination`, replacing any file there at once:
// the destination holds the old file or the whole copy, never a part. Its
// folder must exist.
std::expected<void, std::string> copyTo(const std::filesystem::path& zip, const std::filesystem::path& destination);

}  // namespace DiagnosticReport

}  // namespace pivra
