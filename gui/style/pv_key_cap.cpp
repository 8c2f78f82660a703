#include "gui/style/pv_key_cap.hpp"

#include <algorithm>

#include <QEvent>
#include <QPainter>

#include "gui/style/theme.hpp"

namespace pivra {

PVKeyCap::PVKeyCap(const QString& text, QWidget* parent) : QWidget(parent), text_(text) {
    setTextRole(*this, TextRole::keyCap);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void PVKeyCap::setText(const QString& text) {
    if (text_ == text) return;
    text_ = text;
    updateGeometry();
    update();
}

void PVKeyCap::setOnAccent(bool onAccent) {
    if (onAccent_ == onAccent) return;
    onAccent_ = onAccent;
    update();
}

QSize PVKeyCap::sizeHint() const {
    const QFontMetrics metrics(font());
    const int height = metrics.height() + 4;
    return {std::max(height, metrics.horizontalAdvance(text_) + 10), height};
}

void PVKeyCap::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) updateGeometry();
    QWidget::changeEvent(event);
}

void PVKeyCap::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QColor ink = onAccent_ ? palette().color(QPalette::HighlightedText) : palette().color(QPalette::PlaceholderText);
    QColor edge = ink;
    edge.setAlphaF(onAccent_ ? 0.7 : 0.55);
    painter.setPen(QPen(edge, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(box, 4, 4);
    painter.setPen(ink);
    painter.drawText(rect(), Qt::AlignCenter, text_);
}

}  // namespace pivra
