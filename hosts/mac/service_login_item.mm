#include "hosts/mac/mac_ports.hpp"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

namespace pivra {

// Only "enabled" opens the app at login: "requires approval" waits for the
// user in System Settings, and "not found" means no registration could be made.
bool ServiceLoginItem::isEnabled() const {
    @autoreleasepool {
        return SMAppService.mainAppService.status == SMAppServiceStatusEnabled;
    }
}

bool ServiceLoginItem::setEnabled(bool enabled) {
    @autoreleasepool {
        SMAppService* service = SMAppService.mainAppService;
        const SMAppServiceStatus status = service.status;
        // Registering twice, or unregistering what is not registered, is an
        // error to the system, though the setting is then as asked.
        if (enabled && status == SMAppServiceStatusEnabled) return true;
        if (!enabled && status == SMAppServiceStatusNotRegistered) return true;
        NSError* error = nil;
        return enabled ? [service registerAndReturnError:&error] : [service unregisterAndReturnError:&error];
    }
}

}  // namespace pivra
