#include <cstring>
#include <gtest/gtest.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

#include "platform/linux/network/NetworkPath.h"

namespace quorvel {
namespace {

using Bytes = std::vector<std::byte>;
using Progress = NetworkPath::Progress;

template <typename Value>
Bytes bytesOf(const Value& value) {
    Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    left.resize((left.size() + 3) / 4 * 4);
    return left;
}

Bytes message(int type, const Bytes& content, unsigned flags = NLM_F_MULTI) {
    nlmsghdr header{};
    header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + content.size());
    header.nlmsg_type = static_cast<std::uint16_t>(type);
    header.nlmsg_flags = static_cast<std::uint16_t>(flags);
    return bytesOf(header) + content;
}

Bytes link(int index, unsigned flags) {
    ifinfomsg info{};
    info.ifi_index = index;
    info.ifi_flags = flags;
    return message(RTM_NEWLINK, bytesOf(info));
}

Bytes attribute(int type, const Bytes& value) {
    rtattr header{};
    header.rta_len = static_cast<std::uint16_t>(sizeof header + value.size());
    header.rta_type = static_cast<std::uint16_t>(type);
    return bytesOf(header) + value;
}

struct RouteKind {
    int family = AF_INET;
    int type = RTN_UNICAST;
    int table = RT_TABLE_MAIN;
    int prefix = 0;
};

Bytes route(const RouteKind& kind, const Bytes& attributes) {
    rtmsg header{};
    header.rtm_family = static_cast<unsigned char>(kind.family);
    header.rtm_type = static_cast<unsigned char>(kind.type);
    header.rtm_table = static_cast<unsigned char>(kind.table);
    header.rtm_dst_len = static_cast<unsigned char>(kind.prefix);
    return message(RTM_NEWROUTE, bytesOf(header) + attributes);
}

Bytes over(int index) {
    return attribute(RTA_OIF, bytesOf(index));
}

Bytes hop(int index) {
    rtnexthop next{};
    next.rtnh_len = sizeof next;
    next.rtnh_ifindex = index;
    return bytesOf(next);
}

const Bytes done = message(NLMSG_DONE, bytesOf(0));

constexpr int lo = 1, eth = 2, cable = 3, off = 4, tun = 5;

/// The loopback, a link that works, one without its cable, one that is switched off, a tunnel that works.
const Bytes links = link(lo, IFF_UP | IFF_RUNNING | IFF_LOOPBACK) +
                    link(eth, IFF_UP | IFF_RUNNING | IFF_BROADCAST) + link(cable, IFF_UP | IFF_BROADCAST) +
                    link(off, IFF_BROADCAST) + link(tun, IFF_UP | IFF_RUNNING | IFF_POINTOPOINT | IFF_NOARP);

TEST(NetworkPath, isUsableOverADefaultRouteWhoseLinkWorks) {
    struct Row {
        const char* routes;
        Bytes dump;
        bool expected;
    };
    const Bytes bigTable = attribute(RTA_TABLE, bytesOf(std::uint32_t{RT_TABLE_MAIN + 256}));
    const Row rows[] = {
        {"none", {}, false},
        {"default over a working link", route({}, over(eth)), true},
        {"default over a tunnel", route({}, over(tun)), true},
        {"IPv6 default", route({.family = AF_INET6}, over(eth)), true},
        {"default of another family", route({.family = AF_DECnet}, over(eth)), false},
        {"default over the loopback", route({}, over(lo)), false},
        {"default without its cable", route({}, over(cable)), false},
        {"default over a link switched off", route({}, over(off)), false},
        {"default over a link that is gone", route({}, over(77)), false},
        {"network route only", route({.prefix = 24}, over(eth)), false},
        {"half a default", route({.prefix = 1}, over(eth)), false},
        {"unreachable", route({.type = RTN_UNREACHABLE}, over(eth)), false},
        {"blackhole", route({.type = RTN_BLACKHOLE}, {}), false},
        {"prohibit", route({.type = RTN_PROHIBIT}, over(eth)), false},
        {"throw", route({.type = RTN_THROW}, {}), false},
        {"another table", route({.table = RT_TABLE_LOCAL}, over(eth)), false},
        {"another table by attribute", route({}, bigTable + over(eth)), false},
        {"main table by attribute",
         route({.table = RT_TABLE_COMPAT},
               attribute(RTA_TABLE, bytesOf(std::uint32_t{RT_TABLE_MAIN})) + over(eth)),
         true},
        {"broken one, then a working one", route({}, over(cable)) + route({}, over(eth)), true},
        {"multipath with one working hop", route({}, attribute(RTA_MULTIPATH, hop(cable) + hop(eth))), true},
        {"multipath with none", route({}, attribute(RTA_MULTIPATH, hop(cable) + hop(off))), false},
        {"next hop object", route({}, attribute(RTA_NH_ID, bytesOf(std::uint32_t{9}))), true},
        {"next hop object and a broken link", route({}, attribute(RTA_NH_ID, bytesOf(9U)) + over(cable)),
         false},
        {"no link told", route({}, {}), false},
        {"link cut short", route({}, attribute(RTA_OIF, Bytes(2, std::byte{2}))), false},
    };
    for (const auto& [routes, dump, expected] : rows) {
        NetworkPath path;
        EXPECT_EQ(path.take(links + done), Progress::done);
        EXPECT_EQ(path.take(dump + done), Progress::done);
        EXPECT_EQ(path.isUsable(), expected) << "routes: " << routes;
    }
    NetworkPath withoutLinks;
    withoutLinks.take(route({}, attribute(RTA_NH_ID, bytesOf(9U))));
    EXPECT_FALSE(withoutLinks.isUsable());
}

TEST(NetworkPath, tellsHowADumpGoesOn) {
    struct Row {
        const char* datagram;
        Bytes bytes;
        Progress expected;
    };
    const Row rows[] = {
        {"nothing", {}, Progress::more},
        {"links", links, Progress::more},
        {"links and the end", links + done, Progress::done},
        {"the end with an error", links + message(NLMSG_DONE, bytesOf(-ENOMEM)), Progress::failed},
        {"refusal", message(NLMSG_ERROR, bytesOf(nlmsgerr{.error = -EPERM, .msg = {}})), Progress::failed},
        {"interrupted", message(RTM_NEWLINK, {}, NLM_F_MULTI | NLM_F_DUMP_INTR) + done,
         Progress::interrupted},
        {"interrupted at the end", links + message(NLMSG_DONE, bytesOf(0), NLM_F_DUMP_INTR),
         Progress::interrupted},
    };
    for (const auto& [datagram, bytes, expected] : rows) {
        EXPECT_EQ(NetworkPath().take(bytes), expected) << "datagram: " << datagram;
    }
}

TEST(NetworkPath, readsNothingBeyondADatagramThatIsCutShortOrWrong) {
    const Bytes routes = route({}, over(lo) + attribute(RTA_MULTIPATH, hop(cable) + hop(off)));
    const Bytes whole = link(cable, IFF_UP) + routes + done;
    // On the heap and of the exact size, so that a reading beyond the end is an error that sanitizers see.
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const Bytes prefix(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        NetworkPath path;
        EXPECT_EQ(path.take(prefix), Progress::more) << "first " << size << " bytes";
        EXPECT_FALSE(path.isUsable()) << "first " << size << " bytes";
    }
    for (std::size_t place = 0; place < whole.size(); ++place) {
        for (const int wrong : {0, 1, 3, 4, 5, 127, 255}) {
            Bytes damaged = whole;
            damaged[place] = static_cast<std::byte>(wrong);
            NetworkPath().take(damaged);
        }
    }
}

}  // namespace
}  // namespace quorvel
