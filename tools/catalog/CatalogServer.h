#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <expected>
#include <fstream>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

#include "CatalogEndpoints.h"
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
    struct Options {
        /// 0 takes any free port.
        int port = 0;
        /// PEM files; HTTPS when they are named.
        std::string certificateFile, keyFile;
        /// The requests are appended to it, one JSON document a line, each on disk before its answer goes
        /// out, so that whoever has the answer finds the request. Empty for none.
        std::string recordFile;
        const Scenario* scenario = nullptr;
        std::chrono::milliseconds pause{2000};
    };

    /// `catalog` must outlive the server.
    CatalogServer(const Catalog& catalog, Options options);
    ~CatalogServer();

    /// Begins to serve. The result is the base URL, or a sentence that says why it cannot be.
    std::expected<std::string, std::string> start();

    /// Ends every answer that is under way and returns when the last thread is gone.
    void stop();

private:
    void serve(const httplib::Request& request, httplib::Response& response);
    bool record(const CatalogRequest& request);
    void send(CatalogAnswer answer, httplib::Response& response);
    void sendHalf(const CatalogAnswer& answer, httplib::Response& response);
    /// False when the server stops meanwhile.
    bool pause(std::chrono::milliseconds duration);

    CatalogEndpoints endpoints;
    const Options options;
    std::atomic<unsigned> bentAnswers = 0;
    std::stop_source stopping;
    std::mutex mutex;
    std::ofstream recordStream;
    std::condition_variable_any wake;
    std::unique_ptr<httplib::Server> server;
    std::jthread listener;
};

}  // namespace quorvel
