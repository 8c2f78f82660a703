#include "hosts/mac/app/floating_panel.hpp"

#include <memory>
#include <utility>

#import <AppKit/AppKit.h>

#include <QWidget>

// A borderless panel is not offered the key window unless it says it can be.
@interface PVFloatingPanel : NSPanel
@property(nonatomic, copy) void (^onResignKey)(void);
@end

@implementation PVFloatingPanel
- (BOOL)canBecomeKeyWindow {
    return YES;
}
- (BOOL)canBecomeMainWindow {
    return NO;
}
- (void)resignKeyWindow {
    [super resignKeyWindow];
    void (^hook)(void) = self.onResignKey;
    if (hook) hook();
}
@end

namespace pivra::mac {

namespace {

NSRect nsRect(ScreenRect frame) { return NSMakeRect(frame.x, frame.y, frame.width, frame.height); }

class FloatingPanelPresenter final : public PanelPresenter {
public:
    FloatingPanelPresenter() {
        panel_ = [[PVFloatingPanel alloc] initWithContentRect:NSMakeRect(0, 0, 400, 10)
                                                    styleMask:NSWindowStyleMaskNonactivatingPanel
                                                      backing:NSBackingStoreBuffered
                                                        defer:NO];
        panel_.floatingPanel = YES;
        panel_.level = NSPopUpMenuWindowLevel;
        panel_.collectionBehavior =
            NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorFullScreenAuxiliary;
        panel_.backgroundColor = NSColor.clearColor;
        panel_.opaque = NO;
        panel_.hasShadow = YES;
        panel_.becomesKeyOnlyIfNeeded = NO;  // the picker's keys are the point of it
        panel_.hidesOnDeactivate = NO;       // Pivra is never the active app
        panel_.releasedWhenClosed = NO;
    }

    ~FloatingPanelPresenter() override {
        panel_.onResignKey = nil;
        [panel_ orderOut:nil];
    }

    void adopt(QWidget& view) override {
        // winId() makes the view's native window (Qt's own, unused from now
        // on); its NSView becomes our panel's content, and Qt, finding it in a
        // window not its own, treats it as embedded.
        view_ = (__bridge NSView*)reinterpret_cast<void*>(view.winId());
        // Qt's window lets go of the view first, so that nothing of it still
        // points at our panel's content when Qt closes that window.
        NSWindow* qtWindow = view_.window;
        if (qtWindow != nil && qtWindow.contentView == view_) qtWindow.contentView = [[NSView alloc] init];
        panel_.contentView = view_;
    }

    void present(QWidget& view, ScreenRect frame, std::function<void()> resigned) override {
        [panel_ setFrame:[panel_ frameRectForContentRect:nsRect(frame)] display:NO];
        auto hook = std::make_shared<std::function<void()>>(std::move(resigned));
        panel_.onResignKey = ^{
          (*hook)();
        };
        view.show();  // Qt orders our panel front as the key window
        [panel_ makeFirstResponder:view_];
        if (!panel_.keyWindow) [panel_ makeKeyAndOrderFront:nil];
    }

    void reframe(QWidget& view, ScreenRect frame) override {
        (void)view;
        [panel_ setFrame:[panel_ frameRectForContentRect:nsRect(frame)] display:YES];
    }

    void dismiss(QWidget& view) override {
        panel_.onResignKey = nil;
        view.hide();  // Qt orders the panel out
        [panel_ orderOut:nil];
    }

private:
    PVFloatingPanel* panel_ = nil;
    NSView* view_ = nil;
};

}  // namespace

std::unique_ptr<PanelPresenter> floatingPanelPresenter() { return std::make_unique<FloatingPanelPresenter>(); }

}  // namespace pivra::mac
