// Where the picker panel opens, across one and several screens (y up).

#include <gtest/gtest.h>

#include "app/model/picker_placement.hpp"

namespace pivra {
namespace {

// The main screen with a 25-point menu bar; the Dock hidden.
const Screen kMain{{0, 0, 1440, 900}, {0, 0, 1440, 875}};
// The same screen with the Dock on its left side, 80 points wide.
const Screen kMainDockLeft{{0, 0, 1440, 900}, {80, 0, 1360, 875}};
// A larger screen to the left of the main one, its bottom 180 points lower.
const Screen kLeft{{-1920, -180, 1920, 1080}, {-1920, -180, 1920, 1055}};

struct Case {
    const char* name;
    std::vector<Screen> screens;
    std::optional<Screen> main;
    ScreenPoint pointer;
    ScreenSize panel;
    PickerPlacement placement;
    ScreenPoint expected;
};

class PickerPlacementCases : public testing::TestWithParam<Case> {};

TEST_P(PickerPlacementCases, Origin) {
    const Case& c = GetParam();
    EXPECT_EQ(pickerOrigin(c.pointer, c.screens, c.main, c.panel, c.placement), c.expected);
}

const ScreenSize kPanel{400, 300};

INSTANTIATE_TEST_SUITE_P(
    Screens, PickerPlacementCases,
    testing::Values(
        // Right of the pointer, its top 12 points below it.
        Case{"RightOfAndBelowThePointer", {kMain}, kMain, {700, 500}, kPanel, PickerPlacement::pointer, {708, 188}},
        Case{"CenteredInTheSpaceBelowTheMenuBar", {kMain}, kMain, {700, 500}, kPanel, PickerPlacement::center,
             {520, 287.5}},
        // 8 points inside the right edge and above the bottom edge.
        Case{"BottomRightCorner", {kMain}, kMain, {1439, 0}, kPanel, PickerPlacement::pointer, {1032, 8}},
        Case{"BelowTheMenuBarNearTheTop", {kMain}, kMain, {100, 899}, kPanel, PickerPlacement::pointer, {108, 567}},
        Case{"BesideTheDockOnTheLeft", {kMainDockLeft}, kMainDockLeft, {10, 500}, kPanel, PickerPlacement::pointer,
             {88, 188}},
        Case{"OnTheScreenLeftOfTheMain", {kMain, kLeft}, kMain, {-1000, 400}, kPanel, PickerPlacement::pointer,
             {-992, 88}},
        Case{"CenteredOnTheScreenUnderThePointer", {kMain, kLeft}, kMain, {-1000, 400}, kPanel,
             PickerPlacement::center, {-1160, 197.5}},
        // A screen's left edge is on it, its right edge on the next one.
        Case{"OnTheLeftEdgeOfTheMain", {kLeft, kMain}, kMain, {0, 400}, kPanel, PickerPlacement::pointer, {8, 88}},
        Case{"OffEveryScreenUsesTheMainOne", {kMain, kLeft}, kLeft, {5000, 5000}, kPanel, PickerPlacement::pointer,
             {-408, 567}},
        Case{"NoScreenAtAll", {}, std::nullopt, {0, 0}, kPanel, PickerPlacement::pointer, {8, 8}},
        Case{"NoScreenAtAllCentered", {}, std::nullopt, {0, 0}, kPanel, PickerPlacement::center, {520, 300}},
        // Taller than the space: the top clamp wins and pushes it below the bottom.
        Case{"TallerThanTheSpace", {kMain}, kMain, {700, 500}, {400, 1000}, PickerPlacement::pointer, {708, -133}},
        // Wider than the space: the right clamp wins.
        Case{"WiderThanTheSpace", {kMain}, kMain, {700, 500}, {1500, 300}, PickerPlacement::pointer, {-68, 188}}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace pivra
