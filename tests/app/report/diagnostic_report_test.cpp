#include "app/report/diagnostic_report.hpp"

#include <gtest/gtest.h>

#include "app/model/app_model.hpp"
#include "core/rules/rules_coding.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/files.hpp"
#include "tests/support/temp_folder.hpp"
#include "tests/support/zip_entries.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing_support::readZip;
using testing_support::zipEntry;
using testing_support::zipNames;
using Kind = ReportOutcome::Kind;

}  // namespace

void PrintTo(const ReportOutcome& outcome, std::ostream* os) {
    *os << "{" << static_cast<int>(outcome.kind) << ", \"" << outcome.message << "\", " << outcome.file << "}";
}

namespace {

// --- The texts ------------------------------------------------------------------

TEST(DiagnosticReportText, AboutNamesTheAppTheSystemAndTheMachine) {
    testing_support::FakeAppInfo app;
    testing_support::FakeSystemInfo system;
    EXPECT_EQ(DiagnosticReport::aboutText(app, system), "Pivra 1.0 (100)\nmacOS 14.5\nMac Mac14,2");
    system.name = "Debian GNU/Linux";
    system.version = "12";
    system.model = "Precision 5570";
    EXPECT_EQ(DiagnosticReport::aboutText(app, system), "Pivra 1.0 (100)\nDebian GNU/Linux 12\nMachine Precision 5570");
    system.version.clear();
    EXPECT_EQ(DiagnosticReport::aboutText(app, system), "Pivra 1.0 (100)\nDebian GNU/Linux\nMachine Precision 5570");
}

TEST(DiagnosticReportText, LogLinesEndAtTheHostUnlessFullLinks) {
    const Instant t = instantFromReferenceSeconds(0);
    const std::vector<LogEntry> entries{{t, "Picker shown", std::nullopt, std::nullopt},
                                        {t + 61s, "Link from Slack → Firefox", "example.com", "/a/b?c=d"}};
    EXPECT_EQ(DiagnosticReport::logText(entries, false),
              "2001-01-01T00:00:00Z Picker shown\n2001-01-01T00:01:01Z Link from Slack → Firefox example.com");
    EXPECT_EQ(DiagnosticReport::logText(entries, true),
              "2001-01-01T00:00:00Z Picker shown\n2001-01-01T00:01:01Z Link from Slack → Firefox example.com/a/b?c=d");
    EXPECT_EQ(DiagnosticReport::logText({}, true), "");
    EXPECT_EQ(DiagnosticReport::logView(entries, {.log = false}), "No log in this report");
    EXPECT_EQ(DiagnosticReport::logView({}, {}), "The log is empty");
    EXPECT_EQ(DiagnosticReport::logView(entries, {}), DiagnosticReport::logText(entries, false));
}

TEST(DiagnosticReportText, BrowsersListTheirProfiles) {
    const std::vector<BrowserApp> browsers{{"org.mozilla.firefox", "Firefox", "/Applications/Firefox.app", "126.0"},
                                           {"com.google.Chrome", "Google Chrome", "/Applications/Google Chrome.app", ""},
                                           {"com.apple.Safari", "Safari", "/Applications/Safari.app", "17.5"}};
    const std::map<std::string, std::vector<BrowserProfile>> profiles{
        {"org.mozilla.firefox", {{"default-release", "default-release", true}, {"work", "Work", false}}}};
    EXPECT_EQ(DiagnosticReport::browsersText(browsers, profiles),
              "Firefox · org.mozilla.firefox · 126.0 · /Applications/Firefox.app\n"
              "  default-release · default-release · default\n"
              "  Work · work\n"
              "Google Chrome · com.google.Chrome · /Applications/Google Chrome.app\n"
              "  no profiles read\n"
              "Safari · com.apple.Safari · 17.5 · /Applications/Safari.app");
    EXPECT_EQ(DiagnosticReport::browsersText({}, {}), "No browsers found");
}

TEST(DiagnosticReportText, TheChosenPartsMakeTheFiles) {
    const ReportContent content{"about", {}, {"pickerTrigger: default", "accent: Red"}, "{}", "browsers"};
    struct Case {
        ReportParts parts;
        std::vector<std::string> names;
    };
    for (const auto& [parts, names] : {
             Case{{}, {"about.txt", "log.txt", "rules.json", "settings.txt", "browsers.txt"}},
             Case{{.log = false}, {"about.txt", "rules.json", "settings.txt", "browsers.txt"}},
             Case{{.log = false, .rules = false, .browsers = false}, {"about.txt", "settings.txt"}},
         }) {
        std::vector<std::string> made;
        for (const auto& file : DiagnosticReport::files(content, parts)) made.push_back(file.name);
        EXPECT_EQ(made, names);
    }
    EXPECT_EQ(DiagnosticReport::files(content, {})[3], (ReportFile{"settings.txt", "pickerTrigger: default\naccent: Red"}));
    EXPECT_EQ(DiagnosticReport::zipFileName({2024, 5, 3}), "pivra-report-2024-05-03.zip");
}

// --- Making it --------------------------------------------------------------------

TEST(DiagnosticReportMake, TheZipReplacesAnOldFolderAndTheFolderGoesAfterwards) {
    testing_support::TempFolder temp;
    temp.write("pivra-report/stale.txt", "from an earlier report");
    const auto zip = DiagnosticReport::make({{"about.txt", "A"}, {"settings.txt", "S"}}, temp.path(), {2026, 3, 14});
    ASSERT_TRUE(zip) << zip.error();
    EXPECT_EQ(*zip, temp.path() / "pivra-report-2026-03-14.zip");
    EXPECT_EQ(zipNames(*zip), (std::vector<std::string>{"pivra-report/about.txt", "pivra-report/settings.txt"}));
    EXPECT_FALSE(fs::exists(temp.path() / "pivra-report"));
}

TEST(DiagnosticReportMake, AFailureLeavesNoFolderAndNoZip) {
    testing_support::TempFolder temp;
    temp.write("not-a-folder", "");
    const auto underAFile = DiagnosticReport::make({{"about.txt", "A"}}, temp.path() / "not-a-folder", {2026, 3, 14});
    ASSERT_FALSE(underAFile);
    EXPECT_NE(underAFile.error().find("Not a directory"), std::string::npos) << underAFile.error();
    // The zip's place is taken by a folder: the files are written, the zip is not.
    fs::create_directories(temp.path() / "pivra-report-2026-03-14.zip/inside");
    EXPECT_FALSE(DiagnosticReport::make({{"about.txt", "A"}}, temp.path(), {2026, 3, 14}));
    EXPECT_FALSE(fs::exists(temp.path() / "pivra-report"));
    EXPECT_TRUE(fs::exists(temp.path() / "pivra-report-2026-03-14.zip/inside"));
}

// --- The model's report ----------------------------------------------------------

class ModelReport : public testing::Test {
protected:
    void SetUp() override {
        ModelFolders folders{temp.path() / "data", temp.path() / "home"};
        folders.temporary = temp.path() / "tmp";
        fs::create_directories(folders.temporary);
        const Instant now = fakes.clock.now();
        Journal journal(folders.journalFile());
        fs::create_directories(folders.state);
        journal.append({now - 8 * 24h, "Too old", "old.example", "/old"});
        journal.append({now - 6 * 24h, "Link from Slack → Firefox", "example.com", "/a?b"});
        journal.append({now - 1h, "Picker shown", std::nullopt, std::nullopt});
        fakes.preferences.values["accent"] = std::string("Red");
        fakes.workspace.browsers = {{"org.mozilla.firefox", "Firefox", "/usr/bin/firefox", ""}};
        model = std::make_unique<AppModel>(fakes.ports(), folders, [] { return std::string("ID"); });
        model->start();
    }
    fs::path zip() const { return temp.path() / "tmp/pivra-report-2026-03-14.zip"; }
    std::string entry(const std::string& name) const {
        return zipEntry(zip(), "pivra-report/" + name).value_or("<none>");
    }

    testing_support::TempFolder temp;
    testing_support::FakePorts fakes;
    std::unique_ptr<AppModel> model;
    std::vector<ReportOutcome> outcomes;
    std::function<void(const ReportOutcome&)> record = [this](const ReportOutcome& o) { outcomes.push_back(o); };
};

TEST_F(ModelReport, HoldsTheLastSevenDaysTheSettingsTheRulesAndTheBrowsers) {
    ASSERT_EQ(model->makeReport({}), zip());
    EXPECT_EQ(entry("about.txt"), "Pivra 1.0 (100)\nmacOS 14.5\nMac Mac14,2");
    EXPECT_EQ(entry("log.txt"),
              "2026-03-08T12:00:00Z Link from Slack → Firefox example.com\n2026-03-14T11:00:00Z Picker shown");
    EXPECT_EQ(entry("rules.json"), RulesCoding::encode(model->rules()));
    const std::string settings = entry("settings.txt");
    EXPECT_TRUE(settings.starts_with("pickerTrigger: default\npickerPlacement: default\n")) << settings;
    EXPECT_TRUE(settings.ends_with("\naccent: Red")) << settings;
    EXPECT_EQ(entry("browsers.txt"), "Firefox · org.mozilla.firefox · /usr/bin/firefox\n  no profiles read");

    const auto first = testing_support::readFile(zip());
    ASSERT_TRUE(model->makeReport({}));
    EXPECT_EQ(testing_support::readFile(zip()), first) << "the same inputs give the same bytes";

    ASSERT_TRUE(model->makeReport({.log = false, .browsers = false}));
    EXPECT_EQ(zipNames(zip()), (std::vector<std::string>{"pivra-report/about.txt", "pivra-report/rules.json",
                                                         "pivra-report/settings.txt"}));
    ASSERT_TRUE(model->makeReport({.fullLinks = true}));
    EXPECT_NE(entry("log.txt").find("example.com/a?b\n"), std::string::npos) << entry("log.txt");
}

TEST_F(ModelReport, MailGoesToSupportOrSaysMailIsNotSetUp) {
    model->mailReport({}, record);
    EXPECT_TRUE(outcomes.empty()) << "the mail app answers later";
    fakes.scheduler.runDue();
    EXPECT_EQ(fakes.mail.messages, (std::vector<MailMessage>{{"support@omra.app", "Pivra diagnostic report",
                                                              "What happened, and what did you expect?\n\n", zip()}}));
    fakes.mail.composes = false;
    model->mailReport({}, record);
    fakes.scheduler.runDue();
    EXPECT_EQ(outcomes, (std::vector<ReportOutcome>{{Kind::composed, "", zip()},
                                                    {Kind::mailNotSetUp, std::string(kMailNotSetUpText), zip()}}));
    EXPECT_EQ(model->reportOutcome(), outcomes.back());
    ASSERT_TRUE(model->makeReport({}));
    EXPECT_EQ(model->reportOutcome(), std::nullopt) << "a new report starts afresh";
    EXPECT_EQ(kMailNotSetUpText, "Mail isn’t set up. Save the report and attach it to your own email.");
}

TEST_F(ModelReport, SaveReplacesTheChosenFileWithTheZip) {
    const fs::path chosen = temp.write("Desktop/mine.zip", "an older file");
    fakes.dialogs.saveAnswers = {chosen, std::nullopt};
    model->saveReport({}, record);
    model->saveReport({}, record);
    EXPECT_EQ(fakes.dialogs.saveRequests.at(0).suggestedName, "pivra-report-2026-03-14.zip");
    EXPECT_EQ(fakes.dialogs.saveRequests.at(0).fileExtension, "zip");
    EXPECT_EQ(testing_support::readFile(chosen), testing_support::readFile(zip()));
    EXPECT_EQ(outcomes, (std::vector<ReportOutcome>{{Kind::saved, "", chosen}, {Kind::cancelled, "", zip()}}));
}

TEST_F(ModelReport, AFailureSaysCouldNotMakeTheReportAndLeavesNoFile) {
    // The temporary folder is a file.
    fs::remove(temp.path() / "tmp");
    temp.write("tmp", "");
    model->mailReport({}, record);
    fs::remove(temp.path() / "tmp");
    fs::create_directory(temp.path() / "tmp");
    // Now the report is made but the chosen place cannot take it.
    const fs::path unwritable = temp.write("blocker", "") / "report.zip";
    fakes.dialogs.saveAnswers = {unwritable};
    model->saveReport({}, record);
    fakes.scheduler.runDue();
    const ReportOutcome failed{Kind::failed, "Couldn’t make the report", {}};
    EXPECT_EQ(outcomes, (std::vector<ReportOutcome>{failed, failed}));
    EXPECT_EQ(model->reportOutcome(), failed);
    EXPECT_TRUE(fakes.mail.messages.empty());
    EXPECT_EQ(fakes.log.texts(LogLevel::error).size(), 2u);
    EXPECT_FALSE(fs::exists(temp.path() / "tmp/pivra-report"));
    std::vector<std::string> reportFiles;
    for (const auto& file : fs::recursive_directory_iterator(temp.path())) {
        if (file.path().filename().string().find("report") != std::string::npos) {
            reportFiles.push_back(file.path().lexically_relative(temp.path()).string());
        }
    }
    EXPECT_EQ(reportFiles, (std::vector<std::string>{"tmp/pivra-report-2026-03-14.zip"})) << "no partial file anywhere";
}

}  // namespace
}  // namespace pivra
