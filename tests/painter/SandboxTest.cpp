#include <cerrno>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include "painter/Sandbox.h"
#include "support/ForkedChild.h"

namespace quorvel::painter {
namespace {

int errorOfSocket(int family, int type) {
    const int made = socket(family, type, 0);
    const int error = made < 0 ? errno : 0;
    if (made >= 0) close(made);
    return error;
}

TEST(PainterSandboxTest, leavesLocalSocketsAndTheNetworkOnlyToADisplayThatIsReachedByIt) {
    for (const bool isRemote : {false, true}) {
        runInChild([isRemote] {
            enterSandbox(isRemote);
            EXPECT_EQ(prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0), 1);
            EXPECT_EQ(errorOfSocket(AF_UNIX, SOCK_STREAM), 0);
            for (const int family : {AF_INET, AF_INET6, AF_NETLINK})
                EXPECT_EQ(errorOfSocket(family, SOCK_DGRAM), isRemote ? 0 : EAFNOSUPPORT) << family;
            if (isRemote) return;
            EXPECT_EQ(syscall(SYS_io_uring_setup, 1, nullptr), -1);
            EXPECT_EQ(errno, ENOSYS);
        });
    }
    for (const char* remote : {"localhost:10.0", "192.0.2.1:0", "[2001:db8::1]:0"})
        EXPECT_TRUE(isRemoteDisplay(remote)) << remote;
    for (const char* local : {":0", "unix:0", "/tmp/launch/display:0", ""})
        EXPECT_FALSE(isRemoteDisplay(local)) << local;
    EXPECT_FALSE(isRemoteDisplay(nullptr));
}

}  // namespace
}  // namespace quorvel::painter
