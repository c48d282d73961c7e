#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <fstream>
#include <future>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>

#include "connectivity/ConnectivityService.h"
#include "platform/linux/network/NetlinkPathMonitor.h"
#include "platform/linux/network/NetworkNamespace.h"
#include "support/PathMonitorContract.h"
#include "support/StatusLog.h"

namespace quorvel {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using enum PathStatus;

/// Two ends of a cable, both in this network; switching off v1 takes the carrier from v0. Without IPv6
/// addresses of its own making, a link that changes causes no other message than its own.
constexpr const char* cable =
    "link add v0 type veth peer name v1\n"
    "link set v0 addrgenmode none\n"
    "link set v1 addrgenmode none\n"
    "link set v0 up\n"
    "link set v1 up\n"
    "addr add 192.0.2.2/24 dev v0\n";

class NetworkHost {
public:
    NetworkHost() {
        if (reasonToSkip().empty()) NetworkNamespace::ip(cable);
    }

    std::unique_ptr<PathMonitor> makeMonitor() {
        return std::make_unique<NetlinkPathMonitor>(milliseconds(1));
    }
    void started() {}
    void setSatisfied(bool satisfied) {
        NetworkNamespace::ip(satisfied ? "route add default via 192.0.2.1\n" : "route del default\n");
    }
    const std::string& reasonToSkip() const { return network.reasonToSkip(); }

private:
    NetworkNamespace network;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Netlink, PathMonitorContract, NetworkHost);

class NetlinkPathMonitorTest : public testing::Test {
protected:
    void SetUp() override {
        if (!network.reasonToSkip().empty()) GTEST_SKIP() << network.reasonToSkip();
    }

    void ip(const std::string& commands) { NetworkNamespace::ip(commands); }

    void start(PathMonitor& monitor) {
        monitor.start("com.ob.quorvel.test", [this](PathStatus status) { log.add(status); });
    }

    bool waitFor(PathStatus status) {
        return log.waitUntil([status](const auto& all) { return !all.empty() && all.back() == status; });
    }

    /// Returns once the kernel counts the cable as running, which it does a while after the command.
    void layCable() {
        StatusLog running;
        NetlinkPathMonitor monitor(milliseconds(1));
        ip(cable);
        ip("route add default via 192.0.2.1\n");
        monitor.start("com.ob.quorvel.test", [&](PathStatus status) { running.add(status); });
        EXPECT_TRUE(
            running.waitUntil([](const auto& all) { return !all.empty() && all.back() == satisfied; }));
        monitor.cancel();
        ip("route del default\n");
    }

    /// The first report on the network as it is now. It does not wait for quiet, however long that takes.
    PathStatus presentStatus() {
        StatusLog first;
        NetlinkPathMonitor monitor(hours(1), hours(1));
        monitor.start("com.ob.quorvel.test", [&](PathStatus status) { first.add(status); });
        EXPECT_TRUE(first.waitForCount(1));
        monitor.cancel();
        return first.all().at(0);
    }

    NetworkNamespace network;
    StatusLog log;
};

TEST_F(NetlinkPathMonitorTest, reportsAtOnceWhatTheRoutesAndLinksSay) {
    struct Row {
        const char* change;
        PathStatus expected;
    };
    layCable();
    const Row rows[] = {
        {"", unsatisfied},
        {"link set lo up\n", unsatisfied},
        {"route add default dev lo\n", unsatisfied},
        {"route del default\n", unsatisfied},
        {"route add unreachable default\n", unsatisfied},
        {"route del unreachable default\n", unsatisfied},
        {"route add default via 192.0.2.1\n", satisfied},
        {"route add unreachable default metric 9\n", satisfied},
        {"route del default via 192.0.2.1\n", unsatisfied},
        {"addr add 2001:db8::2/64 dev v0\nroute add ::/0 via 2001:db8::1\n", satisfied},
        {"route del ::/0 dev v0\n", unsatisfied},
        {"route add default via 192.0.2.1 table 100\n", unsatisfied},
        {"link add w0 type veth peer name w1\nlink set w0 up\naddr add 198.51.100.2/24 dev w0\n"
         "route add default nexthop dev w0 via 198.51.100.1 onlink nexthop via 192.0.2.1\n",
         satisfied},
        {"link set v0 down\n", unsatisfied},
    };
    for (const auto& [change, expected] : rows) {
        ip(change);
        EXPECT_EQ(presentStatus(), expected) << "after: " << change;
    }
}

TEST_F(NetlinkPathMonitorTest, reportsALostCarrierAlthoughTheRouteStays) {
    // IPv6 would touch its routes when the carrier goes; IPv4 leaves them, and only the link tells.
    std::ofstream("/proc/sys/net/ipv6/conf/all/disable_ipv6") << 1;
    layCable();
    ip("route add default via 192.0.2.1\n");
    NetlinkPathMonitor monitor;
    start(monitor);
    ASSERT_TRUE(waitFor(satisfied));
    ip("link set v1 down\n");
    EXPECT_TRUE(waitFor(unsatisfied));
    ip("link set v1 up\n");
    EXPECT_TRUE(waitFor(satisfied));
    monitor.cancel();
    EXPECT_EQ(log.all(), (std::vector{satisfied, unsatisfied, satisfied}));
}

TEST_F(NetlinkPathMonitorTest, doesNotWaitForEverForAStormToEnd) {
    layCable();
    // It is never quiet for an hour.
    NetlinkPathMonitor monitor(hours(1), milliseconds(1));
    start(monitor);
    ASSERT_TRUE(waitFor(unsatisfied));
    ip("route add default via 192.0.2.1\n");
    EXPECT_TRUE(waitFor(satisfied));
}

std::string flaps(int count) {
    std::string commands;
    for (int flap = 0; flap < count; ++flap)
        commands += "route del default\nroute add default via 192.0.2.1\n";
    return commands;
}

TEST_F(NetlinkPathMonitorTest, findsTheChangeBehindMessagesThatNoLongerFitted) {
    layCable();
    ip("route add default via 192.0.2.1\n");
    std::promise<void> release;
    NetlinkPathMonitor monitor(milliseconds(1));
    monitor.start("com.ob.quorvel.test", [&, wait = release.get_future().share()](PathStatus status) {
        log.add(status);
        wait.wait();
    });
    ASSERT_TRUE(waitFor(satisfied));
    // The socket's buffer holds a few hundred messages, the last of which is not among them.
    ip(flaps(1000) + "route del default\n");
    release.set_value();
    EXPECT_TRUE(waitFor(unsatisfied));
}

/// Writes down what passes between a monitor and its user.
class LoggingMonitor final : public PathMonitor {
public:
    LoggingMonitor(std::unique_ptr<PathMonitor> watchingMonitor, StatusLog& statusLog)
        : inner(std::move(watchingMonitor)), log(statusLog) {}
    void start(std::string_view label, UpdateHandler handler) override {
        inner->start(label, [this, handler = std::move(handler)](PathStatus status) {
            handler(status);
            log.add(status);
        });
    }
    void cancel() override { inner->cancel(); }

private:
    std::unique_ptr<PathMonitor> inner;
    StatusLog& log;
};

TEST_F(NetlinkPathMonitorTest, aThousandFlapsRunOneCallbackForEachOutageReported) {
    layCable();
    ip("route add default via 192.0.2.1\n");
    int restores = 0;
    auto monitor = std::make_unique<NetlinkPathMonitor>(milliseconds(0), milliseconds(0));
    auto service =
        std::make_unique<ConnectivityService>(std::make_unique<LoggingMonitor>(std::move(monitor), log));
    const std::function<void()> countAndStay = [&] {
        ++restores;
        service->setOnConnectivityRestored(countAndStay);
    };
    service->setOnConnectivityRestored(countAndStay);
    ASSERT_TRUE(waitFor(satisfied));
    ip(flaps(1000) + "route del default\n");
    ASSERT_TRUE(waitFor(unsatisfied));
    ip("route add default via 192.0.2.1\n");
    ASSERT_TRUE(waitFor(satisfied));
    service.reset();

    const auto all = log.all();
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end()) << "a status was reported twice";
    const auto outages = std::count(all.begin(), all.end(), unsatisfied);
    EXPECT_GE(outages, 1);
    EXPECT_LE(outages, 1001);
    // Every outage has ended but one that a last glance at the flapping may have shown.
    EXPECT_EQ(restores, all.back() == satisfied ? outages : outages - 1);
    RecordProperty("outagesReported", std::to_string(outages));
}

/// Takes netlink sockets from the calling thread, and from those that it starts, as a service manager's
/// RestrictAddressFamilies= does. There is no way back for the thread.
bool forbidNetlink() {
    constexpr auto number = static_cast<unsigned>(offsetof(seccomp_data, nr));
    // The low half of a number that is stored as 64 bits.
    constexpr auto family = static_cast<unsigned>(offsetof(seccomp_data, args)) +
                            (std::endian::native == std::endian::big ? 4U : 0U);
    std::array<sock_filter, 6> filter{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, number),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, family),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_NETLINK, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAFNOSUPPORT),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program{filter.size(), filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST_F(NetlinkPathMonitorTest, reportsSatisfiedOnceWhereItMayNotWatch) {
    bool isForbidden = false;
    std::thread([&] {
        isForbidden = forbidNetlink();
        if (!isForbidden) return;
        NetlinkPathMonitor monitor;
        start(monitor);
        EXPECT_TRUE(log.waitForCount(1));
        monitor.cancel();
    }).join();
    if (!isForbidden) GTEST_SKIP() << "no system call filters on this machine";
    EXPECT_EQ(log.all(), std::vector{satisfied});
}

TEST_F(NetlinkPathMonitorTest, leavesNoFileOpen) {
    const auto nextFree = [] {
        const int lowest = dup(STDIN_FILENO);
        close(lowest);
        return lowest;
    };
    const int before = nextFree();
    for (int turn = 0; turn < 20; ++turn)
        presentStatus();
    EXPECT_EQ(nextFree(), before);
}

}  // namespace
}  // namespace quorvel
