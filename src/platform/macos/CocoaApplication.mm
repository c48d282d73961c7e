#import "platform/macos/CocoaApplication.h"

#import <AppKit/AppKit.h>

namespace quorvel {

void CocoaApplication::terminate() {
    [NSApp terminate:nil];
}

}  // namespace quorvel
