#include "hosts/mac/mac_ports.hpp"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <system_error>

#import <Foundation/Foundation.h>

namespace pivra {
namespace {

namespace fs = std::filesystem;

NSURL* urlFor(const fs::path& path) {
    return [NSURL fileURLWithFileSystemRepresentation:path.c_str() isDirectory:NO relativeToURL:nil];
}

fs::path pathOf(NSURL* url) {
    char path[PATH_MAX];
    if (url == nil || ![url getFileSystemRepresentation:path maxLength:sizeof path]) return {};
    return fs::path(path);
}

std::string toString(NSString* text) {
    const char* bytes = text.UTF8String;  // NULL for nil, or for text with no UTF-8 form
    return bytes != nullptr ? std::string(bytes) : std::string();
}

// The error as the system words it, which names the item; its domain and
// code where it has no words.
std::string describe(NSError* error) {
    if (error == nil) return "the system gave no reason";
    std::string text = toString(error.localizedDescription);
    if (text.empty()) text = toString(error.domain) + " " + std::to_string(error.code);
    return text;
}

std::string failure(std::string_view what, const fs::path& path, int error) {
    return "can’t " + std::string(what) + " " + path.string() + ": " + std::generic_category().message(error);
}

bool isMissingAttribute(int error) { return error == ENOATTR || error == ENOTSUP; }

}  // namespace

FileError FileManagerBundleFiles::copyBundle(const fs::path& from, const fs::path& to) {
    @autoreleasepool {
        NSError* error = nil;
        // Keeps permissions, dates, extended attributes and links as links.
        if ([NSFileManager.defaultManager copyItemAtURL:urlFor(from) toURL:urlFor(to) error:&error]) return std::nullopt;
        return describe(error);
    }
}

std::expected<fs::path, std::string> FileManagerBundleFiles::moveToTrash(const fs::path& item) {
    @autoreleasepool {
        NSError* error = nil;
        NSURL* resulting = nil;
        if (![NSFileManager.defaultManager trashItemAtURL:urlFor(item) resultingItemURL:&resulting error:&error]) {
            return std::unexpected(describe(error));
        }
        fs::path where = pathOf(resulting);
        if (where.empty()) where = pathOf([NSFileManager.defaultManager URLForDirectory:NSTrashDirectory
                                                                              inDomain:NSUserDomainMask
                                                                     appropriateForURL:urlFor(item)
                                                                                create:NO
                                                                                 error:nil]);
        return where;
    }
}

FileError FileManagerBundleFiles::removeAttributeEverywhere(const fs::path& root, std::string_view name) {
    @autoreleasepool {
        const std::string attribute(name);
        const auto removeFrom = [&](const fs::path& path) -> FileError {
            if (::removexattr(path.c_str(), attribute.c_str(), XATTR_NOFOLLOW) == 0 || isMissingAttribute(errno)) {
                return std::nullopt;
            }
            return failure("remove the attribute " + attribute + " from", path, errno);
        };
        if (auto failed = removeFrom(root)) return failed;
        // The enumerator lists links without descending through them.
        __block NSError* walkError = nil;
        NSDirectoryEnumerator<NSURL*>* items =
            [NSFileManager.defaultManager enumeratorAtURL:urlFor(root)
                               includingPropertiesForKeys:@[]
                                                  options:0
                                             errorHandler:^BOOL(NSURL* url, NSError* error) {
                                               (void)url;
                                               walkError = error;
                                               return NO;
                                             }];
        for (NSURL* url in items) {
            if (auto failed = removeFrom(pathOf(url))) return failed;
        }
        if (walkError != nil) return describe(walkError);
        return std::nullopt;
    }
}

bool FileManagerBundleFiles::isWritableFolder(const fs::path& folder) const {
    @autoreleasepool {
        NSString* path = [NSFileManager.defaultManager stringWithFileSystemRepresentation:folder.c_str()
                                                                                   length:folder.native().size()];
        BOOL isFolder = NO;
        return [NSFileManager.defaultManager fileExistsAtPath:path isDirectory:&isFolder] && isFolder &&
               [NSFileManager.defaultManager isWritableFileAtPath:path];
    }
}

bool FileManagerBundleFiles::exists(const fs::path& path) const {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

FileError FileManagerBundleFiles::createFolders(const fs::path& folder) {
    @autoreleasepool {
        NSError* error = nil;
        if ([NSFileManager.defaultManager createDirectoryAtURL:urlFor(folder)
                                   withIntermediateDirectories:YES
                                                    attributes:nil
                                                         error:&error]) {
            return std::nullopt;
        }
        return describe(error);
    }
}

FileError FileManagerBundleFiles::move(const fs::path& from, const fs::path& to) {
    @autoreleasepool {
        NSError* error = nil;
        // Fails when something is at `to` already.
        if ([NSFileManager.defaultManager moveItemAtURL:urlFor(from) toURL:urlFor(to) error:&error]) return std::nullopt;
        return describe(error);
    }
}

FileError FileManagerBundleFiles::remove(const fs::path& item) {
    @autoreleasepool {
        if (!exists(item)) return std::nullopt;
        NSError* error = nil;
        if ([NSFileManager.defaultManager removeItemAtURL:urlFor(item) error:&error]) return std::nullopt;
        return describe(error);
    }
}

}  // namespace pivra
