#include "painter/Sandbox.h"

#include <cerrno>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>

#include "platform/linux/process/SeccompFilter.h"

namespace quorvel::painter {

void enterSandbox(bool displayIsRemote) {
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (displayIsRemote) return;
    SeccompFilter filter(SCMP_ACT_ALLOW);
    // A ring makes sockets past the filter.
    filter.add(SCMP_ACT_ERRNO(ENOSYS), {SCMP_SYS(io_uring_setup)});
    filter.add(SCMP_ACT_ERRNO(EAFNOSUPPORT), {SCMP_SYS(socket)},
               {{.arg = 0, .op = SCMP_CMP_NE, .datum_a = AF_UNIX, .datum_b = 0}});
    filter.load();
}

bool isRemoteDisplay(const char* name) {
    const std::string_view display = name == nullptr ? "" : name;
    const auto host = display.substr(0, display.find(':'));
    return !host.empty() && host != "unix" && !host.starts_with('/');
}

}  // namespace quorvel::painter
