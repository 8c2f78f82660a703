#pragma once
// Theme: the colours and type sizes every screen is drawn with, light or dark, with the user's accent.
//
// The theme becomes a QPalette, and every PV component draws from the palette
// it is given, so one applyTheme() restyles a whole window:
//   Window           the window's background
//   Base             a group's rounded background
//   Text / WindowText the main text
//   PlaceholderText  secondary text (descriptions, captions, key caps)
//   Mid              hairlines between rows and around controls
//   Button           a control's resting fill (buttons, the switch's track when off)
//   Highlight        the accent: selection, a switch that is on, a checked box
//   HighlightedText  text and marks drawn on the accent

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QString>
#include <QStringList>

class QWidget;

namespace pivra {

// The names the "accent" setting holds, in the order a chooser lists them.
QStringList accentNames();
// The colour of an accent name; Blue for a name that is not one of them.
QColor accentColor(const QString& name);

// The type sizes the screens use, relative to the system's font.
enum class TextRole {
    body,       // row titles, menu items
    secondary,  // descriptions and captions under a title, a little smaller
    header,     // a group's header above its box: smaller, semibold
    title,      // a page's or panel's title: larger, semibold
    keyCap,     // the text on a key cap
};

struct Theme {
    bool isDark = false;
    QColor accent;
    QFont baseFont;  // the system's font; roles scale from its size

    // The theme for the system's appearance now: dark when the system's
    // colour scheme (or, before Qt 6.5, its window colour) is dark.
    static Theme system(const QString& accentName);
    static Theme light(const QString& accentName);
    static Theme dark(const QString& accentName);

    QPalette palette() const;
    QFont font(TextRole role) const;
    // The colour of secondary text, for painting outside a palette.
    QColor secondaryText() const;
    QColor separator() const;
};

// Puts the theme's palette and base font on `widget` and everything in it.
void applyTheme(QWidget& widget, const Theme& theme);
// Makes `widget` (a label) draw its text in `role`'s font and, for secondary,
// header and key-cap roles, in the secondary colour of the palette it
// inherits. Kept on the widget, so a later applyTheme sizes it again.
void setTextRole(QWidget& widget, TextRole role);

}  // namespace pivra
