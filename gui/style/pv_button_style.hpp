#pragma once
// PVButtonStyle: push buttons as rounded, flat native-looking buttons: normal (grey), prominent (accent filled) or plain (accent text).

#include <QProxyStyle>

class QAbstractButton;

namespace pivra {

class PVButtonStyle : public QProxyStyle {
    Q_OBJECT
public:
    enum class Kind {
        normal,     // a grey fill, the text in the text colour
        prominent,  // the accent fill, white text: the default action
        plain,      // no fill, the text in the accent: a link-like action
    };

    explicit PVButtonStyle(Kind kind);
    // Gives `button` this look; the style lives as long as the button.
    static void apply(QAbstractButton& button, Kind kind = Kind::normal);

    Kind kind() const { return kind_; }

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget = nullptr) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;

private:
    Kind kind_;
};

}  // namespace pivra
