#include "platform/linux/network/NetlinkPathMonitor.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <linux/rtnetlink.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>

#include "platform/linux/network/NetworkPath.h"
#include "platform/posix/process/FileDescriptor.h"

namespace quorvel {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

FileDescriptor openStopSignal() {
    FileDescriptor signal(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!signal) throw std::system_error(errno, std::generic_category(), "Could not make an event counter");
    return signal;
}

/// A socket that receives a message for each change of a link, an address or a route; none when the system
/// does not allow it.
FileDescriptor openMessages() {
    FileDescriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups =
        RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_IFADDR | RTMGRP_IPV6_ROUTE;
    if (!socket || bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return {};
    return socket;
}

/// Takes away what has come, up to a bound that a storm cannot move, and tells whether anything has. What the
/// messages say does not matter, because the tables are read afresh; an overrun (ENOBUFS) is as good as a
/// message.
bool takeAwayMessages(const FileDescriptor& socket) {
    constexpr int mostAtOnce = 256;
    for (int taken = 0; taken < mostAtOnce; ++taken) {
        char ignored = 0;
        if (recv(socket.get(), &ignored, 1, MSG_DONTWAIT) < 0 && errno == EAGAIN) return taken > 0;
    }
    return true;
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
    Watch(milliseconds quietTime, milliseconds longestTime) : quiet(quietTime), longest(longestTime) {}

    void requestStop() {
        isStopped = true;
        eventfd_write(stopSignal.get(), 1);
    }

    bool runsOnThisThread() const { return thread == std::this_thread::get_id(); }

    void run(const std::string& name, UpdateHandler updateHandler);

private:
    enum class Wake { stopped, message, timeout };

    Wake wait(std::optional<Clock::time_point> until);
    Wake waitForQuiet(Clock::time_point latest);
    void reportIfChanged();

    const milliseconds quiet;
    const milliseconds longest;
    std::atomic<bool> isStopped = false;
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
    // Before the first reading, so that no change falls in between.
    messages = openMessages();
    reportIfChanged();
    if (!messages) return;
    while (wait(std::nullopt) != Wake::stopped && waitForQuiet(Clock::now() + longest) != Wake::stopped) {
        reportIfChanged();
    }
}

NetlinkPathMonitor::Watch::Wake NetlinkPathMonitor::Watch::waitForQuiet(Clock::time_point latest) {
    Wake wake = Wake::message;
    while (wake == Wake::message && Clock::now() < latest) {
        wake = wait(std::min(Clock::now() + quiet, latest));
    }
    return wake;
}

NetlinkPathMonitor::Watch::Wake NetlinkPathMonitor::Watch::wait(std::optional<Clock::time_point> until) {
    std::array<pollfd, 2> files{{{stopSignal.get(), POLLIN, 0}, {messages.get(), POLLIN, 0}}};
    int timeout = -1;
    if (until) {
        const auto left = std::chrono::ceil<milliseconds>(*until - Clock::now());
        timeout = static_cast<int>(std::clamp(left, milliseconds(0), milliseconds(60'000)).count());
    }
    poll(files.data(), files.size(), timeout);
    if (isStopped) return Wake::stopped;
    return files[1].revents != 0 && takeAwayMessages(messages) ? Wake::message : Wake::timeout;
}

void NetlinkPathMonitor::Watch::reportIfChanged() {
    // A machine that does not let the program see its links may well be online. Taken as satisfied, the
    // program tries and learns the truth from the request itself; taken as unsatisfied, it would never try.
    const auto path = messages ? readNetworkPath() : std::nullopt;
    auto status = reported.value_or(PathStatus::satisfied);
    if (path) status = path->isUsable() ? PathStatus::satisfied : PathStatus::unsatisfied;
    if (isStopped || status == reported) return;
    reported = status;
    handler(status);
}

NetlinkPathMonitor::NetlinkPathMonitor(milliseconds quiet, milliseconds longest)
    : watch(std::make_shared<Watch>(quiet, longest)) {}

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
