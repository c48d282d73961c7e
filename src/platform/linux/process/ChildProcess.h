#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileDescriptor.h"

struct sd_event;

namespace quorvel {

/// A program that belongs to the running one: beside it in a build folder, else in ../libexec/quorvel.
std::string helperProgram(const std::string& name);

/// A program that runs with a socket to this one as its standard input. Nothing here waits for it: what has
/// ended is reaped as long as the loop runs. Owned by whoever speaks with it. Main thread.
class ChildProcess {
public:
    struct Start {
        std::vector<std::string> command;
        /// SOCK_STREAM or SOCK_SEQPACKET.
        int socketType = 0;
        /// Which variables of this program's environment, each "NAME=value", the child gets too.
        bool (*passesOn)(std::string_view variable) = nullptr;
    };

    /// The error is a sentence.
    static std::expected<ChildProcess, std::string> start(sd_event* loop, const Start& start);

    /// Closed, so -1, after `kill`. The child sees the end of its input when this object goes.
    int socket() const { return socketEnd.get(); }
    void kill();

private:
    /// Names the process without ever meaning another one that got its number.
    FileDescriptor process;
    FileDescriptor socketEnd;
};

}  // namespace quorvel
