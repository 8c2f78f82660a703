// The Http port on an ephemeral NSURLSession with a delegate of its own: it
// refuses redirects, counts the bytes of each transfer against its limit,
// and moves a finished download into place before the session deletes it.

#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

#import <Foundation/Foundation.h>

#include "hosts/mac/mac_ports.hpp"

namespace pivra {
namespace {

// Whether this object's owner is gone; shared with what was posted to the main thread.
using Closed = std::shared_ptr<std::atomic<bool>>;

std::string failureText(NSError* error) {
    switch (error.code) {
        case NSURLErrorTimedOut: return "the server didn’t answer in time";
        case NSURLErrorCannotFindHost:
        case NSURLErrorDNSLookupFailed: return "the server couldn’t be found";
        case NSURLErrorCannotConnectToHost: return "the server couldn’t be reached";
        case NSURLErrorNotConnectedToInternet: return "this Mac isn’t connected to the internet";
        case NSURLErrorNetworkConnectionLost: return "the connection to the server was lost";
        case NSURLErrorServerCertificateUntrusted:
        case NSURLErrorServerCertificateHasBadDate:
        case NSURLErrorServerCertificateHasUnknownRoot:
        case NSURLErrorServerCertificateNotYetValid: return "the server’s certificate isn’t trusted";
        case NSURLErrorSecureConnectionFailed: return "a secure connection to the server couldn’t be made";
        default: break;
    }
    const char* text = error.localizedDescription.UTF8String;
    return text ? text : "the transfer failed";
}

std::string tooLargeText(std::uint64_t limit) { return "the answer is larger than " + std::to_string(limit) + " bytes"; }

}  // namespace
}  // namespace pivra

// One transfer's state, touched on the session's delegate queue only.
@interface PivraTransfer : NSObject {
@public
    std::uint64_t limit;
    bool isDownload;
    bool tooLarge;
    std::filesystem::path file;       // a download's destination
    std::string moveError;            // why the finished download couldn't be put in place
    NSMutableData* body;
    std::function<void(NSHTTPURLResponse*, NSError*)> finish;  // posts the result
}
@end

@implementation PivraTransfer
@end

@interface PivraSessionDelegate : NSObject <NSURLSessionDataDelegate, NSURLSessionDownloadDelegate>
- (void)addTransfer:(PivraTransfer*)transfer forTask:(NSURLSessionTask*)task;
@end

@implementation PivraSessionDelegate {
    NSMutableDictionary<NSNumber*, PivraTransfer*>* _transfers;
}

- (instancetype)init {
    if ((self = [super init])) _transfers = [NSMutableDictionary dictionary];
    return self;
}

- (void)addTransfer:(PivraTransfer*)transfer forTask:(NSURLSessionTask*)task {
    @synchronized(self) {
        _transfers[@(task.taskIdentifier)] = transfer;
    }
}

- (PivraTransfer*)transferForTask:(NSURLSessionTask*)task {
    @synchronized(self) {
        return _transfers[@(task.taskIdentifier)];
    }
}

// Never followed: the redirect's own answer completes the task.
- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                    newRequest:(NSURLRequest*)request
             completionHandler:(void (^)(NSURLRequest*))completionHandler {
    completionHandler(nil);
}

- (void)URLSession:(NSURLSession*)session
              dataTask:(NSURLSessionDataTask*)dataTask
    didReceiveResponse:(NSURLResponse*)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler {
    PivraTransfer* transfer = [self transferForTask:dataTask];
    if (transfer && response.expectedContentLength > 0 &&
        static_cast<std::uint64_t>(response.expectedContentLength) > transfer->limit) {
        transfer->tooLarge = true;
        completionHandler(NSURLSessionResponseCancel);
        return;
    }
    completionHandler(NSURLSessionResponseAllow);
}

- (void)URLSession:(NSURLSession*)session dataTask:(NSURLSessionDataTask*)dataTask didReceiveData:(NSData*)data {
    PivraTransfer* transfer = [self transferForTask:dataTask];
    if (!transfer || transfer->tooLarge) return;
    if (transfer->body.length + data.length > transfer->limit) {
        transfer->tooLarge = true;
        [dataTask cancel];
        return;
    }
    [transfer->body appendData:data];
}

- (void)URLSession:(NSURLSession*)session
                 downloadTask:(NSURLSessionDownloadTask*)downloadTask
                 didWriteData:(int64_t)bytesWritten
            totalBytesWritten:(int64_t)totalBytesWritten
    totalBytesExpectedToWrite:(int64_t)totalBytesExpectedToWrite {
    PivraTransfer* transfer = [self transferForTask:downloadTask];
    if (!transfer || transfer->tooLarge) return;
    if (static_cast<std::uint64_t>(std::max(totalBytesWritten, totalBytesExpectedToWrite)) > transfer->limit) {
        transfer->tooLarge = true;
        [downloadTask cancel];
    }
}

// The session deletes `location` when this returns: a good answer is moved
// beside the destination now, then renamed over it in one step.
- (void)URLSession:(NSURLSession*)session
                 downloadTask:(NSURLSessionDownloadTask*)downloadTask
    didFinishDownloadingToURL:(NSURL*)location {
    PivraTransfer* transfer = [self transferForTask:downloadTask];
    if (!transfer || transfer->tooLarge) return;
    auto* response = (NSHTTPURLResponse*)downloadTask.response;
    if (![response isKindOfClass:[NSHTTPURLResponse class]] || response.statusCode < 200 || response.statusCode > 299) return;
    const std::filesystem::path part =
        transfer->file.parent_path() / ("." + transfer->file.filename().string() + ".part");
    NSError* error = nil;
    NSURL* partURL = [NSURL fileURLWithPath:@(part.c_str())];
    [[NSFileManager defaultManager] removeItemAtURL:partURL error:nil];
    if (![[NSFileManager defaultManager] moveItemAtURL:location toURL:partURL error:&error]) {
        transfer->moveError = "the download couldn’t be saved: " + pivra::failureText(error);
        return;
    }
    if (::rename(part.c_str(), transfer->file.c_str()) != 0) {
        transfer->moveError = "the download couldn’t be saved: " + std::generic_category().message(errno);
        ::unlink(part.c_str());
    }
}

- (void)URLSession:(NSURLSession*)session task:(NSURLSessionTask*)task didCompleteWithError:(NSError*)error {
    PivraTransfer* transfer = [self transferForTask:task];
    if (!transfer) return;
    @synchronized(self) {
        [_transfers removeObjectForKey:@(task.taskIdentifier)];
    }
    auto* response = [task.response isKindOfClass:[NSHTTPURLResponse class]] ? (NSHTTPURLResponse*)task.response
                                                                               : nil;
    transfer->finish(response, error);
}

@end

namespace pivra {

struct UrlSessionHttp::Session {
    Scheduler* scheduler = nullptr;
    NSURLSession* session = nil;
    PivraSessionDelegate* delegate = nil;
    Closed closed = std::make_shared<std::atomic<bool>>(false);
};

UrlSessionHttp::UrlSessionHttp(Scheduler& scheduler) : session_(std::make_unique<Session>()) {
    session_->scheduler = &scheduler;
    @autoreleasepool {
        NSURLSessionConfiguration* configuration = [NSURLSessionConfiguration ephemeralSessionConfiguration];
        configuration.URLCache = nil;
        configuration.requestCachePolicy = NSURLRequestReloadIgnoringLocalAndRemoteCacheData;
        configuration.HTTPCookieStorage = nil;
        configuration.HTTPShouldSetCookies = NO;
        configuration.URLCredentialStorage = nil;
        configuration.HTTPAdditionalHeaders = @{@"User-Agent" : @(std::string(kHttpUserAgent).c_str())};
        configuration.timeoutIntervalForRequest = kHttpTimeout.count();
        session_->delegate = [[PivraSessionDelegate alloc] init];
        // A nil queue: the session makes a serial one for its delegate.
        session_->session = [NSURLSession sessionWithConfiguration:configuration
                                                          delegate:session_->delegate
                                                     delegateQueue:nil];
    }
}

UrlSessionHttp::~UrlSessionHttp() {
    session_->closed->store(true);
    [session_->session invalidateAndCancel];
}

namespace {

// The link as a URL the session may fetch: https, a host, no user or password.
NSURL* fetchableURL(const std::string& url, std::string& why) {
    NSURL* parsed = [NSURL URLWithString:@(url.c_str())];
    if (!parsed || !parsed.host) {
        why = "the address isn’t valid";
        return nil;
    }
    if (![parsed.scheme.lowercaseString isEqualToString:@"https"]) {
        why = "only HTTPS addresses can be fetched";
        return nil;
    }
    if (parsed.user || parsed.password) {
        why = "addresses with a user name or password aren’t fetched";
        return nil;
    }
    return parsed;
}

}  // namespace

void UrlSessionHttp::get(const std::string& url, std::uint64_t maxBodySize, std::function<void(HttpAnswer)> completion) {
    @autoreleasepool {
        Scheduler& scheduler = *session_->scheduler;
        Closed closed = session_->closed;
        std::string why;
        NSURL* target = fetchableURL(url, why);
        if (!target) {
            scheduler.post([closed, completion = std::move(completion), why] {
                if (!closed->load()) completion(std::unexpected(why));
            });
            return;
        }
        PivraTransfer* transfer = [[PivraTransfer alloc] init];
        transfer->limit = maxBodySize;
        transfer->isDownload = false;
        transfer->tooLarge = false;
        transfer->body = [NSMutableData data];
        __weak PivraTransfer* weakTransfer = transfer;
        transfer->finish = [&scheduler, closed, completion = std::move(completion), weakTransfer, maxBodySize](
                               NSHTTPURLResponse* response, NSError* error) {
            PivraTransfer* done = weakTransfer;
            HttpAnswer answer = std::unexpected(std::string("the transfer failed"));
            if (done && done->tooLarge) {
                answer = std::unexpected(tooLargeText(maxBodySize));
            } else if (error) {
                answer = std::unexpected(failureText(error));
            } else if (response && done) {
                answer = HttpResponse{static_cast<int>(response.statusCode),
                                      std::string(static_cast<const char*>(done->body.bytes), done->body.length)};
            }
            scheduler.post([closed, completion, answer = std::move(answer)] {
                if (!closed->load()) completion(answer);
            });
        };
        NSURLSessionDataTask* task = [session_->session dataTaskWithURL:target];
        [session_->delegate addTransfer:transfer forTask:task];
        [task resume];
    }
}

void UrlSessionHttp::download(const std::string& url, const std::filesystem::path& file, std::uint64_t maxSize,
                              std::function<void(HttpDownload)> completion) {
    @autoreleasepool {
        Scheduler& scheduler = *session_->scheduler;
        Closed closed = session_->closed;
        std::string why;
        NSURL* target = fetchableURL(url, why);
        if (!target) {
            scheduler.post([closed, completion = std::move(completion), why] {
                if (!closed->load()) completion(std::unexpected(why));
            });
            return;
        }
        PivraTransfer* transfer = [[PivraTransfer alloc] init];
        transfer->limit = maxSize;
        transfer->isDownload = true;
        transfer->tooLarge = false;
        transfer->file = file;
        __weak PivraTransfer* weakTransfer = transfer;
        transfer->finish = [&scheduler, closed, completion = std::move(completion), weakTransfer, maxSize](
                               NSHTTPURLResponse* response, NSError* error) {
            PivraTransfer* done = weakTransfer;
            HttpDownload result = std::unexpected(std::string("the transfer failed"));
            if (done && done->tooLarge) {
                result = std::unexpected(tooLargeText(maxSize));
            } else if (error) {
                result = std::unexpected(failureText(error));
            } else if (done && !done->moveError.empty()) {
                result = std::unexpected(done->moveError);
            } else if (response) {
                result = static_cast<int>(response.statusCode);
            }
            scheduler.post([closed, completion, result = std::move(result)] {
                if (!closed->load()) completion(result);
            });
        };
        NSURLSessionDownloadTask* task = [session_->session downloadTaskWithURL:target];
        [session_->delegate addTransfer:transfer forTask:task];
        [task resume];
    }
}

}  // namespace pivra
