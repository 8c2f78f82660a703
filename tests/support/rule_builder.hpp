#pragma once
// A rule in one line, for tests that set up rules files.

#include <string>

#include "core/rules/rules_file.hpp"

namespace pivra::testing_support {

inline Rule makeRule(std::string id, std::string from, Match match, Target open) {
    Rule rule;
    rule.id = std::move(id);
    rule.from = std::move(from);
    rule.match = std::move(match);
    rule.open = std::move(open);
    return rule;
}

}  // namespace pivra::testing_support
