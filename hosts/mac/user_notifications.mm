// Notifications through UNUserNotificationCenter. The centre calls its
// completion handlers and its delegate on queues of its own; every callback
// hops to the main queue before it touches the app.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#import <Foundation/Foundation.h>
#import <UserNotifications/UserNotifications.h>
#include <dispatch/dispatch.h>

#include "hosts/mac/mac_ports.hpp"

namespace {

// The key of the page in a notification's user info.
NSString* const kPageKey = @"page";

NSString* ns(const std::string& text) {
    NSString* string = [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
    return string ?: @"";  // text that is not UTF-8 goes as empty rather than failing the post
}

std::string text(NSString* string) {
    const char* bytes = string.UTF8String;
    return bytes ? std::string(bytes) : std::string();
}

// What the delegate reaches: the click handler, owned with the port and gone with it.
struct ClickTarget {
    std::function<void(std::string)> handler;
};

const char* kNoBundle = "Notifications need the Pivra app; this program has no bundle";

}  // namespace

@interface PivraNotificationDelegate : NSObject <UNUserNotificationCenterDelegate>
- (instancetype)initWithTarget:(std::weak_ptr<ClickTarget>)target;
@end

@implementation PivraNotificationDelegate {
    std::weak_ptr<ClickTarget> _target;
}

- (instancetype)initWithTarget:(std::weak_ptr<ClickTarget>)target {
    if ((self = [super init])) _target = std::move(target);
    return self;
}

// The app is often in front when a problem comes (its menu open): show the
// notification anyway, as a banner, in the list and with a sound.
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions options))completionHandler {
    (void)center;
    (void)notification;
    completionHandler(UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionList |
                      UNNotificationPresentationOptionSound);
}

- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))completionHandler {
    (void)center;
    // A dismissal reaches the delegate only for categories that ask for it;
    // it is never a click.
    const bool clicked = ![response.actionIdentifier isEqualToString:UNNotificationDismissActionIdentifier];
    id value = response.notification.request.content.userInfo[kPageKey];
    const std::string page = [value isKindOfClass:[NSString class]] ? text(value) : std::string();
    const std::weak_ptr<ClickTarget> target = _target;
    dispatch_async(dispatch_get_main_queue(), ^{
      if (const auto alive = target.lock(); clicked && alive && alive->handler) {
          const auto handler = alive->handler;  // the handler may replace itself
          handler(page);
      }
      completionHandler();
    });
}

@end

namespace pivra {

struct UserNotifications::Center {
    UNUserNotificationCenter* center = nil;  // nil without a bundle
    PivraNotificationDelegate* delegate = nil;  // the centre's delegate is weak: held here
    std::shared_ptr<ClickTarget> target = std::make_shared<ClickTarget>();
};

namespace {

void completeOnMain(Notifications::Completion done, std::optional<std::string> error) {
    dispatch_async(dispatch_get_main_queue(), ^{
      done(error);
    });
}

}  // namespace

UserNotifications::UserNotifications() : center_(std::make_unique<Center>()) {
    // currentNotificationCenter raises an exception in a process without a
    // bundle identifier.
    if (NSBundle.mainBundle.bundleIdentifier == nil) return;
    center_->center = [UNUserNotificationCenter currentNotificationCenter];
    center_->delegate = [[PivraNotificationDelegate alloc] initWithTarget:center_->target];
    center_->center.delegate = center_->delegate;
}

UserNotifications::~UserNotifications() {
    if (center_->center != nil && center_->center.delegate == center_->delegate) center_->center.delegate = nil;
}

void UserNotifications::requestAuthorization(Completion done) {
    if (center_->center == nil) return completeOnMain(std::move(done), kNoBundle);
    [center_->center requestAuthorizationWithOptions:(UNAuthorizationOptionAlert | UNAuthorizationOptionSound)
                                   completionHandler:^(BOOL granted, NSError* _Nullable error) {
                                     std::optional<std::string> outcome;
                                     if (error != nil) {
                                         outcome = text(error.localizedDescription);
                                     } else if (!granted) {
                                         outcome = "Notifications for Pivra are off in System Settings";
                                     }
                                     completeOnMain(done, outcome);
                                   }];
}

void UserNotifications::readStatus(std::function<void(NotificationStatus)> done) {
    if (center_->center == nil) {
        dispatch_async(dispatch_get_main_queue(), ^{
          done(NotificationStatus::unavailable);
        });
        return;
    }
    [center_->center getNotificationSettingsWithCompletionHandler:^(UNNotificationSettings* settings) {
      const UNAuthorizationStatus raw = settings.authorizationStatus;
      NotificationStatus status = NotificationStatus::authorized;  // also for kinds a later system adds
      if (raw == UNAuthorizationStatusNotDetermined) {
          status = NotificationStatus::notDetermined;
      } else if (raw == UNAuthorizationStatusDenied) {
          status = NotificationStatus::denied;
      } else if (raw == UNAuthorizationStatusProvisional) {
          status = NotificationStatus::provisional;
      }
      dispatch_async(dispatch_get_main_queue(), ^{
        done(status);
      });
    }];
}

void UserNotifications::post(const NotificationContent& content, Completion done) {
    if (center_->center == nil) return completeOnMain(std::move(done), kNoBundle);
    UNMutableNotificationContent* body = [[UNMutableNotificationContent alloc] init];
    body.title = ns(content.title);
    body.body = ns(content.body);
    body.sound = UNNotificationSound.defaultSound;
    body.userInfo = @{kPageKey : ns(content.page)};
    // No trigger: delivered at once. A request with the identifier of one
    // delivered before replaces it.
    UNNotificationRequest* request = [UNNotificationRequest requestWithIdentifier:ns(content.identifier)
                                                                          content:body
                                                                          trigger:nil];
    [center_->center addNotificationRequest:request
                      withCompletionHandler:^(NSError* _Nullable error) {
                        std::optional<std::string> outcome;
                        if (error != nil) outcome = text(error.localizedDescription);
                        completeOnMain(done, outcome);
                      }];
}

void UserNotifications::remove(const std::vector<std::string>& identifiers) {
    if (center_->center == nil || identifiers.empty()) return;
    NSMutableArray<NSString*>* names = [NSMutableArray arrayWithCapacity:identifiers.size()];
    for (const auto& identifier : identifiers) [names addObject:ns(identifier)];
    // A request just added may not be delivered yet.
    [center_->center removePendingNotificationRequestsWithIdentifiers:names];
    [center_->center removeDeliveredNotificationsWithIdentifiers:names];
}

void UserNotifications::setOnClick(std::function<void(std::string page)> handler) {
    center_->target->handler = std::move(handler);
}

}  // namespace pivra
