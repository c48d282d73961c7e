#include <fstream>
#include <future>
#include <seccomp.h>
#include <sys/socket.h>
#include <thread>

#include "platform/linux/network/NetlinkPathMonitor.h"
#include "platform/linux/network/NetworkNamespace.h"
#include "support/PathMonitorContract.h"
#include "support/StatusLog.h"
#include "support/Texts.h"

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

class NetworkHost final : public PathHost {
public:
    NetworkHost() {
        if (reasonToSkip().empty()) NetworkNamespace::ip(cable);
    }

    /// It reports once the kernel is silent, not because a change is an hour ago.
    std::unique_ptr<PathMonitor> makeMonitor() override {
        return std::make_unique<NetlinkPathMonitor>(milliseconds(1), hours(1));
    }
    void setSatisfied(bool satisfied) override {
        if (std::exchange(isSatisfied, satisfied) != satisfied)
            NetworkNamespace::ip(satisfied ? "route add default via 192.0.2.1\n" : "route del default\n");
    }
    std::string reasonToSkip() const override { return network.reasonToSkip(); }

private:
    NetworkNamespace network;
    bool isSatisfied = false;
};

INSTANTIATE_TEST_SUITE_P(Netlink, PathMonitorContract,
                         testing::Values([] { return std::make_unique<NetworkHost>(); }));

/// A started monitor and what it has reported.
class Watch {
public:
    explicit Watch(auto... delays) : monitor(delays...) {
        monitor.start("com.ob.quorvel.test", [this](PathStatus status) { log.add(status); });
    }

    /// Whether the last report is `status` or comes to be.
    bool waitFor(PathStatus status) const {
        return log.waitUntil([status](const auto& all) { return !all.empty() && all.back() == status; });
    }

    /// Ends the reports, of which there is one at least.
    std::vector<PathStatus> finish() {
        EXPECT_TRUE(log.waitForCount(1));
        monitor.cancel();
        return log.all();
    }

private:
    StatusLog log;
    NetlinkPathMonitor monitor;
};

/// In a network with a default route over a cable that works.
class NetlinkPathMonitorTest : public testing::Test {
protected:
    void SetUp() override {
        if (!network.reasonToSkip().empty()) GTEST_SKIP() << network.reasonToSkip();
        NetworkNamespace::ip(cable);
        NetworkNamespace::ip("route add default via 192.0.2.1\n");
        // The kernel counts a cable as running a while after the command.
        ASSERT_TRUE(Watch(milliseconds(1)).waitFor(satisfied));
    }

    NetworkNamespace network;
};

TEST_F(NetlinkPathMonitorTest, isSatisfiedWhileTheKernelRoutesOverAnInterfaceThatRuns) {
    struct Row {
        const char* change;
        PathStatus expected;
        const char* options = "";
    };
    const Row rows[] = {
        {"", satisfied},
        {"route replace blackhole default\n", unsatisfied},
        {"route replace default via 192.0.2.1\n", satisfied},
        {"route replace prohibit default\n", unsatisfied},
        {"route del prohibit default\n", unsatisfied},
        {"link set lo up\nroute add default dev lo\n", unsatisfied},
        {"route del default\nroute add 0.0.0.0/1 via 192.0.2.1\nroute add 128.0.0.0/1 via 192.0.2.1\n",
         satisfied},
        {"route del 0.0.0.0/1\n", satisfied},
        {"route replace throw 128.0.0.0/1\n", unsatisfied},
        {"route add 0.0.0.0/1 via 192.0.2.1\n", satisfied},
        {"route replace unreachable 0.0.0.0/1\n", unsatisfied},
        {"route add default via 192.0.2.1 table 100\n", unsatisfied},
        {"rule add table 100\n", satisfied},
        {"rule del table 100\n", unsatisfied},
        {"addr add 2001:db8::2/64 dev v0 nodad\nroute add 2000::/3 via 2001:db8::1\n", satisfied},
        {"route del 2000::/3\nroute add 2000::/3 via 2001:db8::1 table 100\n", unsatisfied},
        {"rule add table 100\n", satisfied, "-6"},
        {"rule del table 100\n", unsatisfied, "-6"},
        // With the next hop goes the route, without a message of its own.
        {"nexthop add id 1 via 192.0.2.1 dev v0\nroute replace 128.0.0.0/1 nhid 1\n", satisfied},
        {"nexthop del id 1\n", unsatisfied},
        {"route add 128.0.0.0/1 via 192.0.2.1\n", satisfied},
        // The kernel takes the lower metric, although nothing is plugged in there.
        {"link add w0 type veth peer name w1\nlink set w0 up\naddr add 198.51.100.2/24 dev w0\n"
         "route del 128.0.0.0/1\nroute del unreachable 0.0.0.0/1\n"
         "route add default via 192.0.2.1 metric 2\nroute add default via 198.51.100.1 metric 1\n",
         unsatisfied},
        {"route del default metric 1\n", satisfied},
        {"link set v0 down\n", unsatisfied},
    };
    const auto lowestFreeDescriptor = [] {
        const int lowest = dup(STDIN_FILENO);
        close(lowest);
        return lowest;
    };
    // Neither sees an hour of silence; one gives up waiting for it.
    Watch impatient(hours(1), milliseconds(1)), patient(hours(1), hours(1));
    ASSERT_TRUE(patient.waitFor(satisfied) && impatient.waitFor(satisfied));
    const int before = lowestFreeDescriptor();
    for (const auto& [change, expected, options] : rows) {
        NetworkNamespace::ip(change, options);
        ASSERT_TRUE(impatient.waitFor(expected)) << "not reported after: " << change;
        EXPECT_EQ(Watch(hours(1), hours(1)).finish(), std::vector{expected}) << "after: " << change;
    }
    EXPECT_EQ(patient.finish(), std::vector{satisfied});
    EXPECT_EQ(lowestFreeDescriptor(), before);
}

TEST_F(NetlinkPathMonitorTest, reportsALostCarrierAlthoughTheRouteStays) {
    // IPv6 would touch its routes when the carrier goes; IPv4 leaves them, and only the link tells.
    std::ofstream("/proc/sys/net/ipv6/conf/all/disable_ipv6") << 1;
    Watch watch;
    ASSERT_TRUE(watch.waitFor(satisfied));
    NetworkNamespace::ip("link set v1 down\n");
    EXPECT_TRUE(watch.waitFor(unsatisfied));
    NetworkNamespace::ip("link set v1 up\n");
    EXPECT_TRUE(watch.waitFor(satisfied));
    EXPECT_EQ(watch.finish(), (std::vector{satisfied, unsatisfied, satisfied}));
}

TEST_F(NetlinkPathMonitorTest, findsTheChangeBehindMessagesThatNoLongerFitted) {
    StatusLog log;
    std::promise<void> release;
    NetlinkPathMonitor monitor(milliseconds(1));
    monitor.start("com.ob.quorvel.test", [&, wait = release.get_future().share()](PathStatus status) {
        log.add(status);
        wait.wait();
    });
    ASSERT_TRUE(log.waitForCount(1));
    // Far more messages than a socket's buffer holds. The last change is the end of the route.
    NetworkNamespace::ip(repeated(1000, "route del default\nroute add default via 192.0.2.1\n") +
                         "route del default\n");
    release.set_value();
    EXPECT_TRUE(log.waitForCount(2));
    monitor.cancel();
    EXPECT_EQ(log.all(), (std::vector{satisfied, unsatisfied}));
}

/// Takes a system call from the calling thread, and from those that it starts, as a service manager's
/// RestrictAddressFamilies= does. There is no way back for the thread.
bool forbid(int call, const std::vector<scmp_arg_cmp>& arguments) {
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    const auto count = static_cast<unsigned>(arguments.size());
    const bool isForbidden =
        seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EPERM), call, count, arguments.data()) == 0 &&
        seccomp_load(filter) == 0;
    seccomp_release(filter);
    return isForbidden;
}

TEST_F(NetlinkPathMonitorTest, reportsSatisfiedOnceWhereTheKernelMayNotBeAsked) {
    struct Row {
        int forbidden;
        std::vector<scmp_arg_cmp> arguments;
    };
    const Row rows[] = {
        {SCMP_SYS(socket), {{0, SCMP_CMP_EQ, AF_NETLINK, 0}}}, {SCMP_SYS(bind), {}}, {SCMP_SYS(sendto), {}}};
    NetworkNamespace::ip("route del default\n");
    for (const auto& [call, arguments] : rows) {
        std::vector<PathStatus> reports;
        std::thread([&] {
            if (forbid(call, arguments)) reports = Watch().finish();
        }).join();
        EXPECT_EQ(reports, std::vector{satisfied}) << "forbidden system call: " << call;
    }
}

}  // namespace
}  // namespace quorvel
