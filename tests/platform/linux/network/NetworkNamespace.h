#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>

#include "support/UserNamespace.h"

namespace quorvel {

/// A network of this test's own: nothing in it but a loopback that is switched off. The calling thread enters
/// it and stays there until it makes the next; threads and programs started from now on are in it, too. The
/// system discards it with the last of them.
class NetworkNamespace {
public:
    NetworkNamespace() {
        if (mayMakeNamespaces()) isEntered = unshare(CLONE_NEWNET) == 0;
        if (!isEntered) reason = std::string("no network namespace: ") + std::strerror(errno);
        if (isEntered && std::system(programPath("ip link show > /dev/null 2>&1").c_str()) != 0) {
            reason = "no network namespace: iproute2 is not installed";
        }
    }

    /// Why there is no network; empty when there is.
    const std::string& reasonToSkip() const { return reason; }

    /// Runs commands of ip(8), one a line.
    static void ip(const std::string& commands) {
        FILE* const pipe = popen(programPath("ip -batch -").c_str(), "w");
        ASSERT_NE(pipe, nullptr);
        std::fwrite(commands.data(), 1, commands.size(), pipe);
        EXPECT_EQ(pclose(pipe), 0) << "ip refused: " << commands.substr(0, 400);
    }

private:
    static std::string programPath(const std::string& command) {
        return "PATH=$PATH:/usr/sbin:/sbin " + command;
    }

    bool isEntered = false;
    std::string reason;
};

}  // namespace quorvel
