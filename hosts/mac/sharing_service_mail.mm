#include "hosts/mac/mac_ports.hpp"

#import <AppKit/AppKit.h>
#include <dispatch/dispatch.h>

namespace pivra {
namespace {

// Text that is not UTF-8 becomes empty rather than nil, which the service would refuse.
NSString* toNSString(const std::string& text) {
    NSString* string = [NSString stringWithUTF8String:text.c_str()];
    return string != nil ? string : @"";
}

// On the main queue, after the caller has returned.
void answerLater(Mail::Completion completion, bool composed) {
    dispatch_async(dispatch_get_main_queue(), ^{
      completion(composed);
    });
}

}  // namespace

void SharingServiceMail::compose(const MailMessage& message, Completion completion) {
    @autoreleasepool {
        NSSharingService* service = [NSSharingService sharingServiceNamed:NSSharingServiceNameComposeEmail];
        NSMutableArray* items = [NSMutableArray arrayWithObject:toNSString(message.body)];
        if (!message.attachment.empty()) {
            [items addObject:[NSURL fileURLWithPath:toNSString(message.attachment.string()) isDirectory:NO]];
        }
        // No mail account set up in Mail (or another mail app chosen that cannot take these items).
        if (service == nil || ![service canPerformWithItems:items]) return answerLater(std::move(completion), false);
        service.recipients = @[ toNSString(message.recipient) ];
        service.subject = toNSString(message.subject);
        [service performWithItems:items];
        answerLater(std::move(completion), true);
    }
}

}  // namespace pivra
