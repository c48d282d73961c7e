#include "platform/linux/process/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <systemd/sd-event.h>
#include <unistd.h>

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

std::vector<char*> environmentFor(const ChildProcess::Start& start) {
    std::vector<char*> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (start.passesOn(*variable)) variables.push_back(*variable);
    }
    variables.push_back(nullptr);
    return variables;
}

/// 0 and the child's number, or an errno. The main queue blocks signals, which a child would inherit.
int spawn(const ChildProcess::Start& start, int standardInput, pid_t& child) {
    std::vector<char*> arguments;
    arguments.reserve(start.command.size() + 1);
    for (const std::string& argument : start.command) {
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
                                   environmentFor(start).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return result;
}

struct Child {
    pid_t number;
    FileDescriptor process;
};

int reap(sd_event_source* source, int, std::uint32_t, void* data) {
    // One that takes long to die, or is traced, counts as ended before it can be taken away: it is looked at
    // again.
    if (waitpid(static_cast<Child*>(data)->number, nullptr, WNOHANG) == 0) return 0;
    sd_event_source_disable_unref(source);
    return 0;
}

/// Leaves no zombie behind and waits for nobody; the loop owns the watch.
bool reapWhenEnded(sd_event* loop, pid_t number, int process) {
    auto child = std::make_unique<Child>(Child{number, FileDescriptor(fcntl(process, F_DUPFD_CLOEXEC, 0))});
    sd_event_source* source = nullptr;
    if (sd_event_add_io(loop, &source, child->process.get(), EPOLLIN, reap, child.get()) < 0) return false;
    sd_event_source_set_destroy_callback(source, [](void* data) { delete static_cast<Child*>(data); });
    (void)child.release();  // now the source's
    sd_event_source_set_floating(source, 1);
    sd_event_source_unref(source);
    return true;
}

}  // namespace

std::string helperProgram(const std::string& name) {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto beside = folder / name;
    if (access(beside.c_str(), X_OK) == 0) return beside.string();
    return (folder.parent_path() / "libexec" / "quorvel" / name).string();
}

std::expected<ChildProcess, std::string> ChildProcess::start(sd_event* loop, const Start& start) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, start.socketType | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return failure("Could not make a socket", errno);
    ChildProcess child;
    child.socketEnd = FileDescriptor(ends[0]);
    const FileDescriptor childEnd(ends[1]);

    pid_t number = 0;
    if (const int error = spawn(start, childEnd.get(), number); error != 0)
        return failure("Could not start " + start.command.at(0), error);
    child.process = FileDescriptor(pidfd_open(number, 0));
    if (!child.process || !reapWhenEnded(loop, number, child.process.get())) {
        ::kill(number, SIGKILL);
        waitpid(number, nullptr, 0);
        return std::unexpected("Could not watch " + start.command.at(0) + ".");
    }
    return child;
}

void ChildProcess::kill() {
    socketEnd = FileDescriptor();
    pidfd_send_signal(process.get(), SIGKILL, nullptr, 0);
}

}  // namespace quorvel
