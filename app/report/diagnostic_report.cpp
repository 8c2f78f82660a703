#include "app/report/diagnostic_report.hpp"

#include <cstdio>
#include <system_error>

#include "app/storage/file_io.hpp"
#include "app/storage/zip_folder.hpp"
#include "core/browsers/browsers.hpp"
#include "core/files/small_file.hpp"

namespace pivra::DiagnosticReport {
namespace {

// Larger than any report: a journal of at most 4 MiB and a rules file of 16 MiB, zipped.
constexpr std::uintmax_t kMaxReportZipSize = std::uintmax_t{64} << 20;

std::string joinedLines(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) {
        if (!text.empty()) text += '\n';
        text += line;
    }
    return text;
}

std::string joinedPieces(const std::vector<std::string>& pieces) {
    std::string text;
    for (const auto& piece : pieces) {
        if (piece.empty()) continue;
        if (!text.empty()) text += " · ";
        text += piece;
    }
    return text;
}

}  // namespace

std::string aboutText(const AppInfo& app, const SystemInfo& system) {
    const std::string name = system.systemName();
    const std::string version = system.systemVersion();
    // The Mac's model names the Mac ("Mac Mac14,2"); elsewhere the model is of some machine.
    const std::string machine = name == "macOS" ? "Mac " : "Machine ";
    return "Pivra " + app.version() + " (" + app.build() + ")\n" + (version.empty() ? name : name + " " + version) +
           "\n" + machine + system.machineModel();
}

std::string logText(const std::vector<LogEntry>& entries, bool fullLinks) {
    std::vector<std::string> lines;
    lines.reserve(entries.size());
    for (const auto& entry : entries) lines.push_back(formatLogLine(entry, fullLinks));
    return joinedLines(lines);
}

std::string logView(const std::vector<LogEntry>& entries, const ReportParts& parts) {
    if (!parts.log) return std::string(kNoLogInReportText);
    if (entries.empty()) return std::string(kLogEmptyText);
    return logText(entries, parts.fullLinks);
}

std::string browsersText(const std::vector<BrowserApp>& browsers,
                         const std::map<std::string, std::vector<BrowserProfile>>& profiles) {
    if (browsers.empty()) return "No browsers found";
    std::vector<std::string> lines;
    for (const auto& browser : browsers) {
        lines.push_back(joinedPieces({browser.name, browser.id, browser.version, browser.location.string()}));
        const auto found = profiles.find(browser.id);
        if (found == profiles.end()) {
            if (Browsers::lookup(browser.id)) lines.push_back("  no profiles read");
            continue;
        }
        for (const auto& profile : found->second) {
            lines.push_back("  " + joinedPieces({profile.name, profile.id, profile.isDefault ? "default" : ""}));
        }
    }
    return joinedLines(lines);
}

std::map<std::string, std::vector<BrowserProfile>> readProfiles(const std::vector<BrowserApp>& browsers,
                                                               const std::filesystem::path& home) {
    std::map<std::string, std::vector<BrowserProfile>> profiles;
    for (const auto& browser : browsers) {
        const auto info = Browsers::lookup(browser.id);
        if (!info) continue;
        if (auto found = discoverProfiles(*info, home)) profiles[browser.id] = std::move(*found);
    }
    return profiles;
}

std::string zipFileName(CalendarDay day) { return std::string(kReportFolderName) + "-" + day.key() + ".zip"; }

std::vector<ReportFile> files(const ReportContent& content, const ReportParts& parts) {
    std::vector<ReportFile> result;
    result.push_back({"about.txt", content.about});
    if (parts.log) result.push_back({"log.txt", logText(content.log, parts.fullLinks)});
    if (parts.rules) result.push_back({"rules.json", content.rules});
    result.push_back({"settings.txt", joinedLines(content.settings)});
    if (parts.browsers) result.push_back({"browsers.txt", content.browsers});
    return result;
}

std::expected<std::filesystem::path, std::string> make(const std::vector<ReportFile>& files,
                                                        const std::filesystem::path& temporaryFolder, CalendarDay day) {
    const auto folder = temporaryFolder / kReportFolderName;
    const auto zip = temporaryFolder / zipFileName(day);
    std::error_code error;
    std::filesystem::remove_all(folder, error);
    if (error) return std::unexpected("can’t remove the old " + folder.string() + ": " + error.message());
    // The folder is scratch: gone after a failure, and after a success, when the zip is the report.
    const auto removeFolder = [&folder] {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    };
    const auto fail = [&removeFolder](std::string why) -> std::expected<std::filesystem::path, std::string> {
        removeFolder();
        return std::unexpected(std::move(why));
    };
    std::filesystem::create_directories(folder, error);
    if (error) return fail("can’t make " + folder.string() + ": " + error.message());
    for (const auto& file : files) {
        if (auto written = writeFileAtomicallyOrError(folder / file.name, file.bytes); !written) {
            return fail("can’t write " + (folder / file.name).string() + ": " + written.error().message());
        }
    }
    if (auto zipped = zipFolder(folder, zip); !zipped) return fail(zipped.error());
    removeFolder();
    return zip;
}

std::expected<void, std::string> copyTo(const std::filesystem::path& zip, const std::filesystem::path& destination) {
    // The place is one the user chose in a folder that exists: none is made for it.
    const auto folder = destination.parent_path().empty() ? std::filesystem::path(".") : destination.parent_path();
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) {
        return std::unexpected("can’t write " + destination.string() + ": there is no folder " + folder.string());
    }
    const auto bytes = readSmallFile(zip, kMaxReportZipSize);
    if (!bytes) return std::unexpected("can’t read " + zip.string());
    if (auto written = writeFileAtomicallyOrError(destination, *bytes); !written) {
        return std::unexpected("can’t write " + destination.string() + ": " + written.error().message());
    }
    return {};
}

}  // namespace pivra::DiagnosticReport
