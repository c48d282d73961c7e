#pragma once

#import <AppKit/AppKit.h>

namespace quorvel {

/// The system's symbol of that name; nil when there is none. Autoreleased.
NSImage* symbolImage(NSString* name);

}  // namespace quorvel
