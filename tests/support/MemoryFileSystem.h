#pragma once

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include "support/UserNamespace.h"

namespace quorvel {

/// A file system in memory over the folder, seen by this process alone, which should be a child of the test.
/// Skips where the system does not allow that.
inline void mountMemory(const std::filesystem::path& folder, const char* options) {
    if (!mayMakeNamespaces() || unshare(CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", folder.c_str(), "tmpfs", 0, options) != 0) {
        GTEST_SKIP() << "no file system of its own for " << folder << ": " << std::strerror(errno);
    }
}

}  // namespace quorvel
