#pragma once
// The modifier keys through Qt (a QGuiApplication must exist).

#include "app/ports/keyboard.hpp"

namespace pivra {

class QtKeyboard final : public Keyboard {
public:
    // Asks the window system (X11 answers wherever the focus is; Wayland
    // only while this app has the focus, else none). Alt is the Mac's
    // Option, Control its Command, Meta its Control.
    ModifierKeys modifiers() const override;
};

}  // namespace pivra
