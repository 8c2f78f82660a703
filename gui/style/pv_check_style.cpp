#include "gui/style/pv_check_style.hpp"

#include <QAbstractButton>
#include <QPainter>
#include <QPainterPath>
#include <QStyleOption>

namespace pivra {

void PVCheckStyle::apply(QAbstractButton& button) {
    auto* style = new PVCheckStyle;
    style->setParent(&button);
    button.setStyle(style);
}

void PVCheckStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                 const QWidget* widget) const {
    const bool box = element == PE_IndicatorCheckBox;
    const bool radio = element == PE_IndicatorRadioButton;
    if (!box && !radio) {
        if (element == PE_FrameFocusRect) return;
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    const bool on = option->state & State_On;
    const bool partly = option->state & State_NoChange;
    const bool enabled = option->state & State_Enabled;
    const QPalette::ColorGroup group = enabled ? QPalette::Active : QPalette::Disabled;
    const int size = kIndicatorSize;
    const QRectF mark(option->rect.x() + (option->rect.width() - size) / 2.0,
                      option->rect.y() + (option->rect.height() - size) / 2.0, size, size);
    QColor fill = on || partly ? option->palette.color(group, QPalette::Highlight)
                               : option->palette.color(group, QPalette::Base);
    if (option->state & State_Sunken) fill = fill.darker(112);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    // The outline from the secondary text colour, so an empty box shows on
    // light and dark backgrounds alike.
    QColor outline = option->palette.color(group, QPalette::PlaceholderText);
    outline.setAlphaF(0.75f);
    painter->setPen(on || partly ? Qt::NoPen : QPen(outline, 1));
    painter->setBrush(fill);
    const QRectF inner = mark.adjusted(0.5, 0.5, -0.5, -0.5);
    if (box) painter->drawRoundedRect(inner, 4, 4);
    else painter->drawEllipse(inner);
    const QColor ink = option->palette.color(group, QPalette::HighlightedText);
    if (radio && on) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(ink);
        painter->drawEllipse(mark.center(), size * 0.2, size * 0.2);
    } else if (box && partly) {
        painter->setPen(QPen(ink, 2, Qt::SolidLine, Qt::RoundCap));
        painter->drawLine(QPointF(mark.left() + 4, mark.center().y()), QPointF(mark.right() - 4, mark.center().y()));
    } else if (box && on) {
        QPainterPath tick;
        tick.moveTo(mark.left() + size * 0.25, mark.top() + size * 0.52);
        tick.lineTo(mark.left() + size * 0.43, mark.top() + size * 0.70);
        tick.lineTo(mark.left() + size * 0.76, mark.top() + size * 0.32);
        painter->setPen(QPen(ink, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter->setBrush(Qt::NoBrush);
        painter->drawPath(tick);
    }
    painter->restore();
}

int PVCheckStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
        case PM_IndicatorWidth:
        case PM_IndicatorHeight:
        case PM_ExclusiveIndicatorWidth:
        case PM_ExclusiveIndicatorHeight: return kIndicatorSize;
        case PM_CheckBoxLabelSpacing:
        case PM_RadioButtonLabelSpacing: return 6;
        default: return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

}  // namespace pivra
