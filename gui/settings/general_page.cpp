#include "gui/settings/general_page.hpp"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDate>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QUrl>
#include <QDateTime>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyledItemDelegate>

#include "gui/settings/journal_rows.hpp"
#include "gui/settings/page_support.hpp"
#include "gui/style/pv_button_style.hpp"
#include "gui/style/pv_group.hpp"
#include "gui/style/pv_row.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

constexpr int kJournalMaxHeight = 300;
constexpr int kHeadingHeight = 28;
constexpr int kEntryHeight = 24;
constexpr int kHeadingRole = Qt::UserRole;
constexpr int kTimeRole = Qt::UserRole + 1;

// The journal's rows: day headings in the secondary colour, and entries with
// their time in a column of its own. Colours come from the palette at paint
// time, so the rows follow the theme.
class JournalDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return QSize(option.rect.width(), index.data(kHeadingRole).toBool() ? kHeadingHeight : kEntryHeight);
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        painter->save();
        const QRect row = option.rect.adjusted(12, 0, -12, 0);
        const QColor secondary = option.palette.color(QPalette::PlaceholderText);
        QFont font = option.font;
        if (index.data(kHeadingRole).toBool()) {
            font.setWeight(QFont::DemiBold);
            font.setPointSizeF(font.pointSizeF() * 0.88);
            painter->setFont(font);
            painter->setPen(secondary);
            painter->drawText(row.adjusted(0, 6, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, index.data().toString());
        } else {
            const QString time = index.data(kTimeRole).toString();
            const int timeWidth = QFontMetrics(font).horizontalAdvance(QStringLiteral("00:00")) + 12;
            painter->setFont(font);
            painter->setPen(secondary);
            painter->drawText(QRect(row.left(), row.top(), timeWidth, row.height()), Qt::AlignLeft | Qt::AlignVCenter, time);
            painter->setPen(index.data(Qt::ForegroundRole).isValid() ? secondary : option.palette.color(QPalette::Text));
            const QRect text = row.adjusted(time.isEmpty() ? 0 : timeWidth, 0, 0, 0);
            painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter,
                              QFontMetrics(font).elidedText(index.data().toString(), Qt::ElideRight, text.width()));
        }
        painter->restore();
    }
};

QDateTime localTime(Instant instant) {
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(instant.time_since_epoch()).count();
    return QDateTime::fromMSecsSinceEpoch(ms).toLocalTime();
}

QIcon swatch(const QColor& color) {
    QPixmap pixmap(14, 14);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(QRectF(1, 1, 12, 12));
    return QIcon(pixmap);
}

QString dayHeading(const JournalRow& row) {
    if (row.daysAgo == 0) return QStringLiteral("Today");
    if (row.daysAgo == 1) return QStringLiteral("Yesterday");
    const QDate date(row.day.year, static_cast<int>(row.day.month), static_cast<int>(row.day.day));
    return QLocale().toString(date, QStringLiteral("dddd, d MMMM"));
}

}  // namespace

GeneralPage::GeneralPage(AppModel& model, QWidget* parent)
    : PVPage(QStringLiteral("General"), parent),
      model_(model),
      makeDefault_(new QPushButton(QStringLiteral("Make Default"))),
      login_(makeSwitch(QStringLiteral("Open at login"))),
      notificationGroup_(new PVGroup(QStringLiteral("Notifications"))),
      detailedLogStatus_(new QLabel),
      accent_(new QComboBox),
      count_(makeSwitch(QStringLiteral("Count links"))),
      clearHistory_(new QPushButton(QStringLiteral("Clear History"))),
      journal_(new QListWidget) {
    PVButtonStyle::apply(*makeDefault_, PVButtonStyle::Kind::prominent);
    PVButtonStyle::apply(*clearHistory_);

    auto* start = addGroup(new PVGroup);
    defaultRow_ = start->addRow(new PVRow({}, {}, makeDefault_));
    start->addRow(new PVRow(QStringLiteral("Open at login"), {}, login_));
    connect(makeDefault_, &QPushButton::clicked, this, [this] { model_.makeDefaultBrowser(); });
    connect(login_, &QCheckBox::toggled, this, [this](bool on) {
        model_.setOpensAtLogin(on);
        refresh();  // the system may have said no
    });

    addGroup(notificationGroup_);
    std::vector<Choice> notificationChoices;
    for (const auto value : enumCases<NotificationsPref>()) notificationChoices.push_back({qstr(label(value)), {}});
    notifications_ = addChoiceRows(*notificationGroup_, notificationChoices, [this](int id) {
        const auto value = static_cast<NotificationsPref>(id);
        model_.changeSettings([value](Settings& s) { s.setNotifications(value); });
        if (value == NotificationsPref::problems) model_.notifier().requestPermission();
    });

    auto* logGroup = addGroup(new PVGroup(QStringLiteral("Detailed log")));
    std::vector<Choice> logChoices;
    for (const auto value : enumCases<DetailedLog>()) logChoices.push_back({qstr(label(value)), {}});
    detailedLog_ = addChoiceRows(*logGroup, logChoices, [this](int id) { model_.setDetailedLog(static_cast<DetailedLog>(id)); });
    detailedLogStatus_->setWordWrap(true);
    setTextRole(*detailedLogStatus_, TextRole::secondary);
    detailedLogStatus_->setContentsMargins(12, 6, 12, 8);
    logGroup->addWidget(detailedLogStatus_);
    logGroup->setFootnote(qstr(kDetailedLogHelp));

    auto* look = addGroup(new PVGroup(QStringLiteral("Appearance")));
    for (const auto& name : accentNames()) accent_->addItem(swatch(accentColor(name)), name, name);
    accent_->setAccessibleName(QStringLiteral("Accent colour"));
    accent_->setMinimumWidth(160);
    look->addRow(new PVRow(QStringLiteral("Accent colour"), {}, accent_));
    connect(accent_, &QComboBox::activated, this, [this] {
        const std::string name = stdstr(accent_->currentData().toString());
        model_.changeSettings([&](Settings& s) { s.setAccent(name); });
    });

    if (model_.updatesItself()) addUpdatesSection();
    addReportSection();

    auto* history = addGroup(new PVGroup(QStringLiteral("History")));
    history->addRow(new PVRow(QStringLiteral("Count links"),
                              QStringLiteral("Links per rule for the flow chart, kept for 30 days"), count_));
    history->addRow(new PVRow(QStringLiteral("Clear History"), QStringLiteral("Deletes the log and the link counts"),
                              clearHistory_));
    connect(count_, &QCheckBox::toggled, this,
            [this](bool on) { model_.changeSettings([on](Settings& s) { s.setCountLinks(on); }); });
    connect(clearHistory_, &QPushButton::clicked, this, [this] { askToClearHistory(); });

    auto* week = addGroup(new PVGroup(QStringLiteral("The last seven days")));
    journal_->setFrameShape(QFrame::NoFrame);
    journal_->setItemDelegate(new JournalDelegate(journal_));
    journal_->setSelectionMode(QAbstractItemView::NoSelection);
    journal_->setFocusPolicy(Qt::NoFocus);
    journal_->setWordWrap(true);
    journal_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    journal_->setAccessibleName(QStringLiteral("The last seven days"));
    journal_->viewport()->setAutoFillBackground(false);
    week->addWidget(journal_);

    observer_ = std::make_unique<ModelObserver>(model_, [this] { refresh(); });
    refresh();
}

GeneralPage::~GeneralPage() = default;

void GeneralPage::addUpdatesSection() {
    auto* group = addGroup(new PVGroup(QStringLiteral("Updates")));
    updateAction_ = new QPushButton;
    PVButtonStyle::apply(*updateAction_, PVButtonStyle::Kind::prominent);
    checkNow_ = new QPushButton(qstr(UpdateText::kCheckNow));
    PVButtonStyle::apply(*checkNow_);
    auto* buttons = new QWidget;
    auto* buttonLayout = new QHBoxLayout(buttons);
    buttonLayout->setContentsMargins(0, 0, 0, 0);
    buttonLayout->addWidget(updateAction_);
    buttonLayout->addWidget(checkNow_);
    updateStatus_ = group->addRow(new PVRow({}, {}, buttons));
    autoUpdate_ = makeSwitch(qstr(UpdateText::kUpdateAutomatically));
    autoUpdateRow_ = group->addRow(new PVRow(qstr(UpdateText::kUpdateAutomatically), {}, autoUpdate_));
    connect(checkNow_, &QPushButton::clicked, this, [this] { model_.updater().checkNow(); });
    connect(updateAction_, &QPushButton::clicked, this, [this] {
        if (model_.updater().state().kind() == UpdaterState::Kind::ready) {
            model_.updater().installNow();
        } else {
            QDesktopServices::openUrl(QUrl(qstr(kWebsiteUrl)));
        }
    });
    connect(autoUpdate_, &QCheckBox::toggled, this,
            [this](bool on) { model_.changeSettings([on](Settings& s) { s.setAutoUpdate(on); }); });
}

void GeneralPage::refreshUpdates() {
    if (!updateStatus_) return;  // no Updates section
    Updater& updater = model_.updater();
    const auto& state = updater.state();
    const auto checked = updater.lastChecked();
    const QString checkedTime = checked ? QLocale().toString(localTime(*checked), QLocale::ShortFormat) : QString();
    QString status = qstr(UpdateText::status(state, stdstr(checkedTime)));
    // Before this run's first check: the last one, if any.
    if (status.isEmpty()) {
        status = checked ? qstr(UpdateText::upToDate(stdstr(checkedTime))) : QStringLiteral("Not checked yet");
    }
    updateStatus_->setTitle(status);
    const auto action = UpdateText::action(state);
    updateAction_->setVisible(action.has_value());
    if (action) updateAction_->setText(qstr(*action));
    checkNow_->setEnabled(state.kind() != UpdaterState::Kind::checking && state.kind() != UpdaterState::Kind::downloading);
    const bool automatic = model_.settings().autoUpdate();
    setCheckedQuietly(*autoUpdate_, automatic);
    autoUpdateRow_->setDescription(qstr(UpdateText::automaticCaption(automatic)));
}

void GeneralPage::addReportSection() {
    reportGroup_ = addGroup(new PVGroup(QStringLiteral("Diagnostic report")));
    const auto part = [this](const QString& title, const QString& description, bool on) {
        QCheckBox* box = makeSwitch(title);
        box->setChecked(on);
        reportGroup_->addRow(new PVRow(title, description, box));
        return box;
    };
    const ReportParts defaults;
    reportLog_ = part(QStringLiteral("Log of the last seven days"), {}, defaults.log);
    reportFullLinks_ = part(QStringLiteral("Whole links in the log"),
                            QStringLiteral("Off: only each link’s host, which is all most problems need"), defaults.fullLinks);
    reportRules_ = part(QStringLiteral("Rules"), {}, defaults.rules);
    reportBrowsers_ = part(QStringLiteral("Browsers and profiles"), {}, defaults.browsers);
    sendReport_ = new QPushButton(QStringLiteral("Send…"));
    saveReport_ = new QPushButton(QStringLiteral("Save…"));
    PVButtonStyle::apply(*sendReport_, PVButtonStyle::Kind::prominent);
    PVButtonStyle::apply(*saveReport_);
    auto* buttons = new QWidget;
    auto* buttonLayout = new QHBoxLayout(buttons);
    buttonLayout->setContentsMargins(0, 0, 0, 0);
    buttonLayout->addWidget(saveReport_);
    buttonLayout->addWidget(sendReport_);
    reportGroup_->addRow(new PVRow(QStringLiteral("Send it to support, or save it"),
                                   QStringLiteral("Nothing leaves this ") + qstr(model_.machineNoun()) + QStringLiteral(" until you send it"), buttons));
    connect(reportLog_, &QCheckBox::toggled, reportFullLinks_, &QWidget::setEnabled);
    connect(sendReport_, &QPushButton::clicked, this, [this] { model_.mailReport(reportParts()); });
    connect(saveReport_, &QPushButton::clicked, this, [this] { model_.saveReport(reportParts()); });
}

ReportParts GeneralPage::reportParts() const {
    ReportParts parts;
    parts.log = reportLog_->isChecked();
    parts.fullLinks = parts.log && reportFullLinks_->isChecked();
    parts.rules = reportRules_->isChecked();
    parts.browsers = reportBrowsers_->isChecked();
    return parts;
}

void GeneralPage::refreshReport() {
    const auto& outcome = model_.reportOutcome();
    QString note;
    if (outcome) {
        switch (outcome->kind) {
            case ReportOutcome::Kind::saved:
                note = QStringLiteral("Saved as ") + QString::fromStdString(outcome->file.filename().string());
                break;
            case ReportOutcome::Kind::composed: note = QStringLiteral("The report is attached to a new message"); break;
            case ReportOutcome::Kind::mailNotSetUp:
            case ReportOutcome::Kind::failed: note = qstr(outcome->message); break;
            case ReportOutcome::Kind::cancelled: break;
        }
    }
    reportGroup_->setFootnote(note);
}

void GeneralPage::askToClearHistory() {
    if (question_) return;
    question_ = new QMessageBox(QMessageBox::Warning, qstr(kClearHistoryTitle), qstr(kClearHistoryTitle),
                                QMessageBox::NoButton, this);
    question_->setInformativeText(qstr(kClearHistoryText));
    QPushButton* clear = question_->addButton(QStringLiteral("Clear History"), QMessageBox::DestructiveRole);
    question_->addButton(QMessageBox::Cancel);
    question_->setDefaultButton(QMessageBox::Cancel);
    question_->setAttribute(Qt::WA_DeleteOnClose);
    connect(question_, &QMessageBox::buttonClicked, this, [this, clear](QAbstractButton* clicked) {
        if (clicked == clear) model_.clearHistory();
    });
    question_->open();
}

void GeneralPage::refresh() {
    const bool isDefault = model_.isDefault();
    defaultRow_->setTitle(isDefault ? QStringLiteral("Pivra is the default browser")
                                    : QStringLiteral("Pivra isn’t the default browser"));
    defaultRow_->setDescription(isDefault ? QStringLiteral("Every web link reaches your rules first")
                                          : QStringLiteral("Links skip your rules until Pivra is the default again."));
    makeDefault_->setVisible(!isDefault);
    setCheckedQuietly(*login_, model_.opensAtLogin());

    Settings& settings = model_.settings();
    const auto notifications = settings.notifications();
    checkQuietly(*notifications_, static_cast<int>(notifications));
    const auto status = model_.notifier().status();
    const bool refused = status == NotificationStatus::denied || status == NotificationStatus::unavailable;
    if (notifications == NotificationsPref::off) {
        notificationGroup_->setFootnote(qstr(kNotificationsOffText));
    } else if (refused) {
        notificationGroup_->setFootnote(qstr(kNotificationsDeniedText));
    } else {
        notificationGroup_->setFootnote({});
    }

    const auto log = settings.detailedLog();
    checkQuietly(*detailedLog_, static_cast<int>(log));
    switch (log) {
        case DetailedLog::off: detailedLogStatus_->setText(qstr(kDetailedLogOffText)); break;
        case DetailedLog::on: detailedLogStatus_->setText(qstr(kDetailedLogOnText)); break;
        case DetailedLog::day:
            if (model_.isDetailedLogOn()) {
                const auto until = settings.detailedLogUntil().value_or(model_.now());
                detailedLogStatus_->setText(qstr(kDetailedLogUntilText) +
                                            QLocale().toString(localTime(until), QLocale::ShortFormat));
            } else {
                detailedLogStatus_->setText(qstr(kDetailedLogEndedText));
            }
            break;
    }

    {
        const QSignalBlocker blocker(accent_);
        accent_->setCurrentIndex(std::max(0, accent_->findData(qstr(settings.accent()))));
    }
    setCheckedQuietly(*count_, settings.countLinks());
    refreshUpdates();
    refreshReport();
    fillJournal();
}

void GeneralPage::fillJournal() {
    journal_->clear();
    const auto rows = journalRows(model_.recentJournal(), model_.localDay(model_.now()),
                                  [this](Instant t) { return model_.localDay(t); });
    int height = 8;
    if (rows.empty()) {
        auto* item = new QListWidgetItem(QStringLiteral("Nothing in the log yet"));
        item->setData(Qt::ForegroundRole, true);  // drawn in the secondary colour
        item->setFlags(Qt::ItemIsEnabled);
        journal_->addItem(item);
        height += kEntryHeight;
    }
    for (const auto& row : rows) {
        QListWidgetItem* item = nullptr;
        if (row.isHeading) {
            item = new QListWidgetItem(dayHeading(row));
            item->setData(kHeadingRole, true);
            height += kHeadingHeight;
        } else {
            QString text = qstr(row.entry.text);
            if (row.entry.host) text += QStringLiteral(" · ") + qstr(*row.entry.host);
            item = new QListWidgetItem(text);
            item->setData(kTimeRole, localTime(row.entry.t).toString(QStringLiteral("HH:mm")));
            item->setToolTip(text);
            height += kEntryHeight;
        }
        item->setFlags(Qt::ItemIsEnabled);
        journal_->addItem(item);
    }
    journal_->setFixedHeight(std::min(height, kJournalMaxHeight));
}

}  // namespace pivra
