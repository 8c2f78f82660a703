#pragma once
// Which modifier keys are held at this moment, wherever the keyboard focus is.

namespace pivra {

struct ModifierKeys {
    bool option = false;
    bool shift = false;
    bool command = false;
    bool control = false;

    bool any() const { return option || shift || command || control; }
    bool operator==(const ModifierKeys&) const = default;
};

class Keyboard {
public:
    virtual ~Keyboard() = default;

    // The modifiers held now. None where the platform cannot tell (no window
    // system, or one that only tells the focused window).
    virtual ModifierKeys modifiers() const = 0;
};

}  // namespace pivra
