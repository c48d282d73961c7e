#pragma once

#include <stdlib.h>
#include <string>
#include <unistd.h>

namespace quorvel {

/// Has temporary folders made in memory where there is such a file system: thousands of files are cheap
/// there, and a folder's entries come in the order in which they were made, or its reverse.
class FilesInMemory {
public:
    FilesInMemory() : before(getenv("TMPDIR") != nullptr ? getenv("TMPDIR") : "") {
        if (access("/dev/shm", W_OK) == 0) setenv("TMPDIR", "/dev/shm", 1);
    }
    ~FilesInMemory() { before.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", before.c_str(), 1); }
    FilesInMemory(const FilesInMemory&) = delete;
    FilesInMemory& operator=(const FilesInMemory&) = delete;

private:
    const std::string before;
};

}  // namespace quorvel
