#pragma once

#import <AppKit/AppKit.h>

#include "platform/Image.h"

namespace quorvel {

/// The picture as the system draws it. Autoreleased; one without bitmaps is blank.
NSImage* cocoaImage(const Image& image);

/// The pixels of each of the image's representations.
Image imageFrom(NSImage* image);

}  // namespace quorvel
