#include "platform/posix/process/DetachedProgram.h"

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorvel {

namespace {

/// Only what a child of a program with threads may call stands here.
[[noreturn]] void become(char* const* arguments) {
    setsid();
    if (fork() != 0) _exit(0);  // the grandchild belongs to the system, which reaps it
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO})
        dup2(nowhere, stream);
    execvp(arguments[0], arguments);
    _exit(127);
}

}  // namespace

bool startDetached(const std::vector<std::string>& arguments) {
    std::vector<std::string> copies = arguments;
    std::vector<char*> list;
    list.reserve(copies.size() + 1);
    for (auto& argument : copies)
        list.push_back(argument.data());
    list.push_back(nullptr);

    const pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) become(list.data());
    return waitpid(child, nullptr, 0) == child;
}

}  // namespace quorvel
