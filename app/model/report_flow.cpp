// The model's part of the diagnostic report: gathering what it knows into the
// report, then mailing or saving the zip. Zipping a report of at most a few
// megabytes runs on the main thread, like the journal's writes.

#include <system_error>

#include "app/model/app_model.hpp"
#include "core/rules/rules_coding.hpp"

namespace pivra {
namespace {
constexpr std::string_view kReportCategory = "report";
}

std::optional<std::filesystem::path> AppModel::makeReport(const ReportParts& parts) {
    const Instant now = ports_.clock.now();
    ReportContent content;
    content.about = DiagnosticReport::aboutText(ports_.appInfo, ports_.systemInfo);
    if (parts.log) content.log = journal_.entries(now - kReportLogWindow);
    content.settings = settings_.reportLines();
    if (parts.rules) content.rules = RulesCoding::encode(rules_);
    if (parts.browsers) content.browsers = DiagnosticReport::browsersText(browsers_, profiles_);

    std::filesystem::path temporary = folders_.temporary;
    std::error_code error;
    if (temporary.empty()) temporary = std::filesystem::temp_directory_path(error);
    auto made = error ? std::expected<std::filesystem::path, std::string>(
                            std::unexpected("no temporary folder: " + error.message()))
                      : DiagnosticReport::make(DiagnosticReport::files(content, parts), temporary,
                                               ports_.clock.localDay(now));
    if (!made) {
        ports_.log.write(LogLevel::error, kReportCategory, std::string(kReportFailedText) + ": " + made.error());
        reportOutcome_ = ReportOutcome{ReportOutcome::Kind::failed, std::string(kReportFailedText), {}};
        notify();
        return std::nullopt;
    }
    if (reportOutcome_) {
        reportOutcome_.reset();  // an earlier ending no longer applies
        notify();
    }
    return *made;
}

std::string AppModel::reportLogView(const ReportParts& parts) const {
    const auto entries = parts.log ? journal_.entries(ports_.clock.now() - kReportLogWindow) : std::vector<LogEntry>{};
    return DiagnosticReport::logView(entries, parts);
}

void AppModel::mailReport(const ReportParts& parts, std::function<void(const ReportOutcome&)> done) {
    const auto zip = makeReport(parts);
    if (!zip) {
        if (done) done(*reportOutcome_);  // the failure, already kept and told
        return;
    }
    const MailMessage message{std::string(kSupportAddress), std::string(kReportMailSubject),
                              std::string(kReportMailBody), *zip};
    ports_.mail.compose(message, guardedResult<bool>([this, zip = *zip, done](bool composed) {
        if (composed) return finishReport({ReportOutcome::Kind::composed, {}, zip}, done);
        ports_.log.write(LogLevel::error, kReportCategory, "Not mailed: no mail app is set up");
        finishReport({ReportOutcome::Kind::mailNotSetUp, std::string(kMailNotSetUpText), zip}, done);
    }));
}

void AppModel::saveReport(const ReportParts& parts, std::function<void(const ReportOutcome&)> done) {
    const auto zip = makeReport(parts);
    if (!zip) {
        if (done) done(*reportOutcome_);  // the failure, already kept and told
        return;
    }
    ports_.dialogs.chooseSaveLocation(
        SavePanelRequest{zip->filename().string(), "zip"},
        guardedResult<std::optional<std::filesystem::path>>(
            [this, zip = *zip, done](std::optional<std::filesystem::path> location) {
                if (!location) return finishReport({ReportOutcome::Kind::cancelled, {}, zip}, done);
                if (auto copied = DiagnosticReport::copyTo(zip, *location); !copied) {
                    ports_.log.write(LogLevel::error, kReportCategory,
                                     std::string(kReportFailedText) + ": " + copied.error());
                    return finishReport({ReportOutcome::Kind::failed, std::string(kReportFailedText), {}}, done);
                }
                finishReport({ReportOutcome::Kind::saved, {}, *location}, done);
            }));
}

void AppModel::finishReport(ReportOutcome outcome, const std::function<void(const ReportOutcome&)>& done) {
    reportOutcome_ = std::move(outcome);
    notify();
    if (done) done(*reportOutcome_);
}

}  // namespace pivra
