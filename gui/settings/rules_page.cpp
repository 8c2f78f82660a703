#include "gui/settings/rules_page.hpp"

#include <algorithm>

#include <QButtonGroup>
#include <QDesktopServices>
#include <QFrame>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QUrl>
#include <QVBoxLayout>

#include "core/rules/insight.hpp"
#include "gui/settings/flow_chart_model.hpp"
#include "gui/settings/flow_chart_view.hpp"
#include "gui/settings/import_sheet.hpp"
#include "gui/settings/page_support.hpp"
#include "gui/settings/rule_editor.hpp"
#include "gui/settings/rule_list.hpp"
#include "gui/style/pv_button_style.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

constexpr int kChartMaxHeight = 330;
constexpr int kChartMinHeight = 110;

// The chart's scroller asks for the chart's height up to a limit; the splitter above the list gives more.
class ChartScroll : public QScrollArea {
public:
    int wanted = 200;
    QSize sizeHint() const override { return QSize(QScrollArea::sizeHint().width(), wanted); }
};

// A rounded Base box around `content`, like a group without a header.
class Card : public QFrame {
public:
    explicit Card(QWidget* parent = nullptr) : QFrame(parent) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(palette().color(QPalette::Mid), 1));
        painter.setBrush(palette().color(QPalette::Base));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    }
};

// The banner's colours: a warm tint that reads on light and dark windows.
class Banner : public QFrame {
public:
    explicit Banner(QWidget* parent = nullptr) : QFrame(parent) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const bool dark = palette().color(QPalette::Window).lightness() < 128;
        painter.setPen(QPen(dark ? QColor(0x8a, 0x5a, 0x10) : QColor(0xe8, 0xc0, 0x70), 1));
        painter.setBrush(dark ? QColor(0x4a, 0x36, 0x14) : QColor(0xff, 0xf4, 0xd6));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    }
};

QPushButton* button(const QString& text, PVButtonStyle::Kind kind = PVButtonStyle::Kind::normal) {
    auto* b = new QPushButton(text);
    PVButtonStyle::apply(*b, kind);
    return b;
}

std::string newRuleId() { return makeRuleId(); }

}  // namespace

RulesPage::RulesPage(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      banner_(new Banner),
      bannerTitle_(new QLabel(QStringLiteral("rules.json has an error"))),
      bannerText_(new QLabel),
      status_(new QLabel),
      periods_(new QButtonGroup(this)),
      chart_(new FlowChartView),
      chartScroll_(new ChartScroll),
      list_(new RuleList),
      add_(button(QStringLiteral("+"))),
      remove_(button(QStringLiteral("−"))),
      editor_(new RuleEditor(model)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(12);

    // Title and the file's actions.
    auto* top = new QHBoxLayout;
    auto* title = new QLabel(QStringLiteral("Rules"));
    setTextRole(*title, TextRole::title);
    top->addWidget(title);
    top->addStretch(1);
    setTextRole(*status_, TextRole::secondary);
    top->addWidget(status_);
    auto* importButton = button(QStringLiteral("Import…"));
    auto* exportButton = button(QStringLiteral("Export…"));
    auto* editorButton = button(QStringLiteral("Open in Editor"));
    top->addWidget(importButton);
    top->addWidget(exportButton);
    top->addWidget(editorButton);
    layout->addLayout(top);

    // The banner while rules.json has an error.
    auto* bannerLayout = new QHBoxLayout(banner_);
    bannerLayout->setContentsMargins(14, 10, 10, 10);
    bannerLayout->setSpacing(12);
    auto* bannerIcon = new QLabel(QStringLiteral("⚠"));
    QFont iconFont = bannerIcon->font();
    iconFont.setPointSizeF(iconFont.pointSizeF() * 1.5);
    bannerIcon->setFont(iconFont);
    bannerLayout->addWidget(bannerIcon, 0, Qt::AlignTop);
    auto* bannerTexts = new QVBoxLayout;
    bannerTexts->setSpacing(2);
    QFont bold = bannerTitle_->font();
    bold.setWeight(QFont::DemiBold);
    bannerTitle_->setFont(bold);
    bannerText_->setWordWrap(true);
    bannerText_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    bannerTexts->addWidget(bannerTitle_);
    bannerTexts->addWidget(bannerText_);
    bannerLayout->addLayout(bannerTexts, 1);
    auto* bannerEditor = button(QStringLiteral("Open in Editor"));
    bannerLayout->addWidget(bannerEditor, 0, Qt::AlignVCenter);
    banner_->hide();
    layout->addWidget(banner_);

    // The chart, with its period.
    auto* chartCard = new Card;
    auto* chartLayout = new QVBoxLayout(chartCard);
    chartLayout->setContentsMargins(12, 10, 12, 8);
    chartLayout->setSpacing(6);
    auto* chartTop = new QHBoxLayout;
    auto* chartTitle = new QLabel(QStringLiteral("Where links go"));
    setTextRole(*chartTitle, TextRole::header);
    chartTop->addWidget(chartTitle);
    chartTop->addStretch(1);
    for (const int days : {7, 30}) {
        auto* b = button(days == 7 ? QStringLiteral("7 days") : QStringLiteral("30 days"), PVButtonStyle::Kind::plain);
        b->setCheckable(true);
        periods_->addButton(b, days);
        chartTop->addWidget(b);
    }
    periods_->button(7)->setChecked(true);
    chartLayout->addLayout(chartTop);
    chartScroll_->setWidget(chart_);
    chartScroll_->setWidgetResizable(true);
    chartScroll_->setFrameShape(QFrame::NoFrame);
    chartScroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    chartScroll_->viewport()->setBackgroundRole(QPalette::Base);
    chartScroll_->viewport()->setAutoFillBackground(false);
    chart_->setAutoFillBackground(false);
    chartLayout->addWidget(chartScroll_);
    auto* vertical = new QSplitter(Qt::Vertical);
    vertical->setChildrenCollapsible(false);
    vertical->setHandleWidth(12);
    vertical->addWidget(chartCard);

    // The list beside the editor.
    auto* split = new QSplitter(Qt::Horizontal);
    split->setChildrenCollapsible(false);
    split->setHandleWidth(12);
    auto* listCard = new Card;
    auto* listLayout = new QVBoxLayout(listCard);
    listLayout->setContentsMargins(2, 4, 2, 6);
    listLayout->setSpacing(4);
    list_->viewport()->setAutoFillBackground(false);
    listLayout->addWidget(list_, 1);
    auto* listButtons = new QHBoxLayout;
    listButtons->setContentsMargins(6, 0, 6, 0);
    add_->setToolTip(QStringLiteral("Add a rule"));
    add_->setAccessibleName(QStringLiteral("Add a rule"));
    remove_->setToolTip(QStringLiteral("Delete the selected rule"));
    remove_->setAccessibleName(QStringLiteral("Delete the selected rule"));
    listButtons->addWidget(add_);
    listButtons->addWidget(remove_);
    listButtons->addStretch(1);
    auto* hint = new QLabel(QStringLiteral("Drag or ⌥↑ ⌥↓ to reorder"));
    setTextRole(*hint, TextRole::secondary);
    listButtons->addWidget(hint);
    listLayout->addLayout(listButtons);
    listCard->setMinimumWidth(280);
    split->addWidget(listCard);
    auto* editorScroll = new QScrollArea;
    editorScroll->setWidget(editor_);
    editorScroll->setWidgetResizable(true);
    editorScroll->setFrameShape(QFrame::NoFrame);
    editorScroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    editorScroll->viewport()->setBackgroundRole(QPalette::Window);
    editorScroll->setMinimumWidth(400);
    split->addWidget(editorScroll);
    split->setStretchFactor(0, 2);
    split->setStretchFactor(1, 3);
    vertical->addWidget(split);
    vertical->setStretchFactor(0, 0);
    vertical->setStretchFactor(1, 1);
    layout->addWidget(vertical, 1);

    connect(importButton, &QPushButton::clicked, this, [this] { importRules(); });
    connect(exportButton, &QPushButton::clicked, this, [this] { exportRules(); });
    connect(editorButton, &QPushButton::clicked, this, [this] { openInEditor(); });
    connect(bannerEditor, &QPushButton::clicked, this, [this] { openInEditor(); });
    connect(periods_, &QButtonGroup::idClicked, this, [this](int days) { setPeriod(days); });
    connect(chart_, &FlowChartView::ruleClicked, this, [this](int index) { selectRule(index); });
    connect(add_, &QPushButton::clicked, this, [this] { addRule(); });
    connect(remove_, &QPushButton::clicked, this, [this] { deleteRule(list_->currentRow()); });
    connect(list_, &RuleList::moveRequested, this, [this](int from, int to) { moveRule(from, to); });
    connect(list_, &RuleList::deleteRequested, this, [this](int row) { deleteRule(row); });
    connect(list_, &RuleList::toggleRequested, this, [this](int row) { toggleRule(row); });
    connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
        const auto& rules = model_.rules().rules;
        selectedId_ = row >= 0 && row < static_cast<int>(rules.size()) ? rules[static_cast<std::size_t>(row)].id : "";
        chart_->setSelectedRule(row >= 0 ? std::optional<int>(row) : std::nullopt);
        remove_->setEnabled(row >= 0);
        if (editor_->ruleId() != selectedId_) editor_->showRule(selectedId_);
    });
    connect(editor_, &RuleEditor::editRefused, this, [this] { refused(); });

    observer_ = std::make_unique<ModelObserver>(model_, [this] { refresh(); });
    refresh();
    if (list_->count() > 0) selectRule(0);
}

RulesPage::~RulesPage() = default;

void RulesPage::refresh() {
    const auto error = model_.rulesError();
    banner_->setVisible(error.has_value());
    if (error) bannerText_->setText(qstr(*error) + QStringLiteral("\n") + qstr(kRulesEditRefusedText));

    const FlowChart::Names names{[this](const std::string& id) { return model_.appName(id); },
                                 [this](const Target& target) { return model_.targetName(target); }};
    chart_->setChart(FlowChart::build(model_.rules(), model_.countTotals(period_), names));
    // As tall as the chart, up to a height that leaves room for the list; the splitter gives more.
    const int chartHeight = chart_->sizeHint().height();
    chartScroll_->setMaximumHeight(chartHeight);
    chartScroll_->setMinimumHeight(std::min(chartHeight, kChartMinHeight));
    static_cast<ChartScroll*>(chartScroll_)->wanted = std::min(chartHeight, kChartMaxHeight);
    chartScroll_->updateGeometry();
    fillList();
    list_->setEmptyText(QStringLiteral("No rules yet, so every link opens in ") + qstr(model_.targetName(model_.rules().fallback)) +
                        QStringLiteral(".\nAdd a rule with +."));
    editor_->refresh();

    // An import waiting for the user gets its sheet.
    if (model_.pendingImport() && !sheet_) showImportSheet();
    // The rule a menu action made is shown.
    if (const auto& focus = model_.focusRuleID(); focus && *focus != selectedId_) {
        const auto& rules = model_.rules().rules;
        const auto found = std::find_if(rules.begin(), rules.end(), [&](const Rule& r) { return r.id == *focus; });
        if (found != rules.end()) selectRule(static_cast<int>(found - rules.begin()));
    }
}

void RulesPage::fillList() {
    const auto& rules = model_.rules().rules;
    const QSignalBlocker blocker(list_);
    list_->clear();
    int selectedRow = -1;
    for (int i = 0; i < static_cast<int>(rules.size()); ++i) {
        const Rule& rule = rules[static_cast<std::size_t>(i)];
        auto* item = new QListWidgetItem;
        const QString source = rule.from == "*" ? qstr(FlowChart::kAnyApp) : qstr(model_.appName(rule.from));
        item->setData(RuleList::idRole, qstr(rule.id));
        item->setData(RuleList::titleRole, source + QStringLiteral(" → ") + qstr(model_.targetName(rule.open)));
        item->setData(RuleList::conditionRole, qstr(FlowChart::conditionText(rule.match)));
        item->setData(RuleList::offRole, !rule.enabled);
        const auto shadow = Insight::shadowedBy(i, rules);
        item->setData(RuleList::neverRunsRole, shadow ? qstr(FlowChart::neverRunsText(*shadow)) : QString());
        item->setToolTip(shadow ? qstr(FlowChart::neverRunsText(*shadow)) : QString());
        item->setData(Qt::AccessibleTextRole, qstr(FlowChart::ruleTitle(i)) + QStringLiteral(": ") +
                                                  item->data(RuleList::titleRole).toString());
        list_->addItem(item);
        if (!selectedId_.empty() && rule.id == selectedId_) selectedRow = i;
    }
    list_->setCurrentRow(selectedRow);
    chart_->setSelectedRule(selectedRow >= 0 ? std::optional<int>(selectedRow) : std::nullopt);
    remove_->setEnabled(selectedRow >= 0);
    if (selectedRow < 0 && !selectedId_.empty()) {
        selectedId_.clear();
        editor_->showRule({});
    }
}

void RulesPage::selectRule(int index) {
    if (index < 0 || index >= list_->count()) return;
    list_->setCurrentRow(index);  // tells the editor
    list_->scrollToItem(list_->item(index));
}

bool RulesPage::addRule() {
    Rule rule;
    rule.id = newRuleId();
    rule.match = Match::domains({});
    rule.open = model_.rules().fallback;
    const int at = list_->currentRow() >= 0 ? list_->currentRow() + 1 : list_->count();
    const bool saved = model_.editRules([&](RulesFile& file) {
        const auto position = std::min<std::size_t>(static_cast<std::size_t>(at), file.rules.size());
        file.rules.insert(file.rules.begin() + static_cast<std::ptrdiff_t>(position), rule);
    });
    if (!saved) {
        refused();
        return false;
    }
    selectedId_ = rule.id;
    refresh();
    editor_->showRule(rule.id);
    editor_->valuesEdit()->setFocus();
    return true;
}

bool RulesPage::deleteRule(int index) {
    const auto& rules = model_.rules().rules;
    if (index < 0 || index >= static_cast<int>(rules.size())) return false;
    const std::string id = rules[static_cast<std::size_t>(index)].id;
    const bool saved = model_.editRules([&](RulesFile& file) {
        std::erase_if(file.rules, [&](const Rule& r) { return r.id == id; });
    });
    if (!saved) {
        refused();
        return false;
    }
    // The next rule takes the selection, or the one before at the end.
    const int count = static_cast<int>(model_.rules().rules.size());
    if (count > 0) selectRule(std::min(index, count - 1));
    return true;
}

bool RulesPage::moveRule(int from, int to) {
    const int count = static_cast<int>(model_.rules().rules.size());
    if (from < 0 || from >= count || to < 0 || to >= count || from == to) return false;
    const bool saved = model_.editRules([&](RulesFile& file) {
        Rule moving = std::move(file.rules[static_cast<std::size_t>(from)]);
        file.rules.erase(file.rules.begin() + from);
        file.rules.insert(file.rules.begin() + to, std::move(moving));
    });
    if (!saved) {
        refused();
        return false;
    }
    selectRule(to);
    return true;
}

bool RulesPage::toggleRule(int index) {
    const int count = static_cast<int>(model_.rules().rules.size());
    if (index < 0 || index >= count) return false;
    const bool saved = model_.editRules([&](RulesFile& file) {
        Rule& rule = file.rules[static_cast<std::size_t>(index)];
        rule.enabled = !rule.enabled;
    });
    if (!saved) refused();
    return saved;
}

void RulesPage::exportRules() {
    model_.exportRules([this](bool written) {
        if (written) showStatus(QStringLiteral("Rules exported"));
    });
}

void RulesPage::importRules() {
    model_.importRules([this](const ImportOutcome& outcome) {
        if (outcome.kind == ImportOutcome::Kind::refused || outcome.kind == ImportOutcome::Kind::failed) {
            showStatus(qstr(outcome.message));
        }
    });
}

void RulesPage::openInEditor() {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(model_.rulesStore().file().string())));
}

void RulesPage::setPeriod(int days) {
    period_ = days == 30 ? 30 : 7;
    if (QAbstractButton* b = periods_->button(period_)) b->setChecked(true);
    refresh();
}

void RulesPage::showStatus(const QString& text) { status_->setText(text); }

void RulesPage::showImportSheet() {
    sheet_ = new ImportSheet(model_, this);
    sheet_->setAttribute(Qt::WA_DeleteOnClose);
    connect(sheet_, &QDialog::accepted, this, [this] { showStatus(QStringLiteral("Rules imported")); });
    sheet_->open();
}

void RulesPage::refused() {
    banner_->show();
    showStatus(qstr(kRulesEditRefusedText));
    refresh();
}

}  // namespace pivra
