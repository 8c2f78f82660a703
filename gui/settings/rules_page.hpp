#pragma once
// The Rules page: the flow chart of where links go, the rule list with its
// buttons, the editor of the selected rule, the banner while rules.json
// has an error, and export, import and "Open in Editor".

#include <memory>
#include <optional>
#include <string>

#include <QPointer>
#include <QWidget>

#include "app/model/app_model.hpp"
#include "gui/settings/import_sheet.hpp"

class QButtonGroup;
class QFrame;
class QLabel;
class QPushButton;
class QScrollArea;

namespace pivra {

class FlowChartView;
class ModelObserver;
class RuleEditor;
class RuleList;

class RulesPage : public QWidget {
    Q_OBJECT
public:
    explicit RulesPage(AppModel& model, QWidget* parent = nullptr);
    ~RulesPage() override;

    // Re-reads the model.
    void refresh();

    void selectRule(int index);
    // A new rule after the selected one (else last), selected for editing.
    bool addRule();
    bool deleteRule(int index);
    bool moveRule(int from, int to);
    bool toggleRule(int index);
    void exportRules();
    void importRules();
    void openInEditor();
    // Which days the chart counts: 7 or 30.
    void setPeriod(int days);

    RuleList* ruleList() const { return list_; }
    RuleEditor* editor() const { return editor_; }
    FlowChartView* chart() const { return chart_; }
    QFrame* banner() const { return banner_; }
    QLabel* bannerText() const { return bannerText_; }
    QLabel* statusLabel() const { return status_; }
    ImportSheet* importSheet() const { return sheet_; }

private:
    void fillList();
    void showStatus(const QString& text);
    void showImportSheet();
    void refused();

    AppModel& model_;
    std::unique_ptr<ModelObserver> observer_;
    int period_ = 7;
    std::string selectedId_;

    QFrame* banner_;
    QLabel* bannerTitle_;
    QLabel* bannerText_;
    QLabel* status_;
    QButtonGroup* periods_;
    FlowChartView* chart_;
    QScrollArea* chartScroll_;
    RuleList* list_;
    QPushButton* add_;
    QPushButton* remove_;
    RuleEditor* editor_;
    QPointer<ImportSheet> sheet_;  // cleared by Qt when the sheet goes
};

}  // namespace pivra
