#pragma once
// A Qt key press as the picker reads it: the Mac's virtual key code for the
// keys the picker answers, the characters the key types without modifiers,
// and Command (Qt's Control modifier, which is the Command key on a Mac).

#include <QString>
#include <Qt>

#include "app/ports/picker_window.hpp"

namespace pivra {

// The virtual key code given for keys the picker has no code for.
inline constexpr int kNoKeyCode = -1;

// `key` a Qt::Key, `text` what the event typed (used for keys other than
// letters and digits).
PickerKey pickerKeyFor(int key, Qt::KeyboardModifiers modifiers, const QString& text);

}  // namespace pivra
