// pivra report: the app's zip, written where the user says.

#include <gtest/gtest.h>

#include "core/activity/log_entry.hpp"
#include "core/files/data_location.hpp"
#include "core/rules/rules_coding.hpp"
#include "tests/cli/cli_runner.hpp"
#include "tests/support/temp_folder.hpp"
#include "tests/support/zip_entries.hpp"

namespace pivra {
namespace {

namespace fs = std::filesystem;
using testing_support::CliResult;
using testing_support::runPivra;
using testing_support::TempFolder;
using testing_support::zipEntry;
using testing_support::zipNames;
using namespace std::chrono_literals;

class ReportCommand : public testing::Test {
protected:
    void SetUp() override {
        const LogEntry entry{std::chrono::system_clock::now() - 1h, "Link from Slack → Firefox", "example.com", "/a?b"};
        write(kJournalFileName, LogEntryCoding::encode(entry) + "\n");
        write("rules.json", RulesCoding::encode(RulesFile{}));
        write("settings.json", R"({"accent":"Red"})");
    }
    // The journal is state; the rest is configuration.
    fs::path write(std::string_view name, std::string_view bytes) {
        const auto folders = testing_support::foldersUnder(home.path());
        return home.write((name == kJournalFileName ? folders.state : folders.config) / name, bytes);
    }
    CliResult run(std::vector<std::string> args) {
        args.insert(args.end(), {"--home", home.path().string()});
        return runPivra(args);
    }
    std::vector<std::string> names(const fs::path& zip) {
        std::vector<std::string> short_;
        for (const auto& name : zipNames(zip)) short_.push_back(name.substr(name.find('/') + 1));
        return short_;
    }

    TempFolder home;
    TempFolder out;
};

TEST_F(ReportCommand, WritesTheZipWithTheChosenParts) {
    const fs::path zip = out.path() / "report.zip";
    out.write("report.zip", "an older file");
    EXPECT_EQ(run({"report", "--out", zip.string()}), (CliResult{0, "Report written to " + zip.string() + "\n", ""}));
    EXPECT_EQ(names(zip), (std::vector<std::string>{"about.txt", "browsers.txt", "log.txt", "rules.json", "settings.txt"}));
    const auto log = zipEntry(zip, "pivra-report/log.txt").value_or("");
    EXPECT_TRUE(log.ends_with(" Link from Slack → Firefox example.com")) << log;
    EXPECT_TRUE(zipEntry(zip, "pivra-report/settings.txt").value_or("").ends_with("\naccent: Red"));
    EXPECT_EQ(zipEntry(zip, "pivra-report/rules.json"), RulesCoding::encode(RulesFile{}));
    EXPECT_TRUE(zipEntry(zip, "pivra-report/about.txt").value_or("").starts_with("Pivra "));

    const auto first = testing_support::readFile(zip);
    ASSERT_EQ(run({"report", "--out", zip.string()}).status, 0);
    EXPECT_EQ(testing_support::readFile(zip), first) << "the same files give the same bytes";

    ASSERT_EQ(run({"report", "--out", zip.string(), "--no-log", "--no-browsers", "--no-rules"}).status, 0);
    EXPECT_EQ(names(zip), (std::vector<std::string>{"about.txt", "settings.txt"}));
    ASSERT_EQ(run({"report", "--out", zip.string(), "--no-browsers", "--full-links"}).status, 0);
    EXPECT_TRUE(zipEntry(zip, "pivra-report/log.txt").value_or("").ends_with(" example.com/a?b"));
}

TEST_F(ReportCommand, ARulesFileWithAnErrorGoesInAsItIs) {
    write("rules.json", "{\n,");
    const fs::path zip = out.path() / "report.zip";
    const auto result = run({"report", "--out", zip.string(), "--no-log"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("has an error (Line 2: Not valid JSON); the report holds the file as it is"), std::string::npos)
        << result.err;
    EXPECT_EQ(zipEntry(zip, "pivra-report/rules.json"), "{\n,");
}

TEST_F(ReportCommand, FailsClearlyAndWritesNothing) {
    out.write("blocker", "");
    const auto unwritable = run({"report", "--out", (out.path() / "blocker/report.zip").string()});
    EXPECT_EQ(unwritable.status, 2);
    EXPECT_TRUE(unwritable.err.starts_with("pivra: Couldn’t make the report: can’t write ")) << unwritable.err;
    const auto noFolder = run({"report", "--out", (out.path() / "missing/report.zip").string()});
    EXPECT_EQ(noFolder.status, 2);
    EXPECT_TRUE(noFolder.err.ends_with("missing/report.zip: there is no folder " + (out.path() / "missing").string() + "\n"))
        << noFolder.err;
    EXPECT_EQ(run({"report"}).status, 2) << "no --out";
    std::vector<fs::path> left;
    for (const auto& file : fs::directory_iterator(out.path())) left.push_back(file.path().filename());
    EXPECT_EQ(left, std::vector<fs::path>{"blocker"});
}

}  // namespace
}  // namespace pivra
