#pragma once

#include <unistd.h>
#include <utility>

namespace quorvel {

/// Owns an open file descriptor and closes it; -1 is none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int openNumber) : number(openNumber) {}
    FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    ~FileDescriptor() { close(); }

    /// False when the system reports, only now, that bytes written earlier were lost.
    bool close() { return number < 0 || ::close(std::exchange(number, -1)) == 0; }

    int get() const { return number; }
    /// Leaves the descriptor to somebody else.
    int release() { return std::exchange(number, -1); }
    explicit operator bool() const { return number >= 0; }

private:
    int number = -1;
};

}  // namespace quorvel
