#include "platform/linux/SocketTable.h"

#include <arpa/inet.h>
#include <array>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace quorvel {

namespace {

/// Kernels differ in how much of the structure they fill; what they leave out stays zero.
tcp_info tcpInfo(curl_socket_t socket) {
    tcp_info info{};
    socklen_t length = sizeof info;
    getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &length);
    return info;
}

struct Endpoint {
    std::string address;
    int port = 0;
};

using NameFunction = int (*)(int, sockaddr*, socklen_t*);

Endpoint endpoint(curl_socket_t socket, NameFunction nameOf) {
    sockaddr_storage storage{};
    socklen_t length = sizeof storage;
    if (nameOf(socket, reinterpret_cast<sockaddr*>(&storage), &length) != 0) return {};
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (storage.ss_family == AF_INET6) {
        const auto& address = reinterpret_cast<const sockaddr_in6&>(storage);
        inet_ntop(AF_INET6, &address.sin6_addr, text.data(), text.size());
        return {text.data(), ntohs(address.sin6_port)};
    }
    const auto& address = reinterpret_cast<const sockaddr_in&>(storage);
    inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
    return {text.data(), ntohs(address.sin_port)};
}

}  // namespace

curl_socket_t SocketTable::open(const curl_sockaddr& address, WireActivity& user) {
    const curl_socket_t socket =
        ::socket(address.family, address.socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, address.protocol);
    if (socket != CURL_SOCKET_BAD) entries[socket] = Entry{.user = &user};
    return socket;
}

void SocketTable::close(curl_socket_t socket) {
    if (const auto found = entries.find(socket); found != entries.end()) {
        sample(socket, found->second);
        entries.erase(found);
    }
    ::close(socket);
}

bool SocketTable::assign(WireActivity& user, int localPort, std::string_view peer) {
    for (auto& [socket, entry] : entries) {
        if (endpoint(socket, getsockname).port != localPort) continue;
        if (endpoint(socket, getpeername).address != peer) continue;
        entry.user = nullptr;  // what came before the request is nobody's
        entry.requestBegan = false;
        sample(socket, entry);
        entry.user = &user;
        entry.requestBegan = true;
        return true;
    }
    return false;
}

void SocketTable::update(WireActivity& user) {
    for (auto& [socket, entry] : entries) {
        if (entry.user == &user) sample(socket, entry);
    }
}

void SocketTable::release(const WireActivity& user) {
    for (auto& [socket, entry] : entries) {
        if (entry.user == &user) entry = Entry{};
    }
}

void SocketTable::sample(curl_socket_t socket, Entry& entry) {
    const tcp_info info = tcpInfo(socket);
    const std::uint64_t bytes = info.tcpi_bytes_received + info.tcpi_bytes_acked;
    if (entry.user != nullptr) {
        entry.user->bytes += bytes - entry.bytes;
        // Segments and not bytes: the kernel counts a bare FIN as one byte received.
        if (entry.requestBegan && info.tcpi_data_segs_in != entry.dataSegments)
            entry.user->answerBegan = true;
    }
    entry.bytes = bytes;
    entry.dataSegments = info.tcpi_data_segs_in;
}

}  // namespace quorvel
