#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "platform/FileDescriptor.h"

extern char** environ;

namespace quorvel {

/// A program that the test starts; ended with SIGTERM, if it still runs, when the test is over.
class Process {
public:
    /// With a number of columns, standard output is a terminal of that width, and standard error with it.
    explicit Process(std::vector<std::string> arguments, unsigned short columns = 0) {
        std::array<int, 2> outEnds{}, errEnds{};
        winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        const int opened = columns == 0 ? pipe2(outEnds.data(), O_CLOEXEC)
                                        : openpty(&outEnds[0], &outEnds[1], nullptr, nullptr, &size);
        if (opened != 0 || pipe2(errEnds.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        for (const int end : outEnds)
            fcntl(end, F_SETFD, FD_CLOEXEC);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, outEnds[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, columns == 0 ? errEnds[1] : outEnds[1], STDERR_FILENO);
        std::vector<char*> list;
        for (auto& argument : arguments)
            list.push_back(argument.data());
        list.push_back(nullptr);
        const int failure = posix_spawn(&pid, list[0], &actions, nullptr, list.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(outEnds[1]);
        close(errEnds[1]);
        out = outEnds[0];
        err = errEnds[0];
        if (failure != 0) throw std::runtime_error("cannot start " + arguments[0]);
    }

    ~Process() {
        if (pid > 0) {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
        }
        close(out);
        close(err);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const { return pid; }
    void signal(int number) const { kill(pid, number); }

    /// The next line of standard output, without its line feed.
    std::string readLine() const {
        std::string line;
        for (char character = 0; read(out, &character, 1) == 1 && character != '\n';)
            line += character;
        return line;
    }

    struct Result {
        int status;
        std::string output, errors;
    };

    /// Gathers both streams to their ends, and the exit status. Throws, with what came, when that takes
    /// longer than any program may: something that the program started may still hold its streams.
    Result finish() {
        using Clock = std::chrono::steady_clock;
        std::array<std::string, 2> texts;
        const FileDescriptor process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
        std::array<pollfd, 3> ends{{{out, POLLIN, 0}, {err, POLLIN, 0}, {process.get(), POLLIN, 0}}};
        const auto deadline = Clock::now() + std::chrono::seconds(60);
        while (std::ranges::any_of(ends, [](const pollfd& end) { return end.fd >= 0; })) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            if (poll(ends.data(), ends.size(), static_cast<int>(std::max<long>(left, 0))) == 0) {
                kill(pid, SIGKILL);
                throw std::runtime_error((ends[2].fd < 0 ? "its streams do not end: " : "it does not end: ") +
                                         texts[0] + texts[1]);
            }
            for (std::size_t index = 0; index < ends.size(); ++index) {
                if (ends[index].revents != 0 && (index == 2 || !readSome(ends[index].fd, texts[index])))
                    ends[index].fd = -1;
            }
        }
        int status = 0;
        waitpid(pid, &status, 0);
        pid = 0;
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), texts[0], texts[1]};
    }

private:
    static bool readSome(int stream, std::string& text) {
        std::array<char, 4096> buffer{};
        const ssize_t count = read(stream, buffer.data(), buffer.size());
        if (count > 0) text.append(buffer.data(), static_cast<std::size_t>(count));
        return count > 0;
    }

    pid_t pid = 0;
    int out = -1, err = -1;
};

/// Runs a program, searched in PATH, to its end.
inline Process::Result run(std::vector<std::string> words) {
    words.insert(words.begin(), "/usr/bin/env");
    return Process(std::move(words)).finish();
}

}  // namespace quorvel
