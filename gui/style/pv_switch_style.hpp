#pragma once
// PVSwitchStyle: a QCheckBox (or any checkable QAbstractButton drawn as one) as an on/off switch: a rounded track, accent when on, and a round knob.

#include <QProxyStyle>

class QAbstractButton;

namespace pivra {

class PVSwitchStyle : public QProxyStyle {
    Q_OBJECT
public:
    static constexpr int kTrackWidth = 32;
    static constexpr int kTrackHeight = 18;

    PVSwitchStyle() = default;
    // Gives `button` (made checkable) the switch look; the style lives as long as the button.
    static void apply(QAbstractButton& button);
    // Draws the switch into `rect` (the track is centred in it), for
    // painters outside a check box.
    static void drawSwitch(QPainter& painter, const QRect& rect, const QPalette& palette, bool on, bool enabled,
                           bool down);

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option = nullptr,
                    const QWidget* widget = nullptr) const override;
};

}  // namespace pivra
