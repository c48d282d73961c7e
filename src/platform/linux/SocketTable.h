#pragma once

#include <cstdint>
#include <curl/curl.h>
#include <string_view>
#include <unordered_map>

namespace quorvel {

/// What has moved on the wire for one transfer, below HTTP and TLS.
struct WireActivity {
    /// Bytes received, and bytes sent that the other side has acknowledged, from the start of the transfer.
    std::uint64_t bytes = 0;
    /// Whether a segment with payload came after the request was begun. libcurl cannot tell: it counts whole
    /// header lines only.
    bool answerBegan = false;
};

/// The sockets of one session and the transfer each works for. The figures are the kernel's, because
/// libcurl shows neither the bytes of a handshake nor those of a header line that is not yet whole. Lives on
/// the session's thread.
class SocketTable {
public:
    /// Opens a socket that works for `user`; CURL_SOCKET_BAD on failure.
    curl_socket_t open(const curl_sockaddr& address, WireActivity& user);
    /// Takes the last figures of `socket` and closes it.
    void close(curl_socket_t socket);

    /// Hands the connection with this local port and peer to `user`, which is about to send a request on it.
    /// False when there is no such connection.
    bool assign(WireActivity& user, int localPort, std::string_view peer);
    /// Brings the figures of `user` up to date.
    void update(WireActivity& user);
    /// Forgets `user`; its connections wait for another.
    void release(const WireActivity& user);

private:
    struct Entry {
        WireActivity* user = nullptr;
        std::uint64_t bytes = 0;
        std::uint32_t dataSegments = 0;
        bool requestBegan = false;
    };

    static void sample(curl_socket_t socket, Entry& entry);

    std::unordered_map<curl_socket_t, Entry> entries;
};

}  // namespace quorvel
