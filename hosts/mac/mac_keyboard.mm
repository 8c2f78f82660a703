#include "hosts/mac/mac_ports.hpp"

#import <AppKit/AppKit.h>

namespace pivra {

// The device-independent bits, set whichever of the two keys (left, right) is held.
static_assert(NSEventModifierFlagShift == (1UL << 17));
static_assert(NSEventModifierFlagControl == (1UL << 18));
static_assert(NSEventModifierFlagOption == (1UL << 19));
static_assert(NSEventModifierFlagCommand == (1UL << 20));

ModifierKeys MacKeyboard::modifiers() const {
    // The class property, unlike an event's flags, is the keys' state at this
    // moment, whatever events this app has or has not been sent.
    const NSEventModifierFlags flags = NSEvent.modifierFlags;
    return ModifierKeys{.option = (flags & NSEventModifierFlagOption) != 0,
                        .shift = (flags & NSEventModifierFlagShift) != 0,
                        .command = (flags & NSEventModifierFlagCommand) != 0,
                        .control = (flags & NSEventModifierFlagControl) != 0};
}

}  // namespace pivra
