#include "gui/settings/settings_window.hpp"

#include <QHBoxLayout>
#include <QListWidget>
#include <QPainter>
#include <QStackedWidget>
#include <QStyledItemDelegate>

#include "gui/settings/general_page.hpp"
#include "gui/settings/other_pages.hpp"
#include "gui/settings/page_support.hpp"
#include "gui/settings/rules_page.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

// Sidebar titles, in the pages' order.
constexpr std::array<const char*, 5> kPageTitles{"Rules", "Browsers", "Picker", "Menu Bar", "General"};
constexpr int kSidebarWidth = 170;

// The sidebar draws its selection as a rounded accent pill.
class SidebarDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        return QSize(option.rect.width(), 30);
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const bool selected = option.state & QStyle::State_Selected;
        const QRectF pill = QRectF(option.rect).adjusted(8, 1, -8, -1);
        if (selected) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(option.palette.color(QPalette::Highlight));
            painter->drawRoundedRect(pill, 6, 6);
        }
        painter->setPen(selected ? option.palette.color(QPalette::HighlightedText) : option.palette.color(QPalette::Text));
        painter->setFont(option.font);
        painter->drawText(pill.adjusted(10, 0, -6, 0), Qt::AlignVCenter | Qt::AlignLeft, index.data().toString());
        painter->restore();
    }
};

}  // namespace

SettingsWindow::SettingsWindow(AppModel& model, QWidget* parent)
    : QWidget(parent, Qt::Window),
      model_(model),
      sidebar_(new QListWidget),
      stack_(new QStackedWidget),
      rules_(new RulesPage(model)),
      browsers_(new BrowsersPage(model)),
      picker_(new PickerPage(model)),
      menuBar_(new MenuBarPage(model)),
      general_(new GeneralPage(model)) {
    setWindowTitle(QStringLiteral("Pivra Settings"));
    resize(1040, 760);
    setMinimumSize(860, 600);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    sidebar_->setFixedWidth(kSidebarWidth);
    sidebar_->setFrameShape(QFrame::NoFrame);
    sidebar_->setItemDelegate(new SidebarDelegate(sidebar_));
    sidebar_->setAccessibleName(QStringLiteral("Settings pages"));
    sidebar_->setBackgroundRole(QPalette::AlternateBase);
    sidebar_->viewport()->setBackgroundRole(QPalette::Button);
    sidebar_->setContentsMargins(0, 12, 0, 0);
    sidebar_->setSpacing(1);
    for (const char* title : kPageTitles) sidebar_->addItem(QString::fromUtf8(title));
    layout->addWidget(sidebar_);
    for (QWidget* page : std::initializer_list<QWidget*>{rules_, browsers_, picker_, menuBar_, general_}) {
        stack_->addWidget(page);
    }
    layout->addWidget(stack_, 1);

    connect(sidebar_, &QListWidget::currentRowChanged, stack_, &QStackedWidget::setCurrentIndex);
    model_.setOnOpenSettings([this](SettingsPage page) { present(page); });
    applyTheme(*this, Theme::system(qstr(model_.settings().accent())));
    // The accent setting restyles the window unless a theme is pinned.
    observer_ = std::make_unique<ModelObserver>(model_, [this] {
        if (!pinned_ && qstr(model_.settings().accent()) != accent_) {
            accent_ = qstr(model_.settings().accent());
            applyTheme(*this, Theme::system(accent_));
        }
    });
    accent_ = qstr(model_.settings().accent());
    showPage(model_.settingsPage());
}

SettingsWindow::~SettingsWindow() { model_.setOnOpenSettings({}); }

void SettingsWindow::showPage(SettingsPage page) { sidebar_->setCurrentRow(static_cast<int>(page)); }

SettingsPage SettingsWindow::currentPage() const { return static_cast<SettingsPage>(std::max(0, sidebar_->currentRow())); }

void SettingsWindow::present(SettingsPage page) {
    showPage(page);
    show();
    raise();
    activateWindow();
}

void SettingsWindow::pinTheme(const Theme& theme) {
    pinned_ = true;
    applyTheme(*this, theme);
}

}  // namespace pivra
