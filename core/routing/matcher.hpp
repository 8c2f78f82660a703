#pragma once
// Whether one rule takes one link from one source, and why not.

#include <string>
#include <string_view>

#include <boost/url/url_view.hpp>

#include "core/rules/rules_file.hpp"
#include "core/text/raw_value.hpp"

namespace pivra {

BOOST_DEFINE_ENUM_CLASS(VerdictKind, notFrom, match, off, notMatched)

// The outcome of checking one rule against one link.
class Verdict {
public:
    using Kind = VerdictKind;

    // The rule is for another source; `from` is the rule's own source condition.
    static Verdict notFrom(std::string from) { return Verdict(Kind::notFrom, std::move(from)); }
    static Verdict match() { return Verdict(Kind::match, {}); }
    static Verdict off() { return Verdict(Kind::off, {}); }
    static Verdict notMatched() { return Verdict(Kind::notMatched, {}); }

    Kind kind() const { return kind_; }
    // The wanted source of a `notFrom`; empty otherwise.
    const std::string& from() const { return from_; }

    bool operator==(const Verdict&) const = default;

private:
    Verdict(Kind kind, std::string from) : kind_(kind), from_(std::move(from)) {}
    Kind kind_;
    std::string from_;
};

namespace Matcher {

// What rules look at in a link, worked out once so that many rules can be
// checked against it: the pattern subject (lower-cased host, ":" and the port
// when one is written, then the path as written) and how much of it is host.
class Subject {
public:
    explicit Subject(boost::urls::url_view url);

    bool hasHost() const { return hasHost_; }
    std::string_view host() const { return std::string_view(text_).substr(0, hostLength_); }
    const std::string& text() const { return text_; }
    // Links are percent-encoded, so this holds unless the subject was built otherwise.
    bool isAscii() const { return ascii_; }

private:
    std::string text_;
    bool ascii_ = true;
    std::size_t hostLength_ = 0;
    bool hasHost_ = false;
};

Verdict check(const Rule& rule, const Source& source, boost::urls::url_view url);
Verdict check(const Rule& rule, const Source& source, const Subject& subject);
// The kind of `check`'s verdict without building it: what the router needs.
Verdict::Kind verdictKind(const Rule& rule, const Source& source, const Subject& subject);

// The text that patterns are matched against, e.g. "docs.example.com:8443/a/b".
std::string matchTarget(boost::urls::url_view url);

// Whether `text` begins with something that fits `pattern`, comparing
// lower-cased user-perceived characters; every "*" of the pattern is any run
// of characters, whatever it stands next to.
// Anchored at the start only. Time is at most proportional to the product of
// the two lengths.
bool wildcardMatch(std::string_view pattern, std::string_view text);

// Whether a host is the domain or a subdomain of it. `domain` is one of a
// match's domainKeys; `host` must already be lower-cased.
bool hostIsUnder(std::string_view host, std::string_view domain);

}  // namespace Matcher
}  // namespace pivra
