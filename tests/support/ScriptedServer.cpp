#include "support/ScriptedServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <optional>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace quorvel {

namespace {

/// Far more than any test needs, and less than the bound of the test runner.
constexpr std::chrono::seconds timeout{30};

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

std::shared_ptr<SSL_CTX> makeSecurity(const ScriptedServer::Options& options) {
    if (options.certificate.empty()) return nullptr;
    std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    if (options.isOutdated) {
        SSL_CTX_set_cipher_list(context.get(), "DEFAULT:@SECLEVEL=0");
        SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
        SSL_CTX_set_max_proto_version(context.get(), TLS1_1_VERSION);
    }
    const auto file = ScriptedServer::certificateFile(options.certificate);
    if (SSL_CTX_use_certificate_file(context.get(), file.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context.get(), file.c_str(), SSL_FILETYPE_PEM) != 1) {
        throw std::runtime_error("no certificate in " + file);
    }
    return context;
}

}  // namespace

/// An accepted connection, plain or secured. The socket stays the server's.
class ScriptedServer::Connection {
public:
    Connection(int socket, SSL_CTX* security) : socket(socket), secured(nullptr, SSL_free) {
        if (security == nullptr) return;
        secured.reset(SSL_new(security));
        SSL_set_fd(secured.get(), socket);
        isReady = SSL_accept(secured.get()) == 1;
    }

    /// The next bytes; empty at the end, however it came, and without a handshake.
    std::string read() {
        if (!isReady) return {};
        std::array<char, 16 * 1024> buffer;
        const auto count = secured ? SSL_read(secured.get(), buffer.data(), static_cast<int>(buffer.size()))
                                   : ::recv(socket, buffer.data(), buffer.size(), 0);
        return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : std::string();
    }
    void write(std::string_view bytes) {
        while (!bytes.empty()) {
            const auto count = secured
                                   ? SSL_write(secured.get(), bytes.data(), static_cast<int>(bytes.size()))
                                   : ::send(socket, bytes.data(), bytes.size(), 0);
            if (count <= 0) return;  // the client is gone, which some tests are about
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    void end(Then how) {
        if (how == Then::close && secured) SSL_shutdown(secured.get());
        if (how != Then::reset) return;
        const linger now{.l_onoff = 1, .l_linger = 0};
        setsockopt(socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    }
    void waitForEnd() {
        while (!read().empty()) {
        }
    }

private:
    const int socket;
    std::unique_ptr<SSL, decltype(&SSL_free)> secured;
    bool isReady = true;
};

ScriptedServer::ScriptedServer(std::vector<Reply> replies, const Options& options)
    : greeting(options.greeting), security(makeSecurity(options)), script(std::move(replies)) {
    listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof name;
    auto* const general = reinterpret_cast<sockaddr*>(&name);
    if (bind(listener, general, length) != 0 || listen(listener, 64) != 0 ||
        getsockname(listener, general, &length) != 0) {
        throw std::runtime_error("no server on loopback");
    }
    address = "127.0.0.1:" + std::to_string(ntohs(name.sin_port));
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
                       std::string(moreHeaders) + "\r\n" + std::string(body)}};
}

std::string ScriptedServer::certificateFile(const std::string& name) {
    return SOURCE_ROOT "/tests/support/certificates/" + name + ".pem";
}

std::string ScriptedServer::url(std::string_view path) const {
    return (security ? "https://" : "http://") + address + std::string(path);
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
    return changed.wait_for(lock, timeout, [&] { return received.size() >= count; });
}

bool ScriptedServer::waitForEnded(std::size_t count) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, timeout, [&] { return ended >= count; });
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
    sigset_t signals;  // no client that is gone ends the tests
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    if (greeting == Greeting::stall) Connection(socket, nullptr).waitForEnd();
    if (greeting == Greeting::serve) {
        Connection connection(socket, security.get());
        converse(connection);
    }
    const std::lock_guard lock(mutex);
    std::erase(open, socket);
    close(socket);
    ++ended;
    changed.notify_all();
}

void ScriptedServer::converse(Connection& connection) {
    std::string pending;
    while (true) {
        const std::string bytes = connection.read();
        if (bytes.empty()) return;
        pending += bytes;
        while (const auto length = requestLength(pending)) {
            {
                const std::lock_guard lock(mutex);
                received.push_back(pending.substr(0, *length));
                pending.erase(0, *length);
                changed.notify_all();
            }
            if (!play(connection)) return;
        }
    }
}

bool ScriptedServer::play(Connection& connection) {
    std::unique_lock lock(mutex);
    if (played == script.size()) return false;
    const Reply reply = script[played++];
    for (std::size_t index = 0; index < reply.pieces.size(); ++index) {
        // The pace of a slow server; a test that ends early need not wait for it.
        if (index > 0 && reply.pause.count() > 0)
            changed.wait_for(lock, reply.pause, [this] { return stopping; });
        lock.unlock();
        connection.write(reply.pieces[index]);
        lock.lock();
    }
    lock.unlock();
    if (reply.then == Then::stall) connection.waitForEnd();
    connection.end(reply.then);
    return reply.then == Then::keepOpen;
}

}  // namespace quorvel
