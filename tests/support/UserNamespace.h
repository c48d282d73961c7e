#pragma once

#include <fstream>
#include <sched.h>
#include <string>
#include <unistd.h>

namespace quorvel {

/// True when the process may make namespaces: as root, or, for an ordinary user, once it has become the root
/// of a user namespace of its own. While other threads run, the system does not allow the latter.
inline bool mayMakeNamespaces() {
    if (geteuid() == 0) return true;
    const auto user = std::to_string(geteuid());
    const auto group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER) != 0) return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    return geteuid() == 0;
}

}  // namespace quorvel
