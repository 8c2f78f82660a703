#include "gui/picker/picker_keys.hpp"

#include "app/model/picker_controller.hpp"

namespace pivra {

namespace {

int macKeyCode(int key, Qt::KeyboardModifiers modifiers) {
    switch (key) {
        // The main Return key is Key_Return; the keypad's is Key_Enter.
        case Qt::Key_Return: return PickerKeyCode::kReturn;
        case Qt::Key_Enter:
            return modifiers & Qt::KeypadModifier ? PickerKeyCode::kKeypadEnter : PickerKeyCode::kReturn;
        case Qt::Key_Escape: return PickerKeyCode::kEscape;
        case Qt::Key_Up: return PickerKeyCode::kUp;
        case Qt::Key_Down: return PickerKeyCode::kDown;
        default: return kNoKeyCode;
    }
}

}  // namespace

PickerKey pickerKeyFor(int key, Qt::KeyboardModifiers modifiers, const QString& text) {
    PickerKey picked;
    picked.keyCode = macKeyCode(key, modifiers);
    picked.command = modifiers & Qt::ControlModifier;
    // Letters and digits from the key itself: with Control held the event's
    // text is a control character, and with Shift a digit types a symbol.
    if (key >= Qt::Key_A && key <= Qt::Key_Z) {
        picked.characters = std::string(1, static_cast<char>('a' + (key - Qt::Key_A)));
    } else if (key >= Qt::Key_0 && key <= Qt::Key_9) {
        picked.characters = std::string(1, static_cast<char>('0' + (key - Qt::Key_0)));
    } else if (picked.keyCode == kNoKeyCode) {
        picked.characters = text.toStdString();
    }
    return picked;
}

}  // namespace pivra
