#pragma once
// What an imported rules file needs that this Mac lacks.

#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/browsers/browser_profile.hpp"
#include "core/rules/rules_file.hpp"

namespace pivra {

struct ImportGap {
    class Kind {
    public:
        enum class Case { missingApp, missingProfile, missingSource };

        // A rule's target app is not installed.
        static Kind missingApp(std::string app) { return Kind(Case::missingApp, std::move(app), {}); }
        // The browser is installed and its profiles known, but none has this id.
        static Kind missingProfile(std::string app, std::string profile) {
            return Kind(Case::missingProfile, std::move(app), std::move(profile));
        }
        // A rule's source app is not installed.
        static Kind missingSource(std::string app) { return Kind(Case::missingSource, std::move(app), {}); }

        Case kind() const { return case_; }
        const std::string& app() const { return app_; }
        const std::string& profile() const { return profile_; }  // empty unless missingProfile
        // Tells gaps apart in lists: "app:<id>", "profile:<id>/<profile>", "source:<id>".
        std::string textKey() const;

        bool operator==(const Kind&) const = default;

    private:
        Kind(Case kind, std::string app, std::string profile)
            : case_(kind), app_(std::move(app)), profile_(std::move(profile)) {}
        Case case_;
        std::string app_;
        std::string profile_;
    };

    Kind kind;
    std::vector<int> rules;  // positions in the imported file, ascending

    bool operator==(const ImportGap&) const = default;
};

namespace ImportMatcher {

// The gaps in the order first needed; a rule may need two (its target and its
// source). The fallback is not examined; disabled rules are.
std::vector<ImportGap> gaps(const RulesFile& imported, const std::set<std::string>& installedApps,
                            const std::map<std::string, std::vector<BrowserProfile>>& profiles);

}  // namespace ImportMatcher
}  // namespace pivra
