#pragma once
// The General page: the default browser, opening at login, notifications,
// the detailed log, the accent, counting and clearing the history, and the
// journal of the last seven days.

#include <memory>

#include <QMessageBox>
#include <QPointer>

#include "app/model/app_model.hpp"
#include "gui/style/pv_page.hpp"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QListWidget;
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
    PVRow* updateStatusRow() const { return updateStatus_; }
    QPushButton* updateActionButton() const { return updateAction_; }
    QPushButton* checkNowButton() const { return checkNow_; }
    QCheckBox* autoUpdateSwitch() const { return autoUpdate_; }
    PVRow* autoUpdateRow() const { return autoUpdateRow_; }
    QPushButton* sendReportButton() const { return sendReport_; }
    QPushButton* saveReportButton() const { return saveReport_; }
    PVGroup* reportGroup() const { return reportGroup_; }
    // The parts the report holds, as its switches say.
    ReportParts reportParts() const;

private:
    // The updater's state with its action, "Check Now", and automatic updates.
    void addUpdatesSection();
    // The diagnostic report: its parts, then send or save.
    void addReportSection();
    void refreshUpdates();
    void refreshReport();
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
    QPointer<QMessageBox> question_;  // cleared by Qt when the box goes
    QListWidget* journal_;
    PVRow* updateStatus_ = nullptr;
    QPushButton* updateAction_ = nullptr;
    QPushButton* checkNow_ = nullptr;
    QCheckBox* autoUpdate_ = nullptr;
    PVRow* autoUpdateRow_ = nullptr;
    PVGroup* reportGroup_ = nullptr;
    QCheckBox* reportLog_ = nullptr;
    QCheckBox* reportRules_ = nullptr;
    QCheckBox* reportBrowsers_ = nullptr;
    QCheckBox* reportFullLinks_ = nullptr;
    QPushButton* sendReport_ = nullptr;
    QPushButton* saveReport_ = nullptr;
    std::unique_ptr<ModelObserver> observer_;
};

}  // namespace pivra
