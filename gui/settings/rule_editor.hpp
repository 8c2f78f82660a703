#pragma once
// The editor beside the rule list: the selected rule's source app, its
// domains or patterns, the browser and profile it opens, and its switches;
// under them the try section, which runs a pasted link through the rules.
// Every change is checked and written through the model at once.

#include <memory>
#include <optional>
#include <string>

#include <QWidget>

#include "app/model/app_model.hpp"
#include "gui/settings/rule_fields.hpp"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace pivra {

class PVGroup;
class PVRow;

class RuleEditor : public QWidget {
    Q_OBJECT
public:
    explicit RuleEditor(AppModel& model, QWidget* parent = nullptr);

    // Shows the rule with this id; empty shows none.
    void showRule(const std::string& id);
    const std::string& ruleId() const { return ruleId_; }
    // Re-reads the model: the rule, the browsers, the trial.
    void refresh();

    // The fields as they stand now.
    RuleFields fields() const;
    // Checks the fields and writes the rule. False when a field is wrong (its
    // problem is shown) or the model refused the edit.
    bool apply();

    // The parts a test drives.
    QComboBox* fromBox() const { return from_; }
    QComboBox* kindBox() const { return kind_; }
    QLineEdit* valuesEdit() const { return values_; }
    QComboBox* browserBox() const { return browser_; }
    QComboBox* profileBox() const { return profile_; }
    QCheckBox* bringForwardSwitch() const { return bringForward_; }
    QCheckBox* newWindowSwitch() const { return newWindow_; }
    QCheckBox* enabledSwitch() const { return enabled_; }
    QLineEdit* tryLinkEdit() const { return tryLink_; }
    QComboBox* trySourceBox() const { return trySource_; }
    PVGroup* trialGroup() const { return trial_; }
    QLabel* problemsLabel() const { return problems_; }

signals:
    // The model refused an edit: rules.json has an error.
    void editRefused();

private:
    void fillSources();
    void fillBrowsers(const std::string& app);
    void fillProfiles(const std::string& app, const std::string& profile);
    void showFields(const Rule& rule);
    void showProblems(const std::vector<FieldProblem>& problems);
    void updateValuesRow();
    void runTrial();

    AppModel& model_;
    std::string ruleId_;
    std::optional<Rule> shown_;  // the rule as the fields last showed it

    QWidget* fieldsPane_;
    QLabel* placeholder_;
    PVGroup* ruleGroup_;
    QComboBox* from_;
    QComboBox* kind_;
    PVRow* valuesRow_;
    QLineEdit* values_;
    QComboBox* browser_;
    QComboBox* profile_;
    QCheckBox* bringForward_;
    QCheckBox* newWindow_;
    QCheckBox* enabled_;
    QLabel* problems_;
    QLabel* neverRuns_;

    PVGroup* tryGroup_;
    QLineEdit* tryLink_;
    QComboBox* trySource_;
    PVGroup* trial_;
};

}  // namespace pivra
