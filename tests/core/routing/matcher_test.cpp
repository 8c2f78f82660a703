#include "core/routing/matcher.hpp"

#include <gtest/gtest.h>

#include "tests/core/core_test_support.hpp"

namespace pivra {
namespace {

using testing_support::link;
using testing_support::rule;

TEST(MatcherSource, DisabledComesFirstThenTheExactSource) {
    Rule disabled = rule("com.other.app", Match::any());
    disabled.enabled = false;
    const Rule mail = rule("com.apple.mail", Match::any());
    const Rule anySource = rule("*", Match::domains({"b.example"}));
    const auto a = link("https://a.example");
    EXPECT_EQ(Matcher::check(disabled, Source::app("com.apple.mail"), a), Verdict::off());
    EXPECT_EQ(Matcher::check(mail, Source::app("com.apple.Mail"), a), Verdict::notFrom("com.apple.mail"));
    EXPECT_EQ(Matcher::check(mail, Source::unknown(), a), Verdict::notFrom("com.apple.mail"));
    EXPECT_EQ(Matcher::check(mail, Source::app("com.apple.mail"), a), Verdict::match());
    EXPECT_EQ(Matcher::check(anySource, Source::unknown(), a), Verdict::notMatched());
    EXPECT_EQ(Matcher::check(anySource, Source::unknown(), link("https://b.example")), Verdict::match());
}

TEST(MatcherDomains, HostIsTheDomainOrUnderIt) {
    const struct { std::vector<std::string> entries; const char* link; bool matches; } cases[] = {
        {{"example.com"}, "https://example.com/", true},  {{"example.com"}, "https://a.b.example.com:8443/x", true},
        {{"example.com"}, "https://badexample.com/", false}, {{"Example.COM"}, "https://WWW.example.com/x", true},
        {{".example.com", "x"}, "https://example.com", true}, {{"example.com."}, "https://example.com", true},
        {{" example.com "}, "https://example.com", true},  {{"", " ", ".", ". ."}, "https://example.com", false},
        {{}, "https://example.com", false},                {{"*.example.com"}, "https://a.example.com", false},
        {{"www.example.com"}, "https://example.com", false}, {{"example.com"}, "https://example.com./", false},
        {{"example.com"}, "mailto:someone@example.com", false},
        {{"example.com"}, "https://user@evil.example/?example.com", false},
        {{"example.com"}, "https://example.com.evil.example/", false},
        {{"nope", "example.org", "example.com"}, "http://docs.example.com", true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Matcher::check(rule("*", Match::domains(c.entries)), Source::unknown(), link(c.link)),
                  c.matches ? Verdict::match() : Verdict::notMatched())
            << c.link;
    }
}

TEST(MatcherWildcard, AnchoredAtTheStartOnlyAndARuleAgreesWithTheWalk) {
    const struct { const char* pattern; const char* text; bool fits; } cases[] = {
        {"*.example.com/*", "docs.example.com/a", true}, {"*.example.com/*", "example.com/a", false},
        {"*.example.com/*", "docs.example.com", false},  {"example.com", "example.com:8080/x", true},
        {"example.com", "example.community.net/", true}, {"example.com/path", "example.com/pathology", true},
        {"example.com/path", "www.example.com/path", false}, {"example.com/path", "example.com/pat", false},
        {"*/meet/*", "a.example/x/meet/", true},         {"*/meet/*", "a.example/x/meeting", false},
        {"", "anything", true},                          {"*", "", true},
        {"**", "abc", true},                             {"a*", "", false},
        {"a?c", "abc", false},                           {"a?c", "a?c", true},
        {"EXAMPLE.com/*", "example.COM/x", true},        {"*.EXAMPLE.com/A*", "docs.example.com/a/B", true},
        {"*/b", "example.com/a/b", true},                {"*b*c", "xxbxxbxc", true},
        {"*aab", "aaaab", true},                         {"a*b*c*d", "abcabcabd", true},
        {"a*b*c*e", "abcabcabd", false},                 {"\xE2\x84\xAA" "ey.example", "key.example", true},  // Kelvin k
        // Whole characters: a letter with a combining accent is not the bare letter.
        {"cafe\xCC\x81*", "cafe", false}, {"caf\xC3\x89", "caf\xC3\xA9", true}, {"*\xC3\xA9", "e\xCC\x81", false},
        {"\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA*", "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAAx", true},
        {"\xF0\x9F\x87\xA9*", "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA", false},
        {"a\xE2\x80\x8D*", "a\xE2\x80\x8Dxyz", true},  // a star after a joiner
        {"\xD8\x80*", "\xD8\x80", true},  // a star after a prepended sign (U+0600), which joins what follows it
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.pattern) + " ~ " + c.text);
        EXPECT_EQ(Matcher::wildcardMatch(c.pattern, c.text), c.fits);
        // A rule keeps its patterns lower-cased ahead of time; it must agree with the walk.
        if (const auto url = parseLink(std::string("https://") + c.text)) {
            const Matcher::Subject subject(*url);
            const bool viaRule = Matcher::verdictKind(rule("*", Match::patterns({c.pattern})), Source::unknown(),
                                                      subject) == Verdict::Kind::match;
            EXPECT_EQ(viaRule, Matcher::wildcardMatch(c.pattern, subject.text())) << subject.text();
        }
    }
}

TEST(MatcherPatterns, SubjectIsHostPortAndPathOnly) {
    const std::pair<const char*, const char*> targets[] = {
        {"https://Docs.Example.com:8443/a/b?x=1#top", "docs.example.com:8443/a/b"}, {"https://example.com", "example.com"},
        {"https://example.com:443/", "example.com:443/"}, {"https://example.com:000000443/x", "example.com:443/x"},
        {"https://example.com:000/", "example.com:0/"},   {"https://example.com:/x", "example.com/x"},
        {"https://user:pw@example.com/x", "example.com/x"}, {"mailto:Someone@Example.com", "someone@example.com"},
        {"https://example.com/caf%C3%A9", "example.com/caf%c3%a9"},
        {"https://example.com/caf\xC3\xA9", "example.com/caf%c3%a9"},
    };
    for (const auto& [given, target] : targets) EXPECT_EQ(Matcher::matchTarget(link(given)), target);

    const auto check = [](std::vector<std::string> patterns, const char* text) {
        return Matcher::check(rule("*", Match::patterns(std::move(patterns))), Source::unknown(), link(text));
    };
    EXPECT_EQ(check({"example.com/path"}, "https://example.com/path?x=1"), Verdict::match());
    EXPECT_EQ(check({"x.example", ""}, "https://example.com/pat"), Verdict::match()) << "an empty pattern fits all";
    EXPECT_EQ(check({}, "https://example.com/"), Verdict::notMatched());
    EXPECT_EQ(check({"someone@*"}, "mailto:someone@example.com"), Verdict::match());
    EXPECT_EQ(check({"example.com:8443/*"}, "https://example.com:8443/x"), Verdict::match());
    EXPECT_EQ(check({"example.com/x"}, "https://example.com:8443/x"), Verdict::notMatched());
}

}  // namespace
}  // namespace pivra
