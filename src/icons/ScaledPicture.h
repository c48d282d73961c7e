#pragma once

#include "platform/Image.h"
#include "platform/linux/icons/IconMessages.h"

namespace quorvel::icons {

/// The bitmap, which has a pixel at least, at the size of every picture: each pixel is the mean of the area
/// that it covers, in which what cannot be seen has no colour.
Pixels scaledPicture(const Bitmap& bitmap);

}  // namespace quorvel::icons
