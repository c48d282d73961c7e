#include "platform/linux/icons/IconProcess.h"

#include <cerrno>
#include <string_view>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <systemd/sd-event.h>
#include <utility>

#include "platform/linux/icons/FilePassing.h"

namespace quorvel {

namespace {

using icons::Answer;

/// A decoder has no use for who the user is, where the session is, and what else the environment tells.
bool isForDecoder(std::string_view variable) {
    return variable.starts_with("LD_LIBRARY_PATH=");
}

}  // namespace

void IconProcess::Release::operator()(sd_event_source* source) const {
    sd_event_source_disable_unref(source);
}

IconProcess::IconProcess(ChildProcess startedProcess, const IconLimits& givenLimits, Handlers givenHandlers)
    : limits(givenLimits), handlers(std::move(givenHandlers)), process(std::move(startedProcess)) {}

IconProcess::~IconProcess() {
    process.kill();
}

std::expected<std::unique_ptr<IconProcess>, std::string> IconProcess::start(
    sd_event* loop, const std::vector<std::string>& command, const IconLimits& limits, Handlers handlers) {
    auto child = ChildProcess::start(
        loop, {.command = command, .socketType = SOCK_SEQPACKET, .passesOn = isForDecoder});
    if (!child) return std::unexpected(child.error());
    std::unique_ptr<IconProcess> decoder(new IconProcess(std::move(*child), limits, std::move(handlers)));
    if (!decoder->watch(loop)) return std::unexpected("Could not listen to " + command.at(0) + ".");
    return decoder;
}

bool IconProcess::watch(sd_event* loop) {
    sd_event_source* source = nullptr;
    const auto socketReady = [](sd_event_source*, int, std::uint32_t, void* data) {
        static_cast<IconProcess*>(data)->readAnswer();
        return 0;
    };
    if (sd_event_add_io(loop, &source, process.socket(), EPOLLIN, socketReady, this) >= 0)
        socketSource.reset(source);
    const auto late = [](sd_event_source*, std::uint64_t, void* data) {
        static_cast<IconProcess*>(data)->end("It did not answer in time.");
        return 0;
    };
    // Unlike the queue's delays, this one does not count the time that the machine sleeps.
    if (sd_event_add_time_relative(loop, &source, CLOCK_MONOTONIC, 0, 0, late, this) >= 0)
        lateTimer.reset(source);
    if (!socketSource || !lateTimer) return false;
    expect(limits.startTime);
    return true;
}

void IconProcess::expect(std::chrono::milliseconds within) {
    const auto microseconds = std::chrono::microseconds(within).count();
    sd_event_source_set_time_relative(lateTimer.get(), static_cast<std::uint64_t>(microseconds));
    sd_event_source_set_enabled(lateTimer.get(), SD_EVENT_ONESHOT);
}

bool IconProcess::decode(int file) {
    if (process.socket() < 0) return false;
    if (!sendFile(process.socket(), file)) {
        const bool isGone = errno == EPIPE || errno == ECONNRESET;
        end(isGone ? "It ended." : "It takes no files.");
        return false;
    }
    isDecoding = true;
    if (saidReady) expect(limits.pictureTime);
    return true;
}

void IconProcess::readAnswer() {
    Answer answer;
    const auto count = recv(process.socket(), &answer, sizeof answer, MSG_DONTWAIT | MSG_TRUNC);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) return end("It ended.");
    if (count != sizeof answer) return end("It talks nonsense.");
    take(answer);
}

void IconProcess::take(const Answer& answer) {
    using Kind = Answer::Kind;
    sd_event_source_set_enabled(lateTimer.get(), SD_EVENT_OFF);
    if (!saidReady) {
        if (answer.kind != Kind::ready) return end("It talks nonsense.");
        saidReady = true;
        if (isDecoding) expect(limits.pictureTime);
        return;
    }
    if (!isDecoding || (answer.kind != Kind::picture && answer.kind != Kind::none))
        return end("It talks nonsense.");
    isDecoding = false;
    handlers.decoded(answer.kind == Kind::picture ? std::optional(answer.pixels) : std::nullopt);
}

void IconProcess::end(std::string reason) {
    lateTimer.reset();
    socketSource.reset();
    process.kill();
    handlers.ended(std::move(reason));
}

}  // namespace quorvel
