#include "gui/style/pv_button_style.hpp"

#include <algorithm>

#include <QAbstractButton>
#include <QPainter>
#include <QStyleOptionButton>

namespace pivra {

namespace {
constexpr double kRadius = 6;
constexpr int kPaddingX = 12;
constexpr int kPaddingY = 4;
}  // namespace

PVButtonStyle::PVButtonStyle(Kind kind) : kind_(kind) {}

void PVButtonStyle::apply(QAbstractButton& button, Kind kind) {
    auto* style = new PVButtonStyle(kind);
    style->setParent(&button);
    button.setStyle(style);
    button.setCursor(Qt::ArrowCursor);
}

void PVButtonStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                  const QWidget* widget) const {
    // The bevel is drawn whole in drawControl; no separate focus rectangle.
    if (element == PE_FrameFocusRect || element == PE_FrameDefaultButton) return;
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void PVButtonStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                                const QWidget* widget) const {
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (!button || (element != CE_PushButtonBevel && element != CE_PushButtonLabel && element != CE_PushButton)) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    if (element == CE_PushButton) {
        drawControl(CE_PushButtonBevel, option, painter, widget);
        QStyleOptionButton label = *button;
        label.rect = subElementRect(SE_PushButtonContents, button, widget);
        drawControl(CE_PushButtonLabel, &label, painter, widget);
        return;
    }
    const bool enabled = button->state & State_Enabled;
    const bool down = button->state & (State_Sunken | State_On);
    const bool hover = enabled && (button->state & State_MouseOver);
    if (element == CE_PushButtonBevel) {
        QColor fill;
        switch (kind_) {
            case Kind::normal: fill = button->palette.color(QPalette::Button); break;
            case Kind::prominent: fill = button->palette.color(QPalette::Highlight); break;
            case Kind::plain: fill = Qt::transparent; break;
        }
        if (kind_ != Kind::plain && down) fill = fill.darker(118);
        else if (kind_ != Kind::plain && hover) fill = fill.lighter(106);
        else if (kind_ == Kind::plain && down) fill = button->palette.color(QPalette::Mid);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(fill);
        painter->drawRoundedRect(QRectF(button->rect).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
        if (button->state & State_HasFocus && button->state & State_KeyboardFocusChange) {
            QColor ring = button->palette.color(QPalette::Highlight);
            ring.setAlpha(140);
            painter->setPen(QPen(ring, 2));
            painter->setBrush(Qt::NoBrush);
            painter->drawRoundedRect(QRectF(button->rect).adjusted(1, 1, -1, -1), kRadius, kRadius);
        }
        painter->restore();
        return;
    }
    // The label: the base style's, in the kind's text colour.
    QStyleOptionButton label = *button;
    QColor ink = button->palette.color(QPalette::ButtonText);
    if (kind_ == Kind::prominent) ink = button->palette.color(QPalette::HighlightedText);
    if (kind_ == Kind::plain) ink = button->palette.color(QPalette::Highlight);
    if (!enabled && kind_ != Kind::prominent) ink = button->palette.color(QPalette::Disabled, QPalette::ButtonText);
    label.palette.setColor(QPalette::ButtonText, ink);
    label.state &= ~(State_Sunken | State_On);  // no shift of the text when pressed
    QProxyStyle::drawControl(CE_PushButtonLabel, &label, painter, widget);
}

QSize PVButtonStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                      const QWidget* widget) const {
    if (type != CT_PushButton) return QProxyStyle::sizeFromContents(type, option, size, widget);
    const int textHeight = option->fontMetrics.height();
    return {size.width() + 2 * kPaddingX, std::max(size.height(), textHeight) + 2 * kPaddingY};
}

}  // namespace pivra
