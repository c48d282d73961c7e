#pragma once

#include "platform/BundleIcon.h"
#include "platform/FileDescriptor.h"

namespace quorvel {

/// Opens, for reading, the .icns file that a bundle's property list names; none when it names none by a plain
/// file name, or there is no regular file of a possible size under that name among the bundle's resources.
/// Links count as long as they stay inside the bundle. Never waits for a FIFO, and reads nothing of the
/// picture itself.
FileDescriptor openIconFile(const BundleIcon& icon);

}  // namespace quorvel
