#pragma once
// The General page: the default browser, opening at login, notifications,
// the detailed log, the accent, counting and clearing the history, and the
// journal of the last seven days.

#include <memory>

#include "app/model/app_model.hpp"
#include "gui/style/pv_page.hpp"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QListWidget;
class QMessageBox;
class QPushButton;

namespace pivra {

class ModelObserver;
class PVGroup;
class PVRow;

inline constexpr std::string_view kClearHistoryTitle = "Clear History?";
inline constexpr std::string_view kClearHistoryText =
    "The log of the last links and every link count are deleted. This can’t be undone.";

class GeneralPage : public PVPage {
    Q_OBJECT
public:
    explicit GeneralPage(AppModel& model, QWidget* parent = nullptr);
    ~GeneralPage() override;
    void refresh();

    // Asks first; the history is cleared only when the user confirms.
    void askToClearHistory();

    PVRow* defaultRow() const { return defaultRow_; }
    QPushButton* makeDefaultButton() const { return makeDefault_; }
    QCheckBox* loginSwitch() const { return login_; }
    QButtonGroup* notificationButtons() const { return notifications_; }
    PVGroup* notificationGroup() const { return notificationGroup_; }
    QButtonGroup* detailedLogButtons() const { return detailedLog_; }
    QLabel* detailedLogStatus() const { return detailedLogStatus_; }
    QCheckBox* countSwitch() const { return count_; }
    QPushButton* clearHistoryButton() const { return clearHistory_; }
    QMessageBox* clearHistoryQuestion() const { return question_; }
    QListWidget* journalList() const { return journal_; }

private:
    // Where the Updates section goes: the updater's state, "Check Now" and
    // automatic updates, once the app has an updater.
    void addUpdatesSection();
    // Where the diagnostic report goes: send and save, once the app can make one.
    void addReportSection();
    void fillJournal();

    AppModel& model_;
    PVRow* defaultRow_;
    QPushButton* makeDefault_;
    QCheckBox* login_;
    PVGroup* notificationGroup_;
    QButtonGroup* notifications_;
    QButtonGroup* detailedLog_;
    QLabel* detailedLogStatus_;
    QComboBox* accent_;
    QCheckBox* count_;
    QPushButton* clearHistory_;
    QMessageBox* question_ = nullptr;
    QListWidget* journal_;
    std::unique_ptr<ModelObserver> observer_;
};

}  // namespace pivra
