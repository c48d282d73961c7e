#include "platform/linux/process/Worker.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <systemd/sd-event.h>
#include <unistd.h>
#include <utility>

#include "platform/Weakly.h"

// glibc 2.36 declares these for C alone.
extern "C" {
#include <sys/pidfd.h>
}

extern char** environ;

namespace quorvel {

namespace {

/// 0 and the child's number, or an errno. The main queue blocks signals, which a child would inherit.
int spawn(const Worker::Settings& settings, int standardInput, pid_t& child) {
    std::vector<char*> arguments, variables;
    for (const std::string& argument : settings.command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (settings.passesOn(*variable)) variables.push_back(*variable);
    }
    variables.push_back(nullptr);
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
    const int result =
        posix_spawn(&child, arguments[0], &actions, &attributes, arguments.data(), variables.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return result;
}

/// Leaves no zombie behind and waits for nobody; the loop owns the watch.
bool reapWhenEnded(sd_event* loop, int process) {
    const auto reap = [](sd_event_source* source, int ended, std::uint32_t, void*) {
        siginfo_t child{};
        // One that takes long to die, or is traced, counts as ended before it can be reaped: it is looked at
        // again.
        if (waitid(P_PIDFD, static_cast<id_t>(ended), &child, WEXITED | WNOHANG) != 0 || child.si_pid != 0)
            sd_event_source_disable_unref(source);
        return 0;
    };
    FileDescriptor copy(fcntl(process, F_DUPFD_CLOEXEC, 0));
    sd_event_source* source = nullptr;
    if (sd_event_add_io(loop, &source, copy.get(), EPOLLIN, reap, nullptr) < 0) return false;
    sd_event_source_set_io_fd_own(source, 1);
    (void)copy.release();
    sd_event_source_set_floating(source, 1);
    sd_event_source_unref(source);
    return true;
}

std::uint64_t microseconds(std::chrono::milliseconds time) {
    return static_cast<std::uint64_t>(std::chrono::microseconds(time).count());
}

}  // namespace

std::string helperProgram(const std::string& name) {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto beside = folder / name;
    if (access(beside.c_str(), X_OK) == 0) return beside.string();
    return (folder.parent_path() / "libexec" / "quorvel" / name).string();
}

Worker::Worker(EventQueue& mainQueue, Settings givenSettings, Handlers givenHandlers)
    : queue(mainQueue), settings(std::move(givenSettings)), handlers(std::move(givenHandlers)) {}

std::expected<std::shared_ptr<Worker>, std::string> Worker::start(EventQueue& queue, Settings settings,
                                                                  Handlers handlers) {
    std::shared_ptr<Worker> worker(new Worker(queue, std::move(settings), std::move(handlers)));
    if (auto error = worker->launch()) return std::unexpected(*std::move(error));
    return worker;
}

/// A sentence when it failed.
std::optional<std::string> Worker::launch() {
    const auto failure = [](const std::string& what, int number) {
        return what + ": " + std::generic_category().message(number) + ".";
    };
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return failure("Could not make a socket", errno);
    socket = FileDescriptor(ends[0]);
    const FileDescriptor childEnd(ends[1]);
    pid_t number = 0;
    if (const int error = spawn(settings, childEnd.get(), number); error != 0)
        return failure("Could not start " + settings.command.at(0), error);
    process = FileDescriptor(pidfd_open(number, 0));
    if (process && reapWhenEnded(queue.event(), process.get()) && watch()) return std::nullopt;
    ::kill(number, SIGKILL);
    waitpid(number, nullptr, 0);
    return "Could not watch " + settings.command.at(0) + ".";
}

bool Worker::watch() {
    const auto socketReady = [](sd_event_source*, int, std::uint32_t events, void* data) {
        auto& self = *static_cast<Worker*>(data);
        if ((events & EPOLLOUT) != 0) self.writeSome();
        if ((events & ~std::uint32_t{EPOLLOUT}) != 0) self.readSome();
        return 0;
    };
    const auto late = [](sd_event_source*, std::uint64_t, void* data) {
        static_cast<Worker*>(data)->end("It did not answer in time.");
        return 0;
    };
    // Unlike the queue's delays, this one does not count the time that the machine sleeps.
    return sd_event_add_io(queue.event(), OutPtr(socketSource), socket.get(), EPOLLIN, socketReady, this) >=
               0 &&
           sd_event_add_time_relative(queue.event(), OutPtr(timer), CLOCK_MONOTONIC,
                                      microseconds(settings.startTimeout), 0, late, this) >= 0;
}

void Worker::expectMessage(std::chrono::milliseconds timeout) {
    if (!timer) return;
    sd_event_source_set_time_relative(timer.get(), microseconds(timeout));
    sd_event_source_set_enabled(timer.get(), SD_EVENT_ONESHOT);
}

/// One portion a turn of the loop, so that a worker that never stops talking does not keep out the rest.
void Worker::readSome() {
    std::array<char, 16 * 1024> portion;
    const auto count = recv(socket.get(), portion.data(), portion.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) return stop("It ended.");
    input.append(portion.data(), static_cast<std::size_t>(count));
    if (settings.messageSize(input) > 0) sd_event_source_set_enabled(timer.get(), SD_EVENT_OFF);
    handleLater();
}

/// Leads from the event loop's callbacks, which no exception may leave, to the queue.
void Worker::handleLater() {
    queue.post(weakly(shared_from_this(), [](Worker& self) { self.handleNext(); }));
}

/// One message a turn, so that a handler that throws loses none.
void Worker::handleNext() {
    if (const auto size = settings.messageSize(input); size > 0) {
        const std::string message = input.substr(0, size);
        input.erase(0, size);
        handleLater();
        handlers.received(message);
    } else if (endReason) {
        handlers.ended(*std::exchange(endReason, std::nullopt));
    } else if (input.size() > settings.maxMessageSize) {
        end(protocolBroken);
    }
}

void Worker::send(std::string_view bytes) {
    if (!socket) return;
    output += bytes;
    writeSome();
    if (output.size() > settings.maxUnsent) end("It does not read its messages.");
}

void Worker::writeSome() {
    std::size_t sent = 0;
    while (sent < output.size()) {
        const auto count =
            ::send(socket.get(), output.data() + sent, output.size() - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        sent += static_cast<std::size_t>(count);
    }
    // A broken socket also reads as ended, which is noticed there, after what it still holds.
    const bool isWaiting = sent < output.size() && errno == EAGAIN;
    output = isWaiting ? output.substr(sent) : std::string();
    sd_event_source_set_io_events(socketSource.get(), isWaiting ? EPOLLIN | EPOLLOUT : EPOLLIN);
}

bool Worker::sendFile(int file) {
    if (!socket) return false;
    char request = 0;
    iovec part{&request, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof file)> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof file);
    std::memcpy(CMSG_DATA(header), &file, sizeof file);
    ssize_t count = 0;
    do
        count = sendmsg(socket.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    while (count < 0 && errno == EINTR);
    if (count < 0 && errno != EPIPE && errno != ECONNRESET) end("It takes no files.");
    return count == 1;
}

void Worker::end(const std::string& reason) {
    input.clear();
    stop(reason);
}

void Worker::stop(const std::string& reason) {
    if (!socket) return;
    timer.reset();
    socketSource.reset();
    socket = FileDescriptor();
    pidfd_send_signal(process.get(), SIGKILL, nullptr, 0);
    endReason = reason;
    handleLater();
}

}  // namespace quorvel
