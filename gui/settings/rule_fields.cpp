#include "gui/settings/rule_fields.hpp"

#include <algorithm>

namespace pivra {
namespace {

bool isSeparator(char c) { return c == '\n' || c == '\r' || c == ',' || c == ' ' || c == '\t'; }

bool hasScheme(std::string_view value) { return value.find("://") != std::string_view::npos; }

}  // namespace

RuleFields fieldsOf(const Rule& rule) {
    RuleFields fields;
    fields.from = rule.from;
    fields.kind = rule.match.kind();
    for (const auto& value : rule.match.values()) {
        if (!fields.values.empty()) fields.values += '\n';
        fields.values += value;
    }
    fields.app = rule.open.app;
    fields.profile = rule.open.profile.value_or("");
    fields.bringForward = rule.bringForward;
    fields.newWindow = rule.newWindow;
    fields.enabled = rule.enabled;
    return fields;
}

std::vector<std::string> splitValues(std::string_view text) {
    std::vector<std::string> values;
    std::size_t start = 0;
    while (start < text.size()) {
        while (start < text.size() && isSeparator(text[start])) ++start;
        std::size_t end = start;
        while (end < text.size() && !isSeparator(text[end])) ++end;
        if (end > start) values.emplace_back(text.substr(start, end - start));
        start = end;
    }
    return values;
}

std::expected<Rule, std::vector<FieldProblem>> applyFields(const Rule& rule, const RuleFields& fields) {
    std::vector<FieldProblem> problems;
    const auto problem = [&](RuleField field, std::string_view text, std::string_view value = {}) {
        problems.push_back(FieldProblem{field, std::string(text) + std::string(value)});
    };

    // Blanks around the identifier are a slip of the keyboard; blanks inside are an error.
    const auto fromWords = splitValues(fields.from);
    const std::string from = fromWords.empty() ? std::string("*") : fromWords.front();
    if (fromWords.size() > 1 || fields.from.find(',') != std::string::npos) {
        problem(RuleField::from, RuleFieldText::kFromHasSpace);
    }

    const auto values = splitValues(fields.values);
    Match match = Match::any();
    if (fields.kind == MatchKind::domains) {
        if (values.empty()) problem(RuleField::values, RuleFieldText::kNoDomains);
        for (const auto& value : values) {
            if (hasScheme(value)) {
                problem(RuleField::values, RuleFieldText::kDomainWithScheme, value);
            } else if (value.find('/') != std::string::npos) {
                problem(RuleField::values, RuleFieldText::kDomainWithPath, value);
            } else if (value.find('*') != std::string::npos) {
                problem(RuleField::values, RuleFieldText::kDomainWithStar, value);
            }
        }
        match = Match::domains(values);
    } else if (fields.kind == MatchKind::patterns) {
        if (values.empty()) problem(RuleField::values, RuleFieldText::kNoPatterns);
        for (const auto& value : values) {
            if (hasScheme(value)) problem(RuleField::values, RuleFieldText::kPatternWithScheme, value);
        }
        match = Match::patterns(values);
    }

    const auto app = splitValues(fields.app);
    if (app.size() != 1) problem(RuleField::app, RuleFieldText::kNoBrowser);
    if (!problems.empty()) return std::unexpected(std::move(problems));

    Rule edited = rule;
    edited.from = from;
    edited.match = std::move(match);
    edited.open.app = app.front();
    // Profile ids may hold spaces ("Profile 1"): taken as they are.
    edited.open.profile = fields.profile.empty() ? std::nullopt : std::optional<std::string>(fields.profile);
    edited.bringForward = fields.bringForward;
    edited.newWindow = fields.newWindow;
    edited.enabled = fields.enabled;
    return edited;
}

}  // namespace pivra
