#include "hosts/mac/mac_ports.hpp"

#import <AppKit/AppKit.h>
#import <UniformTypeIdentifiers/UniformTypeIdentifiers.h>

namespace pivra {
namespace {

NSString* toNSString(const std::string& text) { return [NSString stringWithUTF8String:text.c_str()]; }

NSArray<UTType*>* typesFor(const std::string& extension) {
    UTType* type = [UTType typeWithFilenameExtension:toNSString(extension)];
    return type != nil ? @[ type ] : @[];
}

void runPanel(NSSavePanel* panel, Dialogs::Completion completion) {
    [NSApp activateIgnoringOtherApps:YES];
    [panel beginWithCompletionHandler:^(NSModalResponse response) {
      if (response == NSModalResponseOK && panel.URL != nil) {
          completion(std::filesystem::path(panel.URL.path.fileSystemRepresentation));
      } else {
          completion(std::nullopt);
      }
    }];
}

}  // namespace

void PanelDialogs::chooseSaveLocation(const SavePanelRequest& request, Completion completion) {
    if (NSApp == nil) return completion(std::nullopt);
    NSSavePanel* panel = [NSSavePanel savePanel];
    panel.nameFieldStringValue = toNSString(request.suggestedName);
    panel.allowedContentTypes = typesFor(request.fileExtension);
    runPanel(panel, std::move(completion));
}

void PanelDialogs::chooseFileToOpen(const OpenPanelRequest& request, Completion completion) {
    if (NSApp == nil) return completion(std::nullopt);
    NSOpenPanel* panel = [NSOpenPanel openPanel];
    panel.allowsMultipleSelection = NO;
    panel.canChooseDirectories = NO;
    panel.allowedContentTypes = typesFor(request.fileExtension);
    runPanel(panel, std::move(completion));
}

}  // namespace pivra
