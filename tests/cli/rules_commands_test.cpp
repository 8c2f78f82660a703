#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

#include "core/data_location.hpp"
#include "core/rules_coding.hpp"
#include "tests/cli/cli_runner.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::runPivra;
using testing_support::TempFolder;

const std::string kExample = std::string(PIVRA_TEST_DATA) + "/rules/example.json";

const char* kShadowed = R"({"rules":[
  {"id":"A","match":{"kind":"domains","values":["example.com"]},"open":{"app":"com.google.Chrome"}},
  {"id":"B","match":{"kind":"domains","values":["docs.example.com"]},"open":{"app":"org.mozilla.firefox"}},
  {"id":"C","enabled":false,"open":{"app":"com.apple.Safari"}},
  {"id":"D","from":"com.apple.mail","match":{"kind":"patterns","values":["*/meet/*"]},"open":{"app":"com.apple.Safari"}}
]})";

TEST(CliUsage, UnknownCommandsAndOptionsAreUsageErrors) {
    EXPECT_EQ(runPivra({}).status, 2);
    EXPECT_EQ(runPivra({"--help"}).status, 0);
    const auto unknown = runPivra({"route"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_EQ(unknown.err.rfind("pivra: unknown command “route”", 0), 0u) << unknown.err;
    EXPECT_EQ(runPivra({"check", "--bogus"}).status, 2);
    EXPECT_EQ(runPivra({"try"}).status, 2);
    EXPECT_EQ(runPivra({"try", "https://a.example", "--from"}).status, 2);
    for (const char* command : {"check", "format", "try"}) {
        const auto help = runPivra({command, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_NE(help.out.find(std::string("usage: pivra ") + command), std::string::npos);
    }
    EXPECT_EQ(runPivra({"check"}).status, 2) << "no HOME and no --home";
}

TEST(CliCheck, ReportsCountsFallbackAndRulesThatNeverRun) {
    TempFolder folder;
    const auto rules = folder.write("rules.json", kShadowed);
    const auto text = runPivra({"check", "--rules", rules.string()});
    EXPECT_EQ(text.status, 0);
    EXPECT_EQ(text.out,
              "4 rules · fallback com.apple.Safari\n"
              "Rule 2 never runs: rule 1 takes every link it could take\n");
    const auto asJson = runPivra({"check", "--rules", rules.string(), "--json"});
    EXPECT_EQ(boost::json::parse(asJson.out),
              boost::json::parse(R"({"ok":true,"rules":4,"shadowed":[{"rule":1,"by":0}]})"));
}

TEST(CliCheck, InvalidFilesGiveTheMessageAndLine) {
    TempFolder folder;
    const auto broken = folder.write("broken.json", "{\n  \"rules\" : [\n    {},\n  ]\n}");
    const auto text = runPivra({"check", "--rules", broken.string()});
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.err, "pivra: Line 3: Not valid JSON\n");
    const auto asJson = runPivra({"check", "--rules", broken.string(), "--json"});
    EXPECT_EQ(asJson.status, 1);
    EXPECT_EQ(boost::json::parse(asJson.out),
              boost::json::parse(R"({"ok":false,"message":"Not valid JSON","line":3})"));

    const auto missingOpen = folder.write("open.json", R"({"rules":[{}]})");
    const auto noLine = runPivra({"check", "--rules", missingOpen.string(), "--json"});
    EXPECT_EQ(boost::json::parse(noLine.out),
              boost::json::parse(R"({"ok":false,"message":"Rule 1 is missing “open”","line":null})"));
    const auto noLineText = runPivra({"check", "--rules", missingOpen.string()});
    EXPECT_EQ(noLineText.status, 1);
    EXPECT_EQ(noLineText.err, "pivra: Rule 1 is missing “open”\n");

    const auto unreadable = runPivra({"check", "--rules", (folder.path() / "absent.json").string()});
    EXPECT_EQ(unreadable.status, 2);
    EXPECT_NE(unreadable.err.find("can’t read"), std::string::npos);
    EXPECT_EQ(runPivra({"check", "--rules", folder.path().string()}).status, 2) << "a folder is not a file";
}

TEST(CliCheck, MissingRulesInTheDataFolderMeanTheDefaults) {
    TempFolder home;
    const auto result = runPivra({"check"}, home.path().string());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "0 rules · fallback com.apple.Safari (defaults: no rules file yet)\n");
    EXPECT_FALSE(std::filesystem::exists(dataFolder(home.path()))) << "nothing is created";

    home.write(std::filesystem::path("Library/Application Support/Pivra") / "rules.json",
               R"({"fallback":{"app":"org.mozilla.firefox","profile":"x.default"}})");
    EXPECT_EQ(runPivra({"check", "--home", home.path().string()}).out,
              "0 rules · fallback org.mozilla.firefox (profile x.default)\n");
}

TEST(CliFormat, PrintsTheWritersBytesAndRewritesAtomically) {
    TempFolder folder;
    const std::string messy = R"({"version":1,"rules":[{"open":{"app":"a"},"id":"KEEP"},{"open":{"app":"b"},"x":1}]})";
    const auto rules = folder.write("rules.json", messy);
    const auto printed = runPivra({"format", "--rules", rules.string()});
    EXPECT_EQ(printed.status, 0);
    auto decoded = RulesCoding::decode(messy);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(printed.out, RulesCoding::encode(*decoded)) << "ids kept as they are, nothing added";
    EXPECT_EQ(folder.read("rules.json"), messy) << "printing leaves the file alone";

    EXPECT_EQ(runPivra({"format", "--rules", rules.string(), "--write"}).status, 0);
    auto rewritten = RulesCoding::decode(folder.read("rules.json"));
    ASSERT_TRUE(rewritten);
    EXPECT_EQ(rewritten->rules[0].id, "KEEP");
    EXPECT_EQ(rewritten->rules[1].id.size(), 36u);
    EXPECT_EQ(folder.read("rules.json"), RulesCoding::encode(*rewritten));
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        EXPECT_EQ(entry.path().filename(), "rules.json") << "no temporary file left behind";
    }

    TempFolder home;
    const auto nothing = runPivra({"format", "--write", "--home", home.path().string()});
    EXPECT_EQ(nothing.status, 2) << "with no rules file there is nothing to rewrite";
    EXPECT_NE(nothing.err.find("there is no rules file"), std::string::npos) << nothing.err;
    EXPECT_FALSE(std::filesystem::exists(dataFolder(home.path()))) << "nothing is created";

    const auto broken = folder.write("broken.json", "{");
    EXPECT_EQ(runPivra({"format", "--rules", broken.string(), "--write"}).status, 1);
    EXPECT_EQ(folder.read("broken.json"), "{") << "a broken file is never replaced";
}

TEST(CliTry, ShowsTheDecisionAndEveryRulesVerdict) {
    const auto result = runPivra({"try", "https://www.google.com/url?q=https://docs.example.net/meet/x%3Futm_source%3Dm&sa=D",
                                  "--rules", kExample, "--json"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(boost::json::parse(result.out), boost::json::parse(R"({
        "url":"https://docs.example.net/meet/x","target":{"app":"org.mozilla.firefox"},
        "reason":{"kind":"rule","index":1,"id":"0F3A9C61-2E44-4B8D-8C1A-7D5E6F1B3A20"},
        "bringForward":true,"newWindow":true,"unwrappedFrom":"www.google.com",
        "checked":"docs.example.net/meet/x","matched":1,
        "steps":[{"index":0,"verdict":"notFrom","from":"com.tinyspeck.slackmacgap"},{"index":1,"verdict":"match"}]})"));

    const auto text = runPivra({"try", "https://example.org/a", "--rules", kExample, "--from", "com.tinyspeck.slackmacgap"});
    EXPECT_EQ(text.out,
              "Link: https://example.org/a\n"
              "Matched against: example.org/a\n"
              "From: com.tinyspeck.slackmacgap\n"
              "Checked top to bottom:\n"
              "  Rule 1 · com.tinyspeck.slackmacgap · domains example.com, example.org → com.google.Chrome (profile Work)\n"
              "      This rule matched\n"
              "  Rule 2 · any app · patterns *.example.net/meet/* → org.mozilla.firefox\n"
              "      Rule 1 matched first, not this one\n"
              "Opens in: com.google.Chrome (profile Work)\n"
              "Why: Rule 1 matched\n"
              "Brought forward: yes · New window: no\n");

    const auto paused = runPivra({"try", "https://example.org/a", "--rules", kExample, "--paused", "--json",
                                  "--from", "com.tinyspeck.slackmacgap"});
    const auto pausedJson = boost::json::parse(paused.out);
    EXPECT_EQ(pausedJson.at("reason"), boost::json::parse(R"({"kind":"paused"})"));
    EXPECT_EQ(pausedJson.at("matched"), 0) << "the trial still shows what the rules say";
}

TEST(CliTry, FallbackUnwrappingAndUncheckedRules) {
    TempFolder folder;
    const auto rules = folder.write("rules.json", kShadowed).string();
    const std::string wrapped = "https://www.google.com/url?q=https://other.example/x";
    const auto text = runPivra({"try", wrapped, "--rules", rules, "--from", "com.apple.mail"});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.out,
              "Link: https://other.example/x\n"
              "Unwrapped from www.google.com\n"
              "Matched against: other.example/x\n"
              "From: com.apple.mail\n"
              "Checked top to bottom:\n"
              "  Rule 1 · any app · domains example.com → com.google.Chrome\n"
              "      Doesn’t match this link\n"
              "  Rule 2 · any app · domains docs.example.com → org.mozilla.firefox\n"
              "      Doesn’t match this link · This rule never runs.\n"
              "  Rule 3 · any app · any link → com.apple.Safari\n"
              "      Turned off\n"
              "  Rule 4 · com.apple.mail · patterns */meet/* → com.apple.Safari\n"
              "      Doesn’t match this link\n"
              "Opens in: com.apple.Safari\n"
              "Why: No rule matched, so the fallback\n"
              "Brought forward: yes · New window: no\n");

    // Members in this order, exactly: compared as text, not as JSON values.
    const auto fallback = runPivra({"try", wrapped, "--rules", rules, "--from", "com.apple.mail", "--json"});
    EXPECT_EQ(fallback.out,
              R"({"url":"https://other.example/x","target":{"app":"com.apple.Safari"},"reason":{"kind":"fallback"},)"
              R"("bringForward":true,"newWindow":false,"unwrappedFrom":"www.google.com","checked":"other.example/x",)"
              R"("matched":null,"steps":[{"index":0,"verdict":"notMatched"},{"index":1,"verdict":"notMatched"},)"
              R"({"index":2,"verdict":"off"},{"index":3,"verdict":"notMatched"}]})"
              "\n");
    const auto first = runPivra({"try", "https://docs.example.com/", "--rules", rules, "--json"});
    EXPECT_EQ(first.out,
              R"({"url":"https://docs.example.com/","target":{"app":"com.google.Chrome"},)"
              R"("reason":{"kind":"rule","index":0,"id":"A"},"bringForward":true,"newWindow":false,)"
              R"("unwrappedFrom":null,"checked":"docs.example.com/","matched":0,"steps":[{"index":0,"verdict":"match"},)"
              R"({"index":1,"verdict":null},{"index":2,"verdict":null},{"index":3,"verdict":null}]})"
              "\n");
    const auto profile = runPivra({"try", "https://example.org/", "--rules", kExample, "--from",
                                   "com.tinyspeck.slackmacgap", "--json"});
    EXPECT_EQ(boost::json::parse(profile.out).at("target"),
              boost::json::parse(R"({"app":"com.google.Chrome","profile":"Work"})"));
    EXPECT_EQ(runPivra({"try", "--help", "--", "https://example.org/"}).status, 0) << "--help before -- is help";
}

TEST(CliTry, BadLinksAndBadRulesExitWithOne) {
    TempFolder folder;
    const auto bad = runPivra({"try", "example.com", "--rules", kExample});
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.err, "pivra: “example.com” isn’t a link (did you mean https://example.com?)\n");
    EXPECT_EQ(runPivra({"try", "", "--rules", kExample}).err, "pivra: “” isn’t a link\n");
    EXPECT_EQ(runPivra({"try", "https://h:99999/", "--rules", kExample}).status, 1);
    const auto broken = folder.write("rules.json", R"({"rules":[{"open":{"app":1}}]})");
    const auto result = runPivra({"try", "https://example.com", "--rules", broken.string()});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "pivra: Rule 1, open, app: expected a string, found a number\n");
    const auto dashed = runPivra({"try", "--rules", kExample, "--", "--help"});
    EXPECT_EQ(dashed.status, 1) << "after --, a dashed word is the link, not an option";
}

}  // namespace
}  // namespace pivra
