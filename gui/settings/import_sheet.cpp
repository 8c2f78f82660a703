#include "gui/settings/import_sheet.hpp"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "gui/settings/flow_chart_model.hpp"
#include "gui/settings/import_resolution.hpp"
#include "gui/settings/page_support.hpp"
#include "gui/style/pv_button_style.hpp"
#include "gui/style/pv_group.hpp"
#include "gui/style/pv_row.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

// The item data of "leave it as it is": no replacement.
const QString kLeave = QStringLiteral("\x01leave");

}  // namespace

ImportSheet::ImportSheet(AppModel& model, QWidget* parent)
    : QDialog(parent), model_(model), pending_(model.pendingImport().value_or(PendingImport{})),
      import_(new QPushButton(QStringLiteral("Import"))), message_(new QLabel) {
    setWindowTitle(QStringLiteral("Import Rules"));
    setModal(true);
    setMinimumWidth(560);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(14);

    const std::size_t count = pending_.file.rules.size();
    auto* title = new QLabel(pending_.gaps.empty() ? QStringLiteral("Import these rules?") : qstr(ImportText::kHeading));
    setTextRole(*title, TextRole::title);
    layout->addWidget(title);
    auto* summary = new QLabel(
        QStringLiteral("The file holds %1 %2. Importing replaces your %3 %4 and the fallback.")
            .arg(count)
            .arg(count == 1 ? QStringLiteral("rule") : QStringLiteral("rules"))
            .arg(model.rules().rules.size())
            .arg(model.rules().rules.size() == 1 ? QStringLiteral("rule") : QStringLiteral("rules")));
    summary->setWordWrap(true);
    setTextRole(*summary, TextRole::secondary);
    layout->addWidget(summary);

    if (!pending_.gaps.empty()) {
        auto* group = new PVGroup;
        const auto appName = [&](const std::string& id) { return model.appName(id); };
        for (const auto& gap : pending_.gaps) {
            auto* chooser = new QComboBox;
            chooser->setMinimumWidth(200);
            chooser->addItem(QStringLiteral("Leave as it is"), kLeave);
            switch (gap.kind.kind()) {
                case ImportGap::Kind::Case::missingApp:
                    for (const auto& browser : model.browsers()) chooser->addItem(qstr(browser.name), qstr(browser.id));
                    if (chooser->count() > 1) chooser->setCurrentIndex(1);
                    break;
                case ImportGap::Kind::Case::missingProfile: {
                    chooser->addItem(QStringLiteral("The one it used last"), QString());
                    const auto found = model.profiles().find(gap.kind.app());
                    if (found != model.profiles().end()) {
                        for (const auto& profile : found->second) chooser->addItem(qstr(profile.name), qstr(profile.id));
                    }
                    chooser->setCurrentIndex(1);
                    break;
                }
                case ImportGap::Kind::Case::missingSource:
                    chooser->addItem(qstr(FlowChart::kAnyApp), QStringLiteral("*"));
                    for (const auto& app : model.installedKnownApps()) chooser->addItem(qstr(app.name), qstr(app.id));
                    break;
            }
            chooser->setAccessibleName(qstr(gapText(gap, appName)));
            choosers_.push_back(chooser);
            group->addRow(new PVRow(qstr(gapText(gap, appName)), qstr(gapRulesText(gap)), chooser));
        }
        if (someRulesHaveNoGap(count, pending_.gaps)) group->setFootnote(qstr(ImportText::kOthersFound));
        auto* scroll = new QScrollArea;
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        scroll->setWidget(group);
        scroll->viewport()->setBackgroundRole(QPalette::Window);
        scroll->setMaximumHeight(380);
        layout->addWidget(scroll);
    }

    message_->setWordWrap(true);
    message_->hide();
    layout->addWidget(message_);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto* cancel = new QPushButton(QStringLiteral("Cancel"));
    PVButtonStyle::apply(*cancel);
    PVButtonStyle::apply(*import_, PVButtonStyle::Kind::prominent);
    import_->setDefault(true);
    buttons->addWidget(cancel);
    buttons->addWidget(import_);
    layout->addLayout(buttons);

    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    // Escape and closing the window cancel too.
    connect(this, &QDialog::rejected, this, [this] { model_.cancelImport(); });
    connect(import_, &QPushButton::clicked, this, [this] { takeOver(); });
}

void ImportSheet::takeOver() {
    std::vector<std::optional<std::string>> replacements;
    for (QComboBox* chooser : choosers_) {
        const QString data = chooser->currentData().toString();
        replacements.push_back(data == kLeave ? std::nullopt : std::optional<std::string>(stdstr(data)));
    }
    if (model_.acceptImport(resolveImport(pending_.file, pending_.gaps, replacements))) {
        accept();
        return;
    }
    message_->setText(qstr(kRulesEditRefusedText));
    message_->show();
}

}  // namespace pivra
