#include "CatalogServer.h"

#include <httplib.h>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string_view>
#include <sys/socket.h>
#include <utility>

namespace quorvel {

namespace {

using namespace std::chrono_literals;

constexpr const char* loopback = "127.0.0.1";

/// A full chunk of 200 applications is a few tens of kilobytes.
constexpr std::size_t maxRequest = std::size_t{8} << 20;

/// The library puts the connection's addresses among the headers, under names that no client sends.
bool isAddressOfConnection(std::string_view name) {
    return name == "REMOTE_ADDR" || name == "REMOTE_PORT" || name == "LOCAL_ADDR" || name == "LOCAL_PORT";
}

CatalogRequest toCatalogRequest(const httplib::Request& request) {
    CatalogRequest result{
        .method = request.method, .path = request.path, .headers = {}, .body = request.body};
    for (const auto& [name, value] : request.headers)
        if (!isAddressOfConnection(name)) result.headers.emplace_back(name, value);
    return result;
}

/// Without this the library lets two servers share one port, and requests go to either.
void refuseSharedPorts(socket_t socket) {
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

std::unique_ptr<httplib::Server> makeServer(const CatalogServer::Options& options) {
    if (options.certificateFile.empty()) return std::make_unique<httplib::Server>();
    return std::make_unique<httplib::SSLServer>(options.certificateFile.c_str(), options.keyFile.c_str());
}

/// A valid answer above 64 MiB, made while it is sent: no process holds it whole unless its receiver does.
void sendOversized(const CatalogAnswer& answer, httplib::Response& response) {
    constexpr std::size_t size = std::size_t{66} << 20;
    constexpr std::string_view ending = "]}";
    const auto opening = answer.body.substr(0, answer.body.size() - ending.size());
    const auto filler = R"(,{"id":900000001,"title":")" + std::string(50'000, 'F') +
                        R"(","version":"1.0","bundle_identifiers":["com.example.filler"],"requirements":{}})";
    response.set_chunked_content_provider(answer.contentType,
                                          [=](std::size_t offset, httplib::DataSink& sink) {
                                              if (offset == 0)
                                                  return sink.write(opening.data(), opening.size());
                                              if (offset < size)
                                                  return sink.write(filler.data(), filler.size());
                                              const bool isSent = sink.write(ending.data(), ending.size());
                                              sink.done();
                                              return isSent;
                                          });
}

}  // namespace

CatalogServer::CatalogServer(const Catalog& catalog, Options chosen)
    : endpoints(catalog), options(std::move(chosen)) {}

CatalogServer::~CatalogServer() {
    stop();
}

std::expected<std::string, std::string> CatalogServer::start() {
    if (!options.recordFile.empty()) {
        recordStream.open(options.recordFile, std::ios::binary | std::ios::app);
        if (!recordStream) return std::unexpected("Could not open " + options.recordFile + " for writing.");
    }
    server = makeServer(options);
    if (!server->is_valid())
        return std::unexpected("Could not use the certificate " + options.certificateFile + " with the key " +
                               options.keyFile + ".");
    server->set_socket_options(refuseSharedPorts);
    server->set_tcp_nodelay(true);
    server->set_payload_max_length(maxRequest);
    // The default ends a connection after five requests; a check of many chunks is to keep its own.
    server->set_keep_alive_max_count(10000);

    const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
        serve(request, response);
    };
    server->Get(".*", handler).Put(".*", handler).Patch(".*", handler).Delete(".*", handler);
    server->Options(".*", handler).Post(".*", handler);

    int port = options.port;
    if (port == 0)
        port = server->bind_to_any_port(loopback);
    else if (!server->bind_to_port(loopback, port))
        port = -1;
    if (port < 0)
        return std::unexpected("Could not listen on " + std::string(loopback) + ", port " +
                               std::to_string(options.port) + ".");
    listener = std::jthread([this] { server->listen_after_bind(); });
    return (options.certificateFile.empty() ? "http://" : "https://") + std::string(loopback) + ":" +
           std::to_string(port) + "/v1";
}

void CatalogServer::stop() {
    stopping.request_stop();
    if (!listener.joinable()) return;
    // The library forgets a stop that comes before its loop runs.
    while (!server->is_running())
        std::this_thread::yield();
    server->stop();
    listener.join();
}

void CatalogServer::serve(const httplib::Request& request, httplib::Response& response) {
    const CatalogRequest received = toCatalogRequest(request);
    if (recordStream.is_open() && !record(received))
        std::cerr << "quorvel-catalog: a request could not be written to the record.\n";
    CatalogAnswer answer = endpoints.answer(received);
    if (options.scenario != nullptr && answer.kind == options.scenario->kind)
        answer = options.scenario->bend(std::move(answer), bentAnswers++);
    send(std::move(answer), response);
}

bool CatalogServer::record(const CatalogRequest& request) {
    using Json = nlohmann::ordered_json;
    Json headers = Json::array();
    for (const auto& [name, value] : request.headers)
        headers.push_back(Json::array({name, value}));
    const Json line{{"method", request.method},
                    {"path", request.path},
                    {"headers", std::move(headers)},
                    {"body", request.body}};
    const std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
    const std::lock_guard lock(mutex);
    return (recordStream << text << std::flush).good();
}

void CatalogServer::send(CatalogAnswer answer, httplib::Response& response) {
    response.status = answer.status;
    if (answer.delivery == Delivery::oversized) return sendOversized(answer, response);
    if (answer.delivery == Delivery::stalled || answer.delivery == Delivery::cut)
        return sendHalf(answer, response);
    if (answer.delivery == Delivery::late) pause(options.pause);
    if (answer.retryAfter != 0) response.set_header("Retry-After", std::to_string(answer.retryAfter));
    response.set_content(answer.body, answer.contentType);
}

/// The other half never comes: the connection ends, or stays and is silent.
void CatalogServer::sendHalf(const CatalogAnswer& answer, httplib::Response& response) {
    response.set_content_provider(
        answer.body.size(), answer.contentType,
        [this, answer](std::size_t offset, std::size_t, httplib::DataSink& sink) {
            if (offset == 0) return sink.write(answer.body.data(), answer.body.size() / 2);
            // Nothing tells when a client goes; the connection has to be asked.
            while (answer.delivery == Delivery::stalled && sink.is_writable() && pause(50ms)) {
            }
            return false;
        });
}

bool CatalogServer::pause(std::chrono::milliseconds duration) {
    std::unique_lock lock(mutex);
    wake.wait_for(lock, stopping.get_token(), duration, [] { return false; });
    return !stopping.stop_requested();
}

}  // namespace quorvel
