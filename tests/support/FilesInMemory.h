#pragma once

#include <optional>
#include <string>
#include <unistd.h>

#include "support/ScopedVariable.h"

namespace quorvel {

/// Has temporary folders made in memory where there is such a file system: thousands of files are cheap
/// there, and a folder's entries come in the order in which they were made, or its reverse.
struct FilesInMemory {
    const ScopedVariable folder{
        "TMPDIR", access("/dev/shm", W_OK) == 0 ? std::optional<std::string>("/dev/shm") : std::nullopt};
};

}  // namespace quorvel
