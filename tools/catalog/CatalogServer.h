#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <expected>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

#include "CatalogEndpoints.h"
#include "RequestRecord.h"
#include "Scenario.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace quorvel {

/// The endpoints over HTTP or HTTPS, on loopback only. Requests are answered on the HTTP library's threads.
class CatalogServer {
public:
    struct Certificate {
        std::string certificateFile;
        std::string keyFile;
    };

    struct Options {
        /// 0 takes any free port.
        int port = 0;
        /// HTTPS when there is one.
        std::optional<Certificate> certificate;
        std::chrono::milliseconds pause{2000};
    };

    /// `answers`, `bends` and `log` (which may be null) must outlive the server.
    CatalogServer(CatalogEndpoints& answers, Scenario& bends, RequestRecord* log, Options chosen);
    ~CatalogServer();

    /// Begins to serve. The result is the base URL, or a sentence that says why it cannot be.
    std::expected<std::string, std::string> start();

    /// Ends every answer that is under way and returns when the last thread is gone.
    void stop();

private:
    void serve(const httplib::Request& request, httplib::Response& response);
    void send(CatalogAnswer answer, httplib::Response& response);
    void sendHalf(std::string body, const std::string& contentType, httplib::Response& response);
    /// False when the server stops meanwhile.
    bool pause(std::chrono::milliseconds duration);

    CatalogEndpoints& endpoints;
    Scenario& scenario;
    RequestRecord* const record;
    const Options options;

    std::stop_source stopping;
    std::mutex mutex;
    std::condition_variable_any wake;
    std::unique_ptr<httplib::Server> server;
    std::atomic<bool> ended = false;
    std::jthread listener;
};

}  // namespace quorvel
