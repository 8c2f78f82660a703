#pragma once
// The settings window: a sidebar of the five pages and the page shown
// beside it. It opens at the page the model names whenever the model asks
// (a notification's click, a problem in the menu, reopening the app).

#include <array>
#include <memory>

#include <QString>

#include <QWidget>

#include "app/model/app_model.hpp"

class QListWidget;
class QStackedWidget;

namespace pivra {

class BrowsersPage;
class ModelObserver;
class GeneralPage;
class MenuBarPage;
class PickerPage;
class RulesPage;
struct Theme;

class SettingsWindow : public QWidget {
    Q_OBJECT
public:
    // Takes the model's open-settings handler: the model's request shows,
    // raises and turns this window to the page.
    explicit SettingsWindow(AppModel& model, QWidget* parent = nullptr);
    ~SettingsWindow() override;

    void showPage(SettingsPage page);
    SettingsPage currentPage() const;
    // Shows the window at `page` and brings it to the front.
    void present(SettingsPage page);
    // Restyles the window; by default it follows the system and the accent setting.
    void pinTheme(const Theme& theme);

    RulesPage* rulesPage() const { return rules_; }
    BrowsersPage* browsersPage() const { return browsers_; }
    PickerPage* pickerPage() const { return picker_; }
    MenuBarPage* menuBarPage() const { return menuBar_; }
    GeneralPage* generalPage() const { return general_; }
    QListWidget* sidebar() const { return sidebar_; }

private:
    AppModel& model_;
    QListWidget* sidebar_;
    QStackedWidget* stack_;
    RulesPage* rules_;
    BrowsersPage* browsers_;
    PickerPage* picker_;
    MenuBarPage* menuBar_;
    GeneralPage* general_;
    bool pinned_ = false;
    QString accent_;
    std::unique_ptr<ModelObserver> observer_;
};

}  // namespace pivra
