#include "hosts/linux/qt_keyboard.hpp"

#include <QGuiApplication>

namespace pivra {

ModifierKeys QtKeyboard::modifiers() const {
    const Qt::KeyboardModifiers held = QGuiApplication::queryKeyboardModifiers();
    return ModifierKeys{.option = held.testFlag(Qt::AltModifier),
                        .shift = held.testFlag(Qt::ShiftModifier),
                        .command = held.testFlag(Qt::ControlModifier),
                        .control = held.testFlag(Qt::MetaModifier)};
}

}  // namespace pivra
