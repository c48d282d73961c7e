#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <span>

namespace quorvel {

/// The running links and the default routes of a network namespace, put together from the kernel's dumps
/// (rtnetlink, man page 7).
class NetworkPath {
public:
    enum class Progress {
        more,         ///< the dump goes on in the next datagram
        done,         ///< this was its last
        interrupted,  ///< the tables changed meanwhile, so that the dump holds neither state
        failed        ///< the kernel refused it
    };

    /// Takes in one datagram of a dump. A message that is cut short ends the datagram.
    Progress take(std::span<const std::byte> datagram);

    /// Whether a default route leads over a link that is up, running and not the loopback.
    bool isUsable() const;

private:
    void takeLink(std::span<const std::byte> message);
    void takeRoute(std::span<const std::byte> message);

    std::set<int> runningLinks;
    std::set<int> defaultRouteLinks;
};

/// The path as it is now in the calling thread's network namespace; none when the kernel gives no whole
/// answer.
std::optional<NetworkPath> readNetworkPath();

}  // namespace quorvel
