#include "app/model/picker_placement.hpp"

#include <algorithm>

namespace pivra {

ScreenRect pickerArea(ScreenPoint pointer, const std::vector<Screen>& screens, const std::optional<Screen>& main) {
    const auto under = std::find_if(screens.begin(), screens.end(),
                                    [&](const Screen& screen) { return screen.frame.contains(pointer); });
    if (under != screens.end()) return under->visibleFrame;
    if (main) return main->visibleFrame;
    return kNoScreenArea;
}

ScreenPoint pickerOrigin(ScreenPoint pointer, const std::vector<Screen>& screens, const std::optional<Screen>& main,
                         ScreenSize panel, PickerPlacement placement) {
    const ScreenRect area = pickerArea(pointer, screens, main);
    if (placement == PickerPlacement::center) {
        return {area.midX() - panel.width / 2, area.midY() - panel.height / 2};
    }
    // Not std::clamp: its bounds cross when the panel is larger than the area.
    double x = std::max(area.minX() + kPickerScreenMargin, pointer.x + kPickerScreenMargin);
    x = std::min(area.maxX() - panel.width - kPickerScreenMargin, x);
    double y = std::max(area.minY() + kPickerScreenMargin, pointer.y - panel.height - kPickerPointerGap);
    y = std::min(area.maxY() - panel.height - kPickerScreenMargin, y);
    return {x, y};
}

}  // namespace pivra
