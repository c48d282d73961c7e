#import "platform/macos/ServiceLoginItem.h"

#import <ServiceManagement/ServiceManagement.h>

namespace quorvel {

namespace {

/// Older systems ask for a program of its own, which opens this one.
bool setHelper(bool isEnabled) {
    return SMLoginItemSetEnabled(CFSTR("com.ob.quorvel-helper"), isEnabled);
}

}  // namespace

bool ServiceLoginItem::isOffered() const {
    if (@available(macOS 13.0, *)) return true;
    return false;
}

bool ServiceLoginItem::registerItem() {
    if (@available(macOS 13.0, *)) return [[SMAppService mainAppService] registerAndReturnError:nullptr];
    return setHelper(true);
}

bool ServiceLoginItem::unregisterItem() {
    if (@available(macOS 13.0, *)) return [[SMAppService mainAppService] unregisterAndReturnError:nullptr];
    return setHelper(false);
}

}  // namespace quorvel
