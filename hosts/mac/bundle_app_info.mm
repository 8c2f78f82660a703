#include "hosts/mac/mac_ports.hpp"

#include <climits>

#import <Foundation/Foundation.h>

namespace pivra {
namespace {

// The app's identifier, which the command-line tool, running outside the app
// bundle, answers to as well: it is the same app's companion.
constexpr const char* kAppIdentifier = "app.omra.pivra";

std::string toString(NSString* text) {
    const char* bytes = text.UTF8String;  // NULL for nil, or for text with no UTF-8 form
    return bytes != nullptr ? std::string(bytes) : std::string();
}

// Outside a bundle the main bundle is the folder that holds the program, and it has no identifier.
bool inBundle() { return NSBundle.mainBundle.bundleIdentifier.length > 0; }

// A string of the main bundle's Info.plist; outside a bundle, `outside`.
std::string infoValue(NSString* key, const char* outside) {
    if (!inBundle()) return outside;
    id value = [NSBundle.mainBundle objectForInfoDictionaryKey:key];
    return [value isKindOfClass:NSString.class] ? toString(value) : std::string();
}

}  // namespace

std::string BundleAppInfo::identifier() const {
    @autoreleasepool {
        if (!inBundle()) return kAppIdentifier;
        return toString(NSBundle.mainBundle.bundleIdentifier);
    }
}

std::string BundleAppInfo::version() const {
    @autoreleasepool {
        return infoValue(@"CFBundleShortVersionString", PIVRA_VERSION);
    }
}

std::string BundleAppInfo::build() const {
    @autoreleasepool {
        return infoValue(@"CFBundleVersion", PIVRA_BUILD);
    }
}

// The app bundle; outside one, the running program, as on Linux.
std::filesystem::path BundleAppInfo::location() const {
    @autoreleasepool {
        NSBundle* bundle = NSBundle.mainBundle;
        NSURL* url = inBundle() ? bundle.bundleURL : bundle.executableURL;
        char path[PATH_MAX];
        if (url == nil || ![url getFileSystemRepresentation:path maxLength:sizeof path]) return {};
        return std::filesystem::path(path);
    }
}

}  // namespace pivra
