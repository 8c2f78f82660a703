#include "hosts/mac/app/floating_panel.hpp"

#import <AppKit/AppKit.h>

namespace pivra::mac {

void makeFloatingPanel(QWidget& window) {
    // winId() makes the native window when there is none; on the Mac it is the NSView.
    NSView* view = (__bridge NSView*)reinterpret_cast<void*>(window.winId());
    NSWindow* nsWindow = view.window;
    if (![nsWindow isKindOfClass:[NSPanel class]]) return;  // not a Qt::Tool window: left as Qt made it
    NSPanel* panel = (NSPanel*)nsWindow;
    panel.styleMask = panel.styleMask | NSWindowStyleMaskNonactivatingPanel;
    panel.floatingPanel = YES;
    panel.becomesKeyOnlyIfNeeded = NO;  // the picker's keys are the point of it
    panel.hidesOnDeactivate = NO;
    panel.level = NSPopUpMenuWindowLevel;
    panel.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorFullScreenAuxiliary;
    panel.hasShadow = YES;
}

}  // namespace pivra::mac
