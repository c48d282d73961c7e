#include "platform/linux/network/NetlinkPathMonitor.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <system_error>

#include "platform/FileDescriptor.h"

namespace quorvel {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

FileDescriptor openStopSignal() {
    FileDescriptor signal(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!signal) throw std::system_error(errno, std::generic_category(), "Could not make an event counter");
    return signal;
}

FileDescriptor openRouteSocket() {
    return FileDescriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
}

/// A socket that receives a message for each change that can lead packets elsewhere; none when the system
/// does not allow it.
FileDescriptor openMessages() {
    FileDescriptor socket = openRouteSocket();
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    // The next hops, because a route that loses one vanishes without a message of its own.
    for (const auto group : {RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, RTNLGRP_IPV4_ROUTE, RTNLGRP_IPV4_RULE,
                             RTNLGRP_IPV6_IFADDR, RTNLGRP_IPV6_ROUTE, RTNLGRP_IPV6_RULE, RTNLGRP_NEXTHOP})
        address.nl_groups |= 1U << (group - 1);
    if (!socket || bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return {};
    return socket;
}

struct InternetAddress {
    unsigned char family;
    unsigned char size;
    std::array<unsigned char, 16> bytes;
};

/// One in each half of IPv4, because some tunnels route 0.0.0.0/1 and 128.0.0.0/1 in place of the default,
/// and one of IPv6. No service is known by them, to which a host might have a route of its own.
constexpr InternetAddress internetAddresses[] = {
    {AF_INET, 4, {64, 0, 0, 1}}, {AF_INET, 4, {200, 0, 0, 1}}, {AF_INET6, 16, {0x2a, 0}}};

/// The index of the interface by which the kernel would send a packet to `address`, 0 where it would refuse
/// or lose it, or none when it gives no answer. No packet is sent.
std::optional<int> routeTo(const InternetAddress& address, const FileDescriptor& socket) {
    struct {
        nlmsghdr header;
        rtmsg route;
        rtattr attribute;
        std::array<unsigned char, 16> destination;
    } request{};
    request.attribute.rta_type = RTA_DST;
    request.attribute.rta_len = static_cast<unsigned short>(RTA_LENGTH(address.size));
    request.destination = address.bytes;
    request.route.rtm_family = address.family;
    request.route.rtm_dst_len = static_cast<unsigned char>(address.size * 8);
    request.header.nlmsg_type = RTM_GETROUTE;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof(rtmsg)) + request.attribute.rta_len;
    if (send(socket.get(), &request, request.header.nlmsg_len, 0) < 0) return std::nullopt;

    // The kernel has answered before `send` returns.
    struct {
        nlmsghdr header;
        rtmsg route;
        std::array<char, 4096> attributes;
    } answer{};
    const ssize_t size = recv(socket.get(), &answer, sizeof answer, 0);
    if (!NLMSG_OK(&answer.header, size)) return std::nullopt;
    if (answer.header.nlmsg_type != RTM_NEWROUTE) return 0;
    auto left = static_cast<int>(RTM_PAYLOAD(&answer.header));
    const auto* part = reinterpret_cast<const rtattr*>(answer.attributes.data());
    for (; RTA_OK(part, left); part = RTA_NEXT(part, left)) {
        if (part->rta_type == RTA_OIF) return *static_cast<const int*>(RTA_DATA(part));
    }
    return 0;
}

/// Running is more than up: the other end of the cable is there, the wireless network has let us in.
bool isRunning(int interface, const FileDescriptor& socket) {
    ifreq request{};
    request.ifr_ifindex = interface;
    if (ioctl(socket.get(), SIOCGIFNAME, &request) != 0 || ioctl(socket.get(), SIOCGIFFLAGS, &request) != 0)
        return false;
    constexpr int wanted = IFF_UP | IFF_RUNNING;
    return (request.ifr_flags & (wanted | IFF_LOOPBACK)) == wanted;
}

/// What the kernel says now; none when it gives no answer.
std::optional<PathStatus> presentStatus() {
    // Anew each time, so that no late answer is taken for that to the next request.
    const FileDescriptor socket = openRouteSocket();
    for (const auto& address : internetAddresses) {
        const auto interface = routeTo(address, socket);
        if (!interface) return std::nullopt;
        if (isRunning(*interface, socket)) return PathStatus::satisfied;
    }
    return PathStatus::unsatisfied;
}

/// Signals for the process belong to the main queue's thread; those that a fault raises stay with the thread.
void blockSignals() {
    sigset_t signals;
    sigfillset(&signals);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP}) {
        sigdelset(&signals, fault);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

std::string threadName(std::string_view queueLabel) {
    return std::string(queueLabel.substr(queueLabel.rfind('.') + 1).substr(0, 15));
}

}  // namespace

/// What the thread works with. All but `requestStop` and `runsOnThisThread` belongs to the thread.
class NetlinkPathMonitor::Watch {
public:
    Watch(milliseconds debounceTime, milliseconds maxDelayTime)
        : debounce(debounceTime), maxDelay(maxDelayTime) {}

    void requestStop() { eventfd_write(stopSignal.get(), 1); }

    bool runsOnThisThread() const { return thread == std::this_thread::get_id(); }

    void run(const std::string& name, UpdateHandler updateHandler);

private:
    enum class Wake { stopped, message, timeout };

    Wake wait(milliseconds timeout);
    Wake waitForSilence();
    void reportIfChanged();

    const milliseconds debounce;
    const milliseconds maxDelay;
    std::atomic<std::thread::id> thread;
    const FileDescriptor stopSignal = openStopSignal();
    FileDescriptor messages;
    UpdateHandler handler;
    std::optional<PathStatus> reported;
};

void NetlinkPathMonitor::Watch::run(const std::string& name, UpdateHandler updateHandler) {
    thread = std::this_thread::get_id();
    pthread_setname_np(pthread_self(), name.c_str());
    blockSignals();
    handler = std::move(updateHandler);
    // Before the first question, so that no change falls in between.
    messages = openMessages();
    reportIfChanged();
    constexpr milliseconds forEver(-1);
    while (wait(forEver) != Wake::stopped && waitForSilence() != Wake::stopped) {
        reportIfChanged();
    }
}

NetlinkPathMonitor::Watch::Wake NetlinkPathMonitor::Watch::waitForSilence() {
    const auto latest = Clock::now() + maxDelay;
    Wake wake = Wake::message;
    for (auto left = maxDelay; wake == Wake::message && left > milliseconds(0);
         left = std::chrono::ceil<milliseconds>(latest - Clock::now())) {
        wake = wait(std::min(debounce, left));
    }
    return wake;
}

NetlinkPathMonitor::Watch::Wake NetlinkPathMonitor::Watch::wait(milliseconds timeout) {
    std::array<pollfd, 2> files{{{stopSignal.get(), POLLIN, 0}, {messages.get(), POLLIN, 0}}};
    poll(files.data(), files.size(), static_cast<int>(timeout.count()));
    if (files[0].revents != 0) return Wake::stopped;
    if (files[1].revents == 0) return Wake::timeout;
    // What the message says does not matter, because the kernel is asked afresh; an overrun (ENOBUFS) is as
    // good as a message.
    char ignored = 0;
    recv(messages.get(), &ignored, 1, 0);
    return Wake::message;
}

void NetlinkPathMonitor::Watch::reportIfChanged() {
    // A machine that does not let the program see its links may well be online. Taken as satisfied, the
    // program tries and learns the truth from the request itself; taken as unsatisfied, it would never try.
    const auto answer = messages ? presentStatus() : std::nullopt;
    const auto status = answer.value_or(reported.value_or(PathStatus::satisfied));
    if (status == reported) return;
    reported = status;
    handler(status);
}

NetlinkPathMonitor::NetlinkPathMonitor(milliseconds debounce, milliseconds maxDelay)
    : watch(std::make_shared<Watch>(debounce, maxDelay)) {}

NetlinkPathMonitor::~NetlinkPathMonitor() {
    cancel();
    const std::lock_guard lock(joining);
    // Still to be joined means that this is the thread itself, inside the handler: it ends by itself after
    // it.
    if (thread.joinable()) thread.detach();
}

void NetlinkPathMonitor::start(std::string_view queueLabel, UpdateHandler handler) {
    const std::lock_guard lock(joining);
    thread = std::thread([watch = watch, name = threadName(queueLabel),
                          handler = std::move(handler)]() mutable { watch->run(name, std::move(handler)); });
}

void NetlinkPathMonitor::cancel() {
    watch->requestStop();
    if (watch->runsOnThisThread()) return;
    const std::lock_guard lock(joining);
    if (thread.joinable()) thread.join();
}

}  // namespace quorvel
