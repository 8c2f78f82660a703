#include "hosts/mac/app/app_delegate.hpp"

#include <utility>

#import <AppKit/AppKit.h>
#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

@interface PVAppDelegate : NSObject <NSApplicationDelegate>
- (instancetype)initWithEvents:(pivra::mac::AppEvents)events next:(id<NSApplicationDelegate>)next;
@end

// The sending process of an Apple event ("spid"), 0 when the event does not say.
static pid_t senderOf(NSAppleEventDescriptor* event) {
    NSAppleEventDescriptor* sender = [event attributeDescriptorForKeyword:keySenderPIDAttr];
    return sender != nil ? static_cast<pid_t>(sender.int32Value) : 0;
}

@implementation PVAppDelegate {
    pivra::mac::AppEvents _events;
    id<NSApplicationDelegate> _next;  // Qt's delegate
}

- (instancetype)initWithEvents:(pivra::mac::AppEvents)events next:(id<NSApplicationDelegate>)next {
    if ((self = [super init])) {
        _events = std::move(events);
        _next = next;
    }
    return self;
}

// What this delegate does not implement is Qt's to answer: NSApplication
// asks respondsToSelector: when the delegate is set (that is how delegate
// notifications are subscribed), and sends what Qt implements to us.
- (BOOL)respondsToSelector:(SEL)selector {
    return [super respondsToSelector:selector] || [_next respondsToSelector:selector];
}

- (id)forwardingTargetForSelector:(SEL)selector {
    return [_next respondsToSelector:selector] ? _next : [super forwardingTargetForSelector:selector];
}

- (void)applicationWillFinishLaunching:(NSNotification*)notification {
    // Qt's first: it registers its own get-URL handler there. AppKit's
    // handlers are in place by now, and the event that launched the app has
    // not been delivered yet, so the handler set last is the one it reaches.
    if ([_next respondsToSelector:_cmd]) [_next applicationWillFinishLaunching:notification];
    [[NSAppleEventManager sharedAppleEventManager] setEventHandler:self
                                                       andSelector:@selector(handleGetURLEvent:withReplyEvent:)
                                                     forEventClass:kInternetEventClass
                                                        andEventID:kAEGetURL];
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
    if ([_next respondsToSelector:_cmd]) [_next applicationDidFinishLaunching:notification];
    if (_events.finishedLaunching) _events.finishedLaunching();
}

- (BOOL)applicationShouldHandleReopen:(NSApplication*)sender hasVisibleWindows:(BOOL)visible {
    (void)sender;
    (void)visible;
    if (_events.reopened) _events.reopened();
    return NO;  // the settings window is the answer; AppKit does nothing more
}

- (void)handleGetURLEvent:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply {
    (void)reply;
    NSString* text = [[event paramDescriptorForKeyword:keyDirectObject] stringValue];
    if (text == nil) return;
    if (_events.link) _events.link(std::string_view(text.UTF8String), senderOf(event));
}

// Documents opened with Pivra, which is an HTML viewer so that the system
// offers it as a browser: a local page opened from the Finder or another app
// goes the way of a link, as its file URL, from the app that opened it.
- (void)application:(NSApplication*)application openURLs:(NSArray<NSURL*>*)urls {
    (void)application;
    const pid_t pid = senderOf([NSAppleEventManager sharedAppleEventManager].currentAppleEvent);
    for (NSURL* url in urls) {
        NSString* text = url.absoluteString;
        if (text != nil && _events.link) _events.link(std::string_view(text.UTF8String), pid);
    }
}

@end

namespace pivra::mac {

namespace {
// NSApplication holds its delegate weakly: this keeps it for the process's life.
PVAppDelegate* installed = nil;
}  // namespace

void installAppDelegate(AppEvents events) {
    NSApplication* application = [NSApplication sharedApplication];
    installed = [[PVAppDelegate alloc] initWithEvents:std::move(events) next:application.delegate];
    application.delegate = installed;
}

}  // namespace pivra::mac
