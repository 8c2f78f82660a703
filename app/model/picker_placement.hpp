#pragma once
// Where the picker panel opens, from the pointer and the screens, in the Mac's
// global coordinates (points, y up).

#include <optional>
#include <vector>

#include "app/ports/screens.hpp"
#include "app/storage/preference_enums.hpp"

namespace pivra {

// The rectangle the panel is placed in when no screen is known.
inline constexpr ScreenRect kNoScreenArea{0, 0, 1440, 900};
// How far inside the screen's free area the panel stays, in points.
inline constexpr double kPickerScreenMargin = 8;
// How far below the pointer the panel's top edge sits, in points.
inline constexpr double kPickerPointerGap = 12;

// The free area the panel opens in: the visible frame of the screen whose
// frame holds the pointer, else of the main screen, else kNoScreenArea.
ScreenRect pickerArea(ScreenPoint pointer, const std::vector<Screen>& screens, const std::optional<Screen>& main);

// The bottom-left corner of a panel of `panel` size. `center`: the middle of
// the area. `pointer`: just right of and below the pointer, kept 8 points
// inside the area; where the panel does not fit, the right and top edges win.
ScreenPoint pickerOrigin(ScreenPoint pointer, const std::vector<Screen>& screens, const std::optional<Screen>& main,
                         ScreenSize panel, PickerPlacement placement);

}  // namespace pivra
