// The two coordinate systems, and the keys as the picker reads them.

#include <gtest/gtest.h>

#include "gui/picker/picker_keys.hpp"
#include "gui/screen_coordinates.hpp"

namespace pivra {
namespace {

TEST(ScreenCoordinates, RectsFlipAroundTheMainScreensBottomEdge) {
    struct Case {
        const char* name;
        QRect primary;
        ScreenRect app;
        QRect qt;
    };
    const std::vector<Case> cases{
        {"bottom-left corner", {0, 0, 1440, 900}, {0, 0, 100, 50}, {0, 850, 100, 50}},
        {"top-right corner", {0, 0, 1440, 900}, {1340, 850, 100, 50}, {1340, 0, 100, 50}},
        // The main screen need not sit at Qt's origin: the app's origin moves with it.
        {"main screen right of another", {1920, 200, 1280, 800}, {8, 8, 360, 400}, {1928, 592, 360, 400}},
        {"a screen above the main one", {0, 0, 1440, 900}, {0, 900, 1920, 1080}, {0, -1080, 1920, 1080}},
        {"half points round", {0, 0, 1440, 900}, {10.4, 20.6, 99.6, 50.2}, {10, 829, 100, 50}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(toQtRect(c.app, c.primary), c.qt);
        if (std::string_view(c.name) != "half points round") {
            EXPECT_EQ(fromQtRect(c.qt, c.primary), c.app);
        }
    }
}

TEST(ScreenCoordinates, PointsFlipTheSameWay) {
    const QRect primary(0, 0, 1440, 900);
    EXPECT_EQ(toQtPoint({0, 0}, primary), QPoint(0, 900));
    EXPECT_EQ(fromQtPoint(QPoint(700, 400), primary), (ScreenPoint{700, 500}));
    EXPECT_EQ(fromQtPoint(QPoint(1930, 250), QRect(1920, 200, 1280, 800)), (ScreenPoint{10, 750}));
    EXPECT_EQ(fromQtPoint(toQtPoint({123, 456}, primary), primary), (ScreenPoint{123, 456}));
}

TEST(PickerKeysFromQt, KeysBecomeTheCodesAndCharactersThePickerReads) {
    struct Case {
        const char* name;
        int key;
        Qt::KeyboardModifiers modifiers;
        QString text;
        PickerKey expected;
    };
    const std::vector<Case> cases{
        {"Return", Qt::Key_Return, Qt::NoModifier, "\r", {36, "", false}},
        {"keypad Enter", Qt::Key_Enter, Qt::KeypadModifier, "\r", {76, "", false}},
        {"Escape", Qt::Key_Escape, Qt::NoModifier, "\x1b", {53, "", false}},
        {"Up", Qt::Key_Up, Qt::NoModifier, "", {126, "", false}},
        {"Down", Qt::Key_Down, Qt::NoModifier, "", {125, "", false}},
        // Control types a control character; the picker reads the letter.
        {"Control-C is Command-C", Qt::Key_C, Qt::ControlModifier, "\x03", {kNoKeyCode, "c", true}},
        {"Shift-1 is still 1", Qt::Key_1, Qt::ShiftModifier, "!", {kNoKeyCode, "1", false}},
        {"keypad 7", Qt::Key_7, Qt::KeypadModifier, "7", {kNoKeyCode, "7", false}},
        {"Alt-C without Control", Qt::Key_C, Qt::AltModifier, "ç", {kNoKeyCode, "c", false}},
        {"space", Qt::Key_Space, Qt::NoModifier, " ", {kNoKeyCode, " ", false}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(pickerKeyFor(c.key, c.modifiers, c.text), c.expected);
    }
}

}  // namespace
}  // namespace pivra
