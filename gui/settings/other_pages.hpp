#pragma once
// The Browsers, Picker and Menu Bar pages: each a column of groups bound to
// the model's browsers, rules fallback and settings, re-read whenever the
// model changes.

#include <memory>
#include <vector>

#include "app/model/app_model.hpp"
#include "gui/style/pv_page.hpp"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QListWidget;
class QSpinBox;

namespace pivra {

class ModelObserver;
class PVGroup;

class BrowsersPage : public PVPage {
    Q_OBJECT
public:
    explicit BrowsersPage(AppModel& model, QWidget* parent = nullptr);
    ~BrowsersPage() override;
    void refresh();

    PVGroup* foundGroup() const { return found_; }
    QComboBox* fallbackBox() const { return fallback_; }
    QComboBox* fallbackProfileBox() const { return fallbackProfile_; }
    QCheckBox* cleanLinksSwitch() const { return cleanLinks_; }
    QButtonGroup* profileFailureButtons() const { return profileFailure_; }

private:
    void setFallback(Target target);

    AppModel& model_;
    PVGroup* found_;
    PVGroup* failureGroup_;
    QComboBox* fallback_;
    QComboBox* fallbackProfile_;
    QCheckBox* cleanLinks_;
    QButtonGroup* profileFailure_ = nullptr;
    std::unique_ptr<ModelObserver> observer_;
};

class PickerPage : public PVPage {
    Q_OBJECT
public:
    explicit PickerPage(AppModel& model, QWidget* parent = nullptr);
    ~PickerPage() override;
    void refresh();

    QButtonGroup* triggerButtons() const { return trigger_; }
    QButtonGroup* placementButtons() const { return placement_; }
    QButtonGroup* startButtons() const { return start_; }
    QListWidget* entryList() const { return entries_; }

private:
    void saveEntries();

    AppModel& model_;
    QButtonGroup* trigger_;
    QButtonGroup* placement_;
    QButtonGroup* start_;
    QCheckBox* offersRule_;
    QCheckBox* copies_;
    QListWidget* entries_;
    std::unique_ptr<ModelObserver> observer_;
};

class MenuBarPage : public PVPage {
    Q_OBJECT
public:
    explicit MenuBarPage(AppModel& model, QWidget* parent = nullptr);
    ~MenuBarPage() override;
    void refresh();

    QButtonGroup* iconButtons() const { return icons_; }

protected:
    void changeEvent(QEvent* event) override;

private:
    void paintIcons();

    AppModel& model_;
    QCheckBox* shown_;
    QButtonGroup* icons_;
    QSpinBox* recent_;
    QCheckBox* countInMenu_;
    QCheckBox* optionClick_;
    std::unique_ptr<ModelObserver> observer_;
};

}  // namespace pivra
