#include "support/ScriptedServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <signal.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace quorvel {

namespace {

/// Far more than any test needs, and less than the bound of the test runner.
constexpr std::chrono::seconds patience{30};

class PlainStream final : public ScriptedServer::Stream {
public:
    explicit PlainStream(int connection) : socket(connection) {}

    std::string read() override {
        std::array<char, 16 * 1024> buffer;
        const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
        return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : std::string();
    }
    void write(std::string_view bytes) override {
        while (!bytes.empty()) {
            const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count <= 0) return;  // the client is gone, which some tests are about
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    void finish() override {}

private:
    int socket;
};

/// Bytes of the first whole request in `bytes`; nothing while it is not whole.
std::optional<std::size_t> requestLength(std::string_view bytes) {
    const auto headEnd = bytes.find("\r\n\r\n");
    if (headEnd == std::string_view::npos) return std::nullopt;
    constexpr std::string_view name = "\r\nContent-Length: ";
    std::size_t length = headEnd + 4;
    const auto field = bytes.find(name);
    if (field < headEnd) length += std::stoul(std::string(bytes.substr(field + name.size(), 20)));
    return bytes.size() < length ? std::nullopt : std::optional(length);
}

}  // namespace

ScriptedServer::ScriptedServer(std::vector<Reply> replies, Greeting how, Wrap with, int family)
    : host(family == AF_INET6 ? "[::1]" : "127.0.0.1"),
      greeting(how),
      wrap(std::move(with)),
      script(std::move(replies)) {
    if (!wrap) wrap = [](int socket) { return std::make_unique<PlainStream>(socket); };
    listener = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // The port, which the kernel chooses, stands at the same place in both.
    union {
        sockaddr_in6 six;
        sockaddr_in four;
    } address{};
    address.six.sin6_family = static_cast<sa_family_t>(family);
    if (family == AF_INET6)
        address.six.sin6_addr = in6addr_loopback;
    else
        address.four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const general = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, general, length) != 0 || listen(listener, 64) != 0 ||
        getsockname(listener, general, &length) != 0) {
        throw std::runtime_error("no server on loopback");
    }
    portNumber = ntohs(address.four.sin_port);
    acceptor = std::thread([this] { acceptAll(); });
}

ScriptedServer::~ScriptedServer() {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
        for (const int socket : open)
            shutdown(socket, SHUT_RDWR);
    }
    changed.notify_all();
    shutdown(listener, SHUT_RDWR);
    acceptor.join();
    for (auto& worker : workers)
        worker.join();
    close(listener);
}

ScriptedServer::Reply ScriptedServer::answer(std::string_view body, std::string_view moreHeaders) {
    return {.pieces = {"HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
                       std::string(moreHeaders) + "\r\n" + std::string(body)},
            .then = Then::keepOpen,
            .pause = {}};
}

std::string ScriptedServer::url(std::string_view path, std::string_view scheme) const {
    return std::string(scheme) + "://" + host + ":" + std::to_string(portNumber) + std::string(path);
}

std::vector<std::string> ScriptedServer::requests() const {
    const std::lock_guard lock(mutex);
    return received;
}

std::size_t ScriptedServer::connections() const {
    const std::lock_guard lock(mutex);
    return accepted;
}

bool ScriptedServer::waitForRequests(std::size_t count) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, patience, [&] { return received.size() >= count; });
}

bool ScriptedServer::waitForEnded(std::size_t count) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, patience, [&] { return ended >= count; });
}

void ScriptedServer::acceptAll() {
    while (true) {
        const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) return;
        const std::lock_guard lock(mutex);
        if (stopping) {
            close(socket);
            return;
        }
        const int on = 1;  // each piece leaves at once, as a packet of its own
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        ++accepted;
        open.push_back(socket);
        workers.emplace_back([this, socket] { serve(socket); });
    }
}

void ScriptedServer::serve(int socket) {
    sigset_t signals;  // a TLS library writes without MSG_NOSIGNAL
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    if (greeting == Greeting::stall) {
        PlainStream stream(socket);
        while (!stream.read().empty()) {
        }
    } else if (greeting == Greeting::serve) {
        if (const auto stream = wrap(socket)) converse(*stream, socket);
    }
    const std::lock_guard lock(mutex);
    std::erase(open, socket);
    close(socket);
    ++ended;
    changed.notify_all();
}

void ScriptedServer::converse(Stream& stream, int socket) {
    std::string pending;
    while (true) {
        const std::string bytes = stream.read();
        if (bytes.empty()) return;
        pending += bytes;
        while (const auto length = requestLength(pending)) {
            {
                const std::lock_guard lock(mutex);
                received.push_back(pending.substr(0, *length));
                pending.erase(0, *length);
                changed.notify_all();
            }
            if (!play(stream, socket)) return;
        }
    }
}

bool ScriptedServer::play(Stream& stream, int socket) {
    std::unique_lock lock(mutex);
    if (played == script.size()) return false;
    const Reply reply = script[played++];
    for (std::size_t index = 0; index < reply.pieces.size(); ++index) {
        // The pace of a slow server; a test that ends early need not wait for it.
        if (index > 0 && reply.pause.count() > 0)
            changed.wait_for(lock, reply.pause, [this] { return stopping; });
        lock.unlock();
        stream.write(reply.pieces[index]);
        lock.lock();
    }
    lock.unlock();
    if (reply.then == Then::close) stream.finish();
    if (reply.then == Then::reset) {
        const linger now{.l_onoff = 1, .l_linger = 0};
        setsockopt(socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    }
    while (reply.then == Then::stall && !stream.read().empty()) {
    }
    return reply.then == Then::keepOpen;
}

}  // namespace quorvel
