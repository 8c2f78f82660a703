#pragma once
// The first-run window: make Pivra the default browser, choose starter rules
// made from the apps and browser profiles found here, and done. The chosen
// rules are added to rules.json through the model.

#include <memory>
#include <vector>

#include <QWidget>

#include "app/model/app_model.hpp"

class QCheckBox;
class QLabel;
class QPushButton;
class QStackedWidget;

namespace pivra {

class ModelObserver;
class PVPage;
struct Theme;

class OnboardingWindow : public QWidget {
    Q_OBJECT
public:
    enum class Step { makeDefault, starterRules, done };

    explicit OnboardingWindow(AppModel& model, QWidget* parent = nullptr);
    ~OnboardingWindow() override;

    // Whether the window is wanted at this start: the first run, until it is finished or skipped.
    static bool isWanted(AppModel& model);

    void goTo(Step step);
    Step step() const { return step_; }
    // Adds the suggestions left checked to the rules; false when rules.json
    // has an error (the window says so and stays on the step).
    bool addChosenRules();
    // Marks onboarding done and closes; "Open Settings" also shows the rules.
    void finish(bool openSettings);
    void pinTheme(const Theme& theme);

    const std::vector<Suggestion>& suggestions() const { return suggestions_; }
    // One check box per suggestion, in their order.
    const std::vector<QCheckBox*>& suggestionBoxes() const { return boxes_; }
    QPushButton* makeDefaultButton() const { return makeDefault_; }
    QPushButton* addRulesButton() const { return addRules_; }
    QLabel* messageLabel() const { return message_; }
    QLabel* doneLabel() const { return doneText_; }

private:
    QWidget* makeDefaultStep();
    QWidget* starterStep();
    QWidget* doneStep();
    void refresh();

    AppModel& model_;
    Step step_ = Step::makeDefault;
    std::vector<Suggestion> suggestions_;
    std::vector<QCheckBox*> boxes_;
    int added_ = 0;
    QStackedWidget* stack_;
    QLabel* defaultStatus_ = nullptr;
    QPushButton* makeDefault_ = nullptr;
    QPushButton* addRules_ = nullptr;
    QLabel* message_ = nullptr;
    QLabel* doneText_ = nullptr;
    std::unique_ptr<ModelObserver> observer_;
};

}  // namespace pivra
