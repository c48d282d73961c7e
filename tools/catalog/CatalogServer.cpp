#include "CatalogServer.h"

#include <httplib.h>
#include <iostream>
#include <string_view>
#include <sys/socket.h>
#include <utility>

#include "OversizedBody.h"

namespace quorvel {

namespace {

using namespace std::chrono_literals;

constexpr const char* loopback = "127.0.0.1";

/// A full chunk of 200 applications is a few tens of kilobytes.
constexpr std::size_t largestRequest = std::size_t{8} << 20;

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

std::unique_ptr<httplib::Server> makeServer(const std::optional<CatalogServer::Certificate>& certificate) {
    if (!certificate) return std::make_unique<httplib::Server>();
    return std::make_unique<httplib::SSLServer>(certificate->certificateFile.c_str(),
                                                certificate->keyFile.c_str());
}

/// Announces more than it sends, and then ends the connection.
void sendCut(std::string body, const std::string& contentType, httplib::Response& response) {
    const std::size_t announced = body.size() + 100;
    response.set_content_provider(
        announced, contentType,
        [body = std::move(body)](std::size_t offset, std::size_t, httplib::DataSink& sink) {
            return offset == 0 && sink.write(body.data(), body.size());
        });
}

void sendOversized(std::string body, const std::string& contentType, httplib::Response& response) {
    const auto source = std::make_shared<OversizedBody>(std::move(body));
    response.set_chunked_content_provider(contentType, [source](std::size_t, httplib::DataSink& sink) {
        const std::string block = source->nextBlock();
        if (!block.empty()) return sink.write(block.data(), block.size());
        sink.done();
        return true;
    });
}

}  // namespace

CatalogServer::CatalogServer(CatalogEndpoints& answers, Scenario& bends, RequestRecord* log, Options chosen)
    : endpoints(answers), scenario(bends), record(log), options(std::move(chosen)) {}

CatalogServer::~CatalogServer() {
    stop();
}

std::expected<std::string, std::string> CatalogServer::start() {
    server = makeServer(options.certificate);
    if (!server->is_valid())
        return std::unexpected("Could not use the certificate " + options.certificate->certificateFile +
                               " with the key " + options.certificate->keyFile + ".");
    server->set_socket_options(refuseSharedPorts);
    server->set_tcp_nodelay(true);
    server->set_payload_max_length(largestRequest);
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
    listener = std::jthread([this] {
        server->listen_after_bind();
        ended = true;
    });
    return (options.certificate ? "https://" : "http://") + std::string(loopback) + ":" +
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
    if (record != nullptr && !record->append(received))
        std::cerr << "quorvel-catalog: a request could not be written to the record.\n";
    send(scenario.bend(endpoints.answer(received)), response);
}

void CatalogServer::send(CatalogAnswer answer, httplib::Response& response) {
    response.status = answer.status;
    switch (answer.delivery) {
        case Delivery::stalled:
            return sendHalf(std::move(answer.body), answer.contentType, response);
        case Delivery::cut:
            return sendCut(std::move(answer.body), answer.contentType, response);
        case Delivery::oversized:
            return sendOversized(std::move(answer.body), answer.contentType, response);
        case Delivery::late:
            pause(options.pause);
            break;
        case Delivery::whole:
            break;
    }
    if (answer.retryAfter != 0) response.set_header("Retry-After", std::to_string(answer.retryAfter));
    response.set_content(answer.body, answer.contentType);
}

void CatalogServer::sendHalf(std::string body, const std::string& contentType, httplib::Response& response) {
    const std::size_t announced = body.size();
    response.set_content_provider(
        announced, contentType,
        [this, body = std::move(body)](std::size_t offset, std::size_t, httplib::DataSink& sink) {
            if (offset == 0) return sink.write(body.data(), body.size() / 2);
            // Nothing tells when a client goes; the connection has to be asked.
            while (sink.is_writable() && pause(50ms)) {
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
