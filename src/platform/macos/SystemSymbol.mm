#import "platform/macos/SystemSymbol.h"

namespace quorvel {

NSImage* symbolImage(NSString* name) {
    return [NSImage imageWithSystemSymbolName:name accessibilityDescription:@"Quorvel"];
}

}  // namespace quorvel
