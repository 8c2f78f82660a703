#include "core/rules/rules_coding.hpp"

#include <fstream>
#include <iterator>
#include <regex>

#include <gtest/gtest.h>

namespace pivra {
namespace {

std::string readFixture(const std::string& name) {
    std::ifstream in(std::string(PIVRA_TEST_DATA) + "/rules/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
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
    RulesFile file;
    file.rules = {slack, meet};
    const std::string expected = readFixture("example.json");
    EXPECT_EQ(RulesCoding::encode(file), expected);
    EXPECT_EQ(decodeOk(expected), file);
}

// A default rule shows every default the reader fills in, in key order.
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
              "{\n  \"cleanLinks\" : false,\n  \"fallback\" : {\n    \"app\" : \"org.mozilla.firefox\",\n"
              "    \"profile\" : \"abc.default-release\"\n  },\n  \"rules\" : [\n    {\n"
              "      \"bringForward\" : true,\n      \"enabled\" : true,\n      \"from\" : \"*\",\n"
              "      \"id\" : \"X\",\n      \"match\" : {\n        \"kind\" : \"any\"\n      },\n"
              "      \"newWindow\" : false,\n      \"open\" : {\n        \"app\" : \"com.apple.Safari\"\n      }\n"
              "    }\n  ],\n  \"version\" : 3\n}");
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

// The defaults themselves are pinned by the writer's byte-exact output above.
TEST(RulesCodingReader, MissingMembersAndNullsTakeTheDefaults) {
    EXPECT_EQ(decodeOk("{}"), RulesFile{});
    RulesFile expected;
    Rule rule;
    rule.open = Target{"a", std::nullopt};
    expected.rules = {rule};
    EXPECT_EQ(decodeOk(R"({"rules":[{"open":{"app":"a"}}]})"), expected);
    EXPECT_EQ(decodeOk(R"({"version":null,"fallback":null,"cleanLinks":null,"rules":[
        {"id":null,"from":null,"match":null,"open":{"app":"a","profile":null},
         "enabled":null,"bringForward":null,"newWindow":null}]})"),
              expected);
    EXPECT_EQ(decodeOk(R"({"fallback":{"app":"x","profile":null}})").fallback, (Target{"x", std::nullopt}));
}

TEST(RulesCodingReader, SkipsAByteOrderMarkOnlyAtTheStart) {
    EXPECT_EQ(decodeOk("\xEF\xBB\xBF{}"), RulesFile{});
    EXPECT_EQ(decodeError("\xEF\xBB\xBF\xEF\xBB\xBF{}"), (RulesFileError{1, "Not valid JSON"}));
    EXPECT_EQ(decodeError("{}\xEF\xBB\xBF"), (RulesFileError{1, "Not valid JSON"}));
}

TEST(RulesCodingReader, IgnoresUnknownMembersAndTakesValuesAsTheyStand) {
    const auto file = decodeOk(R"({"extra":[1,2],"rules":[{"open":{"app":"a","x":1},
        "match":{"kind":"any","values":["x"]},"note":{}}]})");
    ASSERT_EQ(file.rules.size(), 1u);
    EXPECT_EQ(file.rules[0].match, Match::any());
    EXPECT_EQ(RulesCoding::encode(file).find("values"), std::string::npos);
    EXPECT_EQ(RulesCoding::encode(file).find("extra"), std::string::npos);

    const auto raw = decodeOk(R"({"version":1.0,"rules":[{"open":{"app":" App "},
        "match":{"kind":"domains","values":[" Example.COM ","", "a\/b"]}}]})");
    EXPECT_EQ(raw.version, 1);
    EXPECT_EQ(raw.rules[0].open.app, " App ");
    EXPECT_EQ(raw.rules[0].match, Match::domains({" Example.COM ", "", "a/b"}));
}

TEST(RulesCodingErrors, NamesThePlaceAndTheProblem) {
    const std::pair<const char*, const char*> table[] = {
        {"", "Not valid JSON"},
        {"   \n  ", "Not valid JSON"},
        {"[]", "The file: expected an object, found an array"},
        {R"({"rules":[{},{},{}]})", "Rule 1 is missing \u201Copen\u201D"},
        {R"({"rules":[{"open":{"app":"a"},"match":{}}]})", "Rule 1, match is missing \u201Ckind\u201D"},
        {R"({"fallback":{}})", "fallback is missing \u201Capp\u201D"},
        {R"({"rules":[{"open":{}}]})", "Rule 1, open is missing \u201Capp\u201D"},
        {R"({"rules":[{"open":{"app":"a"},"enabled":"yes"}]})", "Rule 1, enabled: expected a boolean, found a string"},
        {R"({"rules":[{"open":{"app":"a"},"newWindow":1}]})", "Rule 1, newWindow: expected a boolean, found a number"},
        {R"({"rules":[{"open":{"app":"a"}},{"open":{"app":"a"},"match":{"kind":"Domains"}}]})",
         "Rule 2, match, kind: kind must be any, domains or patterns, not Domains"},
        {R"({"fallback":"com.apple.Safari"})", "fallback: expected an object, found a string"},
        {R"({"rules":[{"open":{"app":"a"},"match":{"kind":"domains","values":["a",7]}}]})",
         "Rule 1, match, values, item 2: expected a string, found a number"},
        {R"({"rules":[{"open":null}]})", "Rule 1, open: expected an object, found null"},
        {R"({"rules":[{"open":{"app":null}}]})", "Rule 1, open, app: expected a string, found null"},
        {R"({"rules":[{"open":{"app":"a","profile":false}}]})", "Rule 1, open, profile: expected a string, found a boolean"},
        {R"({"rules":{}})", "rules: expected an array, found an object"},
        {R"({"version":"1"})", "version: expected an integer, found a string"},
        {R"({"version":1.5})", "version: expected an integer, found a number with a fraction"},
        {R"({"version":1e300})", "version: expected an integer, found a number out of range"},
        {R"({"version":18446744073709551615})", "version: expected an integer, found a number out of range"},
    };
    for (const auto& [text, message] : table) EXPECT_EQ(decodeError(text), (RulesFileError{std::nullopt, message})) << text;
}

TEST(RulesCodingErrors, SyntaxErrorsCarryTheirLine) {
    const std::pair<std::string, int> table[] = {
        // The comma on line 7 is named, not the brace below it where the parser gives up.
        {"{\n  \"rules\" : [\n    {\n      \"open\" : {\n        \"app\" : \"a\"\n      },\n      \"enabled\" : true,\n"
         "    }\n  ]\n}",
         7},
        {"{\"rules\" : [\n1,\n\n\n]}", 2},
        {"{\n\"a\" : 1\n\"b\" : 2\n}", 3},
        {"{\n\"a\" : tru\n}", 2},
        {"{}\nx", 2},
        {"{ // comment\n}", 1},
        {"{\r\n\"a\" : [1,\r\n\r\n", 2},
        {"{\"a\":\"\xFF\"}", 1},
        // Numbers beyond a double are not valid JSON.
        {"{\n\"x\" : 1e999\n}", 2},
        {"{\"s\" : \"1e999\\\" 2\",\n\"version\" : -1E+400}", 2},
    };
    for (const auto& [text, line] : table) EXPECT_EQ(decodeError(text), (RulesFileError{line, "Not valid JSON"})) << text;
    // Underflow is only a loss of precision, as everywhere else in JSON.
    EXPECT_TRUE(RulesCoding::decode(R"({"x" : 1e-999, "s" : "1e999"})").has_value());
}

TEST(RulesCodingErrors, DeepNestingIsRefusedNotFollowed) {
    EXPECT_EQ(decodeError(std::string(10000, '[') + std::string(10000, ']')).message, "Not valid JSON");
    const std::string deepInRule =
        "{\"rules\":[{\"open\":{\"app\":\"a\"},\"x\":" + std::string(600, '[') + std::string(600, ']') + "}]}";
    EXPECT_EQ(decodeError(deepInRule).message, "Not valid JSON");
}

TEST(RulesIds, FillInGivesFreshIdsOnlyToEmptyOnes) {
    RulesFile file;
    file.rules.resize(3);
    file.rules[1].id = "KEEP";
    EXPECT_TRUE(fillInMissingIds(file));
    EXPECT_EQ(file.rules[1].id, "KEEP");
    const std::regex uuid("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    for (const int i : {0, 2}) EXPECT_TRUE(std::regex_match(file.rules[i].id, uuid)) << file.rules[i].id;
    EXPECT_NE(file.rules[0].id, file.rules[2].id);
    EXPECT_FALSE(fillInMissingIds(file));

    int next = 0;
    file.rules = std::vector<Rule>(2);
    fillInMissingIds(file, [&] { return std::to_string(next++); });
    EXPECT_EQ(file.rules[0].id + file.rules[1].id, "01");

    // Drawn bits keep their order; the version and variant bits are forced.
    EXPECT_EQ(uuidFromBits(0, 0), "00000000-0000-4000-8000-000000000000");
    EXPECT_EQ(uuidFromBits(~0ull, ~0ull), "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
    EXPECT_EQ(uuidFromBits(0x0123456789ABCDEFull, 0xFEDCBA9876543210ull), "01234567-89AB-4DEF-BEDC-BA9876543210");
}

}  // namespace
}  // namespace pivra
