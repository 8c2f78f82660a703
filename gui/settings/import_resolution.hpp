#pragma once
// An imported rules file matched to this Mac: the words for each gap, and
// the file with the user's replacements written in.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/rules/import_matcher.hpp"
#include "core/rules/rules_file.hpp"

namespace pivra {

namespace ImportText {
inline constexpr std::string_view kHeading = "Match your rules to this Mac";
inline constexpr std::string_view kNotInstalled = " isn’t installed";
inline constexpr std::string_view kProfileCalled = " has no profile called ";
inline constexpr std::string_view kNotOnThisMac = " isn’t on this Mac";
inline constexpr std::string_view kOthersFound = "The other rules found everything they need on this Mac.";
}  // namespace ImportText

// "Microsoft Edge isn’t installed", "Google Chrome has no profile called “Work”",
// "com.apple.mail isn’t on this Mac".
std::string gapText(const ImportGap& gap, const std::function<std::string(const std::string&)>& appName);
// "Used by rule 2", "Used by rules 1, 3".
std::string gapRulesText(const ImportGap& gap);
// Whether some rule of a file with `ruleCount` rules needs none of the gaps.
bool someRulesHaveNoGap(std::size_t ruleCount, const std::vector<ImportGap>& gaps);

// `file` with one replacement per gap written into the rules that need it;
// absent keeps a gap as it is. A missing app is replaced by another browser
// (whose profiles are not the missing one's, so the profile is dropped); a
// missing profile by another id, or by "" for the browser's current one; a
// missing source by another app, or "*" for any app.
RulesFile resolveImport(RulesFile file, const std::vector<ImportGap>& gaps,
                        const std::vector<std::optional<std::string>>& replacements);

}  // namespace pivra
