#pragma once

#import <Foundation/Foundation.h>
#include <string>
#include <string_view>

namespace quorvel {

/// Malformed UTF-8 becomes U+FFFD. Autoreleased.
NSString* cocoaText(std::string_view text);

/// Empty for nil.
std::string textFrom(NSString* text);

}  // namespace quorvel
