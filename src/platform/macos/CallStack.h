#pragma once

#include "platform/posix/exceptions/UncaughtExceptions.h"

namespace quorvel {

/// Tells functions by the symbols of the files that they were loaded from.
extern const CallStackReader callStackReader;

}  // namespace quorvel
