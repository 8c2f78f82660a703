#include "gui/settings/rule_editor.hpp"

#include <algorithm>

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "core/routing/link.hpp"
#include "gui/settings/flow_chart_model.hpp"
#include "gui/settings/page_support.hpp"
#include "gui/settings/trial_lines.hpp"
#include "gui/style/pv_group.hpp"
#include "gui/style/pv_row.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

constexpr int kControlWidth = 230;

const char* const kKindLabels[] = {"Domains", "Address patterns", "Any link"};  // in MatchKind's order

QString valuesText(const std::vector<std::string>& values) {
    QStringList list;
    for (const auto& value : values) list << qstr(value);
    return list.join(QStringLiteral(", "));
}

QColor problemColor(const QPalette& palette) {
    const bool dark = palette.color(QPalette::Window).lightness() < 128;
    return dark ? QColor(0xff, 0x6b, 0x61) : QColor(0xc4, 0x2b, 0x1c);
}

// The combo's value: the data of the chosen item, or the text typed into an editable one.
std::string comboValue(const QComboBox& combo) {
    const int index = combo.currentIndex();
    if (combo.isEditable()) {
        const QString typed = combo.currentText();
        if (index < 0 || combo.itemText(index) != typed) return stdstr(typed.trimmed());
    }
    return index < 0 ? std::string() : stdstr(combo.itemData(index).toString());
}

void selectData(QComboBox& combo, const QString& data, const QString& missingText) {
    int index = combo.findData(data);
    if (index < 0) {
        combo.addItem(missingText, data);
        index = combo.count() - 1;
    }
    setCurrentQuietly(combo, index);
}

}  // namespace

RuleEditor::RuleEditor(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      fieldsPane_(new QWidget),
      placeholder_(new QLabel(QStringLiteral("Select a rule to see it here, or add one with +."))),
      ruleGroup_(new PVGroup),
      from_(new QComboBox),
      kind_(new QComboBox),
      values_(new QLineEdit),
      browser_(new QComboBox),
      profile_(new QComboBox),
      bringForward_(makeSwitch(QStringLiteral("Bring the browser forward"))),
      newWindow_(makeSwitch(QStringLiteral("Open in a new window"))),
      enabled_(makeSwitch(QStringLiteral("Rule on"))),
      problems_(new QLabel),
      neverRuns_(new QLabel),
      tryGroup_(new PVGroup(QStringLiteral("Try a link"))),
      tryLink_(new QLineEdit),
      trySource_(new QComboBox),
      trial_(new PVGroup(qstr(TrialText::kCheckedTopToBottom))) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(16);

    placeholder_->setWordWrap(true);
    placeholder_->setAlignment(Qt::AlignCenter);
    placeholder_->setMinimumHeight(80);
    setTextRole(*placeholder_, TextRole::secondary);
    layout->addWidget(placeholder_);

    auto* fieldsLayout = new QVBoxLayout(fieldsPane_);
    fieldsLayout->setContentsMargins(0, 0, 0, 0);
    fieldsLayout->addWidget(ruleGroup_);
    layout->addWidget(fieldsPane_);

    from_->setEditable(true);
    from_->setInsertPolicy(QComboBox::NoInsert);
    from_->setMinimumWidth(kControlWidth);
    from_->setAccessibleName(QStringLiteral("From"));
    from_->lineEdit()->setPlaceholderText(QStringLiteral("Any app, or an app’s identifier"));
    for (const char* label : kKindLabels) kind_->addItem(QString::fromUtf8(label));
    kind_->setMinimumWidth(kControlWidth);
    kind_->setAccessibleName(QStringLiteral("Links"));
    values_->setMinimumWidth(kControlWidth);
    values_->setAccessibleName(QStringLiteral("Domains or patterns"));
    browser_->setMinimumWidth(kControlWidth);
    browser_->setAccessibleName(QStringLiteral("Opens in"));
    profile_->setMinimumWidth(kControlWidth);
    profile_->setAccessibleName(QStringLiteral("Profile"));

    ruleGroup_->addRow(new PVRow(QStringLiteral("From"), QStringLiteral("The app the link comes from"), from_));
    ruleGroup_->addRow(new PVRow(QStringLiteral("Links"), {}, kind_));
    valuesRow_ = ruleGroup_->addRow(new PVRow(QStringLiteral("Domains"), {}, values_));
    ruleGroup_->addRow(new PVRow(QStringLiteral("Opens in"), {}, browser_));
    ruleGroup_->addRow(new PVRow(QStringLiteral("Profile"), {}, profile_));
    ruleGroup_->addRow(new PVRow(QStringLiteral("Bring the browser forward"), {}, bringForward_));
    ruleGroup_->addRow(new PVRow(QStringLiteral("Open in a new window"), {}, newWindow_));
    ruleGroup_->addRow(new PVRow(QStringLiteral("Rule on"), QStringLiteral("A rule that is off is passed over"), enabled_));
    problems_->setWordWrap(true);
    problems_->setContentsMargins(12, 6, 12, 6);
    problems_->hide();
    ruleGroup_->addWidget(problems_);
    neverRuns_->setWordWrap(true);
    neverRuns_->setContentsMargins(12, 6, 12, 6);
    neverRuns_->hide();
    ruleGroup_->addWidget(neverRuns_);

    tryLink_->setPlaceholderText(QStringLiteral("Paste a link"));
    tryLink_->setAccessibleName(QStringLiteral("Link to try"));
    tryLink_->setClearButtonEnabled(true);
    tryLink_->setMinimumWidth(kControlWidth);
    trySource_->setMinimumWidth(kControlWidth);
    trySource_->setAccessibleName(QStringLiteral("Coming from"));
    tryGroup_->addRow(new PVRow(QStringLiteral("Link"), {}, tryLink_));
    tryGroup_->addRow(new PVRow(QStringLiteral("Coming from"), {}, trySource_));
    layout->addWidget(tryGroup_);
    layout->addWidget(trial_);
    trial_->hide();
    layout->addStretch(1);

    const auto applyNow = [this] { apply(); };
    connect(from_, &QComboBox::activated, this, applyNow);
    connect(from_->lineEdit(), &QLineEdit::editingFinished, this, applyNow);
    connect(kind_, &QComboBox::activated, this, [this] {
        updateValuesRow();
        // A kind that needs values waits for them before it is written.
        if (kind_->currentIndex() == static_cast<int>(MatchKind::any) || !splitValues(stdstr(values_->text())).empty()) {
            apply();
        } else {
            values_->setFocus();
        }
    });
    connect(values_, &QLineEdit::editingFinished, this, applyNow);
    connect(browser_, &QComboBox::activated, this, [this] {
        fillProfiles(comboValue(*browser_), {});
        apply();
    });
    connect(profile_, &QComboBox::activated, this, applyNow);
    for (QCheckBox* box : {bringForward_, newWindow_, enabled_}) connect(box, &QCheckBox::toggled, this, applyNow);
    connect(tryLink_, &QLineEdit::textChanged, this, [this] { runTrial(); });
    connect(trySource_, &QComboBox::activated, this, [this] { runTrial(); });

    fillSources();
    showRule({});
}

void RuleEditor::fillSources() {
    const QString tryChoice = trySource_->currentData().toString();
    const QSignalBlocker blockFrom(from_);
    const QSignalBlocker blockTry(trySource_);
    from_->clear();
    trySource_->clear();
    from_->addItem(qstr(FlowChart::kAnyApp), QStringLiteral("*"));
    trySource_->addItem(QStringLiteral("Unknown app"), QString());
    std::vector<std::string> ids;
    for (const auto& app : model_.installedKnownApps()) ids.push_back(app.id);
    // Sources the rules name that are not among the known apps.
    for (const auto& rule : model_.rules().rules) {
        if (rule.from != "*" && std::find(ids.begin(), ids.end(), rule.from) == ids.end()) ids.push_back(rule.from);
    }
    for (const auto& id : ids) {
        from_->addItem(qstr(model_.appName(id)), qstr(id));
        trySource_->addItem(qstr(model_.appName(id)), qstr(id));
    }
    const int keep = trySource_->findData(tryChoice);
    trySource_->setCurrentIndex(std::max(keep, 0));
}

void RuleEditor::fillBrowsers(const std::string& app) {
    const QSignalBlocker blocker(browser_);
    browser_->clear();
    for (const auto& browser : model_.browsers()) browser_->addItem(qstr(browser.name), qstr(browser.id));
    if (!app.empty()) selectData(*browser_, qstr(app), qstr(model_.appName(app)) + QStringLiteral(" (not installed)"));
}

void RuleEditor::fillProfiles(const std::string& app, const std::string& profile) {
    const QSignalBlocker blocker(profile_);
    profile_->clear();
    profile_->addItem(QStringLiteral("The one it used last"), QString());
    const auto found = model_.profiles().find(app);
    if (found != model_.profiles().end()) {
        for (const auto& p : found->second) profile_->addItem(qstr(p.name), qstr(p.id));
    }
    selectData(*profile_, qstr(profile), qstr(profile) + QStringLiteral(" (not found)"));
    profile_->setEnabled(found != model_.profiles().end() || !profile.empty());
}

void RuleEditor::showRule(const std::string& id) {
    ruleId_ = id;
    shown_.reset();
    showProblems({});
    refresh();
    if (shown_ && shown_->from != "*") {
        const int index = trySource_->findData(qstr(shown_->from));
        if (index >= 0) setCurrentQuietly(*trySource_, index);
        runTrial();
    }
}

void RuleEditor::refresh() {
    fillSources();
    const auto& rules = model_.rules().rules;
    const auto found = std::find_if(rules.begin(), rules.end(), [&](const Rule& r) { return !ruleId_.empty() && r.id == ruleId_; });
    const bool hasRule = found != rules.end();
    placeholder_->setVisible(!hasRule);
    fieldsPane_->setVisible(hasRule);
    if (hasRule) {
        const int index = static_cast<int>(found - rules.begin());
        ruleGroup_->setHeader(qstr(FlowChart::ruleTitle(index)));
        // Fields the user is still correcting stay as typed until the rule itself changes.
        if (!shown_ || *shown_ != *found) showFields(*found);
        const auto shadow = Insight::shadowedBy(index, rules);
        neverRuns_->setVisible(shadow.has_value());
        if (shadow) neverRuns_->setText(QStringLiteral("⚠ ") + qstr(FlowChart::neverRunsText(*shadow)));
    } else {
        shown_.reset();
    }
    runTrial();
}

void RuleEditor::showFields(const Rule& rule) {
    shown_ = rule;
    const RuleFields f = fieldsOf(rule);
    {
        const QSignalBlocker blocker(from_);
        const int index = from_->findData(qstr(f.from));
        if (index >= 0) {
            from_->setCurrentIndex(index);
        } else {
            from_->setEditText(qstr(f.from));
        }
    }
    setCurrentQuietly(*kind_, static_cast<int>(f.kind));
    {
        const QSignalBlocker blocker(values_);
        values_->setText(valuesText(rule.match.values()));
    }
    fillBrowsers(f.app);
    fillProfiles(f.app, f.profile);
    setCheckedQuietly(*bringForward_, f.bringForward);
    setCheckedQuietly(*newWindow_, f.newWindow);
    setCheckedQuietly(*enabled_, f.enabled);
    updateValuesRow();
    showProblems({});
}

void RuleEditor::updateValuesRow() {
    const auto kind = static_cast<MatchKind>(std::max(kind_->currentIndex(), 0));
    valuesRow_->setVisible(kind != MatchKind::any);
    if (kind == MatchKind::domains) {
        valuesRow_->setTitle(QStringLiteral("Domains"));
        valuesRow_->setDescription(QStringLiteral("Each covers its subdomains too"));
        values_->setPlaceholderText(QStringLiteral("example.com, docs.example.org"));
    } else {
        valuesRow_->setTitle(QStringLiteral("Patterns"));
        valuesRow_->setDescription(QStringLiteral("Host and path; “*” stands for anything"));
        values_->setPlaceholderText(QStringLiteral("example.com/docs/*, localhost:*"));
    }
}

RuleFields RuleEditor::fields() const {
    RuleFields f;
    f.from = comboValue(*from_);
    if (f.from == stdstr(qstr(FlowChart::kAnyApp))) f.from = "*";
    f.kind = static_cast<MatchKind>(std::max(kind_->currentIndex(), 0));
    f.values = stdstr(values_->text());
    f.app = comboValue(*browser_);
    f.profile = comboValue(*profile_);
    f.bringForward = bringForward_->isChecked();
    f.newWindow = newWindow_->isChecked();
    f.enabled = enabled_->isChecked();
    return f;
}

bool RuleEditor::apply() {
    if (!shown_) return false;
    auto edited = applyFields(*shown_, fields());
    if (!edited) {
        showProblems(edited.error());
        return false;
    }
    showProblems({});
    if (*edited == *shown_) return true;
    const std::string id = ruleId_;
    const Rule rule = *edited;
    const bool saved = model_.editRules([&](RulesFile& file) {
        for (auto& r : file.rules) {
            if (r.id == id) r = rule;
        }
    });
    if (!saved) {
        // Back to what the file holds, and say why.
        showFields(*shown_);
        emit editRefused();
    }
    return saved;
}

void RuleEditor::showProblems(const std::vector<FieldProblem>& problems) {
    QStringList lines;
    for (const auto& problem : problems) lines << qstr(problem.text);
    problems_->setText(lines.join(QStringLiteral("\n")));
    QPalette pal = problems_->palette();
    pal.setColor(QPalette::WindowText, problemColor(palette()));
    problems_->setPalette(pal);
    problems_->setVisible(!problems.empty());
}

void RuleEditor::runTrial() {
    trial_->clear();
    const QString text = tryLink_->text().trimmed();
    if (text.isEmpty()) {
        trial_->hide();
        return;
    }
    trial_->show();
    const auto addLine = [this](const QString& title, const QString& detail, bool strong, bool faint) {
        auto* row = new QWidget;
        auto* layout = new QHBoxLayout(row);
        layout->setContentsMargins(12, 5, 12, 5);
        layout->setSpacing(12);
        auto* titleLabel = new QLabel(title);
        auto* detailLabel = new QLabel(detail);
        titleLabel->setMinimumWidth(70);
        titleLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
        detailLabel->setWordWrap(true);
        detailLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
        if (faint) {
            setTextRole(*titleLabel, TextRole::secondary);
            setTextRole(*detailLabel, TextRole::secondary);
        }
        if (strong) {
            QFont bold = titleLabel->font();
            bold.setWeight(QFont::DemiBold);
            titleLabel->setFont(bold);
            detailLabel->setFont(bold);
            titleLabel->setForegroundRole(QPalette::Highlight);
            detailLabel->setForegroundRole(QPalette::Highlight);
        }
        layout->addWidget(titleLabel, 0);
        layout->addWidget(detailLabel, 1);
        trial_->addWidget(row);
    };
    const auto link = parseLink(stdstr(text));
    if (!link || !isWebScheme(link->scheme())) {
        addLine(qstr(TrialText::kNotALink), {}, false, true);
        return;
    }
    const std::string sourceId = stdstr(trySource_->currentData().toString());
    const Source source = sourceId.empty() ? Source::unknown() : Source::app(sourceId);
    const RulesFile& rules = model_.rules();
    const auto lines = trialLines(Insight::trial(*link, source, rules), rules,
                                  [this](const std::string& id) { return model_.appName(id); },
                                  [this](const Target& target) { return model_.targetName(target); });
    for (const auto& line : lines) {
        const bool isResult = line.kind == TrialLine::Kind::result;
        const QString title = isResult ? QStringLiteral("→ ") + qstr(line.title) : qstr(line.title);
        addLine(title, qstr(line.detail), line.matched, line.skipped || line.kind == TrialLine::Kind::note);
    }
}

}  // namespace pivra
