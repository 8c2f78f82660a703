#include "hosts/mac/mac_ports.hpp"

#import <AppKit/AppKit.h>

namespace pivra {
namespace {

ScreenRect rectOf(NSRect rect) { return ScreenRect{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height}; }

Screen screenOf(NSScreen* screen) { return Screen{rectOf(screen.frame), rectOf(screen.visibleFrame)}; }

}  // namespace

ScreenPoint AppKitScreens::pointer() const {
    // Global coordinates, y up from the bottom of the main screen, as the frames below.
    const NSPoint location = NSEvent.mouseLocation;
    return ScreenPoint{location.x, location.y};
}

std::vector<Screen> AppKitScreens::screens() const {
    std::vector<Screen> all;
    @autoreleasepool {
        for (NSScreen* screen in NSScreen.screens) all.push_back(screenOf(screen));
    }
    return all;
}

std::optional<Screen> AppKitScreens::mainScreen() const {
    @autoreleasepool {
        NSScreen* screen = NSScreen.mainScreen;
        if (screen == nil) return std::nullopt;
        return screenOf(screen);
    }
}

}  // namespace pivra
