#include <gtest/gtest.h>

#include "core/files/data_location.hpp"
#include "core/rules/rules_coding.hpp"
#include "tests/cli/cli_runner.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

using testing_support::CliResult;
using testing_support::json;
using testing_support::runPivra;
using testing_support::TempFolder;
using Args = std::vector<std::string>;

const std::string kExample = std::string(PIVRA_TEST_DATA) + "/rules/example.json";

// Rule 2 never runs; one link passes each kind of verdict.
const char* kShadowed = R"({"rules":[
  {"id":"A","match":{"kind":"domains","values":["example.com"]},"open":{"app":"com.google.Chrome"}},
  {"id":"B","match":{"kind":"domains","values":["docs.example.com"]},"open":{"app":"org.mozilla.firefox"}},
  {"id":"C","enabled":false,"open":{"app":"com.apple.Safari"}},
  {"id":"D","from":"com.apple.mail","match":{"kind":"patterns","values":["*/meet/*"]},
   "open":{"app":"com.google.Chrome","profile":"Work"}},
  {"id":"E","match":{"kind":"domains","values":["example.com","other.example"]},"open":{"app":"org.mozilla.firefox"}}
]})";

TEST(CliUsage, HelpAndUsageErrors) {
    const std::pair<Args, int> cases[] = {
        {{}, 2}, {{"--help"}, 0}, {{"check", "--bogus"}, 2}, {{"try"}, 2}, {{"try", "https://a.example", "--from"}, 2},
        {{"try", "--help", "--", "https://example.org/"}, 0},  // --help before -- is help
    };
    for (const auto& [args, status] : cases) EXPECT_EQ(runPivra(args).status, status) << testing::PrintToString(args);
    const auto unknown = runPivra({"route"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_EQ(unknown.err.rfind("pivra: unknown command “route”", 0), 0u) << unknown.err;
    for (const std::string command : {"check", "format", "try", "log", "counts", "settings", "watch", "profiles", "plan"}) {
        const auto help = runPivra({command, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.out.find("usage: pivra " + command), 0u) << help.out;
        if (command == "try" || command == "plan") continue;
        EXPECT_EQ(runPivra({command}).status, 2) << command << ": no HOME and no --home";
        EXPECT_EQ(runPivra({command, "extra", "--home", "/tmp"}).status, 2) << command;
    }
}

TEST(CliCheck, ReportsShadowedRulesErrorsAndDefaults) {
    TempFolder folder;
    const auto shadowed = folder.write("shadowed.json", kShadowed).string();
    const auto broken = folder.write("broken.json", "{\n  \"rules\" : [\n    {},\n  ]\n}").string();
    const auto noOpen = folder.write("open.json", R"({"rules":[{}]})").string();
    const auto absent = (folder.path() / "absent.json").string();
    const std::pair<std::string, CliResult> text[] = {
        {shadowed, {0, "5 rules · fallback com.apple.Safari\nRule 2 never runs: rule 1 takes every link it could take\n", ""}},
        {broken, {1, "", "pivra: Line 3: Not valid JSON\n"}},
        {noOpen, {1, "", "pivra: Rule 1 is missing “open”\n"}},
        {absent, {2, "", "pivra: can’t read " + absent + ": there is no such file\n"}},
        {folder.path().string(), {2, "", "pivra: can’t read " + folder.path().string() + ": it’s a folder\n"}},
    };
    for (const auto& [file, expected] : text) EXPECT_EQ(runPivra({"check", "--rules", file}), expected);
    const std::tuple<std::string, int, const char*> asJson[] = {
        {shadowed, 0, R"({"ok":true,"rules":5,"shadowed":[{"rule":1,"by":0}]})"},
        {broken, 1, R"({"ok":false,"message":"Not valid JSON","line":3})"},
        {noOpen, 1, R"({"ok":false,"message":"Rule 1 is missing “open”","line":null})"},
    };
    for (const auto& [file, status, expected] : asJson) {
        const auto result = runPivra({"check", "--rules", file, "--json"});
        EXPECT_EQ(result.status, status) << file;
        EXPECT_EQ(json(result.out), json(expected));
    }
    // Without --rules: the data folder's file, or the defaults when there is none.
    // (Which fallback depends on the system's default browser; the end-to-end tests pin that down.)
    const CliResult defaults = runPivra({"check"}, folder.path().string());
    EXPECT_EQ(defaults.status, 0);
    EXPECT_TRUE(defaults.out.starts_with("0 rules · fallback ")) << defaults.out;
    EXPECT_TRUE(defaults.out.ends_with(" (defaults: no rules file yet)\n")) << defaults.out;
    EXPECT_FALSE(std::filesystem::exists(testing_support::foldersUnder(folder.path()).config)) << "nothing is created";
    folder.write(testing_support::foldersUnder(folder.path()).config / "rules.json",
                 R"({"fallback":{"app":"org.mozilla.firefox","profile":"x.default"}})");
    EXPECT_EQ(runPivra({"check", "--home", folder.path().string()}).out,
              "0 rules · fallback org.mozilla.firefox (profile x.default)\n");
}

TEST(CliFormat, PrintsTheWritersBytesAndRewritesAtomically) {
    TempFolder folder;
    const std::string messy = R"({"version":1,"rules":[{"open":{"app":"a"},"id":"KEEP"},{"open":{"app":"b"},"x":1}]})";
    const auto rules = folder.write("rules.json", messy).string();
    const auto decoded = RulesCoding::decode(messy);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(runPivra({"format", "--rules", rules}), (CliResult{0, RulesCoding::encode(*decoded), ""}))
        << "ids kept as they are, nothing added";
    EXPECT_EQ(folder.read("rules.json"), messy) << "printing leaves the file alone";

    EXPECT_EQ(runPivra({"format", "--rules", rules, "--write"}).status, 0);
    const auto rewritten = RulesCoding::decode(folder.read("rules.json"));
    ASSERT_TRUE(rewritten);
    EXPECT_EQ(rewritten->rules[0].id, "KEEP");
    EXPECT_EQ(rewritten->rules[1].id.size(), 36u);
    EXPECT_EQ(folder.read("rules.json"), RulesCoding::encode(*rewritten));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "no temporary file left";

    const auto nothing = runPivra({"format", "--write", "--home", folder.path().string()});
    EXPECT_EQ(nothing.status, 2) << "with no rules file there is nothing to rewrite";
    EXPECT_NE(nothing.err.find("there is no rules file"), std::string::npos) << nothing.err;
    EXPECT_FALSE(std::filesystem::exists(testing_support::foldersUnder(folder.path()).config)) << "nothing is created";

    const auto broken = folder.write("broken.json", "{").string();
    EXPECT_EQ(runPivra({"format", "--rules", broken, "--write"}).status, 1);
    EXPECT_EQ(folder.read("broken.json"), "{") << "a broken file is never replaced";
}

TEST(CliTry, ShowsTheDecisionAndEveryRulesVerdict) {
    const auto result = runPivra({"try", "https://www.google.com/url?q=https://docs.example.net/meet/x%3Futm_source%3Dm&sa=D",
                                  "--rules", kExample, "--json"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(json(result.out), json(R"({
        "url":"https://docs.example.net/meet/x","target":{"app":"org.mozilla.firefox"},
        "reason":{"kind":"rule","index":1,"id":"0F3A9C61-2E44-4B8D-8C1A-7D5E6F1B3A20"},
        "bringForward":true,"newWindow":true,"unwrappedFrom":"www.google.com",
        "checked":"docs.example.net/meet/x","matched":1,
        "steps":[{"index":0,"verdict":"notFrom","from":"com.tinyspeck.slackmacgap"},{"index":1,"verdict":"match"}]})"));

    Args slackJson{"try", "https://example.org/a", "--rules", kExample, "--from", "com.tinyspeck.slackmacgap", "--json"};
    EXPECT_EQ(json(runPivra(slackJson).out).at("target"), json(R"({"app":"com.google.Chrome","profile":"Work"})"));
    // Paused: the fallback, yet the trial still shows what the rules say. Members in order, compared as text.
    slackJson.push_back("--paused");
    EXPECT_EQ(runPivra(slackJson).out,
              R"({"url":"https://example.org/a","target":{"app":"com.apple.Safari"},"reason":{"kind":"paused"},)"
              R"("bringForward":true,"newWindow":false,"unwrappedFrom":null,"checked":"example.org/a","matched":0,)"
              R"("steps":[{"index":0,"verdict":"match"},{"index":1,"verdict":null}]})" "\n");
}

TEST(CliTry, EachVerdictAndTheFallback) {
    TempFolder folder;
    const auto rules = folder.write("rules.json", kShadowed).string();
    const auto tryLink = [&](std::string link, bool asJson) {
        Args args{"try", "https://www.google.com/url?q=" + link, "--rules", rules, "--from", "com.apple.mail"};
        if (asJson) args.push_back("--json");
        const auto result = runPivra(args);
        EXPECT_EQ(result.status, 0) << result.err;
        return result.out;
    };
    EXPECT_EQ(tryLink("https://other.example/meet/x", false),
              "Link: https://other.example/meet/x\n"
              "Unwrapped from www.google.com\n"
              "Matched against: other.example/meet/x\n"
              "From: com.apple.mail\n"
              "Checked top to bottom:\n"
              "  Rule 1 · any app · domains example.com → com.google.Chrome\n"
              "      Doesn’t match this link\n"
              "  Rule 2 · any app · domains docs.example.com → org.mozilla.firefox\n"
              "      Doesn’t match this link · This rule never runs.\n"
              "  Rule 3 · any app · any link → com.apple.Safari\n"
              "      Turned off\n"
              "  Rule 4 · com.apple.mail · patterns */meet/* → com.google.Chrome (profile Work)\n"
              "      This rule matched\n"
              "  Rule 5 · any app · domains example.com, other.example → org.mozilla.firefox\n"
              "      Rule 4 matched first, not this one\n"
              "Opens in: com.google.Chrome (profile Work)\n"
              "Why: Rule 4 matched\n"
              "Brought forward: yes · New window: no\n");
    EXPECT_TRUE(tryLink("https://third.example/x", false)
                    .ends_with("Opens in: com.apple.Safari\nWhy: No rule matched, so the fallback\n"
                               "Brought forward: yes · New window: no\n"));
    // Apps the system knows are shown by name, with the identifier beside it.
    const auto named = runPivra({"try", "https://other.example/meet/x", "--rules", rules, "--from", "com.apple.mail"},
                                std::nullopt, {{"com.apple.mail", "Mail"}, {"com.google.Chrome", "Google Chrome"}});
    EXPECT_NE(named.out.find("From: Mail (com.apple.mail)\n"), std::string::npos) << named.out;
    EXPECT_NE(named.out.find("  Rule 4 · Mail (com.apple.mail) · patterns */meet/* → Google Chrome (com.google.Chrome, profile Work)\n"),
              std::string::npos) << named.out;
    EXPECT_NE(named.out.find("Opens in: Google Chrome (com.google.Chrome, profile Work)\n"), std::string::npos);
    const auto safari = runPivra({"try", "https://third.example/x", "--rules", rules}, std::nullopt, {{"com.apple.Safari", "Safari"}});
    EXPECT_NE(safari.out.find("Opens in: Safari (com.apple.Safari)\n"), std::string::npos) << safari.out;
    // Members in this order, exactly: compared as text, not as JSON values.
    EXPECT_EQ(tryLink("https://third.example/x", true),
              R"({"url":"https://third.example/x","target":{"app":"com.apple.Safari"},"reason":{"kind":"fallback"},)"
              R"("bringForward":true,"newWindow":false,"unwrappedFrom":"www.google.com","checked":"third.example/x",)"
              R"("matched":null,"steps":[{"index":0,"verdict":"notMatched"},{"index":1,"verdict":"notMatched"},)"
              R"({"index":2,"verdict":"off"},{"index":3,"verdict":"notMatched"},{"index":4,"verdict":"notMatched"}]})"
              "\n");
}

TEST(CliTry, BadLinksAndBadRulesExitWithOne) {
    TempFolder folder;
    const auto broken = folder.write("rules.json", R"({"rules":[{"open":{"app":1}}]})").string();
    const std::pair<Args, std::string> cases[] = {
        {{"try", "example.com", "--rules", kExample}, "“example.com” isn’t a link (did you mean https://example.com?)"},
        {{"try", "", "--rules", kExample}, "“” isn’t a link"},
        {{"try", "https://h:99999/", "--rules", kExample}, "“https://h:99999/” isn’t a link"},
        // After --, a dashed word is the link, not an option.
        {{"try", "--rules", kExample, "--", "--help"}, "“--help” isn’t a link (did you mean https://--help?)"},
        {{"try", "https://example.com", "--rules", broken}, "Rule 1, open, app: expected a string, found a number"},
    };
    for (const auto& [args, message] : cases) EXPECT_EQ(runPivra(args), (CliResult{1, "", "pivra: " + message + "\n"}));
}

}  // namespace
}  // namespace pivra
