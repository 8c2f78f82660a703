#pragma once
// The Linux host runs without a display of its own: no pasteboard, no screens
// and no picker panel. The host sets no picker on the model, so links meant
// for the picker close without a choice.

#include "app/ports/pasteboard.hpp"
#include "app/ports/picker_window.hpp"
#include "app/ports/screens.hpp"

namespace pivra {

// Puts nothing anywhere: there is no pasteboard to put text on.
class NoPasteboard final : public Pasteboard {
public:
    void putText(std::string_view) override {}
};

// No screens, and the pointer at (0, 0).
class NoScreens final : public Screens {
public:
    ScreenPoint pointer() const override { return {}; }
    std::vector<Screen> screens() const override { return {}; }
    std::optional<Screen> mainScreen() const override { return std::nullopt; }
};

// A panel that is never shown: it keeps no hooks, so it calls none.
class NoPickerWindow final : public PickerWindow {
public:
    void setHooks(KeyHook, FocusLostHook) override {}
    ScreenSize fittingSize() override { return {400, 10}; }
    void show(ScreenRect) override {}
    void close() override {}
    bool isVisible() const override { return false; }
};

}  // namespace pivra
