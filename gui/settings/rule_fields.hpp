#pragma once
// The rule editor's fields as text, and the checks that turn them back
// into a rule. A field that is wrong says why and changes nothing.

#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "core/rules/rules_file.hpp"

namespace pivra {

struct RuleFields {
    std::string from = "*";  // a bundle identifier, or "*" for any app
    MatchKind kind = MatchKind::any;
    std::string values;      // domains or patterns, one a line (commas and spaces also part them)
    std::string app;         // the browser's identifier
    std::string profile;     // empty: the browser's own current profile
    bool bringForward = true;
    bool newWindow = false;
    bool enabled = true;

    bool operator==(const RuleFields&) const = default;
};

enum class RuleField { from, values, app };

struct FieldProblem {
    RuleField field;
    std::string text;

    bool operator==(const FieldProblem&) const = default;
};

// The fields that show `rule`.
RuleFields fieldsOf(const Rule& rule);

// The domains or patterns written in `text`, in order, trimmed, empty ones dropped.
std::vector<std::string> splitValues(std::string_view text);

// `rule` with the fields applied (its id kept), or every problem found.
std::expected<Rule, std::vector<FieldProblem>> applyFields(const Rule& rule, const RuleFields& fields);

namespace RuleFieldText {
inline constexpr std::string_view kFromHasSpace = "An app identifier has no spaces";
inline constexpr std::string_view kNoDomains = "Add at least one domain, like example.com";
inline constexpr std::string_view kNoPatterns = "Add at least one pattern, like example.com/docs/*";
inline constexpr std::string_view kDomainWithScheme = "Write the domain alone, without “https://”: ";
inline constexpr std::string_view kDomainWithPath = "A domain has no “/”; use address patterns for paths: ";
inline constexpr std::string_view kDomainWithStar = "A domain takes no “*”; it already covers its subdomains: ";
inline constexpr std::string_view kPatternWithScheme = "Patterns start at the host, without “https://”: ";
inline constexpr std::string_view kNoBrowser = "Choose the browser that opens these links";
}  // namespace RuleFieldText

}  // namespace pivra
