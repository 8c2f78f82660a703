#pragma once
// The displays and the mouse pointer, in the Mac's global screen coordinates:
// points, origin at the bottom-left corner of the main screen, y growing upwards.

#include <optional>
#include <vector>

namespace pivra {

struct ScreenPoint {
    double x = 0;
    double y = 0;

    bool operator==(const ScreenPoint&) const = default;
};

struct ScreenSize {
    double width = 0;
    double height = 0;

    bool operator==(const ScreenSize&) const = default;
};

struct ScreenRect {
    double x = 0;  // the left edge
    double y = 0;  // the bottom edge
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double maxX() const { return x + width; }
    double midX() const { return x + width / 2; }
    double minY() const { return y; }
    double maxY() const { return y + height; }
    double midY() const { return y + height / 2; }
    // Half-open, as the Mac tests a point against a rectangle: the left and
    // bottom edges are inside, the right and top edges outside.
    bool contains(ScreenPoint p) const { return p.x >= minX() && p.x < maxX() && p.y >= minY() && p.y < maxY(); }
    bool operator==(const ScreenRect&) const = default;
};

struct Screen {
    ScreenRect frame;         // the whole display
    ScreenRect visibleFrame;  // the part that the menu bar and the Dock leave free

    bool operator==(const Screen&) const = default;
};

class Screens {
public:
    virtual ~Screens() = default;

    // Where the mouse pointer is now; (0, 0) where the platform cannot tell.
    virtual ScreenPoint pointer() const = 0;
    // Every display attached, in the system's order; none without a window system.
    virtual std::vector<Screen> screens() const = 0;
    // The display with the window that has the keyboard focus (the Mac's main
    // screen); absent without a window system.
    virtual std::optional<Screen> mainScreen() const = 0;
};

}  // namespace pivra
