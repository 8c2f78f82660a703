#pragma once
// The picker's floating panel: a window that takes keys without making this
// app active, so the app that sent the link stays in front. It shows what the
// picker controller holds; the controller places it and hears its keys and
// its loss of focus through the hooks it sets.

#include <functional>
#include <string>

#include "app/ports/screens.hpp"

namespace pivra {

// One key press as the panel receives it.
struct PickerKey {
    int keyCode = 0;         // the Mac's virtual key code (36 Return, 53 Escape, ...)
    std::string characters;  // what the key types with the modifiers ignored, UTF-8
    bool command = false;    // the Command key is held

    bool operator==(const PickerKey&) const = default;
};

class PickerWindow {
public:
    // Returns true when the key was handled: the panel then swallows it.
    using KeyHook = std::function<bool(const PickerKey&)>;
    using FocusLostHook = std::function<void()>;

    virtual ~PickerWindow() = default;

    // The hooks the panel calls for a key and when it stops being the key
    // window; an empty function is not called. Kept, and never called, where
    // nothing can be shown.
    virtual void setHooks(KeyHook onKey, FocusLostHook onFocusLost) = 0;
    // The size, in points, that the panel's content needs once laid out for
    // what the controller holds now; 400 × 10 where there is no view.
    virtual ScreenSize fittingSize() = 0;
    // Shows the panel with its content in `frame`, makes it the key window and
    // orders it front. Shows nothing where there is no window system.
    virtual void show(ScreenRect frame) = 0;
    // Orders the panel out; nothing when it is not shown. Calls no hook.
    virtual void close() = 0;
    // Whether the panel is on screen; always false where nothing can be shown.
    virtual bool isVisible() const = 0;
};

}  // namespace pivra
