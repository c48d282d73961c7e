#pragma once

#import <AppKit/AppKit.h>
#include <memory>

#include "platform/Menu.h"

namespace quorvel {

/// The menu as the system shows it, autoreleased. Its items call their targets, which they keep alive.
NSMenu* cocoaMenu(const Menu& menu);

}  // namespace quorvel
