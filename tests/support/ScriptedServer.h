#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

typedef struct bio_st BIO;
typedef struct ssl_ctx_st SSL_CTX;

namespace quorvel {

/// A server on loopback that plays a script, byte for byte, and keeps what it was sent. It knows no more of
/// HTTP than where a request ends, so that it can break every rule of it.
///
///     ScriptedServer server({ScriptedServer::answer("{}"), {.pieces = {"HTTP/1.1 2"}, .then =
///     Then::close}});
///     ... requests to server.url("/v1") ...
///     EXPECT_EQ(server.requests().size(), 2);
///
/// Connections are served one after another. The first request to arrive gets the first reply, on whatever
/// connection it comes; a request beyond the script finds its connection closed.
class ScriptedServer {
public:
    /// What becomes of the connection once a reply is out.
    enum class Then {
        keepOpen,  ///< waits for the next request
        close,     ///< ends it in order
        stall,     ///< says nothing more until the client goes
    };

    struct Reply {
        std::vector<std::string> pieces;
        Then then = Then::keepOpen;
        /// Silence before each piece but the first.
        std::chrono::milliseconds pause{0};
    };

    struct Options {
        /// One of tests/support/certificates, to serve TLS with.
        std::string certificate = {};
        /// Nothing is said until the client goes; a TLS client gets no handshake.
        bool isSilent = false;
    };

    explicit ScriptedServer(std::vector<Reply> script) : ScriptedServer(std::move(script), Options()) {}
    ScriptedServer(std::vector<Reply> script, const Options& options);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    /// A whole answer with its length, on a connection that stays open.
    static Reply answer(std::string_view body, std::string_view moreHeaders = {});
    static std::string certificateFile(const std::string& name);

    /// "127.0.0.1:PORT".
    const std::string& host() const { return address; }
    std::string url(std::string_view path) const;

    /// The requests so far, each with its exact bytes.
    std::vector<std::string> requests() const;
    std::size_t connections() const;

    /// Blocks until so many requests came; false when that takes longer than any test may.
    bool waitForRequests(std::size_t count);

private:
    void serve();
    void converse(BIO* connection);
    /// Plays the reply that is next; false when the connection is over.
    bool play(BIO* connection);

    const bool isSilent;
    const std::shared_ptr<SSL_CTX> security;
    const std::vector<Reply> script;
    const std::shared_ptr<BIO> listener;
    std::string address;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::size_t played = 0;
    std::vector<std::string> received;
    std::size_t accepted = 0;
    int openSocket = -1;
    bool isStopping = false;
    std::thread thread;
};

}  // namespace quorvel
