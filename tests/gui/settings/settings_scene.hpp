#pragma once
// A running app model on fake ports for the settings window and onboarding:
// Chrome, Firefox and Safari with their profiles, a handful of well-known
// apps, and (unless it is a first run) a rules file of a dozen rules with a
// month of link counts and a week of journal.

#include <memory>
#include <string>

#include "app/model/app_model.hpp"
#include "tests/support/fake_host.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra::testing_support {

class SettingsScene {
public:
    enum class Rules {
        dozen,   // twelve rules, counts and a journal
        none,    // the first run: no rules file yet
        broken,  // twelve rules loaded, then a hand edit that broke the file
    };

    explicit SettingsScene(Rules rules = Rules::dozen);
    ~SettingsScene();

    std::filesystem::path rulesFile() const { return temp.path() / "Pivra" / "rules.json"; }
    // The rules as the file on disk holds them; absent when it doesn't decode.
    std::optional<RulesFile> rulesOnDisk() const;

    TempFolder temp;
    FakePorts fakes;
    std::unique_ptr<AppModel> model;
    int ids = 0;
};

}  // namespace pivra::testing_support
