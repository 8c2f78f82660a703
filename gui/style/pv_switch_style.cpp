#include "gui/style/pv_switch_style.hpp"

#include <QAbstractButton>
#include <QPainter>
#include <QStyleOption>

namespace pivra {

void PVSwitchStyle::apply(QAbstractButton& button) {
    auto* style = new PVSwitchStyle;
    style->setParent(&button);
    button.setCheckable(true);
    button.setStyle(style);
}

void PVSwitchStyle::drawSwitch(QPainter& painter, const QRect& rect, const QPalette& palette, bool on, bool enabled,
                               bool down) {
    const QRectF track(rect.x() + (rect.width() - kTrackWidth) / 2.0, rect.y() + (rect.height() - kTrackHeight) / 2.0,
                       kTrackWidth, kTrackHeight);
    const QPalette::ColorGroup group = enabled ? QPalette::Active : QPalette::Disabled;
    QColor fill = on ? palette.color(group, QPalette::Highlight) : palette.color(group, QPalette::Button);
    if (down) fill = fill.darker(112);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(on ? Qt::NoPen : QPen(palette.color(group, QPalette::Mid), 1));
    painter.setBrush(fill);
    const double radius = kTrackHeight / 2.0;
    painter.drawRoundedRect(track.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    // The knob: white, with a faint edge so it shows on a light track.
    const double inset = 2;
    const double knob = kTrackHeight - 2 * inset;
    const double knobX = on ? track.right() - inset - knob : track.left() + inset;
    painter.setPen(QPen(QColor(0, 0, 0, 40), 0.8));
    // A disabled knob is faded into the track.
    painter.setBrush(enabled ? QColor(Qt::white) : QColor(255, 255, 255, 110));
    painter.drawEllipse(QRectF(knobX, track.top() + inset, knob, knob));
    painter.restore();
}

void PVSwitchStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                  const QWidget* widget) const {
    if (element == PE_IndicatorCheckBox) {
        drawSwitch(*painter, option->rect, option->palette, option->state & State_On, option->state & State_Enabled,
                   option->state & State_Sunken);
        return;
    }
    if (element == PE_FrameFocusRect) return;  // the track shows the focus by itself: nothing around the text
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

int PVSwitchStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
        case PM_IndicatorWidth: return kTrackWidth;
        case PM_IndicatorHeight: return kTrackHeight;
        case PM_CheckBoxLabelSpacing: return 8;
        default: return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

}  // namespace pivra
