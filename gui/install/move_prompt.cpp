#include "gui/install/move_prompt.hpp"

#include <cmath>

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/icon/app_icon.hpp"
#include "gui/style/pv_button_style.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

constexpr int kWidth = 460;
constexpr int kIconSize = 64;
constexpr const char* kMoving = "Moving…";

QString qs(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

// The app's icon, as the Mac shows it in its own prompts.
class AppIconView : public QWidget {
public:
    AppIconView() { setFixedSize(kIconSize, kIconSize); }

protected:
    void paintEvent(QPaintEvent*) override {
        const qreal ratio = devicePixelRatioF();
        QImage icon = appIcon(static_cast<int>(std::lround(kIconSize * ratio)));
        icon.setDevicePixelRatio(ratio);
        QPainter painter(this);
        painter.drawImage(0, 0, icon);
    }
};

QLabel* label(TextRole role) {
    auto* l = new QLabel;
    l->setWordWrap(true);
    l->setTextInteractionFlags(Qt::TextSelectableByMouse);
    setTextRole(*l, role);
    return l;
}

}  // namespace

MovePromptWindow::MovePromptWindow(MoveToApplications& flow, const Theme& theme, QWidget* parent)
    : QWidget(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint),
      flow_(flow),
      title_(label(TextRole::title)),
      text_(label(TextRole::body)),
      note_(label(TextRole::secondary)),
      error_(label(TextRole::body)),
      busy_(new QProgressBar),
      busyText_(label(TextRole::secondary)),
      secondary_(new QPushButton),
      primary_(new QPushButton) {
    setWindowTitle(QStringLiteral("Pivra"));
    error_->setObjectName(QStringLiteral("moveError"));
    busy_->setRange(0, 0);  // indeterminate
    busy_->setTextVisible(false);
    busy_->setFixedSize(140, 8);
    busyText_->setText(QString::fromUtf8(kMoving));
    busyText_->setWordWrap(false);
    PVButtonStyle::apply(*secondary_);
    PVButtonStyle::apply(*primary_, PVButtonStyle::Kind::prominent);
    primary_->setDefault(true);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(8);
    texts->addWidget(title_);
    texts->addWidget(text_);
    texts->addWidget(note_);
    texts->addWidget(error_);
    auto* busyRow = new QHBoxLayout;
    busyRow->setSpacing(8);
    busyRow->addWidget(busy_, 0, Qt::AlignVCenter);
    busyRow->addWidget(busyText_, 0, Qt::AlignVCenter);
    busyRow->addStretch(1);
    texts->addLayout(busyRow);
    texts->addSpacing(8);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(10);
    buttons->addStretch(1);
    buttons->addWidget(secondary_);
    buttons->addWidget(primary_);
    texts->addLayout(buttons);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 18);
    layout->setSpacing(18);
    layout->addWidget(new AppIconView, 0, Qt::AlignTop);
    layout->addLayout(texts, 1);

    connect(primary_, &QPushButton::clicked, this, [this] { primaryClicked(); });
    connect(secondary_, &QPushButton::clicked, this, [this] { flow_.notNow(); });
    applyTheme(*this, theme);
    observer_ = flow_.addObserver([this] { refresh(); });
    refresh();
    primary_->setFocus();
}

MovePromptWindow::~MovePromptWindow() { flow_.removeObserver(observer_); }

void MovePromptWindow::refresh() {
    const MoveState& state = flow_.state();
    const MovePrompt texts = movePrompt(state.kind);
    title_->setText(qs(texts.title));
    text_->setText(qs(texts.text));
    note_->setText(qs(texts.note));
    note_->setVisible(!texts.note.empty());
    error_->setText(state.error ? QString::fromStdString(*state.error) : QString());
    error_->setVisible(state.error.has_value() && !state.working);
    busy_->setVisible(state.working);
    busyText_->setVisible(state.working);
    primary_->setText(qs(texts.primaryButton));
    secondary_->setText(qs(texts.secondaryButton));
    primary_->setEnabled(!state.working);
    secondary_->setEnabled(!state.working);
    // The nested layouts keep the heights they measured last; measure afresh.
    for (QLayout* nested : layout()->findChildren<QLayout*>()) nested->invalidate();
    layout()->invalidate();
    setFixedSize(kWidth, layout()->totalHeightForWidth(kWidth));
    if (!state.promptOpen && isVisible()) close();
}

void MovePromptWindow::primaryClicked() {
    if (flow_.state().kind == MoveState::Kind::alreadyThere) {
        flow_.openThatOne();
    } else {
        flow_.move();
    }
}

void MovePromptWindow::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Escape:
            if (secondary_->isEnabled()) secondary_->click();
            return;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (primary_->isEnabled()) primary_->click();
            return;
        default:
            QWidget::keyPressEvent(event);
    }
}

// Closing the window is Not Now; while a move runs it stays.
void MovePromptWindow::closeEvent(QCloseEvent* event) {
    const MoveState& state = flow_.state();
    if (state.promptOpen && state.working) {
        event->ignore();
        return;
    }
    if (state.promptOpen) flow_.notNow();
    event->accept();
}

void MovePromptWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) colourError();
    QWidget::changeEvent(event);
}

// Red, a little lighter on a dark window; only the text's colour is the
// label's own, the rest follows the window.
void MovePromptWindow::colourError() {
    const bool dark = palette().color(QPalette::Window).lightness() < 128;
    QPalette red;
    red.setColor(QPalette::WindowText, dark ? QColor(0xff, 0x6b, 0x61) : QColor(0xc4, 0x2b, 0x1c));
    error_->setPalette(red);
}

}  // namespace pivra
