#include "gui/settings/other_pages.hpp"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QStyledItemDelegate>
#include <QToolButton>

#include "gui/style/pv_check_style.hpp"

#include "app/model/picker_controller.hpp"
#include "gui/menu/menu_bar_glyph.hpp"
#include "gui/settings/page_support.hpp"
#include "gui/style/pv_button_style.hpp"
#include "gui/style/pv_group.hpp"
#include "gui/style/pv_row.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

constexpr int kComboWidth = 220;
constexpr int kEntryHeight = 32;

// Item views draw their check boxes like the other check boxes of the screens.
class ItemCheckStyle : public PVCheckStyle {
public:
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override {
        PVCheckStyle::drawPrimitive(element == PE_IndicatorItemViewItemCheck ? PE_IndicatorCheckBox : element, option,
                                    painter, widget);
    }
};

// Rows of the picker's entries: taller, with room at the left like a group's rows.
class EntryDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return QSize(QStyledItemDelegate::sizeHint(option, index).width(), kEntryHeight);
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        QStyleOptionViewItem padded = option;
        padded.rect.adjust(8, 0, -8, 0);
        QStyledItemDelegate::paint(painter, padded, index);
    }
};

template <typename E>
auto allCases() {
    return enumCases<E>();
}

// The browser the profile-failure texts name: the first that has profiles.
std::string profileBrowserName(const AppModel& model) {
    for (const auto& browser : model.browsers()) {
        if (model.profiles().contains(browser.id)) return browser.name;
    }
    return model.browsers().empty() ? std::string("your browser") : model.browsers().front().name;
}

}  // namespace

// --- Browsers ----------------------------------------------------------------------

BrowsersPage::BrowsersPage(AppModel& model, QWidget* parent)
    : PVPage(QStringLiteral("Browsers"), parent),
      model_(model),
      found_(new PVGroup(QStringLiteral("Found on this Mac"))),
      failureGroup_(new PVGroup(qstr(kProfileFailureTitle))),
      fallback_(new QComboBox),
      fallbackProfile_(new QComboBox),
      cleanLinks_(makeSwitch(QStringLiteral("Remove tracking from links"))) {
    addGroup(found_);
    auto* lookAgain = new QPushButton(QStringLiteral("Look Again"));
    PVButtonStyle::apply(*lookAgain);
    auto* lookRow = new QWidget;
    auto* lookLayout = new QHBoxLayout(lookRow);
    lookLayout->setContentsMargins(0, 0, 0, 0);
    lookLayout->addStretch(1);
    lookLayout->addWidget(lookAgain);
    addWidget(lookRow);

    auto* fallbackGroup = addGroup(new PVGroup(QStringLiteral("Fallback")));
    fallback_->setMinimumWidth(kComboWidth);
    fallback_->setAccessibleName(QStringLiteral("Fallback browser"));
    fallbackProfile_->setMinimumWidth(kComboWidth);
    fallbackProfile_->setAccessibleName(QStringLiteral("Fallback profile"));
    fallbackGroup->addRow(new PVRow(QStringLiteral("Links no rule takes open in"), {}, fallback_));
    fallbackGroup->addRow(new PVRow(QStringLiteral("Profile"), {}, fallbackProfile_));
    fallbackGroup->addRow(new PVRow(QStringLiteral("Remove tracking from links"),
                                    QStringLiteral("Tracking parameters such as utm_source are dropped before the "
                                                   "rules see a link"),
                                    cleanLinks_));
    addGroup(failureGroup_);

    connect(lookAgain, &QPushButton::clicked, this, [this] { model_.refreshBrowsers(); });
    connect(fallback_, &QComboBox::activated, this, [this] {
        setFallback(Target{stdstr(fallback_->currentData().toString()), std::nullopt});
    });
    connect(fallbackProfile_, &QComboBox::activated, this, [this] {
        const QString profile = fallbackProfile_->currentData().toString();
        Target target = model_.rules().fallback;
        target.profile = profile.isEmpty() ? std::nullopt : std::optional<std::string>(stdstr(profile));
        setFallback(target);
    });
    connect(cleanLinks_, &QCheckBox::toggled, this, [this](bool on) {
        if (!model_.editRules([on](RulesFile& file) { file.cleanLinks = on; })) refresh();
    });

    observer_ = std::make_unique<ModelObserver>(model_, [this] { refresh(); });
    refresh();
}

BrowsersPage::~BrowsersPage() = default;

void BrowsersPage::setFallback(Target target) {
    if (target.app.empty() || target == model_.rules().fallback) return;
    // A refused edit (rules.json has an error) puts the choosers back.
    if (!model_.editRules([&](RulesFile& file) { file.fallback = target; })) refresh();
}

void BrowsersPage::refresh() {
    const RulesFile& rules = model_.rules();
    found_->clear();
    for (const auto& browser : model_.browsers()) {
        QString description;
        if (const auto profiles = model_.profiles().find(browser.id); profiles != model_.profiles().end()) {
            QStringList names;
            for (const auto& profile : profiles->second) names << qstr(profile.name);
            description = names.isEmpty() ? QStringLiteral("No profiles") : names.join(QStringLiteral(" · "));
        }
        QLabel* tag = nullptr;
        if (browser.id == rules.fallback.app) {
            tag = new QLabel(QStringLiteral("Fallback"));
            setTextRole(*tag, TextRole::secondary);
        }
        found_->addRow(new PVRow(qstr(browser.name), description, tag));
    }
    if (model_.browsers().empty()) found_->addRow(new PVRow(QStringLiteral("No browsers found")));

    {
        const QSignalBlocker blocker(fallback_);
        fallback_->clear();
        for (const auto& browser : model_.browsers()) fallback_->addItem(qstr(browser.name), qstr(browser.id));
        int index = fallback_->findData(qstr(rules.fallback.app));
        if (index < 0) {
            fallback_->addItem(qstr(model_.appName(rules.fallback.app)) + QStringLiteral(" (not installed)"),
                               qstr(rules.fallback.app));
            index = fallback_->count() - 1;
        }
        fallback_->setCurrentIndex(index);
    }
    {
        const QSignalBlocker blocker(fallbackProfile_);
        fallbackProfile_->clear();
        fallbackProfile_->addItem(QStringLiteral("The one it used last"), QString());
        const auto profiles = model_.profiles().find(rules.fallback.app);
        if (profiles != model_.profiles().end()) {
            for (const auto& profile : profiles->second) fallbackProfile_->addItem(qstr(profile.name), qstr(profile.id));
        }
        const QString current = qstr(rules.fallback.profile.value_or(""));
        int index = fallbackProfile_->findData(current);
        if (index < 0) {
            fallbackProfile_->addItem(current + QStringLiteral(" (not found)"), current);
            index = fallbackProfile_->count() - 1;
        }
        fallbackProfile_->setCurrentIndex(index);
        fallbackProfile_->setEnabled(profiles != model_.profiles().end() || rules.fallback.profile.has_value());
    }
    setCheckedQuietly(*cleanLinks_, rules.cleanLinks);

    // The choices name the browsers, which may have changed.
    const std::string browser = profileBrowserName(model_);
    const std::string fallback = model_.targetName(rules.fallback);
    failureGroup_->clear();
    std::vector<Choice> choices;
    for (const auto value : allCases<ProfileFailure>()) {
        choices.push_back({qstr(label(value, browser)), qstr(description(value, browser, fallback))});
    }
    delete profileFailure_;
    profileFailure_ = addChoiceRows(*failureGroup_, choices, [this](int id) {
        model_.changeSettings([id](Settings& s) { s.setProfileFailure(static_cast<ProfileFailure>(id)); });
    });
    checkQuietly(*profileFailure_, static_cast<int>(model_.settings().profileFailure()));
}

// --- Picker -------------------------------------------------------------------------

PickerPage::PickerPage(AppModel& model, QWidget* parent)
    : PVPage(QStringLiteral("Picker"), parent),
      model_(model),
      offersRule_(makeSwitch(QStringLiteral("Offer to remember the choice"))),
      copies_(makeSwitch(QStringLiteral("Offer to copy the link"))),
      entries_(new QListWidget) {
    auto* triggerGroup = addGroup(new PVGroup(QStringLiteral("Show the picker")));
    std::vector<Choice> triggers;
    for (const auto value : allCases<PickerTrigger>()) triggers.push_back({qstr(label(value)), qstr(description(value))});
    trigger_ = addChoiceRows(*triggerGroup, triggers, [this](int id) {
        model_.changeSettings([id](Settings& s) { s.setPickerTrigger(static_cast<PickerTrigger>(id)); });
    });

    auto* placementGroup = addGroup(new PVGroup(QStringLiteral("Where it opens")));
    std::vector<Choice> placements;
    for (const auto value : allCases<PickerPlacement>()) placements.push_back({qstr(label(value)), {}});
    placement_ = addChoiceRows(*placementGroup, placements, [this](int id) {
        model_.changeSettings([id](Settings& s) { s.setPickerPlacement(static_cast<PickerPlacement>(id)); });
    });

    auto* startGroup = addGroup(new PVGroup(QStringLiteral("Selected when it opens")));
    std::vector<Choice> starts;
    for (const auto value : allCases<PickerStart>()) starts.push_back({qstr(label(value)), qstr(description(value))});
    start_ = addChoiceRows(*startGroup, starts, [this](int id) {
        model_.changeSettings([id](Settings& s) { s.setPickerStart(static_cast<PickerStart>(id)); });
    });

    auto* offers = addGroup(new PVGroup(QStringLiteral("In the picker")));
    offers->addRow(new PVRow(QStringLiteral("Offer to remember the choice"),
                             QStringLiteral("A rule for the link’s app and site, made from what you pick"), offersRule_));
    offers->addRow(new PVRow(QStringLiteral("Offer to copy the link"), {}, copies_));
    connect(offersRule_, &QCheckBox::toggled, this,
            [this](bool on) { model_.changeSettings([on](Settings& s) { s.setPickerOffersRule(on); }); });
    connect(copies_, &QCheckBox::toggled, this,
            [this](bool on) { model_.changeSettings([on](Settings& s) { s.setPickerCopies(on); }); });

    auto* listGroup = addGroup(new PVGroup(QStringLiteral("Browsers in the picker")));
    entries_->setDragDropMode(QAbstractItemView::InternalMove);
    entries_->setDefaultDropAction(Qt::MoveAction);
    entries_->setFrameShape(QFrame::NoFrame);
    entries_->setAccessibleName(QStringLiteral("Browsers in the picker"));
    entries_->viewport()->setAutoFillBackground(false);
    auto* checkStyle = new ItemCheckStyle;
    checkStyle->setParent(entries_);
    entries_->setStyle(checkStyle);
    entries_->setItemDelegate(new EntryDelegate(entries_));
    entries_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    listGroup->addWidget(entries_);
    listGroup->setFootnote(QStringLiteral("Drag to change the order; clear a box to leave an entry out"));
    connect(entries_->model(), &QAbstractItemModel::rowsMoved, this, [this] { saveEntries(); });
    connect(entries_, &QListWidget::itemChanged, this, [this] { saveEntries(); });

    observer_ = std::make_unique<ModelObserver>(model_, [this] { refresh(); });
    refresh();
}

PickerPage::~PickerPage() = default;

void PickerPage::refresh() {
    Settings& settings = model_.settings();
    checkQuietly(*trigger_, static_cast<int>(settings.pickerTrigger()));
    checkQuietly(*placement_, static_cast<int>(settings.pickerPlacement()));
    checkQuietly(*start_, static_cast<int>(settings.pickerStart()));
    setCheckedQuietly(*offersRule_, settings.pickerOffersRule());
    setCheckedQuietly(*copies_, settings.pickerCopies());

    const QSignalBlocker blocker(entries_);
    const QSignalBlocker blockModel(entries_->model());
    entries_->clear();
    const auto items = pickerOrderList(model_.browsers(), model_.profiles(), settings.pickerHidden(), settings.pickerOrder());
    for (const auto& item : items) {
        auto* row = new QListWidgetItem(qstr(model_.targetName(item.entry.target)));
        row->setData(Qt::UserRole, qstr(item.key));
        row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemIsDragEnabled);
        row->setCheckState(item.shown ? Qt::Checked : Qt::Unchecked);
        entries_->addItem(row);
    }
    entries_->setFixedHeight(std::max(1, entries_->count()) * kEntryHeight + 4);
}

void PickerPage::saveEntries() {
    std::vector<std::string> order;
    std::vector<std::string> hidden;
    for (int i = 0; i < entries_->count(); ++i) {
        const QListWidgetItem* row = entries_->item(i);
        const std::string key = stdstr(row->data(Qt::UserRole).toString());
        order.push_back(key);
        if (row->checkState() != Qt::Checked) hidden.push_back(key);
    }
    model_.changeSettings([&](Settings& s) {
        s.setPickerOrder(order);
        s.setPickerHidden(hidden);
    });
}

// --- Menu bar -----------------------------------------------------------------------

MenuBarPage::MenuBarPage(AppModel& model, QWidget* parent)
    : PVPage(QStringLiteral("Menu Bar"), parent),
      model_(model),
      shown_(makeSwitch(QStringLiteral("Show Pivra in the menu bar"))),
      icons_(new QButtonGroup(this)),
      recent_(new QSpinBox),
      countInMenu_(makeSwitch(QStringLiteral("Show today’s link count"))),
      optionClick_(makeSwitch(QStringLiteral("Option-click pauses Pivra"))) {
    auto* showGroup = addGroup(new PVGroup);
    showGroup->addRow(new PVRow(QStringLiteral("Show Pivra in the menu bar"),
                                QStringLiteral("When hidden, open Pivra again to reach its settings"), shown_));

    auto* iconGroup = addGroup(new PVGroup(QStringLiteral("Icon")));
    auto* iconRow = new QWidget;
    auto* iconLayout = new QHBoxLayout(iconRow);
    iconLayout->setContentsMargins(12, 10, 12, 10);
    iconLayout->setSpacing(8);
    for (const auto icon : allCases<MenuBarIcon>()) {
        auto* b = new QToolButton;
        b->setCheckable(true);
        b->setAutoRaise(true);
        b->setIconSize(QSize(22, 22));
        b->setFixedSize(40, 34);
        b->setAccessibleName(qstr(rawValue(icon)));
        b->setToolTip(qstr(rawValue(icon)));
        icons_->addButton(b, static_cast<int>(icon));
        iconLayout->addWidget(b);
    }
    iconLayout->addStretch(1);
    iconGroup->addWidget(iconRow);
    paintIcons();

    auto* menuGroup = addGroup(new PVGroup(QStringLiteral("Menu")));
    recent_->setRange(0, 20);
    recent_->setAccessibleName(QStringLiteral("Recent links"));
    menuGroup->addRow(new PVRow(QStringLiteral("Recent links"), QStringLiteral("How many the menu lists"), recent_));
    menuGroup->addRow(new PVRow(QStringLiteral("Show today’s link count"), {}, countInMenu_));
    menuGroup->addRow(new PVRow(QStringLiteral("Option-click pauses Pivra"),
                                QStringLiteral("An Option-click on the icon pauses routing, or resumes it"), optionClick_));

    connect(shown_, &QCheckBox::toggled, this,
            [this](bool on) { model_.changeSettings([on](Settings& s) { s.setMenuBarShown(on); }); });
    connect(icons_, &QButtonGroup::idClicked, this, [this](int id) {
        model_.changeSettings([id](Settings& s) { s.setMenuBarIcon(static_cast<MenuBarIcon>(id)); });
    });
    connect(recent_, &QSpinBox::valueChanged, this,
            [this](int value) { model_.changeSettings([value](Settings& s) { s.setRecentCount(value); }); });
    connect(countInMenu_, &QCheckBox::toggled, this,
            [this](bool on) { model_.changeSettings([on](Settings& s) { s.setCountInMenu(on); }); });
    connect(optionClick_, &QCheckBox::toggled, this,
            [this](bool on) { model_.changeSettings([on](Settings& s) { s.setOptionClickPauses(on); }); });

    observer_ = std::make_unique<ModelObserver>(model_, [this] { refresh(); });
    refresh();
}

MenuBarPage::~MenuBarPage() = default;

void MenuBarPage::paintIcons() {
    const QColor color = palette().color(QPalette::WindowText);
    for (QAbstractButton* b : icons_->buttons()) {
        b->setIcon(QIcon(menuBarGlyph(static_cast<MenuBarIcon>(icons_->id(b)), 22, color, false, devicePixelRatioF())));
    }
}

void MenuBarPage::changeEvent(QEvent* event) {
    // The glyphs are drawn in the text colour, which changes with the theme.
    if (event->type() == QEvent::PaletteChange) paintIcons();
    PVPage::changeEvent(event);
}

void MenuBarPage::refresh() {
    Settings& settings = model_.settings();
    setCheckedQuietly(*shown_, settings.menuBarShown());
    if (QAbstractButton* b = icons_->button(static_cast<int>(settings.menuBarIcon()))) {
        const QSignalBlocker blocker(b);
        b->setChecked(true);
    }
    {
        const QSignalBlocker blocker(recent_);
        recent_->setValue(static_cast<int>(settings.recentCount()));
    }
    setCheckedQuietly(*countInMenu_, settings.countInMenu());
    setCheckedQuietly(*optionClick_, settings.optionClickPauses());
}

}  // namespace pivra
