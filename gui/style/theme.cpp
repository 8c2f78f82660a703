#include "gui/style/theme.hpp"

#include <array>
#include <utility>

#include <QApplication>
#include <QGuiApplication>
#include <QStyleHints>
#include <QVariant>
#include <QWidget>

namespace pivra {
namespace {

constexpr const char* kTextRoleProperty = "pvTextRole";

struct Accent {
    const char* name;
    QRgb color;
};

// The system's accent colours, as the Mac draws them in light mode.
constexpr std::array<Accent, 8> kAccents{{
    {"Blue", 0xff007aff},
    {"Purple", 0xff954ed6},
    {"Pink", 0xffe2458d},
    {"Red", 0xffe0383e},
    {"Orange", 0xfff7821b},
    {"Yellow", 0xffe5b400},
    {"Green", 0xff62ba46},
    {"Graphite", 0xff8c8c8c},
}};

Theme makeTheme(bool dark, const QString& accentName) {
    Theme theme;
    theme.isDark = dark;
    theme.accent = accentColor(accentName);
    // Dark mode lifts the accent a little so it keeps its contrast on dark grey.
    if (dark) theme.accent = theme.accent.lighter(112);
    theme.baseFont = QApplication::font();
    return theme;
}

QFont roleFont(TextRole role, const QFont& base) {
    QFont font = base;
    const double size = base.pointSizeF() > 0 ? base.pointSizeF() : 10.0;
    switch (role) {
        case TextRole::body: break;
        case TextRole::secondary: font.setPointSizeF(size * 0.88); break;
        case TextRole::header:
            font.setPointSizeF(size * 0.88);
            font.setWeight(QFont::DemiBold);
            break;
        case TextRole::title:
            font.setPointSizeF(size * 1.15);
            font.setWeight(QFont::DemiBold);
            break;
        case TextRole::keyCap: font.setPointSizeF(size * 0.82); break;
    }
    return font;
}

void applyRole(QWidget& widget, TextRole role, const QFont& base) {
    widget.setFont(roleFont(role, base));
    const bool muted = role == TextRole::secondary || role == TextRole::header || role == TextRole::keyCap;
    widget.setForegroundRole(muted ? QPalette::PlaceholderText : QPalette::WindowText);
}

}  // namespace

QStringList accentNames() {
    QStringList names;
    for (const auto& accent : kAccents) names << QString::fromLatin1(accent.name);
    return names;
}

QColor accentColor(const QString& name) {
    for (const auto& accent : kAccents) {
        if (name == QLatin1String(accent.name)) return QColor::fromRgba(accent.color);
    }
    return QColor::fromRgba(kAccents.front().color);
}

Theme Theme::system(const QString& accentName) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    const auto scheme = QGuiApplication::styleHints()->colorScheme();
    if (scheme != Qt::ColorScheme::Unknown) return makeTheme(scheme == Qt::ColorScheme::Dark, accentName);
#endif
    // Before 6.5 the platform's palette tells: a dark window means dark mode.
    return makeTheme(QGuiApplication::palette().color(QPalette::Window).lightness() < 128, accentName);
}

Theme Theme::light(const QString& accentName) { return makeTheme(false, accentName); }
Theme Theme::dark(const QString& accentName) { return makeTheme(true, accentName); }

QColor Theme::secondaryText() const { return isDark ? QColor(0x98, 0x98, 0x9d) : QColor(0x6e, 0x6e, 0x73); }

QColor Theme::separator() const { return isDark ? QColor(0x48, 0x48, 0x4a) : QColor(0xd8, 0xd8, 0xdc); }

QPalette Theme::palette() const {
    const QColor window = isDark ? QColor(0x24, 0x24, 0x26) : QColor(0xf0, 0xf0, 0xf2);
    const QColor base = isDark ? QColor(0x30, 0x30, 0x33) : QColor(0xff, 0xff, 0xff);
    const QColor text = isDark ? QColor(0xf2, 0xf2, 0xf7) : QColor(0x1d, 0x1d, 0x1f);
    const QColor button = isDark ? QColor(0x48, 0x48, 0x4c) : QColor(0xe3, 0xe3, 0xe8);
    QPalette palette;
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        palette.setColor(group, QPalette::Window, window);
        palette.setColor(group, QPalette::Base, base);
        palette.setColor(group, QPalette::AlternateBase, window);
        palette.setColor(group, QPalette::Text, text);
        palette.setColor(group, QPalette::WindowText, text);
        palette.setColor(group, QPalette::ButtonText, text);
        palette.setColor(group, QPalette::ToolTipText, text);
        palette.setColor(group, QPalette::ToolTipBase, base);
        palette.setColor(group, QPalette::PlaceholderText, secondaryText());
        palette.setColor(group, QPalette::Button, button);
        palette.setColor(group, QPalette::Mid, separator());
        palette.setColor(group, QPalette::Midlight, separator());
        palette.setColor(group, QPalette::Dark, separator().darker(130));
        palette.setColor(group, QPalette::Light, base);
        palette.setColor(group, QPalette::Shadow, QColor(0, 0, 0, isDark ? 160 : 60));
        palette.setColor(group, QPalette::Highlight, accent);
        palette.setColor(group, QPalette::HighlightedText, Qt::white);
        palette.setColor(group, QPalette::Link, accent);
    }
    // Disabled: the same, with text and the accent faded.
    palette.setColor(QPalette::Disabled, QPalette::Window, window);
    palette.setColor(QPalette::Disabled, QPalette::Base, base);
    palette.setColor(QPalette::Disabled, QPalette::Button, button);
    palette.setColor(QPalette::Disabled, QPalette::Mid, separator());
    const QColor faded = secondaryText();
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText, QPalette::PlaceholderText}) {
        palette.setColor(QPalette::Disabled, role, faded);
    }
    QColor fadedAccent = accent;
    fadedAccent.setAlpha(110);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, fadedAccent);
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, Qt::white);
    // No etched shadow under disabled text (status lines in menus): it
    // doubles the text in dark mode.
    palette.setColor(QPalette::Disabled, QPalette::Light, Qt::transparent);
    return palette;
}

QFont Theme::font(TextRole role) const { return roleFont(role, baseFont); }

void applyTheme(QWidget& widget, const Theme& theme) {
    widget.setPalette(theme.palette());
    widget.setFont(theme.baseFont);
    const auto resize = [&](QWidget& w) {
        const QVariant role = w.property(kTextRoleProperty);
        if (role.isValid()) applyRole(w, static_cast<TextRole>(role.toInt()), theme.baseFont);
    };
    resize(widget);
    for (QWidget* child : widget.findChildren<QWidget*>()) resize(*child);
}

void setTextRole(QWidget& widget, TextRole role) {
    widget.setProperty(kTextRoleProperty, static_cast<int>(role));
    applyRole(widget, role, QApplication::font());
}

}  // namespace pivra
