#include "gui/picker/picker_view.hpp"

#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/model/picker_controller.hpp"
#include "gui/picker/picker_keys.hpp"
#include "gui/style/pv_button_style.hpp"
#include "gui/style/pv_key_cap.hpp"
#include "gui/style/pv_switch_style.hpp"
#include "gui/style/theme.hpp"

namespace pivra {

namespace {

constexpr int kMargin = 10;
constexpr int kBadgeSize = 24;
constexpr double kRowRadius = 6;

QString qs(const std::string& text) { return QString::fromStdString(text); }

// A steady colour per app, so the same browser looks the same every time.
QColor badgeColor(const std::string& app) {
    const auto hash = qHash(QByteArray::fromStdString(app));
    return QColor::fromHsv(static_cast<int>(hash % 360), 120, 200);
}

QFrame* hairline() {
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    line->setFixedHeight(1);
    return line;
}

}  // namespace

// --- PickerRowView ---

PickerRowView::PickerRowView()
    : name_(new QLabel), sub_(new QLabel), rule_(new QLabel), key_(new PVKeyCap) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(8 + kBadgeSize + 10, 5, 8, 5);
    layout->setSpacing(8);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(0);
    setTextRole(*name_, TextRole::body);
    setTextRole(*sub_, TextRole::secondary);
    setTextRole(*rule_, TextRole::secondary);
    texts->addWidget(name_);
    texts->addWidget(sub_);
    layout->addLayout(texts, 1);
    layout->addWidget(rule_, 0, Qt::AlignVCenter);
    layout->addWidget(key_, 0, Qt::AlignVCenter);
    setMinimumHeight(kBadgeSize + 12);
}

void PickerRowView::show(const PickerRow& row) {
    selected_ = row.selected;
    name_->setText(qs(row.entry.name));
    sub_->setText(qs(row.entry.sub));
    sub_->setVisible(!row.entry.sub.empty());
    rule_->setText(row.ruleLabel ? qs(*row.ruleLabel) : QString());
    rule_->setVisible(row.ruleLabel.has_value());
    key_->setText(row.number ? QString::number(*row.number) : QString());
    key_->setVisible(row.number.has_value());
    key_->setOnAccent(selected_);
    const QString name = qs(row.entry.name);
    initial_ = name.isEmpty() ? QStringLiteral("?") : name.left(1).toUpper();
    badge_ = badgeColor(row.entry.target.app);
    // On the accent every text is the highlighted text colour.
    const auto role = selected_ ? QPalette::HighlightedText : QPalette::WindowText;
    name_->setForegroundRole(role);
    sub_->setForegroundRole(selected_ ? QPalette::HighlightedText : QPalette::PlaceholderText);
    rule_->setForegroundRole(selected_ ? QPalette::HighlightedText : QPalette::PlaceholderText);
    update();
}

QString PickerRowView::name() const { return name_->text(); }
QString PickerRowView::sub() const { return sub_->text(); }
QString PickerRowView::ruleLabel() const { return rule_->text(); }
QString PickerRowView::numberKey() const { return key_->text(); }

void PickerRowView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (selected_) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().color(QPalette::Highlight));
        painter.drawRoundedRect(QRectF(rect()), kRowRadius, kRowRadius);
    }
    const QRectF badge(8, (height() - kBadgeSize) / 2.0, kBadgeSize, kBadgeSize);
    painter.setPen(selected_ ? QPen(QColor(255, 255, 255, 200), 1.5) : Qt::NoPen);
    painter.setBrush(badge_);
    painter.drawEllipse(badge);
    QFont font = this->font();
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(badge, Qt::AlignCenter, initial_);
}

void PickerRowView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()) && onClick_) onClick_();
}

// --- PickerView ---

PickerView::PickerView()
    : title_(new QLabel), explanation_(new QLabel), source_(new QLabel), rowsBox_(new QWidget),
      rowsLayout_(new QVBoxLayout(rowsBox_)), rememberBox_(new QWidget), remember_(new QCheckBox),
      rememberCaption_(new QLabel), openKey_(new PVKeyCap(QStringLiteral("↩"))), openLabel_(new QLabel(tr("Open"))),
      copy_(new QPushButton(tr("Copy"))),
      copyKey_(new PVKeyCap(QKeySequence(QKeySequence::Copy).toString(QKeySequence::NativeText))) {
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_ShowWithoutActivating, false);
    setFocusPolicy(Qt::StrongFocus);
    setFixedWidth(kWidth);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(6);
    layout->setSizeConstraint(QLayout::SetNoConstraint);

    auto* header = new QVBoxLayout;
    header->setContentsMargins(4, 0, 4, 0);
    header->setSpacing(1);
    setTextRole(*title_, TextRole::title);
    title_->setTextFormat(Qt::PlainText);
    explanation_->setWordWrap(true);
    setTextRole(*explanation_, TextRole::secondary);
    setTextRole(*source_, TextRole::secondary);
    header->addWidget(title_);
    header->addWidget(explanation_);
    header->addWidget(source_);
    layout->addLayout(header);
    layout->addWidget(hairline());

    rowsLayout_->setContentsMargins(0, 0, 0, 0);
    rowsLayout_->setSpacing(1);
    layout->addWidget(rowsBox_);

    auto* rememberLayout = new QVBoxLayout(rememberBox_);
    rememberLayout->setContentsMargins(0, 0, 0, 0);
    rememberLayout->setSpacing(6);
    rememberLayout->addWidget(hairline());
    PVSwitchStyle::apply(*remember_);
    remember_->setFocusPolicy(Qt::NoFocus);
    rememberCaption_->setWordWrap(true);
    setTextRole(*rememberCaption_, TextRole::secondary);
    // The caption lines up with the switch's label, past the track.
    rememberCaption_->setContentsMargins(PVSwitchStyle::kTrackWidth + 8, 0, 0, 0);
    auto* rememberTexts = new QVBoxLayout;
    rememberTexts->setContentsMargins(4, 0, 4, 0);
    rememberTexts->setSpacing(2);
    rememberTexts->addWidget(remember_);
    rememberTexts->addWidget(rememberCaption_);
    rememberLayout->addLayout(rememberTexts);
    layout->addWidget(rememberBox_);
    connect(remember_, &QCheckBox::toggled, this, [this](bool on) {
        if (state_ && state_->remember() != on) state_->setRemember(on);
    });

    layout->addWidget(hairline());
    auto* footer = new QHBoxLayout;
    footer->setContentsMargins(4, 0, 0, 0);
    footer->setSpacing(6);
    setTextRole(*openLabel_, TextRole::secondary);
    footer->addWidget(openKey_);
    footer->addWidget(openLabel_);
    footer->addStretch(1);
    footer->addWidget(copyKey_);
    PVButtonStyle::apply(*copy_, PVButtonStyle::Kind::normal);
    copy_->setFocusPolicy(Qt::NoFocus);
    footer->addWidget(copy_);
    layout->addLayout(footer);
    connect(copy_, &QPushButton::clicked, this, [this] {
        if (state_) state_->copy();
    });
}

PickerRowView* PickerView::rowAt(int index) {
    while (static_cast<int>(rowPool_.size()) <= index) {
        auto* row = new PickerRowView;
        const int position = static_cast<int>(rowPool_.size());
        row->setOnClick([this, position] {
            if (state_) state_->pick(position);
        });
        rowsLayout_->addWidget(row);
        rowPool_.push_back(row);
    }
    return rowPool_[index];
}

std::vector<PickerRowView*> PickerView::rows() const {
    return {rowPool_.begin(), rowPool_.begin() + rowsInUse_};
}

void PickerView::showState(PickerState* state, bool copies) {
    state_ = state;
    if (!state) {
        for (auto* row : rowPool_) row->hide();
        rowsInUse_ = 0;
        return;
    }
    const QString title = qs(state->title());
    const int titleWidth = kWidth - 2 * kMargin - 8;
    title_->setText(QFontMetrics(title_->font()).elidedText(title, Qt::ElideMiddle, titleWidth));
    title_->setToolTip(title);
    explanation_->setText(qs(state->explanation()));
    explanation_->setVisible(!state->explanation().empty());
    source_->setText(qs(state->sourceLine()));

    const auto rows = state->rows();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        PickerRowView* row = rowAt(static_cast<int>(i));
        row->show(rows[i]);
        row->setVisible(true);
    }
    for (std::size_t i = rows.size(); i < rowPool_.size(); ++i) rowPool_[i]->hide();
    rowsInUse_ = static_cast<int>(rows.size());
    rowsBox_->setVisible(!rows.empty());

    rememberBox_->setVisible(state->rememberShown());
    if (state->rememberShown()) {
        remember_->setText(qs(state->rememberLabel()));
        rememberCaption_->setText(qs(state->rememberCaption()));
        const QSignalBlocker quiet(remember_);
        remember_->setChecked(state->remember());
    }
    copy_->setVisible(copies);
    copyKey_->setVisible(copies);
}

void PickerView::setHooks(PickerWindow::KeyHook onKey, PickerWindow::FocusLostHook onFocusLost) {
    onKey_ = std::move(onKey);
    onFocusLost_ = std::move(onFocusLost);
}

int PickerView::fittingHeight() {
    // Fonts and metrics are final only once polished (the first time, before any show).
    ensurePolished();
    // A hidden window's nested layouts keep the sizes of the texts they had
    // when it was last shown; changed texts must count.
    for (QLayout* nested : findChildren<QLayout*>()) nested->invalidate();
    QLayout* content = layout();
    content->invalidate();
    content->activate();
    return content->hasHeightForWidth() ? content->totalHeightForWidth(kWidth) : content->totalSizeHint().height();
}

void PickerView::keyPressEvent(QKeyEvent* event) {
    // A copy runs: a key that ends the picker clears the hooks.
    const PickerWindow::KeyHook hook = onKey_;
    if (hook && hook(pickerKeyFor(event->key(), event->modifiers(), event->text()))) {
        event->accept();
        return;
    }
    QWidget::keyPressEvent(event);
}

void PickerView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::ActivationChange) return;
    if (isActiveWindow()) {
        wasActive_ = true;
        return;
    }
    // A click elsewhere took the keyboard: the picker ends without a choice.
    // A copy runs: the close it causes clears the hooks.
    const PickerWindow::FocusLostHook hook = onFocusLost_;
    if (std::exchange(wasActive_, false) && isVisible() && hook) hook();
}

void PickerView::paintEvent(QPaintEvent* event) {
    QWidget::paintEvent(event);
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

}  // namespace pivra
