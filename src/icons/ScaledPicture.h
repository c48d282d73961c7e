#pragma once

#include "platform/Image.h"
#include "platform/linux/icons/IconMessages.h"

namespace quorvel::icons {

/// The bitmap, which has a pixel at least, at the size of every picture: a box filter whose colours are
/// weighted by alpha, so that what lies under full transparency does not shine through.
Pixels scaledPicture(const Bitmap& bitmap);

}  // namespace quorvel::icons
