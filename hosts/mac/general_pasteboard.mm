#include "hosts/mac/mac_ports.hpp"

#import <AppKit/AppKit.h>

namespace pivra {

void GeneralPasteboard::putText(std::string_view text) {
    @autoreleasepool {
        NSString* string = [[NSString alloc] initWithBytes:text.data()
                                                    length:text.size()
                                                  encoding:NSUTF8StringEncoding];
        // Text that is not UTF-8 leaves the pasteboard as it was rather than emptied.
        if (string == nil) return;
        NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
        [pasteboard clearContents];
        [pasteboard setString:string forType:NSPasteboardTypeString];
    }
}

}  // namespace pivra
