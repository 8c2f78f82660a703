#include "gui/onboarding/onboarding_window.hpp"

#include <algorithm>
#include <set>

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "gui/settings/flow_chart_model.hpp"
#include "gui/settings/page_support.hpp"
#include "gui/style/pv_button_style.hpp"
#include "gui/style/pv_check_style.hpp"
#include "gui/style/pv_group.hpp"
#include "gui/style/pv_row.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

QPushButton* button(const QString& text, PVButtonStyle::Kind kind = PVButtonStyle::Kind::normal) {
    auto* b = new QPushButton(text);
    PVButtonStyle::apply(*b, kind);
    return b;
}

QLabel* label(const QString& text, TextRole role) {
    auto* l = new QLabel(text);
    l->setWordWrap(true);
    setTextRole(*l, role);
    return l;
}

// A step: a title, a line under it, the content, and the buttons at the bottom right.
QWidget* stepFrame(const QString& title, const QString& subtitle, QWidget* content, std::vector<QPushButton*> buttons) {
    auto* frame = new QWidget;
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(32, 28, 32, 20);
    layout->setSpacing(10);
    auto* heading = label(title, TextRole::title);
    QFont big = heading->font();
    big.setPointSizeF(big.pointSizeF() * 1.3);
    heading->setFont(big);
    layout->addWidget(heading);
    layout->addWidget(label(subtitle, TextRole::secondary));
    layout->addSpacing(8);
    layout->addWidget(content, 1);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    for (QPushButton* b : buttons) row->addWidget(b);
    layout->addLayout(row);
    return frame;
}

}  // namespace

OnboardingWindow::OnboardingWindow(AppModel& model, QWidget* parent)
    : QWidget(parent, Qt::Window), model_(model), suggestions_(model.starterSuggestions()), stack_(new QStackedWidget) {
    setWindowTitle(QStringLiteral("Welcome to Pivra"));
    resize(620, 600);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    stack_->addWidget(makeDefaultStep());
    stack_->addWidget(starterStep());
    stack_->addWidget(doneStep());
    layout->addWidget(stack_);
    applyTheme(*this, Theme::system(qstr(model_.settings().accent())));
    observer_ = std::make_unique<ModelObserver>(model_, [this] { refresh(); });
    refresh();
}

OnboardingWindow::~OnboardingWindow() = default;

bool OnboardingWindow::isWanted(AppModel& model) { return !model.settings().onboardingDone(); }

QWidget* OnboardingWindow::makeDefaultStep() {
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* group = new PVGroup;
    makeDefault_ = button(QStringLiteral("Make Default"), PVButtonStyle::Kind::prominent);
    auto* row = new PVRow({}, {}, makeDefault_);
    defaultStatus_ = row->titleLabel();
    group->addRow(row);
    layout->addWidget(group);
    layout->addStretch(1);
    auto* next = button(QStringLiteral("Continue"), PVButtonStyle::Kind::prominent);
    connect(makeDefault_, &QPushButton::clicked, this, [this] { model_.makeDefaultBrowser(); });
    connect(next, &QPushButton::clicked, this, [this] { goTo(Step::starterRules); });
    return stepFrame(QStringLiteral("Make Pivra your default browser"),
                     QStringLiteral("Every link you click then reaches your rules first, and Pivra hands it to the "
                                    "right browser and profile."),
                     content, {next});
}

QWidget* OnboardingWindow::starterStep() {
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 10, 0);  // clear of the scroll bar
    layout->setSpacing(16);
    const auto nameOf = [this](const std::string& from) {
        return from == "*" ? std::string(FlowChart::kAnyApp) : model_.appName(from);
    };
    for (const auto group : enumCases<StarterGroup>()) {
        PVGroup* box = nullptr;
        for (std::size_t i = 0; i < suggestions_.size(); ++i) {
            const Suggestion& suggestion = suggestions_[i];
            if (suggestion.group != group || suggestion.rules.empty()) continue;
            if (!box) box = new PVGroup(qstr(title(group)));
            const Rule& first = suggestion.rules.front();
            QString what;
            if (suggestion.rules.size() > 1) {
                QStringList apps;
                for (const auto& rule : suggestion.rules) apps << qstr(nameOf(rule.from));
                what = apps.join(QStringLiteral(", "));
            } else if (first.from == "*") {
                what = qstr(FlowChart::conditionText(first.match));
            } else {
                what = qstr(nameOf(first.from));
            }
            auto* check = new QCheckBox;
            PVCheckStyle::apply(*check);
            check->setChecked(suggestion.on);
            const QString text = what + QStringLiteral(" → ") + qstr(model_.targetName(first.open));
            check->setAccessibleName(text);
            auto* row = new PVRow(text, qstr(suggestion.why));
            static_cast<QBoxLayout*>(row->layout())->insertWidget(0, check, 0, Qt::AlignTop);
            box->addRow(row);
            boxes_.push_back(check);
        }
        if (box) layout->addWidget(box);
    }
    if (suggestions_.empty()) {
        layout->addWidget(label(QStringLiteral("No starter rules for the apps on this Mac. Add rules of your own in "
                                               "Settings whenever you like."),
                                TextRole::body));
    }
    message_ = label({}, TextRole::body);
    message_->hide();
    layout->addWidget(message_);
    layout->addStretch(1);

    auto* scroll = new QScrollArea;
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->viewport()->setBackgroundRole(QPalette::Window);

    auto* back = button(QStringLiteral("Back"));
    auto* skip = button(QStringLiteral("Skip"));
    addRules_ = button(QStringLiteral("Add Rules"), PVButtonStyle::Kind::prominent);
    addRules_->setVisible(!suggestions_.empty());
    connect(back, &QPushButton::clicked, this, [this] { goTo(Step::makeDefault); });
    connect(skip, &QPushButton::clicked, this, [this] {
        added_ = 0;
        goTo(Step::done);
    });
    connect(addRules_, &QPushButton::clicked, this, [this] {
        if (addChosenRules()) goTo(Step::done);
    });
    return stepFrame(QStringLiteral("Start with a few rules"),
                     QStringLiteral("Made from the apps and browser profiles on this Mac. Change them any time in "
                                    "Settings."),
                     scroll, {back, skip, addRules_});
}

QWidget* OnboardingWindow::doneStep() {
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    doneText_ = label({}, TextRole::body);
    layout->addWidget(doneText_);
    layout->addStretch(1);
    auto* settings = button(QStringLiteral("Open Settings"));
    auto* done = button(QStringLiteral("Done"), PVButtonStyle::Kind::prominent);
    connect(settings, &QPushButton::clicked, this, [this] { finish(true); });
    connect(done, &QPushButton::clicked, this, [this] { finish(false); });
    return stepFrame(QStringLiteral("Pivra is ready"),
                     QStringLiteral("Hold Shift as you click a link to choose its browser yourself."), content,
                     {settings, done});
}

void OnboardingWindow::goTo(Step step) {
    step_ = step;
    stack_->setCurrentIndex(static_cast<int>(step));
    refresh();
}

bool OnboardingWindow::addChosenRules() {
    std::vector<Rule> chosen;
    for (std::size_t i = 0; i < suggestions_.size() && i < boxes_.size(); ++i) {
        if (!boxes_[i]->isChecked()) continue;
        chosen.insert(chosen.end(), suggestions_[i].rules.begin(), suggestions_[i].rules.end());
    }
    int added = 0;
    const bool saved = model_.editRules([&](RulesFile& file) {
        std::set<std::string> ids;
        for (const auto& rule : file.rules) ids.insert(rule.id);
        // A starter rule taken once (an earlier run of this window) is not added twice.
        for (const auto& rule : chosen) {
            if (ids.insert(rule.id).second) {
                file.rules.push_back(rule);
                ++added;
            }
        }
    });
    if (!saved) {
        message_->setText(qstr(kRulesEditRefusedText));
        message_->show();
        return false;
    }
    message_->hide();
    added_ = added;
    return true;
}

void OnboardingWindow::finish(bool openSettings) {
    model_.changeSettings([](Settings& s) { s.setOnboardingDone(true); });
    close();
    if (openSettings) model_.openSettings(SettingsPage::rules);
}

void OnboardingWindow::pinTheme(const Theme& theme) { applyTheme(*this, theme); }

void OnboardingWindow::refresh() {
    const bool isDefault = model_.isDefault();
    defaultStatus_->setText(isDefault ? QStringLiteral("✓ Pivra is the default browser")
                                      : QStringLiteral("Pivra isn’t the default browser yet"));
    makeDefault_->setVisible(!isDefault);
    const std::string fallback = model_.targetName(model_.rules().fallback);
    QString text = added_ == 0 ? QStringLiteral("No rules were added.")
                               : (added_ == 1 ? QStringLiteral("1 rule was added.")
                                              : QStringLiteral("%1 rules were added.").arg(added_));
    text += QStringLiteral(" Links that no rule takes open in ") + qstr(fallback) + QStringLiteral(".");
    doneText_->setText(text);
}

}  // namespace pivra
