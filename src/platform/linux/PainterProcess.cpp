#include "platform/linux/PainterProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <string_view>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <systemd/sd-event.h>
#include <utility>

// glibc 2.36 declares these for C alone.
extern "C" {
#include <sys/pidfd.h>
}

extern char** environ;

namespace quorvel {

namespace {

std::unexpected<std::string> failure(const std::string& what, int number) {
    return std::unexpected(what + ": " + std::generic_category().message(number) + ".");
}

/// Without the tokens of this program's own start, which its windows would use up.
std::vector<char*> painterEnvironment() {
    std::vector<char*> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text = *variable;
        if (text.starts_with("XDG_ACTIVATION_TOKEN=") || text.starts_with("DESKTOP_STARTUP_ID=")) continue;
        variables.push_back(*variable);
    }
    variables.push_back(nullptr);
    return variables;
}

/// 0 and the child's number, or an errno. The main queue blocks signals, which a child would inherit.
int spawn(const std::vector<std::string>& command, int standardInput, pid_t& child) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, standardInput, STDIN_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    const int result = posix_spawn(&child, arguments[0], &actions, &attributes, arguments.data(),
                                   painterEnvironment().data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return result;
}

struct Child {
    pid_t number;
    FileDescriptor process;
};

int reap(sd_event_source* source, int, std::uint32_t, void* data) {
    waitpid(static_cast<Child*>(data)->number, nullptr, WNOHANG);
    sd_event_source_disable_unref(source);
    return 0;
}

/// Leaves no zombie behind and waits for nobody; the loop owns the watch.
bool reapWhenEnded(sd_event* loop, pid_t number, int process) {
    auto child = std::make_unique<Child>(Child{number, FileDescriptor(fcntl(process, F_DUPFD_CLOEXEC, 0))});
    sd_event_source* source = nullptr;
    if (sd_event_add_io(loop, &source, child->process.get(), EPOLLIN, reap, child.get()) < 0) return false;
    sd_event_source_set_destroy_callback(source, [](void* data) { delete static_cast<Child*>(data); });
    child.release();
    sd_event_source_set_floating(source, 1);
    sd_event_source_unref(source);
    return true;
}

}  // namespace

void PainterProcess::Release::operator()(sd_event_source* source) const {
    sd_event_source_disable_unref(source);
}

PainterProcess::PainterProcess(const PainterLimits& givenLimits, Handlers givenHandlers)
    : limits(givenLimits), handlers(std::move(givenHandlers)) {}

PainterProcess::~PainterProcess() = default;

std::expected<std::unique_ptr<PainterProcess>, std::string> PainterProcess::start(
    sd_event* loop, const std::vector<std::string>& command, const PainterLimits& limits, Handlers handlers) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return failure("Could not make a socket", errno);
    std::unique_ptr<PainterProcess> painter(new PainterProcess(limits, std::move(handlers)));
    painter->socket = FileDescriptor(ends[0]);
    const FileDescriptor childEnd(ends[1]);

    pid_t child = 0;
    if (const int number = spawn(command, childEnd.get(), child); number != 0)
        return failure("Could not start " + command.at(0), number);
    painter->process = FileDescriptor(pidfd_open(child, 0));
    if (!painter->process || !reapWhenEnded(loop, child, painter->process.get())) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        return std::unexpected("Could not watch " + command.at(0) + ".");
    }
    if (!painter->watch(loop)) return std::unexpected("Could not listen to " + command.at(0) + ".");
    return painter;
}

bool PainterProcess::watch(sd_event* loop) {
    sd_event_source* source = nullptr;
    const auto socketReady = [](sd_event_source*, int, std::uint32_t events, void* data) {
        static_cast<PainterProcess*>(data)->ready(events);
        return 0;
    };
    if (sd_event_add_io(loop, &source, socket.get(), EPOLLIN, socketReady, this) >= 0)
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
    if ((events & ~std::uint32_t{EPOLLOUT}) != 0 && socket) readSome();
}

/// One portion a turn of the loop, so that a painter that never stops talking does not keep out the rest.
void PainterProcess::readSome() {
    std::array<char, 16 * 1024> portion;
    const auto count = recv(socket.get(), portion.data(), portion.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) return end("It ended.");
    input.append(portion.data(), static_cast<std::size_t>(count));
    takeLines();
}

void PainterProcess::takeLines() {
    std::size_t start = 0;
    while (socket) {
        const auto lineFeed = input.find('\n', start);
        if (lineFeed == std::string::npos) break;
        auto event = painter::decodeEvent(std::string_view(input).substr(start, lineFeed - start));
        if (!event) return end("It talks nonsense: " + event.error());
        take(std::move(*event));
        start = lineFeed + 1;
    }
    input.erase(0, start);
    if (input.size() > painter::longestEvent) end("It talks nonsense: its message never ends.");
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
    if (!socket) return;
    output += line;
    output += '\n';
    writeSome();
    if (output.size() - sent > limits.mostWaiting) end("It does not read its messages.");
}

void PainterProcess::writeSome() {
    while (sent < output.size()) {
        const auto count =
            ::send(socket.get(), output.data() + sent, output.size() - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
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
    if (!socket) return;
    helloTimer.reset();
    socketSource.reset();
    socket = FileDescriptor();
    pidfd_send_signal(process.get(), SIGKILL, nullptr, 0);
    if (handlers.ended) handlers.ended(std::move(reason));
}

}  // namespace quorvel
