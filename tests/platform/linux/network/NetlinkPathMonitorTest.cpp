#include <atomic>
#include <condition_variable>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <mutex>
#include <ostream>
#include <sys/socket.h>
#include <thread>
#include <vector>

#include "platform/linux/network/NetlinkPathMonitor.h"
#include "platform/linux/network/NetworkNamespace.h"
#include "platform/linux/process/SeccompFilter.h"

namespace quorvel {

std::ostream& operator<<(std::ostream& out, PathStatus status) {
    return out << (status == PathStatus::satisfied ? "satisfied" : "unsatisfied");
}

namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using enum PathStatus;

/// A started monitor and what it has reported.
class Watch {
public:
    explicit Watch(auto... delays) : monitor(delays...) {
        monitor.start("com.ob.quorvel.test", [this](PathStatus status) {
            const std::lock_guard lock(mutex);
            reports.push_back(status);
            changed.notify_all();
        });
    }

    /// Whether the last report is `status` or comes to be.
    bool waitFor(PathStatus status) {
        return waitUntil([&] { return !reports.empty() && reports.back() == status; });
    }

    /// Ends the reports, of which there is one at least.
    std::vector<PathStatus> finish() {
        EXPECT_TRUE(waitUntil([&] { return !reports.empty(); }));
        monitor.cancel();
        return reports;
    }

private:
    bool waitUntil(const std::function<bool()>& condition) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(30), condition);
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::vector<PathStatus> reports;
    NetlinkPathMonitor monitor;
};

/// In a network with a default route over a cable that works.
class NetlinkPathMonitorTest : public testing::Test {
protected:
    void SetUp() override {
        if (!network.reasonToSkip().empty()) GTEST_SKIP() << network.reasonToSkip();
        // Both ends are in this network; switching off v1 takes the carrier from v0. Without IPv6 addresses
        // of its own making, a link that changes causes no other message than its own.
        NetworkNamespace::ip(
            "link add v0 type veth peer name v1\n"
            "link set v0 addrgenmode none\n"
            "link set v1 addrgenmode none\n"
            "link set v0 up\n"
            "link set v1 up\n"
            "addr add 192.0.2.2/24 dev v0\n"
            "route add default via 192.0.2.1\n");
        // The kernel counts a cable as running a while after the command.
        ASSERT_TRUE(Watch(milliseconds(1)).waitFor(satisfied));
    }

    NetworkNamespace network;
};

TEST_F(NetlinkPathMonitorTest, isSatisfiedWhileTheKernelRoutesOverAnInterfaceThatRuns) {
    const std::pair<const char*, PathStatus> rows[] = {
        {"", satisfied},
        {"route replace blackhole default\n", unsatisfied},
        {"route del blackhole default\n", unsatisfied},
        {"link set lo up\nroute add default dev lo\n", unsatisfied},
        {"route del default\nroute add 0.0.0.0/1 via 192.0.2.1\nroute add 128.0.0.0/1 via 192.0.2.1\n",
         satisfied},
        {"route del 0.0.0.0/1\n", satisfied},
        {"route replace throw 128.0.0.0/1\n", unsatisfied},
        {"route add 0.0.0.0/1 via 192.0.2.1\n", satisfied},
        {"route del 0.0.0.0/1\nroute add default via 192.0.2.1 table 100\n", unsatisfied},
        {"rule add table 100\n", satisfied},
        {"rule del table 100\n", unsatisfied},
        {"addr add 2001:db8::2/64 dev v0 nodad\nroute add 2000::/3 via 2001:db8::1\n", satisfied},
        {"route del 2000::/3\n", unsatisfied},
        // With the next hop goes the route, without a message of its own.
        {"nexthop add id 1 via 192.0.2.1 dev v0\nroute replace 128.0.0.0/1 nhid 1\n", satisfied},
        {"nexthop del id 1\n", unsatisfied},
        // The kernel takes the lower metric, although nothing is plugged in there.
        {"link add w0 type veth peer name w1\nlink set w0 up\naddr add 198.51.100.2/24 dev w0\n"
         "route add default via 192.0.2.1 metric 2\nroute add default via 198.51.100.1 metric 1\n",
         unsatisfied},
        {"route del default metric 1\n", satisfied},
        {"link set v0 down\n", unsatisfied},
    };
    // Neither sees an hour of silence; one gives up waiting for it.
    Watch impatient(hours(1), milliseconds(1)), patient(hours(1), hours(1));
    ASSERT_TRUE(patient.waitFor(satisfied) && impatient.waitFor(satisfied));
    for (const auto& [change, expected] : rows) {
        NetworkNamespace::ip(change);
        ASSERT_TRUE(impatient.waitFor(expected)) << "not reported after: " << change;
        EXPECT_EQ(Watch(hours(1), hours(1)).finish(), std::vector{expected}) << "after: " << change;
    }
    EXPECT_EQ(patient.finish(), std::vector{satisfied});
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

/// As under a service manager's RestrictAddressFamilies=.
TEST_F(NetlinkPathMonitorTest, reportsSatisfiedOnceWhereTheKernelMayNotBeAsked) {
    NetworkNamespace::ip("route del default\n");
    std::vector<PathStatus> reports;
    // For the thread there is no way back.
    std::thread([&] {
        SeccompFilter filter(SCMP_ACT_ALLOW);
        filter.add(SCMP_ACT_ERRNO(EPERM), {SCMP_SYS(socket)},
                   {{.arg = 0, .op = SCMP_CMP_EQ, .datum_a = AF_NETLINK, .datum_b = 0}});
        if (filter.load() == 0) reports = Watch().finish();
    }).join();
    EXPECT_EQ(reports, std::vector{satisfied});
}

TEST_F(NetlinkPathMonitorTest, waitsForItsHandlerBeforeItIsGone) {
    std::promise<void> entered;
    std::atomic<bool> isLeft = false;
    auto monitor = std::make_unique<NetlinkPathMonitor>();
    monitor->start("com.ob.quorvel.test", [&](PathStatus) {
        entered.set_value();
        for (int turn = 0; turn < 1000; ++turn)
            std::this_thread::yield();
        isLeft = true;
    });
    entered.get_future().wait();
    monitor.reset();
    EXPECT_TRUE(isLeft);
}

}  // namespace
}  // namespace quorvel
