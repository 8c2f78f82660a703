#pragma once
// PVCheckStyle: check boxes as rounded squares and radio buttons as circles, filled with the accent and a white mark when on.

#include <QProxyStyle>

class QAbstractButton;

namespace pivra {

class PVCheckStyle : public QProxyStyle {
    Q_OBJECT
public:
    static constexpr int kIndicatorSize = 16;

    PVCheckStyle() = default;
    // Gives `button` (a QCheckBox or QRadioButton) this look; the style lives as long as the button.
    static void apply(QAbstractButton& button);

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option = nullptr,
                    const QWidget* widget = nullptr) const override;
};

}  // namespace pivra
