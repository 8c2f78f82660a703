#pragma once
// The displays and the pointer through Qt (a QGuiApplication must exist), in
// the app's coordinates: the primary screen's bottom-left corner is the origin.

#include "app/ports/screens.hpp"

namespace pivra {

class QtScreens final : public Screens {
public:
    // QCursor's position; (0, 0) where the platform cannot tell (Wayland
    // tells only over a window of this app).
    ScreenPoint pointer() const override;
    // Qt's screens, the primary first.
    std::vector<Screen> screens() const override;
    // The screen with the pointer, as the picker's next window opens where
    // the user is; else the primary screen.
    std::optional<Screen> mainScreen() const override;
};

}  // namespace pivra
