#include "core/rules_coding.hpp"

#include <fstream>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

namespace pivra {
namespace {

std::string readFixture(const std::string& name) {
    std::ifstream in(std::string(PIVRA_TEST_DATA) + "/rules/" + name, std::ios::binary);
    std::stringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

RulesFile decodeOk(std::string_view text) {
    auto result = RulesCoding::decode(text);
    EXPECT_TRUE(result.has_value()) << (result ? "" : result.error().message);
    return result.value_or(RulesFile{});
}

RulesFileError decodeError(std::string_view text) {
    auto result = RulesCoding::decode(text);
    EXPECT_FALSE(result.has_value()) << "decoded: " << text;
    return result ? RulesFileError{} : result.error();
}

TEST(RulesCodingWriter, WritesTheExampleFileByteForByte) {
    RulesFile file;
    Rule slack;
    slack.id = "5D1C2E8A-7B0F-4C1E-9A59-0E6C3B7D2F41";
    slack.from = "com.tinyspeck.slackmacgap";
    slack.match = Match::domains({"example.com", "example.org"});
    slack.open = Target{"com.google.Chrome", "Work"};
    Rule meet;
    meet.id = "0F3A9C61-2E44-4B8D-8C1A-7D5E6F1B3A20";
    meet.match = Match::patterns({"*.example.net/meet/*"});
    meet.open = Target{"org.mozilla.firefox", std::nullopt};
    meet.newWindow = true;
    file.rules = {slack, meet};

    const std::string expected = readFixture("example.json");
    EXPECT_EQ(RulesCoding::encode(file), expected);
    EXPECT_EQ(decodeOk(expected), file);
}

TEST(RulesCodingWriter, LeavesOutAbsentProfileAndValuesOfAny) {
    RulesFile file;
    file.cleanLinks = false;
    file.version = 3;
    file.fallback = Target{"org.mozilla.firefox", "abc.default-release"};
    Rule rule;
    rule.id = "X";
    rule.open = Target{"com.apple.Safari", std::nullopt};
    file.rules = {rule};
    EXPECT_EQ(RulesCoding::encode(file),
              "{\n"
              "  \"cleanLinks\" : false,\n"
              "  \"fallback\" : {\n"
              "    \"app\" : \"org.mozilla.firefox\",\n"
              "    \"profile\" : \"abc.default-release\"\n"
              "  },\n"
              "  \"rules\" : [\n"
              "    {\n"
              "      \"bringForward\" : true,\n"
              "      \"enabled\" : true,\n"
              "      \"from\" : \"*\",\n"
              "      \"id\" : \"X\",\n"
              "      \"match\" : {\n"
              "        \"kind\" : \"any\"\n"
              "      },\n"
              "      \"newWindow\" : false,\n"
              "      \"open\" : {\n"
              "        \"app\" : \"com.apple.Safari\"\n"
              "      }\n"
              "    }\n"
              "  ],\n"
              "  \"version\" : 3\n"
              "}");
    EXPECT_EQ(RulesCoding::encode(RulesFile{}),
              "{\n  \"cleanLinks\" : true,\n  \"fallback\" : {\n    \"app\" : \"com.apple.Safari\"\n  },\n"
              "  \"rules\" : [],\n  \"version\" : 1\n}");
}

TEST(RulesCodingWriter, EscapesOnlyWhatJsonRequires) {
    RulesFile file;
    Rule rule;
    rule.id = "quote\" back\\ tab\t nl\n bell\x07";
    rule.match = Match::patterns({"example.com/a/b", "caf\xC3\xA9.example/\xE2\x86\x92"});
    rule.open = Target{"a", std::nullopt};
    file.rules = {rule};
    const std::string text = RulesCoding::encode(file);
    EXPECT_NE(text.find("\"id\" : \"quote\\\" back\\\\ tab\\t nl\\n bell\\u0007\""), std::string::npos) << text;
    EXPECT_NE(text.find("\"example.com/a/b\""), std::string::npos);
    EXPECT_NE(text.find("\"caf\xC3\xA9.example/\xE2\x86\x92\""), std::string::npos);
    EXPECT_EQ(decodeOk(text), file);
}

TEST(RulesCodingReader, FillsInDefaults) {
    EXPECT_EQ(decodeOk("{}"), RulesFile{});
    const auto file = decodeOk(R"({"rules":[{"open":{"app":"com.apple.Safari"}}]})");
    ASSERT_EQ(file.rules.size(), 1u);
    const Rule& rule = file.rules[0];
    EXPECT_EQ(rule.id, "");
    EXPECT_EQ(rule.from, "*");
    EXPECT_EQ(rule.match, Match::any());
    EXPECT_TRUE(rule.enabled);
    EXPECT_TRUE(rule.bringForward);
    EXPECT_FALSE(rule.newWindow);
    EXPECT_EQ(rule.open, (Target{"com.apple.Safari", std::nullopt}));
}

TEST(RulesCodingReader, SkipsAByteOrderMarkOnlyAtTheStart) {
    EXPECT_EQ(decodeOk("\xEF\xBB\xBF{}"), RulesFile{});
    EXPECT_EQ(decodeError("\xEF\xBB\xBF\xEF\xBB\xBF{}"), (RulesFileError{1, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{}\xEF\xBB\xBF"), (RulesFileError{1, "Not valid JSON"}));
}

TEST(RulesCodingReader, NullsCountAsMissingWhereThereIsADefault) {
    const auto file = decodeOk(R"({"version":null,"fallback":null,"cleanLinks":null,"rules":[
        {"id":null,"from":null,"match":null,"open":{"app":"a","profile":null},
         "enabled":null,"bringForward":null,"newWindow":null}]})");
    RulesFile expected;
    Rule rule;
    rule.open = Target{"a", std::nullopt};
    expected.rules = {rule};
    EXPECT_EQ(file, expected);
    EXPECT_EQ(decodeOk(R"({"fallback":{"app":"x","profile":null}})").fallback,
              decodeOk(R"({"fallback":{"app":"x"}})").fallback);
}

TEST(RulesCodingReader, IgnoresUnknownMembersAndValuesOfAny) {
    const auto file = decodeOk(R"({"extra":[1,2],"rules":[{"open":{"app":"a","x":1},
        "match":{"kind":"any","values":["x"]},"note":{}}]})");
    ASSERT_EQ(file.rules.size(), 1u);
    EXPECT_EQ(file.rules[0].match, Match::any());
    EXPECT_EQ(RulesCoding::encode(file).find("values"), std::string::npos);
    EXPECT_EQ(RulesCoding::encode(file).find("extra"), std::string::npos);
}

TEST(RulesCodingReader, TakesValuesAsTheyStand) {
    const auto file = decodeOk(R"({"version":1.0,"rules":[{"open":{"app":" App "},
        "match":{"kind":"domains","values":[" Example.COM ","", "a\/b"]}}]})");
    EXPECT_EQ(file.version, 1);
    EXPECT_EQ(file.rules[0].open.app, " App ");
    EXPECT_EQ(file.rules[0].match, Match::domains({" Example.COM ", "", "a/b"}));
}

struct ErrorCase {
    const char* text;
    const char* message;
};

void PrintTo(const ErrorCase& c, std::ostream* os) { *os << c.message; }

class RulesCodingErrors : public testing::TestWithParam<ErrorCase> {};

TEST_P(RulesCodingErrors, NamesThePlaceAndTheProblem) {
    const auto error = decodeError(GetParam().text);
    EXPECT_EQ(error.message, GetParam().message);
    EXPECT_EQ(error.line, std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Classes, RulesCodingErrors,
    testing::Values(
        ErrorCase{"", "Not valid JSON"},
        ErrorCase{"   \n  ", "Not valid JSON"},
        ErrorCase{"[]", "The file: expected an object, found an array"},
        ErrorCase{"\"rules\"", "The file: expected an object, found a string"},
        ErrorCase{R"({"rules":[{},{},{}]})", "Rule 1 is missing \u201Copen\u201D"},
        ErrorCase{R"({"rules":[{"open":{"app":"a"}},{"open":{"app":"a"}},{}]})", "Rule 3 is missing \u201Copen\u201D"},
        ErrorCase{R"({"rules":[{"open":{"app":"a"},"match":{}}]})", "Rule 1, match is missing \u201Ckind\u201D"},
        ErrorCase{R"({"fallback":{}})", "fallback is missing \u201Capp\u201D"},
        ErrorCase{R"({"rules":[{"open":{}}]})", "Rule 1, open is missing \u201Capp\u201D"},
        ErrorCase{R"({"rules":[{"open":{"app":"a"},"enabled":"yes"}]})", "Rule 1, enabled: expected a boolean, found a string"},
        ErrorCase{R"({"rules":[{"open":{"app":"a"},"newWindow":1}]})", "Rule 1, newWindow: expected a boolean, found a number"},
        ErrorCase{R"({"rules":[{"open":{"app":"a"}},{"open":{"app":"a"},"match":{"kind":"Domains"}}]})",
                  "Rule 2, match, kind: kind must be any, domains or patterns, not Domains"},
        ErrorCase{R"({"fallback":"com.apple.Safari"})", "fallback: expected an object, found a string"},
        ErrorCase{R"({"rules":[{"open":{"app":"a"},"match":{"kind":"domains","values":["a",7]}}]})",
                  "Rule 1, match, values, item 2: expected a string, found a number"},
        ErrorCase{R"({"rules":[{"open":null}]})", "Rule 1, open: expected an object, found null"},
        ErrorCase{R"({"rules":[{"open":{"app":null}}]})", "Rule 1, open, app: expected a string, found null"},
        ErrorCase{R"({"rules":[{"open":{"app":"a"},"match":{"kind":null}}]})", "Rule 1, match, kind: expected a string, found null"},
        ErrorCase{R"({"rules":[{"open":{"app":"a","profile":false}}]})", "Rule 1, open, profile: expected a string, found a boolean"},
        ErrorCase{R"({"rules":{}})", "rules: expected an array, found an object"},
        ErrorCase{R"({"cleanLinks":"true"})", "cleanLinks: expected a boolean, found a string"},
        ErrorCase{R"({"version":"1"})", "version: expected an integer, found a string"},
        ErrorCase{R"({"version":1.5})", "version: expected an integer, found a number with a fraction"},
        ErrorCase{R"({"version":1e300})", "version: expected an integer, found a number out of range"},
        ErrorCase{R"({"version":18446744073709551615})", "version: expected an integer, found a number out of range"},
        ErrorCase{R"({"rules":[{"open":{"app":"a"}},{"open":{"app":"a"}},{"open":{"app":"a"}},
                   {"open":{"app":"a"},"match":{"kind":"patterns","values":[true]}}]})",
                  "Rule 4, match, values, item 1: expected a string, found a boolean"}));

TEST(RulesCodingErrors, SyntaxErrorsCarryTheirLine) {
    const std::string trailingComma =
        "{\n  \"rules\" : [\n    {\n      \"open\" : {\n        \"app\" : \"a\"\n      },\n      \"enabled\" : true,\n    }\n  ]\n}";
    // The comma on line 7 is named, not the brace below it where the parser gives up.
    EXPECT_EQ(decodeError(trailingComma), (RulesFileError{7, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{\"rules\" : [\n1,\n\n\n]}"), (RulesFileError{2, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{\n\"a\" : 1\n\"b\" : 2\n}"), (RulesFileError{3, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{\n\"a\" : tru\n}"), (RulesFileError{2, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{}\nx"), (RulesFileError{2, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{ // comment\n}"), (RulesFileError{1, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{\r\n\"a\" : [1,\r\n\r\n"), (RulesFileError{2, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{\"a\":\"\xFF\"}"), (RulesFileError{1, "Not valid JSON"}));
}

TEST(RulesCodingErrors, NumbersBeyondADoubleAreNotValidJson) {
    EXPECT_EQ(decodeError("{\n\"x\" : 1e999\n}"), (RulesFileError{2, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{\"s\" : \"1e999\\\" 2\",\n\"version\" : -1E+400}"), (RulesFileError{2, "Not valid JSON"}));
    // Underflow is only a loss of precision, as everywhere else in JSON.
    EXPECT_TRUE(RulesCoding::decode(R"({"x" : 1e-999, "s" : "1e999"})").has_value());
}

TEST(RulesCodingErrors, DeepNestingIsRefusedNotFollowed) {
    const std::string deep = std::string(10000, '[') + std::string(10000, ']');
    EXPECT_EQ(decodeError(deep).message, "Not valid JSON");
    const std::string deepInRule = "{\"rules\":[{\"open\":{\"app\":\"a\"},\"x\":" + std::string(600, '[') +
                                   std::string(600, ']') + "}]}";
    EXPECT_EQ(decodeError(deepInRule).message, "Not valid JSON");
}

TEST(RulesIds, FillInGivesFreshIdsOnlyToEmptyOnes) {
    RulesFile file;
    file.rules.resize(3);
    file.rules[1].id = "KEEP";
    EXPECT_TRUE(fillInMissingIds(file));
    EXPECT_EQ(file.rules[1].id, "KEEP");
    const std::regex uuid("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    EXPECT_TRUE(std::regex_match(file.rules[0].id, uuid)) << file.rules[0].id;
    EXPECT_TRUE(std::regex_match(file.rules[2].id, uuid)) << file.rules[2].id;
    EXPECT_NE(file.rules[0].id, file.rules[2].id);
    EXPECT_FALSE(fillInMissingIds(file));

    int next = 0;
    RulesFile ordered;
    ordered.rules.resize(2);
    fillInMissingIds(ordered, [&] { return std::to_string(next++); });
    EXPECT_EQ(ordered.rules[0].id, "0");
    EXPECT_EQ(ordered.rules[1].id, "1");
}

}  // namespace
}  // namespace pivra
