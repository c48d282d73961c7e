#include "support/ScriptedServer.h"

#include <array>
#include <csignal>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <optional>
#include <stdexcept>
#include <sys/socket.h>

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
    const auto file = ScriptedServer::certificateFile(options.certificate);
    if (SSL_CTX_use_certificate_file(context.get(), file.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(context.get(), file.c_str(), SSL_FILETYPE_PEM) != 1) {
        throw std::runtime_error("no certificate in " + file);
    }
    return context;
}

/// The next bytes; empty at the end, however it came, and without a handshake.
std::string readSome(BIO* connection) {
    std::array<char, 16 * 1024> buffer;
    const int count = BIO_read(connection, buffer.data(), buffer.size());
    return {buffer.data(), static_cast<std::size_t>(std::max(count, 0))};
}

void waitForEnd(BIO* connection) {
    while (!readSome(connection).empty()) {
    }
}

}  // namespace

ScriptedServer::ScriptedServer(std::vector<Reply> replies, const Options& options)
    : isSilent(options.isSilent),
      security(makeSecurity(options)),
      script(std::move(replies)),
      listener(BIO_new_accept("127.0.0.1:0"), BIO_free_all) {
    // The first call only listens.
    if (BIO_do_accept(listener.get()) != 1) throw std::runtime_error("no server on loopback");
    address = std::string("127.0.0.1:") + BIO_get_accept_port(listener.get());
    thread = std::thread([this] { serve(); });
}

ScriptedServer::~ScriptedServer() {
    {
        const std::lock_guard lock(mutex);
        isStopping = true;
        if (openSocket >= 0) shutdown(openSocket, SHUT_RDWR);
    }
    changed.notify_all();
    shutdown(static_cast<int>(BIO_get_fd(listener.get(), nullptr)), SHUT_RDWR);
    thread.join();
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

void ScriptedServer::serve() {
    sigset_t signals;  // no client that is gone ends the tests
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    while (BIO_do_accept(listener.get()) == 1) {
        BIO* connection = BIO_pop(listener.get());
        const int socket = static_cast<int>(BIO_get_fd(connection, nullptr));
        const int on = 1;  // each piece leaves at once, as a packet of its own
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        {
            const std::lock_guard lock(mutex);
            ++accepted;
            openSocket = socket;
            if (isStopping) shutdown(socket, SHUT_RDWR);
        }
        if (isSilent) {
            waitForEnd(connection);
        } else {
            if (security) connection = BIO_push(BIO_new_ssl(security.get(), 0), connection);
            converse(connection);
        }
        const std::lock_guard lock(mutex);
        openSocket = -1;
        BIO_free_all(connection);
    }
}

void ScriptedServer::converse(BIO* connection) {
    std::string pending;
    while (true) {
        const std::string bytes = readSome(connection);
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

bool ScriptedServer::play(BIO* connection) {
    if (played == script.size()) return false;
    const Reply& reply = script[played++];
    for (std::size_t index = 0; index < reply.pieces.size(); ++index) {
        if (index > 0 && reply.pause.count() > 0) {
            // The pace of a slow server; a test that ends early need not wait for it.
            std::unique_lock lock(mutex);
            changed.wait_for(lock, reply.pause, [this] { return isStopping; });
        }
        // The client may be gone, which some tests are about.
        BIO_write(connection, reply.pieces[index].data(), static_cast<int>(reply.pieces[index].size()));
    }
    if (reply.then == Then::stall) waitForEnd(connection);
    return reply.then == Then::keepOpen;
}

}  // namespace quorvel
