#include "platform/linux/painter/PainterProcess.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <systemd/sd-event.h>
#include <utility>

namespace quorvel {

namespace {

/// Without the tokens of this program's own start, which its windows would use up.
bool isForPainter(std::string_view variable) {
    return !variable.starts_with("XDG_ACTIVATION_TOKEN=") && !variable.starts_with("DESKTOP_STARTUP_ID=");
}

}  // namespace

void PainterProcess::Release::operator()(sd_event_source* source) const {
    sd_event_source_disable_unref(source);
}

PainterProcess::PainterProcess(ChildProcess startedProcess, const PainterLimits& givenLimits,
                               Handlers givenHandlers)
    : limits(givenLimits), handlers(std::move(givenHandlers)), process(std::move(startedProcess)) {}

PainterProcess::~PainterProcess() = default;

std::expected<std::unique_ptr<PainterProcess>, std::string> PainterProcess::start(
    sd_event* loop, const std::vector<std::string>& command, const PainterLimits& limits, Handlers handlers) {
    auto child =
        ChildProcess::start(loop, {.command = command, .socketType = SOCK_STREAM, .passesOn = isForPainter});
    if (!child) return std::unexpected(child.error());
    std::unique_ptr<PainterProcess> painter(
        new PainterProcess(std::move(*child), limits, std::move(handlers)));
    if (!painter->watch(loop)) return std::unexpected("Could not listen to " + command.at(0) + ".");
    return painter;
}

bool PainterProcess::watch(sd_event* loop) {
    sd_event_source* source = nullptr;
    const auto socketReady = [](sd_event_source*, int, std::uint32_t events, void* data) {
        static_cast<PainterProcess*>(data)->ready(events);
        return 0;
    };
    if (sd_event_add_io(loop, &source, process.socket(), EPOLLIN, socketReady, this) >= 0)
        socketSource.reset(source);
    const auto late = [](sd_event_source*, std::uint64_t, void* data) {
        static_cast<PainterProcess*>(data)->end("It did not say hello in time.");
        return 0;
    };
    const auto microseconds = std::chrono::microseconds(limits.helloTime).count();
    if (sd_event_add_time_relative(loop, &source, CLOCK_MONOTONIC, static_cast<std::uint64_t>(microseconds),
                                   0, late, this) >= 0)
        helloTimer.reset(source);
    return socketSource && helloTimer;
}

void PainterProcess::ready(std::uint32_t events) {
    if ((events & EPOLLOUT) != 0) writeSome();
    if ((events & ~std::uint32_t{EPOLLOUT}) != 0 && !isEnded()) readSome();
}

/// One portion a turn of the loop, so that a painter that never stops talking does not keep out the rest.
void PainterProcess::readSome() {
    std::array<char, 16 * 1024> portion;
    const auto count = recv(process.socket(), portion.data(), portion.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) return end("It ended.");
    input.append(portion.data(), static_cast<std::size_t>(count));
    takeLines();
}

void PainterProcess::takeLines() {
    std::size_t start = 0;
    while (!isEnded()) {
        const auto lineFeed = input.find('\n', start);
        if (lineFeed == std::string::npos) break;
        auto event = painter::decodeEvent(std::string_view(input).substr(start, lineFeed - start));
        if (!event) return end("It talks nonsense.");
        take(std::move(*event));
        start = lineFeed + 1;
    }
    input.erase(0, start);
    if (input.size() > painter::maxEventSize) end("It talks nonsense: its message never ends.");
}

void PainterProcess::take(painter::Event event) {
    const auto* hello = std::get_if<painter::Hello>(&event);
    if ((hello != nullptr) == saidHello) return end("It talks nonsense: its hello is not its first message.");
    if (hello == nullptr) return handlers.event(std::move(event));
    if (hello->version != painter::protocolVersion)
        return end("It speaks version " + std::to_string(hello->version) + ", not " +
                   std::to_string(painter::protocolVersion) + ".");
    saidHello = true;
    helloTimer.reset();
}

void PainterProcess::send(const std::string& line) {
    if (isEnded()) return;
    output += line;
    output += '\n';
    writeSome();
    if (output.size() - sent > limits.mostWaiting) end("It does not read its messages.");
}

void PainterProcess::writeSome() {
    while (sent < output.size()) {
        const auto count =
            ::send(process.socket(), output.data() + sent, output.size() - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        // A broken socket also reads as ended, which is noticed there, after what it still holds.
        if (count <= 0) break;
        sent += static_cast<std::size_t>(count);
    }
    const bool isWaiting = sent < output.size() && errno == EAGAIN;
    if (!isWaiting) {
        output = std::string();
        sent = 0;
    } else if (sent > output.size() / 2) {
        output.erase(0, std::exchange(sent, 0));
    }
    sd_event_source_set_io_events(socketSource.get(), isWaiting ? EPOLLIN | EPOLLOUT : EPOLLIN);
}

void PainterProcess::end(std::string reason) {
    if (isEnded()) return;
    helloTimer.reset();
    socketSource.reset();
    process.kill();
    if (handlers.ended) handlers.ended(std::move(reason));
}

}  // namespace quorvel
