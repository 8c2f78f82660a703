#include "core/matcher.hpp"

#include <gtest/gtest.h>

#include "tests/core/core_test_support.hpp"

namespace pivra {
namespace {

using testing_support::link;
using testing_support::rule;

TEST(MatcherSource, DisabledComesFirstThenTheExactSource) {
    Rule disabled = rule("com.other.app", Match::any());
    disabled.enabled = false;
    EXPECT_EQ(Matcher::check(disabled, Source::app("com.apple.mail"), link("https://a.example")), Verdict::off());

    const Rule mail = rule("com.apple.mail", Match::any());
    EXPECT_EQ(Matcher::check(mail, Source::app("com.apple.Mail"), link("https://a.example")),
              Verdict::notFrom("com.apple.mail"));
    EXPECT_EQ(Matcher::check(mail, Source::unknown(), link("https://a.example")), Verdict::notFrom("com.apple.mail"));
    EXPECT_EQ(Matcher::check(mail, Source::app("com.apple.mail"), link("https://a.example")), Verdict::match());

    const Rule anySource = rule("*", Match::domains({"b.example"}));
    EXPECT_EQ(Matcher::check(anySource, Source::unknown(), link("https://a.example")), Verdict::notMatched());
    EXPECT_EQ(Matcher::check(anySource, Source::unknown(), link("https://b.example")), Verdict::match());
}

struct DomainCase {
    std::vector<std::string> entries;
    const char* link;
    bool matches;
};

void PrintTo(const DomainCase& c, std::ostream* os) { *os << c.link; }

class MatcherDomains : public testing::TestWithParam<DomainCase> {};

TEST_P(MatcherDomains, HostIsTheDomainOrUnderIt) {
    const auto& c = GetParam();
    const auto verdict = Matcher::check(rule("*", Match::domains(c.entries)), Source::unknown(), link(c.link));
    EXPECT_EQ(verdict, c.matches ? Verdict::match() : Verdict::notMatched()) << c.link;
}

INSTANTIATE_TEST_SUITE_P(
    Table, MatcherDomains,
    testing::Values(DomainCase{{"example.com"}, "https://example.com/", true},
                    DomainCase{{"example.com"}, "https://www.example.com/", true},
                    DomainCase{{"example.com"}, "https://a.b.example.com:8443/x", true},
                    DomainCase{{"example.com"}, "https://badexample.com/", false},
                    DomainCase{{"Example.COM"}, "https://WWW.example.com/x", true},
                    DomainCase{{".example.com", "x"}, "https://example.com", true},
                    DomainCase{{"example.com."}, "https://example.com", true},
                    DomainCase{{" example.com "}, "https://example.com", true},
                    DomainCase{{"", " ", ".", ". ."}, "https://example.com", false},
                    DomainCase{{}, "https://example.com", false},
                    DomainCase{{"*.example.com"}, "https://a.example.com", false},
                    DomainCase{{"www.example.com"}, "https://example.com", false},
                    DomainCase{{"example.com"}, "https://example.com./", false},
                    DomainCase{{"example.com"}, "mailto:someone@example.com", false},
                    DomainCase{{"example.com"}, "https://user@evil.example/?example.com", false},
                    DomainCase{{"example.com"}, "https://example.com.evil.example/", false},
                    DomainCase{{"nope", "example.org", "example.com"}, "http://docs.example.com", true}));

struct PatternCase {
    const char* pattern;
    const char* text;
    bool fits;
};

void PrintTo(const PatternCase& c, std::ostream* os) { *os << c.pattern << " ~ " << c.text; }

class MatcherWildcard : public testing::TestWithParam<PatternCase> {};

TEST_P(MatcherWildcard, AnchoredAtTheStartOnly) {
    EXPECT_EQ(Matcher::wildcardMatch(GetParam().pattern, GetParam().text), GetParam().fits)
        << "pattern " << GetParam().pattern << " text " << GetParam().text;
    // A rule keeps its patterns lower-cased ahead of time; it must agree with the walk.
    if (const auto url = parseLink(std::string("https://") + GetParam().text)) {
        const Matcher::Subject subject(*url);
        const bool viaRule = Matcher::verdictKind(rule("*", Match::patterns({GetParam().pattern})), Source::unknown(),
                                                  subject) == Verdict::Kind::match;
        EXPECT_EQ(viaRule, Matcher::wildcardMatch(GetParam().pattern, subject.text())) << subject.text();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, MatcherWildcard,
    testing::Values(PatternCase{"*.example.com/*", "docs.example.com/a", true},
                    PatternCase{"*.example.com/*", "example.com/a", false},
                    PatternCase{"*.example.com/*", "docs.example.com", false},
                    PatternCase{"example.com", "example.com", true},
                    PatternCase{"example.com", "example.com:8080/x", true},
                    PatternCase{"example.com", "example.community.net/", true},
                    PatternCase{"example.com/path", "example.com/path/", true},
                    PatternCase{"example.com/path", "example.com/pathology", true},
                    PatternCase{"example.com/path", "www.example.com/path", false},
                    PatternCase{"example.com/path", "example.com/pat", false},
                    PatternCase{"*/meet/*", "a.example/x/meet/", true},
                    PatternCase{"*/meet/*", "a.example/x/meeting", false},
                    PatternCase{"", "anything", true},
                    PatternCase{"", "", true},
                    PatternCase{"*", "", true},
                    PatternCase{"**", "abc", true},
                    PatternCase{"a*", "", false},
                    PatternCase{"a?c", "abc", false},
                    PatternCase{"a?c", "a?c", true},
                    PatternCase{"EXAMPLE.com/*", "example.COM/x", true},
                    PatternCase{"*.EXAMPLE.com/A*", "docs.example.com/a/B", true},
                    PatternCase{"*/b", "example.com/a/b", true},
                    PatternCase{"*b*c", "xxbxxbxc", true},
                    PatternCase{"*aab", "aaaab", true},
                    PatternCase{"a*b*c*d", "abcabcabd", true},
                    PatternCase{"a*b*c*e", "abcabcabd", false},
                    // Whole characters: a letter with a combining accent is not the bare letter.
                    PatternCase{"cafe\xCC\x81*", "cafe", false},
                    PatternCase{"caf\xC3\x89", "caf\xC3\xA9", true},
                    PatternCase{"*\xC3\xA9", "e\xCC\x81", false},
                    PatternCase{"\xE2\x84\xAA" "ey.example", "key.example", true},  // Kelvin sign folds to k
                    PatternCase{"\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA*", "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAAx", true},
                    PatternCase{"\xF0\x9F\x87\xA9*", "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA", false},
                    PatternCase{"a\xE2\x80\x8D*", "a\xE2\x80\x8Dxyz", true}));  // a star after a joiner

TEST(MatcherPatterns, SubjectIsHostPortAndPathOnly) {
    EXPECT_EQ(Matcher::matchTarget(link("https://Docs.Example.com:8443/a/b?x=1#top")), "docs.example.com:8443/a/b");
    EXPECT_EQ(Matcher::matchTarget(link("https://example.com")), "example.com");
    EXPECT_EQ(Matcher::matchTarget(link("https://example.com:443/")), "example.com:443/");
    EXPECT_EQ(Matcher::matchTarget(link("https://example.com:0443/x")), "example.com:443/x");
    EXPECT_EQ(Matcher::matchTarget(link("https://example.com:000000443/x")), "example.com:443/x");
    EXPECT_EQ(Matcher::matchTarget(link("https://example.com:000/")), "example.com:0/");
    EXPECT_EQ(Matcher::matchTarget(link("https://example.com:/x")), "example.com/x");
    EXPECT_EQ(Matcher::matchTarget(link("https://user:pw@example.com/x")), "example.com/x");
    EXPECT_EQ(Matcher::matchTarget(link("mailto:Someone@Example.com")), "someone@example.com");
    EXPECT_EQ(Matcher::matchTarget(link("https://example.com/caf%C3%A9")), "example.com/caf%c3%a9");
    EXPECT_EQ(Matcher::matchTarget(link("https://example.com/caf\xC3\xA9")), "example.com/caf%c3%a9");

    const auto check = [](std::vector<std::string> patterns, const char* text) {
        return Matcher::check(rule("*", Match::patterns(std::move(patterns))), Source::unknown(), link(text));
    };
    EXPECT_EQ(check({"example.com/path"}, "https://example.com/path?x=1"), Verdict::match());
    EXPECT_EQ(check({"example.com/path"}, "https://example.com/path/more"), Verdict::match());
    EXPECT_EQ(check({"example.com/path"}, "https://example.com/pat"), Verdict::notMatched());
    EXPECT_EQ(check({"x.example", ""}, "https://example.com/pat"), Verdict::match()) << "an empty pattern fits all";
    EXPECT_EQ(check({}, "https://example.com/"), Verdict::notMatched());
    EXPECT_EQ(check({"someone@*"}, "mailto:someone@example.com"), Verdict::match());
    EXPECT_EQ(check({"example.com:8443/*"}, "https://example.com:8443/x"), Verdict::match());
    EXPECT_EQ(check({"example.com/x"}, "https://example.com:8443/x"), Verdict::notMatched());
}

}  // namespace
}  // namespace pivra
