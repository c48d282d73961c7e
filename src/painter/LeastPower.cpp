#include "painter/LeastPower.h"

#include <cerrno>
#include <memory>
#include <seccomp.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>

namespace quorvel::painter {

namespace {

struct FilterRelease {
    void operator()(void* filter) const { seccomp_release(filter); }
};

/// A ring makes sockets past the filter.
bool forbidRings(scmp_filter_ctx filter) {
    return seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(io_uring_setup), 0) == 0;
}

bool forbidSockets(scmp_filter_ctx filter, scmp_arg_cmp family) {
    return seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EAFNOSUPPORT), SCMP_SYS(socket), 1, &family) == 0;
}

bool forbidAllButLocalSockets(scmp_filter_ctx filter) {
    return forbidSockets(filter, SCMP_A0(SCMP_CMP_NE, AF_UNIX));
}

}  // namespace

void dropPower(bool displayIsRemote) {
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (displayIsRemote) return;
    const std::unique_ptr<void, FilterRelease> filter(seccomp_init(SCMP_ACT_ALLOW));
    if (filter && forbidRings(filter.get()) && forbidAllButLocalSockets(filter.get()))
        seccomp_load(filter.get());
}

bool isRemoteDisplay(const char* name) {
    const std::string_view display = name == nullptr ? "" : name;
    const auto host = display.substr(0, display.find(':'));
    return !host.empty() && host != "unix" && !host.starts_with('/');
}

}  // namespace quorvel::painter
