#include "hosts/mac/mac_ports.hpp"

#include <climits>
#include <utility>

#import <AppKit/AppKit.h>
#import <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>

#include "app/workspace/installed_apps.hpp"

namespace pivra {
namespace {

// Any web link: the system answers for its scheme, whatever the rest.
NSString* const kWebLinkSample = @"https://example.com";

NSString* toNSString(std::string_view text) {
    if (text.empty()) return @"";
    // nil when the bytes are not UTF-8.
    return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
}

std::string toString(NSString* text) {
    const char* bytes = text.UTF8String;  // NULL for nil, or for text with no UTF-8 form
    return bytes != nullptr ? std::string(bytes) : std::string();
}

std::filesystem::path toPath(NSURL* url) {
    char path[PATH_MAX];
    if (url == nil || ![url getFileSystemRepresentation:path maxLength:sizeof path]) return {};
    return std::filesystem::path(path);
}

// The Info.plist of the bundle at `url`, read afresh each time: NSBundle keeps
// the first object it made for a path for the life of the process, and with it
// the version a browser had before it was updated.
NSDictionary* infoOf(NSURL* url) {
    if (url == nil) return nil;
    return CFBridgingRelease(CFBundleCopyInfoDictionaryInDirectory((__bridge CFURLRef)url));
}

NSString* infoString(NSDictionary* info, NSString* key) {
    id value = info[key];
    return [value isKindOfClass:NSString.class] ? value : nil;
}

NSString* bundleIdentifierAt(NSURL* url) { return infoString(infoOf(url), @"CFBundleIdentifier"); }

InstalledApp installedAppAt(NSURL* url, std::string id) {
    NSDictionary* info = infoOf(url);
    NSString* path = url.path;
    NSString* shown = path.length > 0 ? [NSFileManager.defaultManager displayNameAtPath:path] : nil;
    InstalledApp app;
    app.name = installedAppName(toString(shown), toString(infoString(info, @"CFBundleDisplayName")),
                                toString(infoString(info, @"CFBundleName")), id);
    app.location = toPath(url);
    app.version = toString(infoString(info, @"CFBundleShortVersionString"));
    app.id = std::move(id);
    return app;
}

// The Finder's order: as the user's language sorts, numbers by value.
int finderOrder(std::string_view a, std::string_view b) {
    NSString* first = toNSString(a);
    NSString* second = toNSString(b);
    // The names come from NSStrings, so both convert; bytes decide otherwise.
    if (first == nil || second == nil) return a.compare(b);
    return static_cast<int>([first localizedStandardCompare:second]);
}

// Whether the system opens links of both web schemes with the app `ownId`.
bool isDefaultFor(NSString* ownId) {
    NSWorkspace* workspace = NSWorkspace.sharedWorkspace;
    for (NSString* sample in @[ @"http://example.com", kWebLinkSample ]) {
        NSURL* handler = [workspace URLForApplicationToOpenURL:[NSURL URLWithString:sample]];
        if (![bundleIdentifierAt(handler) isEqualToString:ownId]) return false;
    }
    return true;
}

// This app's bundle: the running one when this process is the app; else (the
// command-line tool) the copy the system would open.
NSURL* ownBundleURL(NSString* ownId) {
    NSBundle* bundle = NSBundle.mainBundle;
    if ([bundle.bundleIdentifier isEqualToString:ownId]) return bundle.bundleURL;
    return [NSWorkspace.sharedWorkspace URLForApplicationWithBundleIdentifier:ownId];
}

// Hands an open's outcome to the main queue: after the caller has returned,
// as the port promises, whichever queue the system answered on.
void finishOpen(Workspace::OpenCompletion completion, std::optional<std::string> error) {
    dispatch_async(dispatch_get_main_queue(), ^{
      completion(error);
    });
}

std::optional<std::string> errorText(NSError* error) {
    if (error == nil) return std::nullopt;
    std::string text = toString(error.localizedDescription);
    if (text.empty()) text = "the system could not open it (" + toString(error.domain) + " " + std::to_string(error.code) + ")";
    return text;
}

}  // namespace

std::optional<std::string> MacWorkspace::runningApp(pid_t pid) const {
    if (pid <= 0) return std::nullopt;
    @autoreleasepool {
        NSRunningApplication* app = [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
        if (app == nil) return std::nullopt;
        // The identifier written in the bundle the process runs from; where
        // that has none, the one the process announced itself with.
        NSString* identifier = bundleIdentifierAt(app.bundleURL);
        if (identifier.length == 0) identifier = app.bundleIdentifier;
        std::string text = toString(identifier);
        if (text.empty()) return std::nullopt;
        return text;
    }
}

std::vector<pid_t> MacWorkspace::runningProcesses(std::string_view id) const {
    std::vector<pid_t> found;
    @autoreleasepool {
        NSString* identifier = toNSString(id);
        if (identifier.length == 0) return found;
        for (NSRunningApplication* app in [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier]) {
            // The system matches identifiers whatever their letter case.
            if ([app.bundleIdentifier isEqualToString:identifier]) found.push_back(app.processIdentifier);
        }
    }
    return found;
}

std::optional<std::string> MacWorkspace::frontmostApp() const {
    @autoreleasepool {
        std::string text = toString(NSWorkspace.sharedWorkspace.frontmostApplication.bundleIdentifier);
        if (text.empty()) return std::nullopt;
        return text;
    }
}

std::optional<InstalledApp> MacWorkspace::application(std::string_view id) const {
    @autoreleasepool {
        NSString* identifier = toNSString(id);
        if (identifier.length == 0) return std::nullopt;
        NSURL* url = [NSWorkspace.sharedWorkspace URLForApplicationWithBundleIdentifier:identifier];
        if (url == nil) return std::nullopt;
        // The system matches identifiers whatever their letter case; this
        // port answers for exactly the one asked for.
        NSString* found = bundleIdentifierAt(url);
        if (found != nil && ![found isEqualToString:identifier]) return std::nullopt;
        return installedAppAt(url, std::string(id));
    }
}

std::vector<BrowserApp> MacWorkspace::installedBrowsers() const {
    @autoreleasepool {
        NSArray<NSURL*>* handlers =
            [NSWorkspace.sharedWorkspace URLsForApplicationsToOpenURL:[NSURL URLWithString:kWebLinkSample]];
        std::vector<InstalledApp> apps;
        for (NSURL* url in handlers) {
            std::string id = toString(bundleIdentifierAt(url));
            // The copy the system opens by identifier, so that this list and
            // application() name the same bundle.
            std::optional<InstalledApp> app = application(id);
            apps.push_back(app ? std::move(*app) : installedAppAt(url, std::move(id)));
        }
        return browserList(std::move(apps), self_.identifier(), finderOrder);
    }
}

void MacWorkspace::open(const std::vector<std::string>& links, const InstalledApp& app, const OpenOptions& options,
                        OpenCompletion completion) {
    @autoreleasepool {
        if (app.location.empty()) return finishOpen(std::move(completion), app.name + " has no location on disk");
        NSURL* appURL = [NSURL fileURLWithFileSystemRepresentation:app.location.c_str() isDirectory:YES relativeToURL:nil];

        // Every link is checked before any is opened: a batch opens whole or not at all.
        NSMutableArray<NSURL*>* urls = [NSMutableArray arrayWithCapacity:links.size()];
        for (std::size_t i = 0; i < links.size(); ++i) {
            NSString* text = toNSString(links[i]);
            NSURL* url = text != nil ? [NSURL URLWithString:text] : nil;
            if (url == nil) {
                const std::string which =
                    links.size() == 1 ? "the link" : "link " + std::to_string(i + 1) + " of " + std::to_string(links.size());
                return finishOpen(std::move(completion), which + " is not a URL the system can read");
            }
            [urls addObject:url];
        }

        NSWorkspaceOpenConfiguration* configuration = [NSWorkspaceOpenConfiguration configuration];
        configuration.activates = options.activates;
        // Links passed on are the user's browsing, not documents to list in the Apple menu.
        configuration.addsToRecentItems = NO;
        // The system calls this once, on a queue of its own.
        void (^done)(NSRunningApplication*, NSError*) = ^(NSRunningApplication* running, NSError* error) {
          (void)running;
          finishOpen(completion, errorText(error));
        };
        NSWorkspace* workspace = NSWorkspace.sharedWorkspace;
        if (urls.count == 0) {
            // Nothing to open: the app is started or brought up by itself.
            [workspace openApplicationAtURL:appURL configuration:configuration completionHandler:done];
        } else {
            [workspace openURLs:urls withApplicationAtURL:appURL configuration:configuration completionHandler:done];
        }
    }
}

bool MacWorkspace::isDefaultBrowser() const {
    @autoreleasepool {
        NSString* ownId = toNSString(self_.identifier());
        return ownId.length > 0 && isDefaultFor(ownId);
    }
}

void MacWorkspace::makeDefaultBrowser(std::function<void(bool)> completion) {
    @autoreleasepool {
        NSString* ownId = toNSString(self_.identifier());
        NSURL* ownURL = ownId.length > 0 ? ownBundleURL(ownId) : nil;
        // The outcome is read on the main queue, after this has returned.
        void (^report)(void) = ^{
          dispatch_async(dispatch_get_main_queue(), ^{
            completion(ownId.length > 0 && isDefaultFor(ownId));
          });
        };
        if (ownURL == nil) return report();
        void (^setHttps)(void) = ^{
          [NSWorkspace.sharedWorkspace setDefaultApplicationAtURL:ownURL
                                             toOpenURLsWithScheme:@"https"
                                                completionHandler:^(NSError* error) {
                                                  (void)error;
                                                  report();
                                                }];
        };
        // http first: a change of its handler is what the system asks the user
        // about. After a refusal https is left alone, so the user is asked once.
        [NSWorkspace.sharedWorkspace setDefaultApplicationAtURL:ownURL
                                           toOpenURLsWithScheme:@"http"
                                              completionHandler:^(NSError* error) {
                                                if (error != nil) return report();
                                                dispatch_async(dispatch_get_main_queue(), setHttps);
                                              }];
    }
}

}  // namespace pivra
