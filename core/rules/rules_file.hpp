#pragma once
// The rules model: the whole routing behaviour of Pivra as one plain value.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/text/raw_value.hpp"

namespace pivra {

// A browser, optionally with one of its profiles.
struct Target {
    std::string app;                     // bundle identifier, not checked for form
    std::optional<std::string> profile;  // absent: the browser's own current profile

    bool operator==(const Target&) const = default;
};

// The kinds of link condition, stored by name in the rules file.
BOOST_DEFINE_ENUM_CLASS(MatchKind, domains, patterns, any)

// The link condition of a rule. `any` never carries values.
class Match {
public:
    using Kind = MatchKind;

    static Match domains(std::vector<std::string> values) { return Match(Kind::domains, std::move(values)); }
    static Match patterns(std::vector<std::string> values) { return Match(Kind::patterns, std::move(values)); }
    static Match any() { return Match(Kind::any, {}); }

    Kind kind() const { return kind_; }
    // The domains or patterns, in order; empty for `any`.
    const std::vector<std::string>& values() const { return values_; }
    // For `domains`: the entries as a host is compared with them (lower-cased,
    // trimmed of full stops and spaces at both ends, empty ones left out), in
    // order. Made once here so that routing a link does no text work on them.
    const std::vector<std::string>& domainKeys() const { return domainKeys_; }
    // For `patterns`: each pattern, in order, lower-cased when that gives
    // ASCII text (nearly always), which is then compared byte by byte with a
    // link's ASCII subject; absent for a pattern that needs the full walk.
    const std::vector<std::optional<std::string>>& patternKeys() const { return patternKeys_; }

    bool operator==(const Match& other) const { return kind_ == other.kind_ && values_ == other.values_; }

private:
    Match(Kind kind, std::vector<std::string> values);
    Kind kind_;
    std::vector<std::string> values_;
    std::vector<std::string> domainKeys_;   // derived from values_
    std::vector<std::optional<std::string>> patternKeys_;  // derived from values_
};

struct Rule {
    std::string id;           // upper-case UUID once filled in; may be empty as read
    std::string from = "*";   // a bundle identifier, or "*" for any source
    Match match = Match::any();
    Target open;
    bool enabled = true;
    bool bringForward = true;
    bool newWindow = false;

    bool operator==(const Rule&) const = default;
};

inline const Target kDefaultFallback{"com.apple.Safari", std::nullopt};

struct RulesFile {
    std::int64_t version = 1;
    Target fallback = kDefaultFallback;
    bool cleanLinks = true;
    std::vector<Rule> rules;

    bool operator==(const RulesFile&) const = default;
};

// Where a link came from: an app, or unknown (Spotlight, the Finder and the like).
struct Source {
    std::optional<std::string> bundleId;  // absent: unknown

    static Source app(std::string bundleId) { return Source{std::move(bundleId)}; }
    static Source unknown() { return Source{}; }
    bool isUnknown() const { return !bundleId.has_value(); }

    bool operator==(const Source&) const = default;
};

// A fresh random upper-case UUID string (version 4), as rule ids are written.
std::string makeRuleId();
// The same form from 128 bits the caller drew (the version and variant bits are set here).
std::string uuidFromBits(std::uint64_t high, std::uint64_t low);

// Gives every rule with an empty id a fresh id from `newId`, in list order.
// Returns whether anything changed.
bool fillInMissingIds(RulesFile& file, const std::function<std::string()>& newId = makeRuleId);

}  // namespace pivra
