#include "hosts/mac/app/status_item.hpp"

#import <AppKit/AppKit.h>

#include <QGuiApplication>
#include <QImage>
#include <QMenu>
#include <QScreen>

#include "gui/menu/tray_menu.hpp"
#include "gui/screen_coordinates.hpp"

@interface PVStatusItemTarget : NSObject
@property(nonatomic, copy) void (^onClick)(void);
- (void)clicked:(id)sender;
@end

@implementation PVStatusItemTarget
- (void)clicked:(id)sender {
    (void)sender;
    void (^click)(void) = self.onClick;
    if (click) click();
}
@end

namespace pivra::mac {

namespace {

constexpr CGFloat kIconPoints = 18;  // the menu bar's own symbols' size

// The icon at the scale of the menu bar's screen, as a template image.
NSImage* templateImage(const QIcon& icon, CGFloat scale) {
    const int pixels = static_cast<int>(kIconPoints * scale);
    const QImage image = icon.pixmap(QSize(pixels, pixels)).toImage();
    CGImageRef cgImage = image.toCGImage();  // retained for us
    if (cgImage == nullptr) return nil;
    NSImage* result = [[NSImage alloc] initWithCGImage:cgImage size:NSMakeSize(kIconPoints, kIconPoints)];
    CGImageRelease(cgImage);
    result.template = YES;  // tinted for light and dark menu bars, and when highlighted
    return result;
}

}  // namespace

struct StatusItem::Native {
    TrayMenu& tray;
    NSStatusItem* item = nil;
    PVStatusItemTarget* target = nil;
    QMetaObject::Connection rebuilt;

    explicit Native(TrayMenu& menu) : tray(menu) {
        item = [NSStatusBar.systemStatusBar statusItemWithLength:NSSquareStatusItemLength];
        item.button.toolTip = @"Pivra";
        item.button.accessibilityLabel = @"Pivra";
        target = [[PVStatusItemTarget alloc] init];
        target.onClick = ^{
          clicked();
        };
        item.button.target = target;
        item.button.action = @selector(clicked:);
        // A menu bar item answers the press, as the system's own do.
        [item.button sendActionOn:NSEventMaskLeftMouseDown | NSEventMaskRightMouseDown];
        rebuilt = QObject::connect(&tray, &TrayMenu::rebuilt, [this] { update(); });
        update();
    }

    ~Native() {
        QObject::disconnect(rebuilt);
        target.onClick = nil;
        [NSStatusBar.systemStatusBar removeStatusItem:item];
    }

    void update() {
        const CGFloat scale = item.button.window ? item.button.window.backingScaleFactor : 2.0;
        item.button.image = templateImage(tray.icon(), scale);
        item.visible = tray.iconWanted();
    }

    void clicked() {
        NSEvent* event = NSApp.currentEvent;
        const bool option = (event.modifierFlags & NSEventModifierFlagOption) != 0;
        if (event.type == NSEventTypeLeftMouseDown && tray.clickPauses(option ? Qt::AltModifier : Qt::NoModifier)) {
            return;
        }
        // The menu drops from the item's bottom-left corner, in Qt's coordinates.
        NSButton* button = item.button;
        const NSRect onScreen = [button.window convertRectToScreen:[button convertRect:button.bounds toView:nil]];
        const QScreen* primary = QGuiApplication::primaryScreen();
        const QRect main = primary ? primary->geometry() : QRect(0, 0, 1440, 900);
        const QPoint at = toQtPoint(ScreenPoint{NSMinX(onScreen), NSMinY(onScreen)}, main);
        [button highlight:YES];
        tray.menu().exec(at);  // returns when the menu closes
        [button highlight:NO];
    }
};

StatusItem::StatusItem(TrayMenu& tray) : native_(std::make_unique<Native>(tray)) {}

StatusItem::~StatusItem() = default;

}  // namespace pivra::mac
