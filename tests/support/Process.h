#pragma once

#include <array>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace quorvel {

/// A program that the test starts; ended with SIGTERM, if it still runs, when the test is over.
class Process {
public:
    explicit Process(std::vector<std::string> arguments) {
        std::array<int, 2> outPipe{}, errPipe{};
        if (pipe2(outPipe.data(), O_CLOEXEC) != 0 || pipe2(errPipe.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
        std::vector<char*> list;
        for (auto& argument : arguments)
            list.push_back(argument.data());
        list.push_back(nullptr);
        const int failure = posix_spawn(&pid, list[0], &actions, nullptr, list.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(outPipe[1]);
        close(errPipe[1]);
        out = outPipe[0];
        err = errPipe[0];
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

    /// Gathers both streams to their ends, then the exit status.
    Result finish() {
        Result result{};
        std::array<pollfd, 2> streams{pollfd{out, POLLIN, 0}, pollfd{err, POLLIN, 0}};
        std::array<std::string*, 2> texts{&result.output, &result.errors};
        while (streams[0].fd >= 0 || streams[1].fd >= 0) {
            if (poll(streams.data(), streams.size(), -1) < 0) throw std::runtime_error("poll");
            for (std::size_t index = 0; index < streams.size(); ++index) {
                if (streams[index].revents == 0) continue;
                std::array<char, 4096> buffer{};
                const auto count = read(streams[index].fd, buffer.data(), buffer.size());
                if (count <= 0) {
                    streams[index].fd = -1;
                } else {
                    texts[index]->append(buffer.data(), static_cast<std::size_t>(count));
                }
            }
        }
        int status = 0;
        waitpid(pid, &status, 0);
        pid = 0;
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return result;
    }

private:
    pid_t pid = 0;
    int out = -1, err = -1;
};

}  // namespace quorvel
