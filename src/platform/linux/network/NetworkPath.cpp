#include "platform/linux/network/NetworkPath.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <vector>

#include "platform/posix/process/FileDescriptor.h"

namespace quorvel {

namespace {

using Bytes = std::span<const std::byte>;
using Progress = NetworkPath::Progress;

/// Stands for a link that a route does not tell; the kernel counts links from 1.
constexpr int unknownLink = 0;

/// `bytes` is at least as long as the value.
template <typename Value>
Value load(Bytes bytes) {
    Value value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

/// Messages, attributes and next hops share one form: a header that holds the length of header and content,
/// the content, and padding to a multiple of four. Ends at the first whose length cannot be.
template <typename Header, typename Length, typename Visit>
void eachRecord(Bytes bytes, Length Header::* lengthField, Visit visit) {
    while (bytes.size() >= sizeof(Header)) {
        const auto header = load<Header>(bytes);
        const std::size_t length = header.*lengthField;
        if (length < sizeof(Header) || length > bytes.size()) return;
        visit(header, bytes.subspan(sizeof(Header), length - sizeof(Header)));
        const std::size_t padded = (length + 3) & ~std::size_t{3};
        bytes = bytes.subspan(std::min(padded, bytes.size()));
    }
}

/// Where a route leads, as far as this program asks.
struct RouteTarget {
    std::uint32_t table = RT_TABLE_UNSPEC;
    std::set<int> links;
    bool namesNextHopObject = false;

    void take(const rtattr& attribute, Bytes value) {
        const bool holdsNumber = value.size() >= sizeof(std::uint32_t);
        if (attribute.rta_type == RTA_TABLE && holdsNumber) table = load<std::uint32_t>(value);
        if (attribute.rta_type == RTA_OIF && holdsNumber) links.insert(load<int>(value));
        if (attribute.rta_type == RTA_NH_ID) namesNextHopObject = true;
        if (attribute.rta_type != RTA_MULTIPATH) return;
        eachRecord(value, &rtnexthop::rtnh_len,
                   [&](const rtnexthop& hop, Bytes) { links.insert(hop.rtnh_ifindex); });
    }
};

Progress endOfDump(Bytes message) {
    const bool hasError = message.size() >= sizeof(int) && load<int>(message) < 0;
    return hasError ? Progress::failed : Progress::done;
}

bool send(const FileDescriptor& socket, std::uint16_t type) {
    struct {
        nlmsghdr header;
        rtgenmsg family;
    } request{};
    request.header.nlmsg_len = sizeof(nlmsghdr) + sizeof(rtgenmsg);
    request.header.nlmsg_type = type;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.family.rtgen_family = AF_UNSPEC;
    return ::send(socket.get(), &request, request.header.nlmsg_len, 0) >= 0;
}

/// On a socket of its own, so that nothing of a dump that was given up is taken for the next one's.
Progress dump(std::uint16_t type, NetworkPath& path) {
    const FileDescriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    // The kernel answers at once; the limit keeps a datagram that cannot be read from holding up `cancel`.
    const timeval limit{.tv_sec = 1, .tv_usec = 0};
    if (!socket || setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) != 0 ||
        !send(socket, type)) {
        return Progress::failed;
    }
    // The kernel fills datagrams of a dump up to 32 KiB when the reader has room for them.
    std::vector<std::byte> buffer(32'768);
    for (;;) {
        const ssize_t size = recv(socket.get(), buffer.data(), buffer.size(), MSG_TRUNC);
        if (size <= 0 || static_cast<std::size_t>(size) > buffer.size()) return Progress::failed;
        const Progress progress = path.take(Bytes(buffer).first(static_cast<std::size_t>(size)));
        if (progress != Progress::more) return progress;
    }
}

}  // namespace

Progress NetworkPath::take(Bytes datagram) {
    Progress progress = Progress::more;
    eachRecord(datagram, &nlmsghdr::nlmsg_len, [&](const nlmsghdr& header, Bytes message) {
        if (progress != Progress::more) return;
        if ((header.nlmsg_flags & NLM_F_DUMP_INTR) != 0)
            progress = Progress::interrupted;
        else if (header.nlmsg_type == NLMSG_ERROR)
            progress = Progress::failed;
        else if (header.nlmsg_type == NLMSG_DONE)
            progress = endOfDump(message);
        else if (header.nlmsg_type == RTM_NEWLINK)
            takeLink(message);
        else if (header.nlmsg_type == RTM_NEWROUTE)
            takeRoute(message);
    });
    return progress;
}

void NetworkPath::takeLink(Bytes message) {
    if (message.size() < sizeof(ifinfomsg)) return;
    const auto link = load<ifinfomsg>(message);
    // Running is more than up: the other end of the cable is there, the wireless network has let us in.
    constexpr unsigned wanted = IFF_UP | IFF_RUNNING;
    if ((link.ifi_flags & (wanted | IFF_LOOPBACK)) == wanted) runningLinks.insert(link.ifi_index);
}

void NetworkPath::takeRoute(Bytes message) {
    if (message.size() < sizeof(rtmsg)) return;
    const auto route = load<rtmsg>(message);
    // Every other type than unicast refuses packets (unreachable, prohibit), loses them (blackhole) or hands
    // them back (throw).
    const bool isInternet = route.rtm_family == AF_INET || route.rtm_family == AF_INET6;
    if (!isInternet || route.rtm_dst_len != 0 || route.rtm_type != RTN_UNICAST) return;
    RouteTarget target{.table = route.rtm_table, .links = {}};
    eachRecord(message.subspan(sizeof(rtmsg)), &rtattr::rta_len,
               [&](const rtattr& attribute, Bytes value) { target.take(attribute, value); });
    // The attribute wins: the header has room for table numbers below 256 only.
    if (target.table != RT_TABLE_MAIN) return;
    // With net.ipv4.nexthop_compat_mode off, a route tells its next hop by number and names no link.
    if (target.links.empty() && target.namesNextHopObject) target.links.insert(unknownLink);
    defaultRouteLinks.merge(target.links);
}

bool NetworkPath::isUsable() const {
    return std::ranges::any_of(defaultRouteLinks, [this](int link) {
        return link == unknownLink ? !runningLinks.empty() : runningLinks.contains(link);
    });
}

std::optional<NetworkPath> readNetworkPath() {
    // Tables that change faster than this are read again for the messages that those changes cause.
    constexpr int mostAttempts = 10;
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        NetworkPath path;
        Progress progress = dump(RTM_GETLINK, path);
        if (progress == Progress::done) progress = dump(RTM_GETROUTE, path);
        if (progress == Progress::done) return path;
        if (progress == Progress::failed) return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace quorvel
